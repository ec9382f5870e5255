#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"

using namespace ktest;

namespace {

// An analog graph of its own on a canvas, with a curve of each column.
KGraphPanelAnalog* graphOn(KCanvas& canvas, KRecord& record) {
    auto* graph = new KGraphPanelAnalog();
    canvas.setRoot(graph);
    graph->create();
    for (int t = 0; t < record.getTraceCount(); ++t) graph->addCurve(curveOf(record, t));
    canvas.layout();
    graph->resetZoomX();
    graph->resetZoomY();
    canvas.pumpTasks();
    return graph;
}

}  // namespace

TEST(KGraphPanelTest, MapsValuesToPixelsWithoutDividingByZero) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2, 3, 4}, {{0, 1, 2, 3, 4}});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    const CRect plot = graph->getPlotRectangle();
    ASSERT_GT(plot.Width(), 100);
    graph->setApeture(0.0, 4.0);
    EXPECT_EQ(graph->toLogicalX(0.0), 0);
    EXPECT_EQ(graph->toLogicalX(4.0), plot.Width());
    EXPECT_DOUBLE_EQ(graph->toRealX(plot.left + plot.Width() / 2), 4.0 * (plot.Width() / 2) / plot.Width());
    graph->setYRange(0.0, 4.0);
    graph->getYRange().setLimits(0.0, 4.0);
    EXPECT_EQ(graph->toLogicalY(4.0), 0);
    EXPECT_EQ(graph->toLogicalY(0.0), plot.Height());
    // A plot of no width maps every pixel as if it were one wide.
    canvas.setSize(graph->getLeftMarginNeeded() + graph->getRightMarginNeeded() - 20, 300);
    EXPECT_LE(graph->getPlotRectangle().Width(), 0);
    const double t = graph->toRealX(graph->getPlotRectangle().left + 3);
    EXPECT_TRUE(std::isfinite(t));
}

TEST(KGraphPanelTest, ZoomKeepsABoundedHistory) {
    KCanvas canvas(600, 300);
    auto record = makeRecord(times(4000, 0.0, 0.001), {sine(4000, 10.0)});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    // A window narrower than four digits is refused; so are ends at the limits of range.
    EXPECT_FALSE(graph->canZoom(1.0, 1.00005));
    EXPECT_TRUE(graph->canZoom(1.0, 1.002));
    EXPECT_FALSE(graph->canZoom(-1e15, 0.0));
    EXPECT_FALSE(graph->canZoom(0.0, 1e15));
    EXPECT_FALSE(graph->canZoom(0.0, 5e-16));
    EXPECT_TRUE(graph->canZoom(2e-9, 3e-9));
    EXPECT_FALSE(graph->canZoom(NAN, 1.0));

    // No history yet: nothing to undo.
    EXPECT_FALSE(graph->undoZoom());
    EXPECT_EQ(graph->getHistoryPosition(), KGraphPanel::NO_STEP);
    const double w0 = graph->getXRange().getRangeSize();
    ASSERT_TRUE(graph->zoomInX());
    EXPECT_NEAR(graph->getXRange().getRangeSize(), w0 / 2, w0 * 0.2);  // snapped to the grid
    for (int i = 0; i < 10; ++i) graph->zoomOutX();
    // Eleven steps: the ten newest are kept.
    EXPECT_EQ(graph->getHistoryCount(), KGraphPanel::HISTORY_SIZE);
    EXPECT_TRUE(graph->isAtMaximum());
    int undone = 0;
    while (!graph->isAtMinimum()) {
        ASSERT_TRUE(graph->undoZoom());
        ++undone;
    }
    EXPECT_EQ(undone, 9);
    EXPECT_EQ(raised([&] { graph->undoZoom(); }).getText(), KString("Stack underflow error."));
    EXPECT_TRUE(graph->redoZoom());
    const KRange redone = graph->getXRange();
    // A refused zoom leaves ranges and history as they were.
    graph->getXRange().setLimits(1.0, 1.00005);
    const int position = graph->getHistoryPosition();
    EXPECT_FALSE(graph->zoomInX());
    EXPECT_EQ(graph->getHistoryPosition(), position);
    graph->getXRange() = redone;
    // A new branch drops the steps after the present one.
    graph->zoomInX();
    EXPECT_TRUE(graph->isAtMaximum());
    EXPECT_EQ(graph->getHistoryPosition(), 2);
    graph->resetZoomX();
    EXPECT_EQ(graph->getHistoryPosition(), KGraphPanel::NO_STEP);
}

