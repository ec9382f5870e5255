#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "plot/PlotTestSupport.h"

using namespace ktest;

namespace {

// Ten cycles of a 60 Hz voltage and current, 64 samples a cycle, the trigger at 0.
std::unique_ptr<KRecord> feeder() {
    const int n = 640;
    auto r = makeRecord(times(n, -0.05), {sine(n, 100.0, -0.05), sine(n, 20.0, -0.05, -1.2)});
    r->setTraceName(0, "VA");
    r->setTraceName(1, "IA");
    r->getTrace(0)->setUnits("kV");
    r->getTrace(1)->setUnits("A");
    r->setTriggerValue(0.0);
    r->setProperty(KRecord::LINE_FREQUENCY, "60");
    return r;
}

KPlotFrame* frameOn(KCanvas& canvas, KRecord& record, KPlotPanel* plot = nullptr) {
    auto* frame = new KPlotFrame();
    canvas.setRoot(frame);
    frame->create(plot);
    canvas.layout();
    frame->addRecord(&record);
    frame->addPair(&record, 0, 1);
    canvas.layout();
    canvas.pumpTasks();
    return frame;
}

void apertureOf(KPlotFrame* frame, double& lo, double& hi) {
    frame->getPlotPanel()->getTimeAperture(lo, hi);
}

}  // namespace

TEST(KPlotFrameTest, TheApertureFollowsTheMarkersOrTheTimeInView) {
    KCanvas canvas(1200, 700);
    auto record = feeder();
    KPlotFrame* frame = frameOn(canvas, *record);
    EXPECT_EQ(frame->getGraphFrame()->getName(), KString("frame"));
    EXPECT_EQ(frame->getPlayControl()->getName(), KString("play"));
    KPlotFrame bare;
    EXPECT_EQ(raised([&] { bare.getGraphFrame(); }).getText(),
              KString("Unable to find graph frame."));
    EXPECT_EQ(raised([&] { bare.getPlotPanel(); }).getText(),
              KString("Unable to find plot panel."));

    // Without markers: the time in view, as the axis's slider shows it.
    double lo, hi;
    apertureOf(frame, lo, hi);
    EXPECT_DOUBLE_EQ(lo, -0.05);
    EXPECT_DOUBLE_EQ(hi, record->getXData()[639]);
    frame->getGraphFrame()->setXRange(0.0, 0.05);
    apertureOf(frame, lo, hi);
    EXPECT_NEAR(lo, 0.0, 1e-12);
    EXPECT_NEAR(hi, 0.05, 1e-12);

    // The markers, from X to O in either order; the read-out says so.
    KGraphFrame* graph = frame->getGraphFrame();
    graph->toggleMarkers();
    graph->setMarkerXPosition(0.03);
    graph->setMarkerOPosition(0.01);
    apertureOf(frame, lo, hi);
    EXPECT_DOUBLE_EQ(lo, 0.01);
    EXPECT_DOUBLE_EQ(hi, 0.03);
    EXPECT_TRUE(frame->isMarkerAperture());
    EXPECT_STREQ(frame->getPlayControl()->getReadout()->getText().c_str(),
                 "X to O: 10.000 ms to 30.000 ms  (20.000 ms)");

    // Markers off again: the slider's ends narrow the view, and the plot with it.
    graph->toggleMarkers();
    KSlider* slider = graph->getAxis()->getSlider();
    const CRect thumb = slider->getThumbRect();
    const CPoint end =
        slider->getLocationOnCanvas() + CPoint(thumb.right - 1, thumb.top + thumb.Height() / 2);
    canvas.mouseMove(end);
    EXPECT_STREQ(canvas.getCursorName().c_str(), "HORZ_APERTURE");
    canvas.mousePress(end);
    canvas.mouseDrag(end - CPoint(thumb.Width() / 2, 0));
    canvas.mouseRelease(end - CPoint(thumb.Width() / 2, 0));
    apertureOf(frame, lo, hi);
    EXPECT_NEAR(lo, 0.0, 1e-9);
    EXPECT_LT(hi, 0.04);
    EXPECT_GT(hi, 0.01);
    EXPECT_EQ(
        std::string(frame->getPlayControl()->getReadout()->getText().c_str()).rfind("In view: ", 0),
        0u);
}

