#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "graph/GraphTestSupport.h"

using namespace ktest;

namespace {

// An axis of its own, 500 pixels wide, over the range.
std::unique_ptr<KGraphAxis> axisOver(double lo, double hi) {
    auto axis = std::make_unique<KGraphAxis>();
    axis->create();
    axis->setBounds(CRect(0, 0, 500, 40));
    axis->layoutAll();
    axis->getXRange().setBounds(lo, hi);
    axis->getXRange().setLimits(lo, hi);
    axis->getXRange().computeGrid(false);
    return axis;
}

// The columns of the tick marks drawn down from the axis line, and the labels.
void ticksOf(KGraphAxis& axis, std::vector<int>& columns, std::vector<std::string>& labels) {
    auto dc = recordPaint(axis, CSize(500, 40));
    const int top = 0;
    for (const auto* e : calls(*dc, CDC::Call::LineTo)) {
        if (e->points[0].x == e->points[1].x && e->points[0].y == top && e->points[1].y > top) {
            columns.push_back(e->points[0].x);
        }
    }
    for (const auto* e : calls(*dc, CDC::Call::DrawText)) labels.push_back(e->text);
}

}  // namespace

TEST(KGraphAxisTest, TicksAndLabelsFallOnTheGrid) {
    auto axis = axisOver(0.0, 1.0);
    axis->getXRange().setGrid(0.2);
    std::vector<int> columns;
    std::vector<std::string> labels;
    ticksOf(*axis, columns, labels);
    // 0, 0.2 ... 1.0, the last one within the tolerance at the end.
    ASSERT_EQ(columns.size(), 6u);
    EXPECT_EQ(columns.front(), 0);
    EXPECT_EQ(columns[1], 100);
    EXPECT_EQ(columns.back(), 500);
    ASSERT_EQ(labels.size(), 6u);
    EXPECT_EQ(labels.front(), "0.0");  // exactly zero, whatever the rounding left
    EXPECT_EQ(labels[1], "0.2");

    // A grid too fine for labels marks only the range's ends.
    axis->getXRange().setGrid(0.001);
    columns.clear();
    labels.clear();
    ticksOf(*axis, columns, labels);
    EXPECT_EQ(labels.size(), 2u);

    // Time ranges: under a minute the first tick is a multiple of the step; from a minute
    // on it is the next whole unit.
    const double t0 = 1700000007.25;
    auto shortRange = axisOver(t0, t0 + 30);
    shortRange->getXRange().setUnitized(true);
    shortRange->getXRange().computeGrid(false);
    const double step = shortRange->getXRange().getGrid();
    columns.clear();
    ticksOf(*shortRange, columns, labels);
    ASSERT_FALSE(columns.empty());
    EXPECT_EQ(columns.front(), shortRange->toLogicalX(std::ceil(t0 / step - 0.01) * step));
    auto longRange = axisOver(t0, t0 + 120);
    longRange->getXRange().setUnitized(true);
    longRange->getXRange().computeGrid(false);
    EXPECT_EQ(longRange->getXRange().getUnitLevel(), 1);
    columns.clear();
    ticksOf(*longRange, columns, labels);
    ASSERT_FALSE(columns.empty());
    EXPECT_EQ(columns.front(), longRange->toLogicalX(KDate(t0).ceil(1)));

    // Labels: nothing for what is not a number, nor for a negative calendar time.
    EXPECT_TRUE(axis->toLabel(NAN, 1, 0, 1).isEmpty());
    EXPECT_TRUE(longRange->toLabel(-5.0, 1, 0, 1).isEmpty());
    EXPECT_STREQ(longRange->toLabel(0.0, 1, 0, 1).c_str(), KDate(0).toString("%H:%M").c_str());
}

TEST(KGraphAxisTest, MarkersStayWithinTheBoundsAndAnswerTheirTooltips) {
    auto axis = axisOver(0.0, 10.0);
    axis->setMarkersEnabled(true);
    axis->setTriggerEnabled(true);
    axis->setMarkerXPosition(2.0);
    axis->setMarkerXPosition(11.0);
    axis->setMarkerXPosition(INFINITY);
    axis->setMarkerOPosition(-0.5);
    axis->setMarkerOPosition(10.0);  // the bound itself is in
    double x, o;
    axis->getMarkerPositions(x, o);
    EXPECT_EQ(x, 2.0);
    EXPECT_EQ(o, 10.0);
    axis->setTriggerPosition(6.0);
    axis->setTooltipText("Time");
    const int column = axis->toLogicalX(2.0);
    EXPECT_STREQ(axis->getTooltipText(CPoint(column + 7, 5)).c_str(), "'X' Marker");
    EXPECT_STREQ(axis->getTooltipText(CPoint(column - 7, 5)).c_str(), "'X' Marker");
    EXPECT_STREQ(axis->getTooltipText(CPoint(column + 8, 5)).c_str(), "Time");
    EXPECT_STREQ(axis->getTooltipText(CPoint(axis->toLogicalX(6.0), 5)).c_str(), "Trigger Time");
    axis->setMarkersEnabled(false);
    EXPECT_STREQ(axis->getTooltipText(CPoint(column, 5)).c_str(), "Time");

    // The lock keeps O at its distance from X.
    axis->setMarkerOPosition(5.0);
    axis->toggleMarkerLockStep();
    EXPECT_EQ(axis->getMarkerLockDistance(), 3.0);
    axis->setMarkerXPosition(4.0);
    EXPECT_EQ(axis->getMarkerOPosition(), 7.0);
    axis->setMarkerXPosition(9.0);  // O stops at the bound
    EXPECT_EQ(axis->getMarkerOPosition(), 10.0);

    // Mapping and the stored form.
    EXPECT_EQ(axis->toLogicalX(5.0), 250);
    EXPECT_DOUBLE_EQ(axis->toRealX(250), 5.0);
    axis->setMinorGrids(true);
    auto back = roundTrip<KGraphAxis>(*axis);
    EXPECT_TRUE(back->isMinorGrids());
    EXPECT_TRUE(back->isMarkerLock());
    EXPECT_EQ(back->getXRange(), axis->getXRange());
    EXPECT_EQ(back->getMarkerXPosition(), 9.0);
    ASSERT_NE(back->getSlider(), nullptr);
}
