#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/graph/KGraphPanel.h>

class CWnd;
class KSpinControl;

// The graph that draws every sample of its curves as a bar standing on the baseline (the X
// intercept level) rather than as a connected line: a thin bar, an outlined column, a filled
// column, or (display flag 2) a column hatched in the curve's colour. The curves stand over
// one another (overlay), side by side (offset) or on top of one another (stack). Beside the
// plot it has the marker read-out "meter" (when made with one) and the offset control
// "spin".
//
// The value range follows the data, the data widened to the auto-range extents, or the
// stacked total; it stays as set by hand with manual range. The stacked range counts the
// whole data range once per curve, and the auto range writes a high end above the upper
// extent into the lower end.
class KBarGraphPanel : public KGraphPanel {
    K_DECLARE_CLASS(KBarGraphPanel);

public:
    enum DisplayMode { OVERLAY = 0, OFFSET = 1, STACK = 2 };
    enum DisplayOption { BARS = 3, COLUMNS = 4, COLUMNS_FILLED = 5 };

    // Whether create adds a meter.
    explicit KBarGraphPanel(bool meter = true);

    // "Overlay", "Offset", "Stack"; "Bars", "Columns", "Columns Filled"; null outside.
    static const char* getDisplayModeName(int mode);
    static const char* getDisplayOptionName(int option);

    // Adds the offset control "spin", the meter (when enabled) and the legend.
    void create() override;

    void setXRangeUpdate(bool on) { xRangeUpdate_ = on; }
    bool isXRangeUpdate() const { return xRangeUpdate_; }
    void setYRangeUpdate(bool on) { yRangeUpdate_ = on; }
    bool isYRangeUpdate() const { return yRangeUpdate_; }
    void setManualRangeY(bool on) { manualRangeY_ = on; }
    bool isManualRangeY() const { return manualRangeY_; }
    void setAutoRangeCtrl(bool on) { autoRangeCtrl_ = on; }
    bool isAutoRangeCtrl() const { return autoRangeCtrl_; }
    void setMeterEnabled(bool on) { meterEnabled_ = on; }
    bool isMeterEnabled() const { return meterEnabled_; }
    // 0 overlay, 1 offset, 2 stack; others are ignored.
    void setDisplayMode(int mode);
    int getDisplayMode() const { return displayMode_; }
    // 3 bars, 4 columns, 5 filled columns; others are ignored.
    void setDisplayOption(int option);
    int getDisplayOption() const { return displayOption_; }
    // Display flag 2: columns hatched in the curve's colour.
    void setHatchEnabled(bool on) { setFlag(GLYPHS, on); }
    bool isHatchEnabled() const { return getFlag(GLYPHS); }
    // Kept and stored for whoever lays the panel out.
    void setLayoutValues(double first, double second) {
        layoutValue1_ = first;
        layoutValue2_ = second;
    }
    void getLayoutValues(double& first, double& second) const {
        first = layoutValue1_;
        second = layoutValue2_;
    }
    void setSpare(int value) { spare_ = value; }
    int getSpare() const { return spare_; }

    // The extents the automatic range always shows (lower, upper).
    void setAutoRangeExtents(double lower, double upper);
    // The data range widened to the extents; a high end above the upper extent goes into
    // lower.
    void getAutoRangeExtents(double& lower, double& upper) const;
    // Sums, over the curves, of the panel's data range: the negative lows and the positive
    // highs. Unchanged for a panel without curves.
    void getStackedYRange(double& low, double& high) const;
    // False with manual range; else the stacked range (stack mode), the auto range, or the
    // data range.
    bool resetZoomY() override;

    void updateOffsetControl() override;

    // Shows the settings in a message box and marks the panel modified; false without a
    // host.
    bool properties(CWnd* parent);

    void doLayout() override;
    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;

    // Every field, and a clone of the meter.
    void copy(const KObject& other) override;
    // After the graph panel: version 6; the switches as five bits, the layout values, the
    // spare, the display mode and option, the meter, the auto-range extents (upper, lower).
    void Serialize(KArchive& archive) override;

protected:
    // Stack mode stacks the curves; the others draw each curve's bars in list order.
    void drawCurves(KGraphics& graphics) override;
    void drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last) override;
    // Each curve's bars on the running totals of the curves before it: positive values up
    // from the positive total, negative ones down from the negative total, sample by sample.
    virtual void drawStackedSegments(KGraphics& graphics, std::vector<KCurve*>& curves, int first,
                                     int last);
    void drawYAxis(KGraphics& graphics) override;
    // Hatches lie on the window's pixels, not on the time, and a bar whose start is out of
    // view is left out whole: a pan paints the graph again.
    bool isPlotPannable() const override { return false; }
    // One bar of the index-th curve between the baseline and value pixel rows (from the
    // plot's top): a line at left (from the plot's left), or a column from left to right,
    // hatched or not.
    void drawBar(KGraphics& graphics, const KCurve* curve, int index, int left, int right, int base,
                 int value, bool hatched);
    // The width in pixels of a column in a group of count columns, for samples step apart.
    int barWidth(double step, int count) const;
    COLORREF hatchBackground(const KGraphics& graphics) const;

private:
    bool xRangeUpdate_ = true;
    bool yRangeUpdate_ = true;
    bool manualRangeY_ = false;
    bool autoRangeCtrl_ = false;
    bool meterEnabled_;
    double layoutValue1_ = 1.0;
    double layoutValue2_ = 0.0;
    double autoUpper_ = 0.0;
    double autoLower_ = 0.0;
    std::int32_t displayMode_ = OVERLAY;
    std::int32_t displayOption_ = BARS;
    std::int32_t spare_ = 0;
};
