#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "graph/GraphTestSupport.h"

using namespace ktest;

namespace {

// A bar graph of its own on a canvas, with a curve of each column, fitted to the data.
KBarGraphPanel* barsOn(KCanvas& canvas, KRecord& record, int curves = -1) {
    auto* graph = new KBarGraphPanel();
    canvas.setRoot(graph);
    graph->create();
    const int n = curves < 0 ? record.getTraceCount() : curves;
    for (int t = 0; t < n; ++t) graph->addCurve(curveOf(record, t));
    canvas.layout();
    graph->resetZoomX();
    graph->resetZoomY();
    canvas.pumpTasks();
    return graph;
}

// The bars drawn in the colour: lines 3 pixels wide (display option bars).
std::vector<const CRecordingDC::Entry*> barsIn(const CRecordingDC& dc, COLORREF color) {
    std::vector<const CRecordingDC::Entry*> out;
    for (const auto* e : calls(dc, CDC::Call::LineTo))
        if (e->state.pen.GetWidth() == 3 && e->state.pen.GetColor() == color) out.push_back(e);
    return out;
}

// The columns filled in the colour inside the plot (the legend's marks are outside it).
std::vector<const CRecordingDC::Entry*> fills(const CRecordingDC& dc, const KGraphPanel& graph,
                                              COLORREF color, CBrush::Kind kind) {
    CRect plot = graph.getPlotRectangle();
    plot.InflateRect(1, 1);
    std::vector<const CRecordingDC::Entry*> out;
    for (const auto* e : calls(dc, CDC::Call::FillRect))
        if (e->brush.GetColor() == color && e->brush.GetKind() == kind &&
            plot.PtInRect(e->rect.TopLeft()))
            out.push_back(e);
    return out;
}

// The column outlines in the colour: four one-pixel lines each.
int outlines(const CRecordingDC& dc, const KGraphPanel& graph, COLORREF color) {
    CRect plot = graph.getPlotRectangle();
    plot.InflateRect(1, 1);
    int n = 0;
    for (const auto* e : calls(dc, CDC::Call::LineTo))
        n += e->state.pen.GetColor() == color && e->state.pen.GetWidth() == 1 &&
             plot.PtInRect(e->points[0]);
    return n / 4;
}

}  // namespace

TEST(KBarGraphPanelTest, SettingsKeepTheirRangesAndNames) {
    KBarGraphPanel graph;
    EXPECT_EQ(graph.getName(), KString("KBarGraphPanel"));
    EXPECT_EQ(graph.getDisplayMode(), KBarGraphPanel::OVERLAY);
    EXPECT_EQ(graph.getDisplayOption(), KBarGraphPanel::BARS);
    graph.setDisplayOption(2);
    graph.setDisplayMode(3);
    graph.setDisplayMode(-1);
    EXPECT_EQ(graph.getDisplayOption(), 3);
    EXPECT_EQ(graph.getDisplayMode(), 0);
    graph.setDisplayOption(5);
    graph.setDisplayMode(2);
    EXPECT_EQ(graph.getDisplayOption(), 5);
    EXPECT_EQ(graph.getDisplayMode(), 2);
    EXPECT_STREQ(KBarGraphPanel::getDisplayModeName(1), "Offset");
    EXPECT_STREQ(KBarGraphPanel::getDisplayOptionName(5), "Columns Filled");
    EXPECT_EQ(KBarGraphPanel::getDisplayOptionName(2), nullptr);
    // create makes the offset control and (when asked for) the meter.
    graph.create();
    EXPECT_NE(graph.getOffsetControl(), nullptr);
    EXPECT_NE(graph.getMeter(), nullptr);
    KBarGraphPanel bare(false);
    bare.create();
    EXPECT_EQ(bare.getMeter(), nullptr);
}