TEST(KPlotFrameTest, PlayStepsTheApertureEndThroughTheRecord) {
    KCanvas canvas(1200, 700);
    auto record = feeder();
    KPlotFrame* frame = frameOn(canvas, *record);
    KGraphFrame* graph = frame->getGraphFrame();
    graph->toggleMarkers();
    graph->setMarkerXPosition(0.0);
    graph->setMarkerOPosition(1 / 60.0);
    frame->setPlaySpeed(100);
    frame->play(true);
    EXPECT_TRUE(frame->isPlaying());
    EXPECT_TRUE(frame->getPlayControl()->isPlaying());
    // Ten steps of 40 ms at 100 ms a second: 40 ms of the record on, the width kept.
    canvas.advanceTime(400);
    double lo, hi;
    apertureOf(frame, lo, hi);
    EXPECT_NEAR(lo, 0.04, 1e-9);
    EXPECT_NEAR(hi, 0.04 + 1 / 60.0, 1e-9);
    EXPECT_NEAR(graph->getMarkerXPosition(), 0.04, 1e-9);
    // It stops at the record's end.
    canvas.advanceTime(10000);
    EXPECT_FALSE(frame->isPlaying());
    EXPECT_EQ(canvas.getTimerCount(), 0);
    apertureOf(frame, lo, hi);
    EXPECT_DOUBLE_EQ(hi, record->getXData()[639]);
    EXPECT_NEAR(hi - lo, 1 / 60.0, 1e-9);

    // Keys: ] doubles the speed, Home goes back to the start, Space plays from there.
    KComponent::setFocus(frame);
    canvas.keyPress(']');
    EXPECT_EQ(frame->getPlaySpeed(), 200);
    EXPECT_EQ(frame->getPlayControl()->getSpeed(), 200);
    canvas.keyPress(KEvent::VK_HOME);
    apertureOf(frame, lo, hi);
    EXPECT_DOUBLE_EQ(lo, -0.05);
    canvas.keyPress(KEvent::VK_SPACE);
    EXPECT_TRUE(frame->isPlaying());
    canvas.keyPress(KEvent::VK_SPACE);
    EXPECT_FALSE(frame->isPlaying());

    // Without markers play moves the time in view, keeping its span.
    graph->toggleMarkers();
    graph->setXRange(-0.05, -0.03);
    const CRect button = frame->getPlayControl()->getButtonRect();
    canvas.mousePress(frame->getPlayControl()->getLocationOnCanvas() + button.CenterPoint());
    EXPECT_TRUE(frame->isPlaying());
    canvas.advanceTime(200);
    double a, b;
    graph->getAxis()->getRange(a, b);
    EXPECT_NEAR(a, -0.05 + 0.04, 1e-9);
    EXPECT_NEAR(b - a, 0.02, 1e-9);
    apertureOf(frame, lo, hi);
    EXPECT_NEAR(lo, a, 1e-12);

    // A frame taken out of its host stops playing.
    KContainer* root = canvas.releaseRoot();
    canvas.advanceTime(100);
    EXPECT_FALSE(frame->isPlaying());
    delete root;
}

