#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "toolkit/WidgetTestSupport.h"

namespace {

// A spin control 72 by 18 at (10, 10) of the canvas: the box from 0 to 59 of its own
// coordinates, the arrows 13 wide, up from 0 to 9 and down from 9 to 18.
struct SpinFixture {
    SpinFixture() : canvas(100, 40) {
        spin = ktest::hosted(canvas, new KSpinControl("spin"), CRect(10, 10, 82, 28));
        spin->setRange(0, 1);
        spin->setStep(0.25);
        spin->addListener(&recorder);
    }
    static CPoint up() { return CPoint(10 + 65, 10 + 4); }
    static CPoint down() { return CPoint(10 + 65, 10 + 13); }
    KCanvas canvas;
    KSpinControl* spin;
    ktest::Recorder recorder;
};

}  // namespace

TEST(KSpinControlTest, showsEngineeringLabelsWithUnits) {
    struct Case {
        double value;
        int digits;
        const char* units;
        const char* text;
    } cases[] = {
        {1250, 3, "", "1.25K"},    {1250, 3, "V", "1.25 KV"},  {230, 3, "V", "230 V"},
        {-0.04, 3, "", "-0.04"},   {0.0005, 3, "A", "0.5 mA"}, {999.96, 3, "", "1K"},
        {2.0 / 3, 3, "", "0.667"}, {123456, 2, "", "120K"},    {-1.5, 15, "", "-1.5"},
        {0, 3, "s", "0 s"},        {1e-17, 3, "", "0"},
    };
    KSpinControl spin("s");
    spin.setRange(-1e9, 1e9);
    for (const Case& c : cases) {
        spin.setValue(c.value);
        spin.setDigits(c.digits);
        spin.setUnits(c.units);
        EXPECT_STREQ(spin.getText().c_str(), c.text) << c.value << " to " << c.digits << " digits";
    }
}

TEST(KSpinControlTest, refusedSettingsAndTheDefaultStep) {
    KSpinControl spin("s");
    spin.setRange(-2, 2);
    spin.setRange(5, 1);
    spin.setRange(0, INFINITY);
    double low, high;
    spin.getRange(low, high);
    EXPECT_EQ(low, -2);
    EXPECT_EQ(high, 2);
    EXPECT_EQ(spin.getStep(), 0.04) << "a hundredth of the range";
    spin.setValue(50);
    EXPECT_EQ(spin.getValue(), 2) << "pulled into the range";
    spin.setValue(NAN);
    spin.setRange(-1, 1);
    EXPECT_EQ(spin.getValue(), 1) << "pulled into the new range";
    spin.setDigits(0);
    spin.setDigits(16);
    EXPECT_EQ(spin.getDigits(), 3);
}

TEST(KSpinControlTest, heldArrowsRepeatUpToTheEnd) {
    SpinFixture f;
    f.canvas.mousePress(SpinFixture::up());
    EXPECT_EQ(f.spin->getValue(), 0.25);
    f.canvas.advanceTime(KAutoRepeat::DELAY_MS);
    EXPECT_EQ(f.spin->getValue(), 0.5);
    f.canvas.advanceTime(KAutoRepeat::RATE_MS * 5);  // stops at the top, telling nothing more
    EXPECT_EQ(f.spin->getValue(), 1.0);
    f.canvas.mouseRelease(SpinFixture::up());
    EXPECT_EQ(f.canvas.getTimerCount(), 0);
    EXPECT_EQ(f.recorder.count("spin.change"), 4);

    f.canvas.mousePress(SpinFixture::down());
    f.canvas.mouseDrag(CPoint(20, 19));  // onto the box: held, but idle
    f.canvas.advanceTime(1000);
    EXPECT_EQ(f.spin->getValue(), 0.75);
    f.canvas.mouseRelease(CPoint(20, 19));
    f.canvas.mousePress(CPoint(20, 19));  // the box itself steps nothing
    f.canvas.mouseRelease(CPoint(20, 19));
    EXPECT_EQ(f.spin->getValue(), 0.75);
    EXPECT_EQ(f.canvas.getTimerCount(), 0);

    // Taken out of the tree while held, the control gets no release: it stops by itself.
    f.canvas.mousePress(SpinFixture::down());
    const std::unique_ptr<KSpinControl> removed(f.spin);
    f.canvas.getRoot()->remove(f.spin);
    f.canvas.advanceTime(1000);
    EXPECT_EQ(f.spin->getValue(), 0.5);
    EXPECT_EQ(f.canvas.getTimerCount(), 0);
}

