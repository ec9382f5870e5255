#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"
#include "io/ComtradeTestData.h"

using namespace ktest;

namespace {

// A three-phase record: currents in A, voltages in kV, and a trip that changes state.
std::unique_ptr<KRecord> threePhase(int n = 640) {
    const std::vector<double> x = times(n, -0.05);
    std::vector<double> trip(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) trip[i] = x[i] >= 0.02 ? 1.0 : 0.0;
    auto r = makeRecord(x, {sine(n, 100.0, -0.05), sine(n, 100.0, -0.05, 2.0944), sine(n, 60.0, -0.05, 0.5),
                            trip, std::vector<double>(static_cast<size_t>(n), 0.0)});
    const char* names[] = {"IA", "IB", "VA", "TRIP", "DOOR"};
    const char* units[] = {"A", "A", "kV", "", ""};
    for (int t = 0; t < 5; ++t) {
        r->setTraceName(t, names[t]);
        r->getTrace(t)->setUnits(units[t]);
        if (t >= 3) r->getTrace(t)->setFlags(KRecord::Trace::DIGITAL);
    }
    r->setTriggerValue(0.0);
    r->setProperty(KRecord::LINE_FREQUENCY, "60");
    return r;
}

// After updates: the pixels of the canvas' kept picture that a whole paint draws otherwise
// (by more than the few levels that smoothed edges of wide lines may take under a clip),
// the first few of them reported. Leaves the whole paint in the picture.
int pixelsApartFromAWholePaint(KCanvas& canvas) {
    const int w = canvas.getWidth(), h = canvas.getHeight();
    std::vector<COLORREF> updated;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) updated.push_back(canvas.getPixel(x, y));
    canvas.paint();
    int wrong = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const COLORREF a = canvas.getPixel(x, y), b = updated[static_cast<size_t>(y) * w + x];
            const int most = std::max({std::abs(GetRValue(a) - GetRValue(b)),
                                       std::abs(GetGValue(a) - GetGValue(b)),
                                       std::abs(GetBValue(a) - GetBValue(b))});
            if (most > 8 && ++wrong <= 3) ADD_FAILURE() << "pixel " << x << "," << y;
        }
    return wrong;
}

std::vector<std::string> names(const KGraphPanel* graph) {
    std::vector<KCurve*> curves;
    graph->getCurveList(curves);
    std::vector<std::string> out;
    for (KCurve* c : curves) out.emplace_back(c->getText().c_str());
    return out;
}

}  // namespace

TEST(KGraphFrameTest, BuildsItsPartsAndGraphsFromARecord) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    EXPECT_STREQ(frame->getTitle().c_str(), "Advanced Graph Frame");
    EXPECT_NE(frame->findComponent("footer.cn1"), nullptr);
    EXPECT_NE(frame->findComponent("footer.cn3"), nullptr);
    EXPECT_NE(frame->findComponent("footer.axis.Slider1"), nullptr);
    EXPECT_EQ(frame->getClient(), frame->getGraphClient());
    KGraphFrame bare;
    EXPECT_EQ(raised([&] { bare.getAxis(); }).getText(), KString("Unable to find axis panel."));

    auto record = threePhase();
    frame->addRecord(record.get());
    canvas.layout();
    canvas.pumpTasks();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    // Currents together, voltages apart, the status channel that changes in a status graph.
    ASSERT_EQ(graphs.size(), 3u);
    EXPECT_EQ(names(graphs[0]), (std::vector<std::string>{"IA", "IB"}));
    EXPECT_EQ(names(graphs[1]), (std::vector<std::string>{"VA"}));
    EXPECT_EQ(names(graphs[2]), (std::vector<std::string>{"TRIP"}));
    EXPECT_NE(k_dynamic_cast<KGraphPanelDigital>(graphs[2]), nullptr);
    // The whole record in view, the trigger shown, the markers off.
    KGraphAxis* axis = frame->getAxis();
    EXPECT_DOUBLE_EQ(axis->getXRange().getMinimum(), -0.05);
    EXPECT_DOUBLE_EQ(axis->getXRange().getMaximum(), record->getXData()[639]);
    EXPECT_TRUE(axis->isTriggerEnabled());
    EXPECT_FALSE(axis->isMarkerXEnabled() || axis->isMarkerOEnabled());
    for (KGraphPanel* g : graphs) {
        EXPECT_EQ(g->getXRange(), axis->getXRange());
        EXPECT_TRUE(g->isTriggerEnabled());
    }
    // Every plot lines up with the axis.
    for (KGraphPanel* g : graphs) {
        EXPECT_EQ(g->getLocationOnCanvas().x + g->getPlotRectangle().left, axis->getLocationOnCanvas().x + axis->getClientRect().left);
        EXPECT_EQ(g->getLocationOnCanvas().x + g->getPlotRectangle().right, axis->getLocationOnCanvas().x + axis->getClientRect().right);
    }
    // A chosen set of channels only.
    KCanvas other(1000, 600);
    KGraphFrame* some = frameOn(other);
    some->addRecord(record.get(), {2});
    std::vector<KGraphPanel*> one;
    some->getGraphList(one);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(names(one[0]), (std::vector<std::string>{"VA"}));
}