TEST(KBarGraphPanelTest, RangesFollowTheStackedTotalAndTheAutoRangeExtents) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2}, {{-5, 20, 3}, {-1, 2, 0}, {0, 1, 2}});
    KBarGraphPanel* graph = barsOn(canvas, *record, 1);
    // Auto range: a high end above the upper extent lands in lower.
    graph->setAutoRangeExtents(0, 10);
    double lower, upper;
    graph->getAutoRangeExtents(lower, upper);
    EXPECT_EQ(lower, 20);
    EXPECT_EQ(upper, 10);
    graph->setAutoRangeExtents(-10, 30);
    graph->getAutoRangeExtents(lower, upper);
    EXPECT_EQ(lower, -10);
    EXPECT_EQ(upper, 30);
    graph->setAutoRangeCtrl(true);
    EXPECT_TRUE(graph->resetZoomY());
    EXPECT_EQ(graph->getYRange().getMinimum(), -10);
    EXPECT_EQ(graph->getYRange().getMaximum(), 30);

    // Stacked: the panel's whole data range once per curve.
    auto three = makeRecord({0, 1, 2}, {{-1, 2, 0}, {0, 1, 1}, {0.5, 0.5, 0.5}});
    KBarGraphPanel* stack = barsOn(canvas, *three);
    double low = 99, high = 99;
    stack->getStackedYRange(low, high);
    EXPECT_EQ(low, -3);
    EXPECT_EQ(high, 6);
    stack->setDisplayMode(KBarGraphPanel::STACK);
    EXPECT_TRUE(stack->resetZoomY());
    EXPECT_EQ(stack->getYRange().getMinimum(), -3);
    EXPECT_EQ(stack->getYRange().getMaximum(), 6);
    // Manual range leaves the range alone; no curves leave the results alone.
    stack->setManualRangeY(true);
    stack->setYRange(0, 1);
    EXPECT_FALSE(stack->resetZoomY());
    EXPECT_EQ(stack->getYRange().getMaximum(), 1);
    KBarGraphPanel empty;
    empty.create();
    low = 7, high = 8;
    empty.getStackedYRange(low, high);
    EXPECT_EQ(low, 7);
    EXPECT_EQ(high, 8);
    EXPECT_FALSE(empty.resetZoomY());
}

TEST(KBarGraphPanelTest, DrawsBarsColumnsAndGaps) {
    KCanvas canvas(600, 300);
    auto record = makeRecord({0, 1, 2, 3, 4}, {{1, 2, NAN, 4, -1}, {2, 2, 2, 2, 2}});
    KBarGraphPanel* graph = barsOn(canvas, *record);
    std::vector<KCurve*> curves;
    graph->getCurveList(curves);
    const COLORREF first = curves[0]->getLineColor(), second = curves[1]->getLineColor();
    // Bars: one line per finite sample, standing on the baseline; the gap is skipped.
    auto dc = recordPaint(*graph, CSize(600, 300));
    auto bars = barsIn(*dc, first);
    ASSERT_EQ(bars.size(), 4u);
    const CRect plot = graph->getPlotRectangle();
    const int base = plot.top + graph->toLogicalY(0.0);
    for (const auto* b : bars) EXPECT_EQ(b->points[0].y, base);
    EXPECT_EQ(bars[0]->points[1].y, plot.top + graph->toLogicalY(1.0));
    EXPECT_EQ(bars[3]->points[1].y, plot.top + graph->toLogicalY(-1.0));
    // Overlay puts both curves' bars at the samples' columns; offset moves the second aside.
    const auto overlaid = barsIn(*dc, second);
    ASSERT_EQ(overlaid.size(), 5u);
    EXPECT_EQ(overlaid[0]->points[0].x, bars[0]->points[0].x);
    // (with room on the right for the last sample's columns)
    graph->setDisplayMode(KBarGraphPanel::OFFSET);
    graph->setXRange(0, 5);
    dc = recordPaint(*graph, CSize(600, 300));
    const auto shifted = barsIn(*dc, second);
    ASSERT_EQ(shifted.size(), 5u);
    EXPECT_GT(shifted[0]->points[0].x, barsIn(*dc, first)[0]->points[0].x);

    // Filled columns fill in the curve's colour; outlined ones draw rectangles; hatched ones
    // fill with a hatch of style (index + 3) mod 6.
    graph->setDisplayOption(KBarGraphPanel::COLUMNS_FILLED);
    dc = recordPaint(*graph, CSize(600, 300));
    EXPECT_EQ(fills(*dc, *graph, first, CBrush::SOLID).size(), 4u);
    EXPECT_EQ(outlines(*dc, *graph, first), 0);
    graph->setDisplayOption(KBarGraphPanel::COLUMNS);
    dc = recordPaint(*graph, CSize(600, 300));
    EXPECT_EQ(fills(*dc, *graph, first, CBrush::SOLID).size(), 0u);
    EXPECT_EQ(outlines(*dc, *graph, first), 4);
    EXPECT_EQ(outlines(*dc, *graph, second), 5);
    graph->setHatchEnabled(true);
    dc = recordPaint(*graph, CSize(600, 300));
    const auto hatched = fills(*dc, *graph, second, CBrush::HATCH);
    ASSERT_EQ(hatched.size(), 5u);
    EXPECT_EQ(hatched[0]->brush.GetHatchStyle(), (1 + 3) % 6);
}

