#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"

using namespace ktest;

TEST(KCurveTest, SettingsKeepToTheirRanges) {
    KCurve c;
    EXPECT_STREQ(c.getName().c_str(), "KCurve");
    EXPECT_STREQ(c.getMenu().c_str(), "KCurve");
    EXPECT_EQ(c.getInsets(), CRect(1, 1, 1, 1));
    EXPECT_TRUE(c.isChecked() && c.isIconVisible() && !c.isGlyphVisible() && c.isAnalog());
    EXPECT_EQ(c.getThreshold(), 0.5);
    EXPECT_STREQ(c.getAboveThresholdString().c_str(), "High");
    EXPECT_STREQ(c.getBelowThresholdString().c_str(), "Low");

    c.setLineColorIndex(7);
    EXPECT_EQ(c.getColor(), 1);
    EXPECT_EQ(c.getLineColor(), RGB(0, 128, 0));
    c.setLineWidth(-3);
    EXPECT_EQ(c.getLineWidth(), 0);
    c.setLineWidth(25);
    EXPECT_EQ(c.getLineWidth(), 10);
    c.setRenderStyle(2);
    c.setRenderStyle(4);
    EXPECT_EQ(c.getRenderStyle(), 2);
    c.setOperator(5);
    c.setOperator(6);
    EXPECT_EQ(c.getOperator(), 5);
    c.setScale(2.0);
    c.setScale(std::nan(""));
    c.setYOffset(INFINITY);
    EXPECT_EQ(c.getScale(), 2.0);
    EXPECT_EQ(c.getYOffset(), 0.0);
    EXPECT_STREQ(c.getStateString(0.5).c_str(), "High");
    EXPECT_STREQ(c.getStateString(0.49).c_str(), "Low");
}

TEST(KCurveTest, ShowsTheChannelAndCopiesOnlyWhenTransformed) {
    auto record = makeRecord({0, 1, 2, 3}, {{1, 2, 3, 4}, {5, 3, -1, 0}});
    record->setFormat("COMTRADE");
    record->setName("Station");
    KCurve* curve = curveOf(*record, 1);
    std::unique_ptr<KCurve> owner(curve);
    EXPECT_EQ(curve->getChannel(), 1);
    EXPECT_STREQ(curve->getText().c_str(), "T2");
    EXPECT_STREQ(curve->getTooltipText(CPoint()).c_str(),
                 "Format: COMTRADE\nRecord: Station\nCurve : T2\nMin: -1\nMax: 5");
    // Unchanged data are the record's own samples, not a copy.
    record->selectTrace(1);
    EXPECT_EQ(curve->getYData(), record->getTrace(1)->getData());
    EXPECT_EQ(curve->getXData(), record->getXData());
    EXPECT_EQ(curve->getRecord(), record.get());

    // Scale 2 and offset 1: 3 becomes 7, in a copy of the curve's own.
    curve->setScale(2.0);
    curve->setYOffset(1.0);
    ASSERT_NE(curve->getYData(), record->getTrace(1)->getData());
    EXPECT_EQ(curve->getYData()[1], 7.0);
    double lo, hi;
    curve->getYExtents(lo, hi);
    EXPECT_EQ(lo, -1.0);
    EXPECT_EQ(hi, 11.0);
    curve->setXOffset(0.5);
    EXPECT_EQ(curve->getXData()[0], 0.5);
    EXPECT_EQ(record->getXData()[0], 0.0);
    // Back to the identity: back to sharing.
    curve->setScale(1.0);
    curve->setXOffset(0.0);
    curve->setYOffset(0.0);
    EXPECT_EQ(curve->getYData(), record->getTrace(1)->getData());

    // Look-ups: the nearest sample, nothing outside the data.
    EXPECT_EQ(curve->getValueAt(1.4), 3.0);
    EXPECT_EQ(curve->getValueAt(1.6), -1.0);
    EXPECT_TRUE(std::isnan(curve->getValueAt(3.5)));
    EXPECT_EQ(curve->findIndex(2.0), 1);

    // The data change with the record.
    record->getTrace(1)->getData()[0] = 50;
    record->updateObservers();
    curve->getYExtents(lo, hi);
    EXPECT_EQ(hi, 50.0);
    // A record that goes leaves the curve without data.
    record.reset();
    EXPECT_EQ(curve->getSourceRecord(), nullptr);
    EXPECT_EQ(curve->getSampleCount(), 0);
    EXPECT_EQ(curve->findIndex(1.0), -1);
    EXPECT_FALSE(curve->copyData(0, 1));
    EXPECT_STREQ(curve->getDevice().c_str(), "(unknown)");
}