TEST(KGraphFrameTest, KeepsEveryGraphInStepWithTheAxis) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase();
    frame->addRecord(record.get());
    canvas.layout();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    // One graph zooms: all follow, and the axis with them.
    ASSERT_TRUE(graphs[1]->zoomInX());
    for (KGraphPanel* g : graphs) EXPECT_EQ(g->getXRange(), frame->getAxis()->getXRange());
    double lo, hi;
    frame->getAperture(lo, hi);
    EXPECT_DOUBLE_EQ(lo, frame->getAxis()->getXRange().getMinimum());
    EXPECT_DOUBLE_EQ(hi, frame->getAxis()->getXRange().getMaximum());
    frame->panDisplay(0.01);
    for (KGraphPanel* g : graphs) EXPECT_DOUBLE_EQ(g->getXRange().getMinimum(), lo + 0.01);

    // Markers never placed: toggling shows both at the first sample.
    frame->toggleMarkers();
    KGraphAxis* axis = frame->getAxis();
    EXPECT_TRUE(axis->isMarkerXEnabled() && axis->isMarkerOEnabled());
    EXPECT_DOUBLE_EQ(axis->getMarkerXPosition(), -0.05);
    EXPECT_DOUBLE_EQ(axis->getMarkerOPosition(), -0.05);
    for (KGraphPanel* g : graphs) EXPECT_TRUE(g->isMarkersEnabled());
    // One cycle apart: the read-outs say so.
    frame->setMarkerXPosition(0.0);
    frame->setMarkerOPosition(1.0 / 60.0);
    EXPECT_STREQ(frame->getReadout(0)->getText().c_str(), "X 0.000 ms");
    EXPECT_STREQ(frame->getReadout(1)->getText().c_str(), "O 16.667 ms");
    EXPECT_STREQ(frame->getReadout(2)->getText().c_str(), "O-X 16.667 ms");
    EXPECT_STREQ(frame->getReadout(3)->getText().c_str(), "1.00 cycles");
    EXPECT_STREQ(frame->getReadout(4)->getText().c_str(), "1/(O-X) 60.000Hz");
    for (KGraphPanel* g : graphs) EXPECT_DOUBLE_EQ(g->getMarkerOPosition(), 1.0 / 60.0);
    // The meters read the curves at the markers.
    KGraphMeter* meter = graphs[0]->getMeter();
    ASSERT_NE(meter, nullptr);
    EXPECT_TRUE(meter->isVisible());
    KString atX, atO, difference;
    meter->getRowTexts(0, atX, atO, difference);
    EXPECT_STREQ(atX.c_str(), "0.00A");
    EXPECT_FALSE(graphs[0]->getCurveClient()->isVisible()) << "the meter names the curves in the legend's place";
    meter->getRowTexts(-1, atX, atO, difference);
    EXPECT_STREQ(difference.c_str(), "O-X");
    KGraphMeter* states = graphs[2]->getMeter();
    states->getRowTexts(0, atX, atO, difference);
    EXPECT_STREQ(atX.c_str(), "Low");
    EXPECT_STREQ(atO.c_str(), "Low");
    frame->setMarkerOPosition(0.03);
    states->getRowTexts(0, atX, atO, difference);
    EXPECT_STREQ(atO.c_str(), "High");
    EXPECT_STREQ(difference.c_str(), "changed");
    // Toggled again: both go, the read-outs empty.
    frame->toggleMarkers();
    EXPECT_FALSE(axis->isMarkerXEnabled());
    EXPECT_STREQ(frame->getReadout(0)->getText().c_str(), "X  ---");
    EXPECT_FALSE(meter->isVisible());
    EXPECT_TRUE(graphs[0]->getCurveClient()->isVisible());
}

