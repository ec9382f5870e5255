#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "toolkit/WidgetTestSupport.h"

namespace {

using Names = std::vector<std::string>;

// A slider 236 long at (10, 10) of the canvas: step buttons 18 long, the track from 18 to 218
// of its own coordinates (200 pixels: half a value each, for limits 0 to 100), the aperture
// 25 to 50, so the thumb runs from 68 to 118 (78 to 128 on the canvas).
struct SliderFixture {
    explicit SliderFixture(bool vertical = false) : canvas(260, 260) {
        slider = ktest::hosted(canvas, new KSlider("Slider1", vertical),
                               vertical ? CRect(10, 10, 28, 246) : CRect(10, 10, 246, 28));
        slider->setLimits(0, 100);
        slider->setAperture(25, 50);
        slider->addListener(&recorder);
    }
    // A canvas point at the pixel along the slider, across its middle.
    CPoint at(int along) const {
        return slider->isVertical() ? CPoint(19, 10 + along) : CPoint(10 + along, 19);
    }
    std::vector<double> aperture() const {
        double low, high;
        slider->getAperture(low, high);
        return {low, high};
    }
    KCanvas canvas;
    KSlider* slider;
    ktest::Recorder recorder;
};

}  // namespace

TEST(KSliderTest, limitsAndApertureAreKeptInRange) {
    SliderFixture f;
    struct Case {
        double low, high, wantLow, wantHigh;
    } cases[] = {
        {-10, 5, 0, 15},     // sticks out below: moved in, width kept
        {90, 120, 70, 100},  // sticks out above
        {-5, 200, 0, 100},   // wider than the limits: the limits
        {NAN, 1, 0, 100},    // refused
        {60, 40, 0, 100},    // reversed: refused
        {30, 30, 30, 30},    // no width is allowed
    };
    for (const Case& c : cases) {
        f.slider->setAperture(c.low, c.high);
        EXPECT_EQ(f.aperture(), (std::vector<double>{c.wantLow, c.wantHigh}))
            << c.low << ".." << c.high;
    }
    f.slider->setAperture(25, 50);
    f.slider->setLimits(10, 0);
    f.slider->setLimits(0, INFINITY);
    f.slider->setMinAperture(-1);
    double min, max;
    f.slider->getLimits(min, max);
    EXPECT_EQ(std::vector<double>({min, max}), (std::vector<double>{0, 100})) << "refused limits";
    EXPECT_EQ(f.slider->getMinAperture(), 0.0);
    f.slider->setLimits(40, 60);
    EXPECT_EQ(f.aperture(), (std::vector<double>{40, 60})) << "pulled inside the new limits";
    f.slider->setLimits(5, 5);
    EXPECT_EQ(f.slider->getThumbRect(), f.slider->getTrackRect()) << "equal limits fill the track";
    EXPECT_TRUE(f.recorder.names.empty()) << "setters tell nothing";
}

TEST(KSliderTest, geometryAndTheShortestThumb) {
    SliderFixture f;
    EXPECT_EQ(f.slider->getTrackRect(), CRect(18, 0, 218, 18));
    EXPECT_EQ(f.slider->getThumbRect(), CRect(68, 0, 118, 18));
    f.slider->setAperture(50, 50.5);  // one pixel: lengthened about its middle
    EXPECT_EQ(f.slider->getThumbRect(), CRect(114, 0, 122, 18));
    f.slider->setAperture(100, 100);  // and kept inside the track
    EXPECT_EQ(f.slider->getThumbRect(), CRect(210, 0, 218, 18));
}

TEST(KSliderTest, draggingTheThumbPansAndTellsEveryMove) {
    for (bool vertical : {false, true}) {
        SliderFixture f(vertical);
        f.canvas.mousePress(f.at(90));
        EXPECT_TRUE(f.canvas.isCaptured());
        f.canvas.mouseDrag(f.at(110));  // 20 pixels: 10
        EXPECT_EQ(f.aperture(), (std::vector<double>{35, 60})) << vertical;
        f.canvas.mouseDrag(f.at(400));  // far past the end: stops there, width kept
        EXPECT_EQ(f.aperture(), (std::vector<double>{75, 100})) << vertical;
        f.canvas.mouseDrag(f.at(400));  // no move, nothing told
        f.canvas.mouseRelease(f.at(400));
        EXPECT_FALSE(f.canvas.isCaptured());
        EXPECT_EQ(f.recorder.names, (Names{"slider.change", "slider.change", "slider.end"}));
        EXPECT_EQ(f.canvas.getTimerCount(), 0) << "a drag does not repeat";
    }
}