TEST(KBarGraphPanelTest, AOneSampleCurveAndAStackDraw) {
    KCanvas canvas(600, 300);
    auto one = makeRecord({2.0}, {{5.0}});
    KBarGraphPanel* graph = barsOn(canvas, *one);
    graph->setXRange(0, 4);
    graph->setYRange(0, 10);
    KCurve* curve = graph->getActiveCurve();
    auto dc = recordPaint(*graph, CSize(600, 300));
    // Drawn over samples 0 and 1: the one there is.
    EXPECT_EQ(barsIn(*dc, curve->getLineColor()).size(), 1u);

    auto record = makeRecord({0, 1}, {{1, -1}, {2, -2}});
    KBarGraphPanel* stack = barsOn(canvas, *record);
    stack->setDisplayMode(KBarGraphPanel::STACK);
    stack->resetZoomY();
    std::vector<KCurve*> curves;
    stack->getCurveList(curves);
    dc = recordPaint(*stack, CSize(600, 300));
    // The second curve's bars start where the first one's end, up and down.
    const auto a = barsIn(*dc, curves[0]->getLineColor());
    const auto b = barsIn(*dc, curves[1]->getLineColor());
    ASSERT_EQ(a.size(), 2u);
    ASSERT_EQ(b.size(), 2u);
    const int top = stack->getPlotRectangle().top;
    EXPECT_EQ(b[0]->points[0].y, a[0]->points[1].y);
    EXPECT_EQ(b[0]->points[1].y, top + stack->toLogicalY(3.0));
    EXPECT_EQ(b[1]->points[0].y, a[1]->points[1].y);
    EXPECT_EQ(b[1]->points[1].y, top + stack->toLogicalY(-3.0));
}

TEST(KBarGraphPanelTest, StoresVersionSixAndReadsItBack) {
    KBarGraphPanel graph;
    graph.create();
    graph.setDisplayMode(KBarGraphPanel::STACK);
    graph.setDisplayOption(KBarGraphPanel::COLUMNS);
    graph.setAutoRangeExtents(-2, 7);
    graph.setAutoRangeCtrl(true);
    graph.setManualRangeY(true);
    graph.setXRangeUpdate(false);
    graph.setLayoutValues(0.25, 3.5);
    graph.setSpare(42);
    auto back = roundTrip<KBarGraphPanel>(graph);
    EXPECT_EQ(back->getDisplayMode(), KBarGraphPanel::STACK);
    EXPECT_EQ(back->getDisplayOption(), KBarGraphPanel::COLUMNS);
    EXPECT_TRUE(back->isAutoRangeCtrl());
    EXPECT_TRUE(back->isManualRangeY());
    EXPECT_FALSE(back->isXRangeUpdate());
    EXPECT_TRUE(back->isYRangeUpdate());
    EXPECT_TRUE(back->isMeterEnabled());
    double a, b;
    back->getLayoutValues(a, b);
    EXPECT_EQ(a, 0.25);
    EXPECT_EQ(b, 3.5);
    EXPECT_EQ(back->getSpare(), 42);
    EXPECT_NE(back->getMeter(), nullptr);
    EXPECT_NE(back->getOffsetControl(), nullptr);
    // The extents come back: with no curves the auto range is the extents themselves.
    back->getAutoRangeExtents(a, b);
    EXPECT_EQ(a, -2);
    EXPECT_EQ(b, 7);
    // The version comes first after the graph panel's part.
    const auto bytes = stored(graph);
    for (size_t n : {bytes.size() - 1, bytes.size() - 9, bytes.size() - 20})
        expectCutRaises(bytes, n);
}

TEST(KBarGraphPanelTest, TheFrameAddsBarGraphs) {
    KCanvas canvas(800, 500);
    KGraphFrame* frame = frameOn(canvas);
    canvas.command(0, "FRAME.ADD.BAR");
    std::vector<KGraphPanel*> graphs;
    frame->getGraphList(graphs);
    ASSERT_EQ(graphs.size(), 1u);
    EXPECT_NE(k_dynamic_cast<KBarGraphPanel>(graphs[0]), nullptr);
    EXPECT_NE(k_dynamic_cast<KBarGraphPanel>(frame->addBarGraph()), nullptr);
    const KMenuResource* menu = KMenuResource::find("KGraphFrame");
    ASSERT_NE(menu, nullptr);
    const KMenuResource::Item* item = menu->findCommand("FRAME.ADD.BAR");
    ASSERT_NE(item, nullptr);
    EXPECT_STREQ(item->text, "Add Bar Graph");
    // A curve inserted into it is drawn as bars, on the frame's time axis.
    double values[] = {1, 2, 3};
    KCurve* curve = frame->insertCurve(values, 3, 0.0, 2.0, "bars");
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(k_dynamic_cast<KBarGraphPanel>(curve->getParent()->getParent()),
              frame->getActiveGraph());
    frame->resetZoomX();
    canvas.layout();
    canvas.pumpTasks();
    auto dc = recordPaint(*frame, CSize(800, 500));
    EXPECT_EQ(barsIn(*dc, curve->getLineColor()).size(), 3u);
}