TEST(KGraphFrameTest, MarkersAreDraggedOnTheAxisAndInThePlots) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase();
    frame->addRecord(record.get());
    canvas.layout();
    frame->toggleMarkers();
    frame->setMarkerXPosition(0.0);
    frame->setMarkerOPosition(0.01);
    canvas.paint();
    KGraphAxis* axis = frame->getAxis();
    const CPoint origin = axis->getLocationOnCanvas();
    const int column = origin.x + axis->toLogicalX(0.0);
    const int target = origin.x + axis->toLogicalX(0.005);
    canvas.mousePress(CPoint(column + 2, origin.y + 5));
    EXPECT_EQ(canvas.getCursorName(), KString("HAND_CLOSE"));
    canvas.mouseDrag(CPoint(target, origin.y + 5));
    // While dragging, the read-out follows and the graphs wait.
    const std::string shown = frame->getReadout(0)->getText().c_str();
    ASSERT_EQ(shown.rfind("X ", 0), 0u);
    EXPECT_NEAR(std::stod(shown.substr(2)), 5.0, 0.2) << shown;
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    EXPECT_DOUBLE_EQ(graphs[0]->getMarkerXPosition(), 0.0);
    canvas.mouseRelease(CPoint(target, origin.y + 5));
    canvas.pumpTasks();
    EXPECT_NEAR(axis->getMarkerXPosition(), 0.005, 0.0005);
    EXPECT_DOUBLE_EQ(graphs[0]->getMarkerXPosition(), axis->getMarkerXPosition());
    EXPECT_TRUE(canvas.getCursorName().isEmpty());
    // In a plot: a press on O's line takes O along.
    KGraphPanel* g = graphs[0];
    const CPoint at = g->getLocationOnCanvas();
    const CRect plot = g->getPlotRectangle();
    const int o = at.x + plot.left + g->toLogicalX(0.01);
    const int to = at.x + plot.left + g->toLogicalX(0.02);
    canvas.mousePress(CPoint(o + 1, at.y + plot.top + 10));
    canvas.mouseDrag(CPoint(to, at.y + plot.top + 12));
    canvas.mouseRelease(CPoint(to, at.y + plot.top + 12));
    EXPECT_NEAR(axis->getMarkerOPosition(), 0.02, 0.0005);
    EXPECT_NEAR(graphs[2]->getMarkerOPosition(), 0.02, 0.0005);
}