TEST(KGraphPanelTest, FlagsChooseWhatIsDrawn) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2, 3, 4}, {{0, 1, 0, -1, 0}});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    graph->getFlags().set(12);
    graph->setMarkersEnabled(true);
    graph->setMarkersEnabled(false);
    EXPECT_FALSE(graph->getFlag(7) || graph->getFlag(8));
    EXPECT_TRUE(graph->getFlag(12) && graph->isGridEnabled() && graph->isTriggerEnabled());

    auto markerLines = [&](COLORREF color) {
        int n = 0;
        const auto dc = recordPaint(*graph, CSize(600, 300));
        for (const auto* e : calls(*dc, CDC::Call::LineTo))
            n += e->state.pen.GetColor() == color && e->state.pen.GetStyle() == PS_DASH;
        return n;
    };
    // Marker X without marker O is still drawn.
    graph->setMarkerPositions(1.0, 3.0);
    graph->setMarkerXEnabled(true);
    EXPECT_EQ(markerLines(KGraphAxis::MARKER_X_COLOR), 1);
    EXPECT_EQ(markerLines(KGraphAxis::MARKER_O_COLOR), 0);
    graph->setMarkerOEnabled(true);
    EXPECT_EQ(markerLines(KGraphAxis::MARKER_O_COLOR), 1);

    // The dark scheme: a black plot, the curve in its bright colour.
    graph->setOption(KGraphPanel::INVERTED, true);
    auto dc = recordPaint(*graph, CSize(600, 300));
    bool black = false, bright = false;
    for (const auto& e : dc->GetEntries()) {
        black = black || (e.call == CDC::Call::FillRect && e.brush.GetColor() == 0 && e.rect == CRect(graph->getPlotRectangle().left, graph->getPlotRectangle().top, graph->getPlotRectangle().right + 1, graph->getPlotRectangle().bottom + 1));
        bright = bright || (e.call == CDC::Call::Polyline && e.state.pen.GetColor() == KGraphPanel::cColors2[0]);
    }
    EXPECT_TRUE(black);
    EXPECT_TRUE(bright);
}

TEST(KGraphPanelTest, ValueRangeFollowsTheDataUnlessToldOtherwise) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2}, {{NAN, NAN, NAN}, {1e-12, 3e-12, 2e-12}});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    // Only the tiny values count; the curve of non-numbers adds nothing.
    EXPECT_LE(graph->getYRange().getMinimum(), 1e-12);
    EXPECT_GE(graph->getYRange().getMaximum(), 3e-12);
    EXPECT_LT(graph->getYRange().getMaximum(), 1e-11);

    graph->getYRange().setLimits(-5, 5);
    graph->setManualScaling(true);
    EXPECT_FALSE(graph->resetZoomY());
    EXPECT_EQ(graph->getYRange().getMaximum(), 5.0);
    graph->setManualScaling(false);
    graph->setAutoRange(true);
    graph->setAutoRangeExtents(-100, 100);
    EXPECT_TRUE(graph->resetZoomY());
    EXPECT_EQ(graph->getYRange().getMinimum(), -100.0);

    // A graph whose curves hold only non-numbers keeps its range.
    KCanvas other(600, 300);
    auto empty = makeRecord({0, 1}, {{NAN, NAN}});
    KGraphPanelAnalog* blank = graphOn(other, *empty);
    blank->getYRange().setLimits(-2, 2);
    EXPECT_FALSE(blank->resetZoomY());
    EXPECT_EQ(blank->getYRange().getMinimum(), -2.0);
    // A constant trace gets a range around its value.
    auto flat = makeRecord({0, 1, 2}, {{5, 5, 5}});
    KCanvas third(600, 300);
    KGraphPanelAnalog* level = graphOn(third, *flat);
    EXPECT_LT(level->getYRange().getMinimum(), 5.0);
    EXPECT_GT(level->getYRange().getMaximum(), 5.0);
}