TEST(KSpinControlTest, keysAndWheel) {
    SpinFixture f;
    f.spin->setRange(-10, 10);
    f.spin->setStep(1);
    KComponent::setFocus(f.spin);
    struct Case {
        int key;
        double value;
    } keys[] = {{KEvent::VK_UP, 1},    {KEvent::VK_PRIOR, 10}, {KEvent::VK_DOWN, 9},
                {KEvent::VK_NEXT, -1}, {KEvent::VK_HOME, -10}, {KEvent::VK_END, 10}};
    for (const Case& c : keys) {
        f.canvas.keyPress(c.key);
        EXPECT_EQ(f.spin->getValue(), c.value) << "key " << c.key;
    }
    KComponent::setFocus(nullptr);
    f.canvas.mouseWheel(CPoint(20, 19), -360);
    EXPECT_EQ(f.spin->getValue(), 7);
    f.canvas.mouseWheel(CPoint(20, 19), 40);
    EXPECT_EQ(f.spin->getValue(), 8) << "less than a notch still steps";
    EXPECT_EQ(f.recorder.count("spin.change"), 8);
}

TEST(KSpinControlTest, drawsTheValueAndArrowsByState) {
    SpinFixture f;
    f.spin->setUnits("V");
    f.spin->setValue(0.5);
    const auto dc = ktest::recordPaint(*f.spin, CSize(100, 40));
    const auto texts = ktest::calls(*dc, CDC::Call::DrawText);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0]->text, "0.5 V");
    EXPECT_TRUE(texts[0]->format & DT_RIGHT) << "numbers stand right";
    EXPECT_LE(texts[0]->rect.right, 10 + 59);

    auto pixel = [&](CPoint p) {
        f.canvas.paint();
        return f.canvas.getPixel(p.x, p.y);
    };
    EXPECT_EQ(pixel(SpinFixture::up()), GetSysColor(COLOR_BTNTEXT));
    f.spin->setValue(1);
    EXPECT_EQ(pixel(SpinFixture::up()), GetSysColor(COLOR_GRAYTEXT)) << "nothing above the top";
    EXPECT_EQ(pixel(CPoint(10 + 59, 19)), GetSysColor(COLOR_3DLIGHT)) << "the down arrow raised";
    f.canvas.mousePress(SpinFixture::down());
    EXPECT_EQ(pixel(CPoint(10 + 59, 19)), GetSysColor(COLOR_BTNSHADOW)) << "and pressed";
    f.canvas.mouseRelease(SpinFixture::down());
}

TEST(KSpinControlTest, storedForm) {
    KSpinControl spin("spin");
    spin.setRange(-5, 5);
    spin.setValue(1.5);
    spin.setStep(0.5);
    spin.setDigits(4);
    spin.setUnits("div");
    const auto read = ktest::roundTrip<KSpinControl>(spin);
    double low, high;
    read->getRange(low, high);
    EXPECT_EQ(low, -5);
    EXPECT_EQ(high, 5);
    EXPECT_EQ(read->getValue(), 1.5);
    EXPECT_EQ(read->getStep(), 0.5);
    EXPECT_EQ(read->getDigits(), 4);
    EXPECT_STREQ(read->getText().c_str(), "1.5 div");
    const auto bytes = ktest::stored(spin);
    ktest::expectCutRaises(bytes, bytes.size() - 1);
}