TEST(KGraphFrameTest, InsertedCurvesTakeTheirTimesFromTheirEnds) {
    KCanvas canvas(800, 500);
    KGraphFrame* frame = frameOn(canvas);
    double values[] = {1, NAN, 3};
    // A non-finite value is skipped without advancing the time.
    KCurve* skipped = frame->insertCurve(values, 3, 0, 2, "skip");
    ASSERT_NE(skipped, nullptr);
    ASSERT_EQ(skipped->getSampleCount(), 2);
    EXPECT_EQ(skipped->getXData()[1], 1.0);
    EXPECT_EQ(skipped->getYData()[1], 3.0);
    EXPECT_STREQ(skipped->getText().c_str(), "skip");
    // An end not after the start spaces the samples 1 apart.
    double flat[] = {4, 5, 6};
    KCurve* same = frame->insertCurve(flat, 3, 2, 2, "same");
    KCurve* back = frame->insertCurve(flat, 3, 5, 1, "back");
    EXPECT_EQ(same->getXData()[2], 4.0);
    EXPECT_EQ(back->getXData()[1], 6.0);
    EXPECT_EQ(frame->insertCurve(nullptr, 3, 0, 1, "none"), nullptr);
    EXPECT_EQ(frame->insertCurve(flat, 0, 0, 1, "none"), nullptr);
    // More values go on at the same step.
    double more[] = {7, 8};
    EXPECT_TRUE(frame->appendDataToCurve(more, 2, "same"));
    EXPECT_EQ(same->getSampleCount(), 5);
    EXPECT_EQ(same->getXData()[4], 6.0);
    std::vector<KCurve*> curves;
    frame->getCurveList(curves);
    EXPECT_EQ(curves.size(), 3u);
    EXPECT_TRUE(frame->removeCurve("back"));
    EXPECT_FALSE(frame->removeCurve("back"));
    EXPECT_TRUE(frame->removeCurve(0));
    curves.clear();
    frame->getCurveList(curves);
    EXPECT_EQ(curves.size(), 1u);
}

TEST(KGraphFrameTest, AStoredFrameLoadsBackEqual) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase();
    frame->addRecord(record.get());
    double values[] = {1, 2, 3};
    frame->insertCurve(values, 3, 0, 0.01, "extra");
    canvas.layout();
    frame->toggleMarkers();
    frame->setMarkerXPosition(0.002);
    frame->setMarkerOPosition(0.012);
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    graphs[0]->zoomInX();
    graphs[0]->setGridEnabled(false);
    std::vector<KCurve*> curves;
    frame->getCurveList(curves);
    curves[1]->setLineWidth(3);

    auto loaded = roundTrip<KGraphFrame>(*frame);
    KCanvas again(1000, 600);
    KGraphFrame* copy = loaded.release();
    again.setRoot(copy);
    std::vector<KGraphPanel*> copies;
    copy->getGraphList(copies);
    ASSERT_EQ(copies.size(), graphs.size());
    for (size_t i = 0; i < graphs.size(); ++i) {
        EXPECT_STREQ(copies[i]->getClassName(), graphs[i]->getClassName());
        EXPECT_EQ(copies[i]->getXRange(), graphs[i]->getXRange());
        EXPECT_EQ(copies[i]->getYRange(), graphs[i]->getYRange());
        EXPECT_EQ(names(copies[i]), names(graphs[i]));
    }
    EXPECT_FALSE(copies[0]->isGridEnabled());
    EXPECT_DOUBLE_EQ(copy->getMarkerXPosition(), 0.002);
    EXPECT_TRUE(copy->getAxis()->isMarkersEnabled());
    // The curves show their records again, sample for sample.
    std::vector<KCurve*> copied;
    copy->getCurveList(copied);
    ASSERT_EQ(copied.size(), curves.size());
    EXPECT_EQ(copied[1]->getLineWidth(), 3);
    for (size_t i = 0; i < curves.size(); ++i) {
        ASSERT_EQ(copied[i]->getSampleCount(), curves[i]->getSampleCount()) << i;
        for (int k = 0; k < curves[i]->getSampleCount(); ++k) {
            ASSERT_EQ(copied[i]->getYData()[k], curves[i]->getYData()[k]);
            ASSERT_EQ(copied[i]->getXData()[k], curves[i]->getXData()[k]);
        }
    }
    // The records read back live as long as their curves, not the original.
    record.reset();
    EXPECT_EQ(copied[0]->getSampleCount(), 640);
    again.layout();
    again.paint();
}