TEST(KPlotFrameTest, StoredPlotFramesRoundTrip) {
    // A frame of the impedance plane: a line fault in the time graph, its AG locus and two
    // zones on the plane, the markers on, a play speed of its own.
    KCanvas canvas(1200, 700);
    KRecord fault = readLineFault("AG-60");
    auto* frame = new KPlotFrame();
    canvas.setRoot(frame);
    auto* plane = new KImpedancePanel();
    frame->create(plane);
    frame->addRecord(&fault);
    KImpedanceTransform transform;
    auto impedance = std::make_shared<KRecord>();
    ASSERT_TRUE(transform.transform(&fault, *impedance, 0, fault.getSampleCount(), false, false));
    plane->addLocus(impedance, "AG");
    plane->addCharacteristic(new KMhoCharacteristic(19.35, 82.87));
    plane->addCharacteristic(new KQuadCharacteristic(29, 12, 82.87));
    // A second locus on the record the time graph shows: stored once, shared when read back.
    plane->addPair(&fault, 0, 3);
    plane->setMode(KPlotPanel::XY);
    frame->setPlaySpeed(80);
    frame->setTitle("Impedance");
    frame->getGraphFrame()->toggleMarkers();
    frame->getGraphFrame()->setMarkerOPosition(0.05);

    const auto back = roundTrip<KPlotFrame>(*frame);
    EXPECT_STREQ(back->getTitle().c_str(), "Impedance");
    EXPECT_EQ(back->getPlaySpeed(), 80);
    auto* read = k_dynamic_cast<KImpedancePanel>(back->getPlotPanel());
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->getCharacteristicCount(), 2);
    EXPECT_NE(k_dynamic_cast<KQuadCharacteristic>(read->getCharacteristic(1)), nullptr);
    EXPECT_EQ(static_cast<KMhoCharacteristic*>(read->getCharacteristic(0))->getReach(), 19.35);
    std::vector<KPlotCurve*> pairs;
    read->getPairList(pairs);
    ASSERT_EQ(pairs.size(), 2u);
    EXPECT_STREQ(pairs[0]->getText().c_str(), "AG");
    ASSERT_EQ(pairs[0]->getSampleCount(), impedance->getSampleCount());
    EXPECT_EQ(pairs[0]->getXValues()[700], impedance->getTrace(0)->getData()[700]);
    EXPECT_EQ(pairs[1]->getXChannel(), 0);
    std::vector<KCurve*> curves;
    back->getGraphFrame()->getCurveList(curves);
    ASSERT_FALSE(curves.empty());
    EXPECT_EQ(curves[0]->getSourceRecord(), pairs[1]->getSourceRecord()) << "one record, shared";
    // The frame follows its time graph again: the markers give the aperture.
    back->getGraphFrame()->setMarkerXPosition(0.01);
    double lo, hi;
    read->getTimeAperture(lo, hi);
    EXPECT_DOUBLE_EQ(lo, 0.01);
    EXPECT_DOUBLE_EQ(hi, 0.05);

    const std::vector<std::uint8_t> bytes = stored(*frame);
    for (size_t n : {bytes.size() - 1, bytes.size() - 9, bytes.size() / 2})
        expectCutRaises(bytes, n);
}

TEST(KPlotFrameTest, PopupMenusOfferThePlotsCommands) {
    KCanvas canvas(1200, 700);
    auto record = feeder();
    KPlotFrame* frame = frameOn(canvas, *record);
    KPlotPanel* plot = frame->getPlotPanel();
    // A right click on the plot shows its menu; the choice is its command.
    canvas.queueMenuChoice("PLOT.POLAR");
    const CRect area = plot->getPlotRectangle();
    canvas.mousePress(plot->getLocationOnCanvas() + area.CenterPoint(), KEvent::BUTTON2);
    ASSERT_FALSE(canvas.getShownMenus().empty());
    EXPECT_STREQ(canvas.getShownMenus().back().c_str(), "Plot");
    EXPECT_EQ(plot->getMode(), KPlotPanel::POLAR);
    // Every accelerator the menus show is a key the plot or the frame takes.
    const KMenuResource* menu = KMenuResource::find("KPlotPanel");
    ASSERT_NE(menu, nullptr);
    EXPECT_NE(menu->findCommand("PLOT.SCATTER"), nullptr);
    EXPECT_STREQ(menu->findCommand("PLOT.EQUAL")->text, "Equal Scaling\tE");
    EXPECT_NE(KMenuResource::find("KImpedancePanel")->findCommand("PLOT.ZONES"), nullptr);
    EXPECT_STREQ(KMenuResource::find("KPlotFrame")->findCommand("PLOT.PLAY")->text, "Play\tSpace");
}
