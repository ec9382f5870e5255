#pragma once

#include <kalvo/graph/KGraphPanel.h>

// The time graph of status channels: one lane per curve, named at its left, each showing
// its curve as steps between the two states (at or above the curve's threshold: high, with
// the lane shaded; below: low). It shares the frame's time axis and markers like every
// graph; its meter reads the state words at the markers. Zooming changes only the time.
class KGraphPanelDigital : public KGraphPanel {
    K_DECLARE_CLASS(KGraphPanelDigital);

public:
    // The least height of a lane.
    static constexpr int LANE_HEIGHT = 14;

    KGraphPanelDigital();

    // Names the panel "digital"; the legend stays hidden (the lanes carry the names).
    void create() override;
    bool addCurve(KCurve* curve) override;
    // The values take a lane each: the range is 0 to the number of curves.
    bool resetZoomY() override;
    // The lane of a pixel row of the plot; -1 outside the lanes.
    int laneAt(int y) const;
    CRect getLaneRect(int lane) const;

    int getLeftMarginNeeded() const override;
    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;
    // No taller than its lanes need: a stack of graphs gives the rest to the others.
    CSize getMaximumSize() const override;
    bool isTimeOnly() const override { return true; }
    bool showsLegend() const override { return false; }
    void onCommand(KEvent& event) override;

protected:
    void drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last) override;
    void drawYAxis(KGraphics& graphics) override;
    void drawYGrid(KGraphics& graphics) override;
};