// Moving the markers repaints the columns they leave and enter (and the read-outs), not the
// graphs between them, and the window ends up as a whole paint would draw it.
TEST(KGraphFrameTest, AMarkerMoveRepaintsItsColumnsAndMatchesAWholePaint) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase(4000);
    frame->addRecord(record.get());
    canvas.layout();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    std::vector<KCurve*> curves;
    graphs[0]->getCurveList(curves);
    ASSERT_GE(curves.size(), 2u);
    curves[0]->setLineWidth(3);
    curves[1]->setRenderStyle(KWaveformPainter::LINE_POINT);
    frame->toggleMarkers();
    frame->setMarkerXPosition(0.0);
    frame->setMarkerOPosition(0.01);
    canvas.pumpTasks();
    canvas.update();
    const CPoint at = graphs[0]->getLocationOnCanvas();
    const CRect plot = graphs[0]->getPlotRectangle() + at;
    for (const auto& [x, o] : std::vector<std::pair<double, double>>{
             {0.0005, 0.01}, {0.0005, 0.03}, {-0.02, 0.05}, {0.3, 0.04}}) {
        frame->setMarkerXPosition(x);
        frame->setMarkerOPosition(o);
        canvas.pumpTasks();
        // Nothing repainted spans the plot from side to side.
        for (const CRect& r : canvas.getDamage().getRects()) {
            CRect common;
            if (common.IntersectRect(r, plot))
                EXPECT_LT(common.Width(), plot.Width() / 4) << x << " " << o;
        }
        canvas.update();
    }
    EXPECT_EQ(pixelsApartFromAWholePaint(canvas), 0);
}