TEST(KGraphPanelTest, MouseZoomsByBoxAndWheelAndReadsTheCrossHair) {
    KCanvas canvas(800, 400);
    auto record = makeRecord(times(1000, 0.0, 0.001), {sine(1000, 100.0)});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    canvas.paint();
    const CRect plot = graph->getPlotRectangle();
    const double lo = graph->getXRange().getMinimum(), hi = graph->getXRange().getMaximum();
    // A drag over the middle half, with Shift: the time only.
    const int a = plot.left + plot.Width() / 4, b = plot.left + 3 * plot.Width() / 4;
    const double ylo = graph->getYRange().getMinimum();
    canvas.mousePress(CPoint(a, plot.top + 20), KEvent::BUTTON1 | KEvent::SHIFT);
    canvas.mouseDrag(CPoint(b, plot.top + 40), KEvent::BUTTON1 | KEvent::SHIFT);
    canvas.mouseRelease(CPoint(b, plot.top + 40), KEvent::BUTTON1 | KEvent::SHIFT);
    EXPECT_NEAR(graph->getXRange().getMinimum(), lo + (hi - lo) / 4, (hi - lo) / 100);
    EXPECT_NEAR(graph->getXRange().getMaximum(), lo + 3 * (hi - lo) / 4, (hi - lo) / 100);
    EXPECT_EQ(graph->getYRange().getMinimum(), ylo);
    // A click is not a zoom.
    const KRange before = graph->getXRange();
    canvas.mousePress(CPoint(a, plot.top + 20));
    canvas.mouseRelease(CPoint(a + 2, plot.top + 21));
    EXPECT_EQ(graph->getXRange(), before);
    // The wheel zooms around the pointer: the time under it stays where it is.
    const int px = plot.left + plot.Width() / 3;
    const double under = graph->toRealX(px);
    canvas.mouseWheel(CPoint(px, plot.top + 10), 120);
    EXPECT_LT(graph->getXRange().getRangeSize(), before.getRangeSize());
    EXPECT_NEAR(graph->toRealX(px), under, graph->getXRange().getRangeSize() / plot.Width());

    // The cross hair: the time and the curve's value at the pointer, as a tooltip.
    graph->setCrossHairEnabled(true);
    canvas.mouseMove(CPoint(px, plot.top + 10));
    const std::string tip = canvas.getTooltip().c_str();
    EXPECT_EQ(tip.rfind("x:\t", 0), 0u);
    EXPECT_NE(tip.find("\ny1:\t"), std::string::npos);
    EXPECT_NE(tip.find("T1"), std::string::npos);
    canvas.mouseMove(CPoint(2, 2));
    EXPECT_TRUE(canvas.getTooltip().isEmpty());

    // Keys are the menu's accelerators.
    graph->resetZoomX();
    KComponent::setFocus(graph);
    const double full = graph->getXRange().getRangeSize();
    canvas.keyPress('+');
    EXPECT_LT(graph->getXRange().getRangeSize(), full);
    canvas.keyPress('P');
    EXPECT_EQ(graph->getHistoryPosition(), 0);
    canvas.keyPress('X');
    EXPECT_EQ(graph->getXRange().getRangeSize(), full);
    const bool grid = graph->isGridEnabled();
    canvas.keyPress('G');
    EXPECT_NE(graph->isGridEnabled(), grid);
    canvas.keyPress('C');
    EXPECT_FALSE(graph->isCrossHairEnabled());
}

TEST(KGraphPanelTest, PastedCurvesReplaceThoseShownWhenAllowed) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2}, {{1, 2, 3}});
    KGraphPanelAnalog* graph = graphOn(canvas, *record);
    KComponent::cutClip(curveOf(*record, 0));
    // Asked, the answer No keeps the curve there and refuses the paste.
    canvas.queueMessageBoxAnswer(KHost::IDNO);
    EXPECT_THROW(KComponent::pasteClip(graph, false), KException);
    ASSERT_EQ(canvas.getShownMessages().size(), 1u);
    EXPECT_STREQ(canvas.getShownMessages()[0].c_str(), "Replace existing curve?");
    EXPECT_EQ(graph->getCurveCount(), 1);
    // Yes replaces it.
    canvas.queueMessageBoxAnswer(KHost::IDYES);
    KCurve* pasted = static_cast<KCurve*>(KComponent::pasteClip(graph, false));
    EXPECT_EQ(graph->getCurveCount(), 1);
    EXPECT_EQ(graph->getActiveCurve(), pasted);
    EXPECT_FALSE(graph->wasEmptyOnPaste());
    // Pasted text becomes curves that keep their record alive between them.
    char text[] = "a;b\n1;2\n3;4\n";
    std::vector<KCurve*> added;
    graph->setDirectPaste(true);
    ASSERT_TRUE(graph->pasteRawData(added, text, static_cast<int>(sizeof text - 1)));
    ASSERT_EQ(added.size(), 2u);
    delete added[0];
    EXPECT_EQ(added[1]->getSampleCount(), 3);
    EXPECT_EQ(added[1]->getYData()[2], 4.0);
}