TEST(KCurveTest, CopiesItsSamplesBetweenTwoTimes) {
    KLocalClipboard clipboard;
    KPlatformClipboard::install(&clipboard);
    auto record = makeRecord({0, 0.5, 1, 1.5}, {{1, 2, 3, 4}});
    std::unique_ptr<KCurve> curve(curveOf(*record, 0));
    ASSERT_TRUE(curve->copyData(0.7, 1.5));
    unsigned long length = 0;
    ASSERT_TRUE(KClipboard::getDataLength(1, &length, 0));
    std::string text(length, '\0');
    KClipboard::getData(1, text.data(), static_cast<int>(length), 0);
    EXPECT_STREQ(text.c_str(), "Domain,T1\n0.500000,2.000000\n1.000000,3.000000\n1.500000,4.000000\n");
    KPlatformClipboard::install(nullptr);
}

TEST(KCurveTest, StoredFormsOfEveryVersionLoad) {
    KCurve c;
    c.setUnits("kA");
    c.setScale(3.0);
    c.setXOffset(0.25);
    c.setYOffset(-1.5);
    c.setLineColorIndex(4);
    c.setRenderStyle(3);
    c.setLineWidth(4);
    c.setThreshold(0.7);
    c.setAboveThresholdString("Closed");
    c.setBelowThresholdString("Open");
    c.setGlyphVisible(true);
    auto back = roundTrip<KCurve>(c);
    EXPECT_STREQ(back->getUnits().c_str(), "kA");
    EXPECT_EQ(back->getScale(), 3.0);
    EXPECT_EQ(back->getXOffset(), 0.25);
    EXPECT_EQ(back->getYOffset(), -1.5);
    EXPECT_EQ(back->getLineColor(), KCurve::cColors1[4]);
    EXPECT_EQ(back->getRenderStyle(), 3);
    EXPECT_EQ(back->getLineWidth(), 4);
    EXPECT_EQ(back->getThreshold(), 0.7);
    EXPECT_STREQ(back->getAboveThresholdString().c_str(), "Closed");
    EXPECT_TRUE(back->isGlyphVisible());

    // A version-4 form: units from the first place only, style and width at their defaults.
    KArchive out;
    static_cast<KLabel&>(c).KLabel::Serialize(out);
    out << std::int32_t{4} << std::int32_t{2} << 1.5;
    KString("V").writeObject(out);
    out << std::uint32_t{0x123456};
    KBitSet flags;
    flags.set(KCurve::ANALOG);
    flags.writeObject(out);
    out.writeString("On");
    out.writeString("Off");
    out << 0.25 << 0.1 << 0.2;
    KArchive in(out.getBuffer());
    KCurve old;
    old.Serialize(in);
    EXPECT_EQ(in.remaining(), 0u);
    EXPECT_EQ(old.getChannel(), 2);
    EXPECT_STREQ(old.getUnits().c_str(), "V");
    EXPECT_EQ(old.getLineColor(), 0x123456u);
    EXPECT_EQ(old.getThreshold(), 0.25);
    EXPECT_EQ(old.getYOffset(), 0.2);
    EXPECT_EQ(old.getRenderStyle(), 0);
    EXPECT_EQ(old.getLineWidth(), 1);
    // Version 5 reads the units twice, and the second copy wins.
    KArchive out5;
    static_cast<KLabel&>(c).KLabel::Serialize(out5);
    out5 << std::int32_t{5} << std::int32_t{0} << 1.0;
    KString("first").writeObject(out5);
    out5 << std::uint32_t{0};
    flags.writeObject(out5);
    out5.writeString("H");
    out5.writeString("L");
    out5 << 0.5 << 0.0 << 0.0;
    KString("second").writeObject(out5);
    KArchive in5(out5.getBuffer());
    KCurve five;
    five.Serialize(in5);
    EXPECT_STREQ(five.getUnits().c_str(), "second");
}