// Panning moves the plots' pixels along and repaints only the columns that come into view
// and those by the plots' edges; the window ends up as a whole paint draws the new view.
// Dense samples (summarised columns) and sparse ones (lines from beyond the edges), a wide
// line with points, the dark scheme, a focused graph with its thick edge, markers and the
// trigger in view and leaving it, pans by keys and by whole columns, and two pans between
// paints.
TEST(KGraphFrameTest, APanMovesThePlotsAndEndsAsAWholePaint) {
    struct Case {
        const char* what;
        int samples;
        int zoomSteps;
        bool dark, focused, wide;
    };
    for (const Case& c : {Case{"dense", 40000, 2, false, false, false},
                          Case{"sparse", 640, 5, false, true, false},
                          Case{"wide, dark", 4000, 3, true, false, true}}) {
        SCOPED_TRACE(c.what);
        KCanvas canvas(1000, 600);
        KGraphFrame* frame = frameOn(canvas);
        auto record = threePhase(c.samples);
        frame->addRecord(record.get());
        canvas.layout();
        std::vector<KGraphPanel*> graphs;
        frame->getGraphList(graphs);
        ASSERT_GE(graphs.size(), 2u);
        std::vector<KCurve*> curves;
        graphs[0]->getCurveList(curves);
        if (c.wide) {
            curves[0]->setLineWidth(3);
            curves[1]->setRenderStyle(KWaveformPainter::LINE_POINT);
        }
        if (c.dark) frame->setMode(1);
        if (c.focused) KComponent::setFocus(graphs[0]);
        frame->toggleMarkers();
        frame->setMarkerXPosition(0.0);
        frame->setMarkerOPosition(0.004);
        for (int i = 0; i < c.zoomSteps; ++i) frame->zoomX(true);
        canvas.pumpTasks();
        canvas.update();
        KGraphAxis* axis = frame->getAxis();
        const CPoint at = graphs[0]->getLocationOnCanvas();
        const CRect plot = graphs[0]->getPlotRectangle() + at;
        const int w = plot.Width();
        auto byColumns = [&](int columns) {
            double lo, hi;
            axis->getRange(lo, hi);
            frame->setAperture(lo + columns * (hi - lo) / w, hi + columns * (hi - lo) / w);
        };
        // Focus on the axis for its keys, clicked where it has no mark.
        const CPoint axisAt = axis->getLocationOnCanvas() + CPoint(axis->getSize().cx / 2 + 7, 4);
        canvas.mousePress(axisAt);
        canvas.mouseRelease(axisAt);
        if (c.focused) KComponent::setFocus(graphs[0]);
        // The first pan after a zoom may take another grid step, which repaints.
        byColumns(1);
        canvas.update();
        const std::vector<std::function<void()>> pans = {
            [&] { byColumns(7); },
            [&] { byColumns(-3); },
            [&] { byColumns(1); byColumns(25); },
            // The axis' keys, when it has the focus.
            [&] { c.focused ? byColumns(60) : canvas.keyPress(KEvent::VK_RIGHT); },
            [&] {
                if (c.focused) byColumns(-90);
                for (int k = 0; k < 2 && !c.focused; ++k) canvas.keyPress(KEvent::VK_LEFT);
            },
            [&] { byColumns(-40); },
            [&] { canvas.mouseWheel(plot.CenterPoint(), -120, KEvent::SHIFT); },
        };
        for (size_t i = 0; i < pans.size(); ++i) {
            SCOPED_TRACE(i);
            double loWas, hiWas, lo, hi;
            axis->getRange(loWas, hiWas);
            pans[i]();
            canvas.pumpTasks();
            axis->getRange(lo, hi);
            EXPECT_NE(lo, loWas);
            EXPECT_NEAR(hi - lo, hiWas - loWas, (hi - lo) * 1e-9);
            // Nothing repainted spans the plot from side to side.
            for (const CRect& r : canvas.getDamage().getRects()) {
                CRect common;
                if (common.IntersectRect(r, plot)) EXPECT_LT(common.Width(), w / 2);
            }
            canvas.update();
            EXPECT_EQ(pixelsApartFromAWholePaint(canvas), 0);
        }
    }
}

// Marks that do not move with the time (the curves' glyphs at fixed columns, a bar graph's
// hatches): a pan repaints such a graph whole, and moves the others' pictures.
TEST(KGraphFrameTest, APanRepaintsGraphsWithMarksAtFixedPlacesWhole) {
    KCanvas canvas(1000, 700);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase(4000);
    frame->addRecord(record.get());
    KGraphPanel* bars = frame->addBarGraph();
    bars->addCurve(curveOf(*record, 0));
    canvas.layout();
    frame->zoomX(true);
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    graphs[0]->setFlag(KGraphPanel::GLYPHS, true);
    canvas.update();
    double lo, hi;
    frame->getAxis()->getRange(lo, hi);
    const double column = (hi - lo) / graphs[0]->getPlotRectangle().Width();
    frame->setAperture(lo + 5 * column, hi + 5 * column);
    EXPECT_EQ(canvas.getScrollCount(), static_cast<int>(graphs.size()) - 2);  // the others'
    for (KGraphPanel* g : {graphs[0], bars}) {
        const CRect plot = g->getPlotRectangle() + g->getLocationOnCanvas();
        bool whole = false;
        for (const CRect& r : canvas.getDamage().getRects()) {
            CRect common;
            whole = whole || (common.IntersectRect(r, plot) && common == plot);
        }
        EXPECT_TRUE(whole);
    }
    canvas.update();
    EXPECT_EQ(pixelsApartFromAWholePaint(canvas), 0);
}