TEST(KSliderTest, dynamicApertureEndsWidenAndNarrow) {
    SliderFixture f;
    f.canvas.mouseMove(f.at(69));
    EXPECT_STREQ(f.canvas.getCursorName().c_str(), "")
        << "ends are fixed without a dynamic aperture";
    f.slider->setDynamicAperture(true);
    f.slider->setMinAperture(5);
    f.canvas.mouseMove(f.at(67));  // a pixel outside the thumb still grabs its end
    EXPECT_STREQ(f.canvas.getCursorName().c_str(), "HORZ_APERTURE");
    EXPECT_STREQ(f.canvas.getTooltip().c_str(), "Aperture: 25.0 to 50.0");
    f.canvas.mouseMove(f.at(90));
    EXPECT_STREQ(f.canvas.getCursorName().c_str(), "") << "the middle drags the whole thumb";
    EXPECT_TRUE(f.canvas.getTooltip().isEmpty());

    f.canvas.mousePress(f.at(69));  // the low end
    f.canvas.mouseDrag(f.at(49));
    EXPECT_EQ(f.aperture(), (std::vector<double>{15, 50}));
    f.canvas.mouseDrag(f.at(300));  // past the high end: stops at the narrowest aperture
    EXPECT_EQ(f.aperture(), (std::vector<double>{45, 50}));
    f.canvas.mouseRelease(f.at(300));
    f.canvas.mousePress(f.at(117));  // the high end, still at 118
    f.canvas.mouseDrag(f.at(500));
    EXPECT_EQ(f.aperture(), (std::vector<double>{45, 100})) << "up to the maximum";
    f.canvas.mouseRelease(f.at(500));
    EXPECT_EQ(f.recorder.count("slider.end"), 2);

    SliderFixture v(true);
    v.slider->setDynamicAperture(true);
    v.canvas.mouseMove(v.at(117));
    EXPECT_STREQ(v.canvas.getCursorName().c_str(), "VERT_APERTURE");
}

TEST(KSliderTest, heldButtonsRepeatAfterAPause) {
    SliderFixture f;
    f.canvas.mousePress(f.at(225));  // the step-up button: a tenth of the aperture at once
    EXPECT_EQ(f.aperture(), (std::vector<double>{27.5, 52.5}));
    f.canvas.advanceTime(KAutoRepeat::DELAY_MS - 1);
    EXPECT_EQ(f.aperture()[0], 27.5) << "still in the pause";
    f.canvas.advanceTime(1 + KAutoRepeat::RATE_MS);
    EXPECT_EQ(f.aperture()[0], 32.5);
    f.canvas.mouseDrag(f.at(150));  // off the button: held, but idle
    f.canvas.advanceTime(KAutoRepeat::RATE_MS * 4);
    EXPECT_EQ(f.aperture()[0], 32.5);
    f.canvas.mouseDrag(f.at(225));
    f.canvas.advanceTime(KAutoRepeat::RATE_MS);
    EXPECT_EQ(f.aperture()[0], 35.0);
    f.canvas.mouseRelease(f.at(225));
    EXPECT_EQ(f.canvas.getTimerCount(), 0);

    // A page toward the press, repeated until the thumb reaches the pointer.
    f.slider->setAperture(0, 25);
    f.canvas.mousePress(f.at(190));  // value 86
    EXPECT_EQ(f.aperture(), (std::vector<double>{25, 50}));
    f.canvas.advanceTime(2000);
    EXPECT_EQ(f.aperture(), (std::vector<double>{75, 100}));
    f.canvas.mouseRelease(f.at(190));
    EXPECT_EQ(f.recorder.count("slider.change"), 4 + 3);

    // A slider taken away while its button is held leaves no timer behind.
    f.canvas.mousePress(f.at(5));
    EXPECT_EQ(f.canvas.getTimerCount(), 1);
    delete f.slider;
    EXPECT_EQ(f.canvas.getTimerCount(), 0);
    EXPECT_FALSE(KComponent::isCaptured(f.slider));
}