TEST(KCurveTest, LegendEntryMarksTheActiveCurve) {
    auto record = makeRecord({0, 1}, {{0, 1}});
    KCurve* curve = curveOf(*record, 0);
    std::unique_ptr<KCurve> owner(curve);
    curve->setBounds(CRect(0, 0, 100, 18));
    curve->setLineColorIndex(2);
    auto drawn = recordPaint(*curve, CSize(100, 18));
    // The colour mark is filled in the line colour, and the active curve is underlined.
    auto fills = calls(*drawn, CDC::Call::FillRect);
    ASSERT_FALSE(fills.empty());
    EXPECT_EQ(fills.back()->brush.GetColor(), RGB(128, 0, 0));
    EXPECT_EQ(fills.back()->rect.Width(), KComponent::getUnitSize() / 2 - 2);
    const int lines = drawn->Count(CDC::Call::LineTo);
    curve->setChecked(false);
    EXPECT_EQ(recordPaint(*curve, CSize(100, 18))->Count(CDC::Call::LineTo), lines - 1);
}

TEST(KCurveClientTest, HoldsCurvesUpToItsMaximumAndKeepsOneActive) {
    KCurveClient client;
    EXPECT_STREQ(client.getName().c_str(), "client");
    client.setMaximumCurves(33);
    client.setMaximumCurves(0);
    EXPECT_EQ(client.getMaximumCurves(), 1);
    client.setMaximumCurves(3);
    client.setMinimumCurves(4);
    EXPECT_EQ(client.getMinimumCurves(), 0);
    auto* a = new KCurve();
    auto* b = new KCurve();
    EXPECT_TRUE(client.canContain(a));
    KLabel label;
    EXPECT_FALSE(client.canContain(&label));
    client.setBorderDefault(true);
    client.add(a);
    client.add(b);
    // The newest curve is the active one; a new entry takes the client's border setting.
    EXPECT_EQ(client.getActiveCurve(), b);
    EXPECT_TRUE(b->isChecked());
    EXPECT_FALSE(a->isChecked());
    EXPECT_TRUE(a->isBorder());
    client.setActiveCurve(a);
    EXPECT_EQ(client.getActiveIndex(), 0);
    EXPECT_TRUE(a->isChecked() && !b->isChecked());
    KCurve stranger;
    client.setActiveCurve(&stranger);
    EXPECT_EQ(client.getActiveCurve(), a);
    client.add(new KCurve());
    EXPECT_FALSE(client.canContain(a));  // three held: the maximum

    // A click on an entry activates it; its copy commands go on to the graph as numbers.
    struct Graph : KPanel {
        std::vector<unsigned> ids;
        std::vector<KComponent*> sources;
        void onCommand(KEvent& e) override {
            ids.push_back(e.getCommandId());
            sources.push_back(e.getSource());
        }
    } graph;
    auto* held = new KCurveClient();
    graph.add(held);
    held->setMaximumCurves(2);
    auto* c1 = new KCurve();
    auto* c2 = new KCurve();
    held->add(c1);
    held->add(c2);
    KEvent activate = KEvent::action(c1, "activate");
    held->onCommand(activate);
    EXPECT_EQ(held->getActiveCurve(), c1);
    KEvent range = KEvent::command(0, "CLIP.RANGE");
    range.setSource(c2);
    c2->onCommand(range);
    EXPECT_EQ(held->getActiveCurve(), c2);
    ASSERT_FALSE(graph.ids.empty());
    EXPECT_EQ(graph.ids.back(), KCurveClient::COPY_VISIBLE);
    EXPECT_EQ(graph.sources.back(), c2);
    KEvent all = KEvent::command(0, "CLIP.ALL");
    all.setSource(c1);
    c1->onCommand(all);
    EXPECT_EQ(graph.ids.back(), KCurveClient::COPY_ALL);
}