// Markers switched on bring the graphs' read-outs in the legends' place: the room beside
// the plots grows to hold them whole, as a layout afresh would have it. So it does for a
// graph whose read-out comes later with its curves, wider than the others'.
TEST(KGraphFrameTest, ReadOutsThatComeWithTheMarkersGetTheirRoom) {
    const std::string path = comtradeData("COMTRADE.jl/1999-ascii-pq.cfg");
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no shared records";
    KRecord record;
    KComtradeReader().read(path.c_str(), record);
    KCanvas canvas(1280, 800);
    KGraphFrame* frame = frameOn(canvas);
    frame->addRecord(&record);
    canvas.layout();
    canvas.pumpTasks();
    canvas.update();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    auto checkMeters = [&] {
        canvas.pumpTasks();
        graphs.clear();
        frame->getGraphList(graphs);
        for (KGraphPanel* g : graphs) {
            const KGraphMeter* meter = g->getMeter();
            EXPECT_TRUE(meter != nullptr && meter->isVisible());
            if (meter != nullptr) EXPECT_GE(meter->getBounds().Width(), meter->getPreferredSize().cx);
        }
        canvas.update();
        EXPECT_EQ(pixelsApartFromAWholePaint(canvas), 0);
        const int right = graphs.front()->getPlotRectangle().right;
        canvas.layout();
        EXPECT_EQ(graphs.front()->getPlotRectangle().right, right);
        return right;
    };
    const int legends = graphs.front()->getPlotRectangle().right;
    frame->toggleMarkers();
    const int meters = checkMeters();
    EXPECT_LT(meters, legends);
    record.setTraceName(0, "Ia feeder 7 busbar side");
    frame->addAnalogGraph()->addCurve(curveOf(record, 0));
    EXPECT_LT(checkMeters(), meters);
}

TEST(KGraphFrameTest, OddRecordsDrawWithoutFault) {
    struct Case {
        const char* what;
        std::vector<double> x;
        std::vector<double> y;
    };
    const std::vector<Case> cases = {
        {"one sample", {0.5}, {3}},
        {"all NaN", {0, 1, 2}, {NAN, NAN, NAN}},
        {"constant", {0, 1, 2, 3}, {7, 7, 7, 7}},
        {"huge", {0, 1, 2}, {1e300, -1e300, 1e300}},
        {"tiny", {0, 1e-12, 2e-12}, {1e-300, 2e-300, -1e-300}},
        {"backwards", {0, 2, 1, 3}, {1, 2, 3, 4}},
        {"infinite", {0, 1, 2}, {INFINITY, 1, -INFINITY}},
    };
    for (const Case& c : cases) {
        KCanvas canvas(600, 400);
        KGraphFrame* frame = frameOn(canvas);
        auto record = makeRecord(c.x, {c.y});
        frame->addRecord(record.get());
        canvas.layout();
        canvas.pumpTasks();
        frame->toggleMarkers();
        canvas.paint();
        const KRange& range = frame->getAxis()->getXRange();
        EXPECT_TRUE(std::isfinite(range.getMinimum()) && range.getMaximum() > range.getMinimum()) << c.what;
        std::vector<KGraphPanel*> graphs;
        frame->getGraphList(graphs);
        ASSERT_EQ(graphs.size(), 1u) << c.what;
        EXPECT_TRUE(std::isfinite(graphs[0]->getYRange().getMinimum())) << c.what;
        graphs[0]->zoomInX();
        graphs[0]->setCrossHairEnabled(true);
        canvas.mouseMove(CPoint(300, 100));
        canvas.paint();
    }
}