TEST(KSliderTest, keysAndWheel) {
    SliderFixture f;
    f.canvas.mousePress(f.at(90));
    f.canvas.mouseRelease(f.at(90));
    f.canvas.keyPress(KEvent::VK_RIGHT);
    EXPECT_EQ(f.aperture()[0], 25.0) << "a press leaves the focus where it was";
    KComponent::setFocus(f.slider);
    struct Case {
        int key;
        double low;
    } keys[] = {{KEvent::VK_RIGHT, 27.5}, {KEvent::VK_UP, 25},  {KEvent::VK_NEXT, 50},
                {KEvent::VK_PRIOR, 25},   {KEvent::VK_END, 75}, {KEvent::VK_HOME, 0}};
    for (const Case& c : keys) {
        f.canvas.keyPress(c.key);
        EXPECT_EQ(f.aperture()[0], c.low) << "key " << c.key;
    }
    f.recorder.names.clear();
    f.canvas.mouseWheel(f.at(150), -240);  // two notches toward the user: two steps on
    EXPECT_EQ(f.aperture()[0], 5.0);
    EXPECT_EQ(f.recorder.names, (Names{"slider.change", "slider.end"}));
    f.slider->setLowSpeed(true);
    f.canvas.mouseWheel(f.at(150), 30);  // less than a notch: still a step
    EXPECT_EQ(f.aperture()[0], 4.75);
    f.slider->setAperture(
        40, 40);  // no width: steps by a tenth of the limits (slowly: a hundredth of that)
    f.canvas.mouseWheel(f.at(150), -120);
    EXPECT_DOUBLE_EQ(f.aperture()[0], 40.1);
    KComponent::setFocus(nullptr);
}

TEST(KSliderTest, drawsButtonsTrackAndRaisedThumb) {
    SliderFixture f;
    f.canvas.paint();
    auto pixel = [&](int along, int across) { return f.canvas.getPixel(10 + along, 10 + across); };
    EXPECT_EQ(pixel(0, 0), GetSysColor(COLOR_3DLIGHT)) << "raised button: light outside";
    EXPECT_EQ(pixel(17, 17), GetSysColor(COLOR_3DDKSHADOW)) << "and dark";
    EXPECT_EQ(pixel(8, 8), GetSysColor(COLOR_BTNTEXT)) << "the arrow";
    EXPECT_EQ(pixel(68, 0), GetSysColor(COLOR_3DLIGHT)) << "the thumb is a raised button";
    EXPECT_EQ(pixel(90, 9), GetSysColor(COLOR_BTNFACE));
    EXPECT_NE(pixel(150, 9), pixel(151, 9)) << "a checkered track";

    // A held page darkens its part of the track.
    f.canvas.mousePress(f.at(200));
    f.canvas.paint();
    const COLORREF a = pixel(200, 9), b = pixel(201, 9);
    EXPECT_TRUE((a == 0 && b == 0xFFFFFF) || (a == 0xFFFFFF && b == 0));
    f.canvas.mouseRelease(f.at(200));

    // Disabled: grey arrows, no thumb, no input.
    f.slider->setEnabled(false);
    f.canvas.paint();
    EXPECT_EQ(pixel(8, 8), GetSysColor(COLOR_GRAYTEXT));
    EXPECT_NE(pixel(150, 9), pixel(151, 9)) << "track where the thumb was";
    f.canvas.mousePress(f.at(225));
    EXPECT_FALSE(KComponent::isCaptured(f.slider));
    EXPECT_EQ(f.canvas.getTimerCount(), 0);
}

TEST(KSliderTest, storedForm) {
    KSlider slider("axis", true);
    slider.setLimits(-2, 8);
    slider.setAperture(1, 3.5);
    slider.setMinAperture(0.25);
    slider.setDynamicAperture(true);
    slider.setLowSpeed(true);
    const auto read = ktest::roundTrip<KSlider>(slider);
    double min, max, low, high;
    read->getLimits(min, max);
    read->getAperture(low, high);
    EXPECT_EQ(std::vector<double>({min, max, low, high}), (std::vector<double>{-2, 8, 1, 3.5}));
    EXPECT_TRUE(read->isVertical());
    EXPECT_EQ(read->getMinAperture(), 0.25);
    EXPECT_TRUE(read->isDynamicAperture());
    EXPECT_TRUE(read->isLowSpeed());
    EXPECT_STREQ(read->getMenu().c_str(), "") << "no menu of its own";
    auto bytes = ktest::stored(slider);
    ktest::expectCutRaises(bytes, bytes.size() - 1);
    // The slider's part is its version, a flag, five doubles and two flags: 47 bytes.
    bytes[bytes.size() - 47] = 2;
    KArchive later(bytes);
    EXPECT_STREQ(ktest::raised([&] { delete later.readObject(); }).getText().c_str(),
                 "Invalid slider version 2");
}