// The frame's controls: a click on a legend entry, the axis slider, the offset control.
TEST(KGraphFrameTest, LegendSliderAndOffsetControlWork) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase();
    frame->addRecord(record.get());
    canvas.layout();
    canvas.pumpTasks();
    canvas.paint();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    auto* currents = static_cast<KGraphPanelAnalog*>(graphs[0]);
    std::vector<KCurve*> curves;
    currents->getCurveList(curves);
    ASSERT_EQ(currents->getActiveCurve(), curves[1]);
    // A click on IA's entry makes it the active curve and its graph the active graph.
    frame->setActiveGraph(graphs[1]);
    const CPoint entry = curves[0]->getLocationOnCanvas() + CPoint(8, curves[0]->getSize().cy / 2);
    canvas.mousePress(entry);
    canvas.mouseRelease(entry);
    canvas.pumpTasks();
    EXPECT_EQ(currents->getActiveCurve(), curves[0]);
    EXPECT_EQ(frame->getActiveGraph(), currents);

    // Dragging the slider's thumb pans every graph.
    frame->setXRange(-0.04, -0.02);
    canvas.paint();
    KSlider* slider = frame->getAxis()->getSlider();
    const CRect thumb = slider->getThumbRect();
    const CPoint at = slider->getLocationOnCanvas() + thumb.CenterPoint();
    const double before = graphs[2]->getXRange().getMinimum();
    canvas.mousePress(at);
    canvas.mouseDrag(at + CPoint(100, 0));
    canvas.mouseRelease(at + CPoint(100, 0));
    EXPECT_GT(graphs[2]->getXRange().getMinimum(), before);
    EXPECT_EQ(graphs[2]->getXRange(), frame->getAxis()->getXRange());
    double lo, hi;
    slider->getAperture(lo, hi);
    EXPECT_DOUBLE_EQ(lo, graphs[0]->getXRange().getMinimum());

    // The offset control shifts the active curve.
    KEvent offset = KEvent::command(0, "GRAPH.OFFSET");
    currents->onCommand(offset);
    KSpinControl* spin = currents->getOffsetControl();
    ASSERT_TRUE(spin->isVisible());
    spin->spin(5);
    EXPECT_DOUBLE_EQ(curves[0]->getYOffset(), spin->getValue());
    EXPECT_GT(curves[0]->getYOffset(), 0.0);
    EXPECT_DOUBLE_EQ(curves[0]->getYData()[0], record->getTrace(0)->getData()[0] + spin->getValue());
}

// A legend entry dragged onto another graph moves its curve there; let go where it was, it
// stays.
TEST(KGraphFrameTest, CurvesMoveBetweenGraphsByDraggingTheirLegendEntry) {
    KCanvas canvas(1000, 600);
    KGraphFrame* frame = frameOn(canvas);
    auto record = threePhase();
    frame->addRecord(record.get());
    canvas.layout();
    canvas.pumpTasks();
    canvas.paint();
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    std::vector<KCurve*> voltages;
    graphs[1]->getCurveList(voltages);
    KCurve* va = voltages[0];
    const COLORREF color = va->getLineColor();
    const CPoint entry = va->getLocationOnCanvas() + CPoint(8, 6);
    canvas.mousePress(entry);
    canvas.mouseDrag(entry + CPoint(0, 4));
    canvas.mouseRelease(entry + CPoint(0, 4));
    canvas.pumpTasks();
    EXPECT_EQ(graphs[1]->getCurveCount(), 1) << "a small wobble is a click";
    const CPoint target = graphs[0]->getLocationOnCanvas() + graphs[0]->getPlotRectangle().CenterPoint();
    canvas.mousePress(entry);
    canvas.mouseDrag(target);
    EXPECT_EQ(canvas.getCursorName(), KString("HAND_CLOSE"));
    canvas.mouseRelease(target);
    canvas.pumpTasks();
    EXPECT_EQ(graphs[1]->getCurveCount(), 0);
    EXPECT_EQ(names(graphs[0]), (std::vector<std::string>{"IA", "IB", "VA"}));
    EXPECT_EQ(va->getLineColor(), color);
    EXPECT_GE(graphs[0]->getYRange().getMaximum(), 100.0);
    EXPECT_TRUE(canvas.getCursorName().isEmpty());
}
