#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KRange.h>
#include <kalvo/graph/KColumnScale.h>
#include <kalvo/toolkit/KPanel.h>

class KCurve;
class KCurveClient;
class KGraphFrame;
class KGraphMeter;
class KRecord;
class KSpinControl;

// The base of every graph: a panel that holds curves in its legend (a KCurveClient named
// "client"), keeps a horizontal and a vertical range as its window on their data, maps
// between values and the pixels of its plot rectangle, and carries what every kind of graph
// shares: display flags, markers X and O, the trigger line, the cross hair and its read-out,
// zoom with a bounded history, copying and pasting curve data, and the commands of its
// popup menu. Each kind draws its curves' data itself (drawSegments).
//
// The mouse: a drag in the plot zooms to the dragged box (the time only with Shift), a drag
// starting on a marker's line moves the marker, the wheel zooms the time around the pointer
// (Ctrl: the values, Shift: pans). The keys are the menu's accelerators.
class KGraphPanel : public KPanel {
    K_DECLARE_CLASS(KGraphPanel);

public:
    // Display flag bits.
    static constexpr int GRID = 0;
    static constexpr int TICKS = 1;
    static constexpr int GLYPHS = 2;  // curve glyphs; hatched columns in bar graphs
    static constexpr int TRIGGER = 4;
    static constexpr int X_INTERCEPT = 5;
    static constexpr int Y_INTERCEPT = 6;
    static constexpr int MARKER_X = 7;
    static constexpr int MARKER_O = 8;
    // Option bits.
    static constexpr int INVERTED = 5;  // the dark colour scheme
    // The zoom history's mark for "no step".
    static constexpr int NO_STEP = 10;
    static constexpr int HISTORY_SIZE = 10;

    // The bright palette that the dark scheme draws curves in, and the automatic one.
    static const COLORREF cColors1[6];
    static const COLORREF cColors2[6];

    KGraphPanel();
    ~KGraphPanel() override;

    // Adds the legend.
    virtual void create();
    KCurveClient* getCurveClient() const;
    // The frame the panel stands in; null when it stands alone.
    KGraphFrame* getFrame() const;

    // Flags and options.
    bool getFlag(int bit) const { return flags_.get(bit); }
    void setFlag(int bit, bool on) { flags_.set(bit, on); }
    void toggleFlag(int bit) { flags_.set(bit, !flags_.get(bit)); }
    KBitSet& getFlags() { return flags_; }
    bool getOption(int bit) const { return options_.get(bit); }
    void setOption(int bit, bool on) { options_.set(bit, on); }
    void setGridEnabled(bool on) { setFlag(GRID, on); }
    bool isGridEnabled() const { return getFlag(GRID); }
    void setTicksEnabled(bool on) { setFlag(TICKS, on); }
    bool isTicksEnabled() const { return getFlag(TICKS); }
    void setTriggerEnabled(bool on) { setFlag(TRIGGER, on); }
    bool isTriggerEnabled() const { return getFlag(TRIGGER); }
    void setXInterEnabled(bool on) { setFlag(X_INTERCEPT, on); }
    bool isXInterEnabled() const { return getFlag(X_INTERCEPT); }
    void setYInterEnabled(bool on) { setFlag(Y_INTERCEPT, on); }
    bool isYInterEnabled() const { return getFlag(Y_INTERCEPT); }
    void setMarkerXEnabled(bool on) { setFlag(MARKER_X, on); }
    bool isMarkerXEnabled() const { return getFlag(MARKER_X); }
    void setMarkerOEnabled(bool on) { setFlag(MARKER_O, on); }
    bool isMarkerOEnabled() const { return getFlag(MARKER_O); }
    void setMarkersEnabled(bool on);
    bool isMarkersEnabled() const { return isMarkerXEnabled() && isMarkerOEnabled(); }
    bool isInverted() const { return getOption(INVERTED); }
    void setAutoColoring(bool on) { autoColoring_ = on; }
    bool isAutoColoring() const { return autoColoring_; }
    void setActive(bool on) { active_ = on; }
    bool isActive() const { return active_; }
    void setOffsetEnabled(bool on) { offsetEnabled_ = on; }
    bool isOffsetEnabled() const { return offsetEnabled_; }
    void setOffsetLocation(int location) { offsetLocation_ = location; }
    int getOffsetLocation() const { return offsetLocation_; }
    void setLegendMode(int mode) { legendMode_ = mode; }
    int getLegendMode() const { return legendMode_; }
    void setOpMode(int mode) { opMode_ = mode; }
    int getOpMode() const { return opMode_; }
    void setToolTipEnabled(bool on) { toolTip_ = on; }
    bool isToolTipEnabled() const { return toolTip_; }
    void setCrossHairEnabled(bool on);
    bool isCrossHairEnabled() const { return crossHair_; }
    // Draws every sample instead of each pixel column's summary: the same picture, at a
    // cost that grows with the samples in view (a reference for measuring the summary).
    void setEverySample(bool on) { everySample_ = on; }
    bool isEverySample() const { return everySample_; }
    void setMeasuringEnabled(bool on) { measuring_ = on; }
    bool isMeasuringEnabled() const { return measuring_; }
    void enableManualPrecision(bool on) { manualPrecision_ = on; }
    bool isManualPrecision() const { return manualPrecision_; }
    // 0 to 15 decimals; others are ignored.
    void setManualPrecision(int digits);
    int getManualPrecision() const { return precision_; }
    void setXLabel(const char* label) { xLabel_ = label; }
    const KString& getXLabel() const { return xLabel_; }
    void setYLabel(const char* label) { yLabel_ = label; }
    const KString& getYLabel() const { return yLabel_; }
    double getXIntercept() const { return xIntercept_; }
    void setXIntercept(double level) { xIntercept_ = level; }
    double getYIntercept() const { return yIntercept_; }
    void setYIntercept(double time) { yIntercept_ = time; }

    // Curves.
    // Adds the curve to the legend; false (and the curve not taken) beyond the maximum.
    virtual bool addCurve(KCurve* curve);
    // Removes and deletes the curve of that name or text; false when there is none.
    bool removeCurve(const char* name);
    void removeAllCurves();
    KCurve* findCurve(const char* name) const;
    void getCurveList(std::vector<KCurve*>& list) const;
    int getCurveCount() const;
    void setActiveCurve(KCurve* curve);
    KCurve* getActiveCurve() const;
    int getMaximumCurves() const;
    int getMinimumCurves() const;
    void setMaximumCurves(int maximum);
    void setMinimumCurves(int minimum);

    // Ranges.
    KRange& getXRange() { return xRange_; }
    const KRange& getXRange() const { return xRange_; }
    KRange& getYRange() { return yRange_; }
    const KRange& getYRange() const { return yRange_; }
    // Takes the limits when the range accepts them and recomputes the grid.
    bool setXRange(double lo, double hi);
    bool setYRange(double lo, double hi);
    // The extents of the curves' data: first and last times, smallest and largest values;
    // NaN without data.
    virtual void findXExtents(double& lo, double& hi) const;
    virtual void findYExtents(double& lo, double& hi) const;
    void findXBounds(double& lo, double& hi) const { xRange_.getBounds(lo, hi); }
    void findYBounds(double& lo, double& hi) const { yRange_.getBounds(lo, hi); }
    // The time range over the data's extents; the zoom history starts anew.
    virtual bool resetZoomX();
    // The time range over its bounds; the zoom history starts anew.
    bool resetZoomBoundedX();
    // The value range over the data's extents.
    virtual bool resetZoomY();
    // The time range over samples first..last of the active curve.
    bool zoomIndex(int first, int last);
    // The time window without snapping or history, as panning sets it.
    void setApeture(double lo, double hi);
    // Takes the time range a pan of the frame set. When it keeps the span and moves the
    // view by whole columns of the plot, the plot's picture moves along on the window and
    // only the columns that come into view, and those by the plot's edges, are painted
    // again; otherwise the whole panel is.
    void panTo(const KRange& range);
    void getApeture(double& lo, double& hi) const;

    // Mapping between values and pixels, as offsets from the plot's left and top edges.
    int toLogicalX(double x) const;
    // The columns of the plot's times, counted from the time range's lower bound.
    KColumnScale getColumnScale() const;
    int toLogicalY(double y) const;
    double toRealX(int px) const;
    double toRealY(int py) const;
    CRect getPlotRectangle() const { return plot_; }

    // Zoom.
    bool zoomInX();
    bool zoomInY();
    bool zoomIn();
    bool zoomOutX();
    bool zoomOutY();
    bool zoomOut();
    // Zooms both ranges to a window, recorded in the history; false when refused.
    bool zoomTo(double xlo, double xhi, double ylo, double yhi);
    virtual bool canZoom(double lo, double hi) const;
    // Steps back and forth through the history. undoZoom gives false when there is no
    // history; stepping past its oldest step raises "Stack underflow error.", and redoZoom
    // past its newest gives false.
    bool undoZoom();
    bool redoZoom();
    // No later step to go to; no earlier step to go back to.
    bool isAtMaximum() const;
    bool isAtMinimum() const;
    int getHistoryPosition() const { return historyPosition_; }
    int getHistoryCount() const { return static_cast<int>(history_.size()); }
    void clearHistory();

    // Markers and trigger, as the frame passes them on.
    void setMarkerXPosition(double x);
    void setMarkerOPosition(double x);
    double getMarkerXPosition() const { return markerX_; }
    double getMarkerOPosition() const { return markerO_; }
    void setTriggerPosition(double x) { trigger_ = x; }
    // Both markers at once, as the frame copies them from its axis.
    void setMarkerPositions(double x, double o) {
        markerX_ = x;
        markerO_ = o;
    }
    double getTriggerPosition() const { return trigger_; }

    // Data exchange. The rows between two times as comma-separated text: a header of
    // "Domain" and the curves' names, then one row per time of the first curve, the others'
    // values at the nearest sample of theirs.
    virtual bool copyData(double from, double to);
    bool copyVisibleData();
    bool copyEntireData();
    // Adds a curve for every column of the delimited text on the clipboard.
    bool pasteClipboardData();
    // Builds a record of the text and adds a curve per trace to the list (which the panel
    // takes); false for text without a first line.
    bool pasteRawData(std::vector<KCurve*>& list, char* text, int length);

    // Labels and read-outs.
    KString toLabel(double value, int precision, double lo, double hi, bool vertical) const;
    KString toLabelFixed(double value, int precision, double lo, double hi, bool vertical) const;
    KString getTooltipText(CPoint point) const override;
    // The time and every curve's value at the point: "x:\t<time>" then "\ny<n>:\t<value>".
    virtual KString getCrossHairText(CPoint point) const;
    // Moves the cross hair to the point, showing its read-out.
    void calculateCrosshair(CPoint point);

    // The marker read-out "meter": null takes the one there away and makes a new one; a
    // meter replaces (and deletes) the one there.
    void setMeter(KGraphMeter* meter);
    KGraphMeter* getMeter() const;
    // Shows the meter with the curves and both marker positions while there are curves and
    // both markers show, in the legend's place (it names the curves too); hides it otherwise.
    virtual void updateMarkerLabels();
    // The offset control "spin" (kinds that have one make it with addOffsetControl): it
    // follows the active curve and sets the curve's Y offset.
    KSpinControl* getOffsetControl() const;
    virtual void updateOffsetControl() {}

    // The frame's moves of this panel.
    void removeGraph();
    void raiseGraph();
    void lowerGraph();

    // Margins: the frame gives every panel the same, so that plots line up with its axis.
    // 0 (the default) lets the panel choose.
    void setLeftMargin(int margin) { leftMargin_ = margin; }
    void setRightMargin(int margin) { rightMargin_ = margin; }
    // What the Y labels and the legend need.
    virtual int getLeftMarginNeeded() const;
    virtual int getRightMarginNeeded() const;

    // Component hooks.
    void doLayout() override;
    CSize getMinimumSize() const override;
    CSize getPreferredSize() const override;
    void paint(KGraphics& graphics) override;
    void mousePressed(KEvent& event) override;
    void mouseDragged(KEvent& event) override;
    void mouseReleased(KEvent& event) override;
    void mouseMoved(KEvent& event) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;
    void actionPerformed(KEvent& event) override;
    void onCommand(KEvent& event) override;
    void focusChanged(bool gained) override;
    virtual bool canContain(const KComponent* component) const;

    void copy(const KObject& other) override;
    // After the panel part: version 1; flags, options, switches, both ranges, markers,
    // trigger, intercepts, axis labels, precision, margins.
    void Serialize(KArchive& archive) override;

protected:
    // The colour a curve is drawn in: its own, or its bright form in the dark scheme.
    COLORREF curveColor(const KCurve* curve) const;
    COLORREF gridColor() const;
    COLORREF textColor() const;
    COLORREF plotColor(const KGraphics& graphics) const;
    // The plot rectangle with its last row and column, where values at the ranges' upper
    // ends land.
    CRect getDataRectangle() const;
    // The plot after the margins, for the kinds to lay out their parts around.
    virtual CRect layoutPlot();
    // Places the legend and, under it, the meter in the right margin, from top down.
    void layoutLegend(int top);
    // Adds the offset control, hidden, unless there is one; places it, when it shows, at top
    // right of the plot and gives the top below it.
    KSpinControl* addOffsetControl();
    int layoutOffsetControl(int top);

    // Drawing steps. drawCurves draws the data of every visible curve, clipped to the plot,
    // through drawCurve; drawCurve draws the index-th curve (from 1), its segments by default.
    virtual void drawCurves(KGraphics& graphics);
    virtual void drawCurve(KGraphics& graphics, KCurve* curve, int index);
    virtual void drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last);
    void drawPlotBackground(KGraphics& graphics);
    virtual void drawXGrid(KGraphics& graphics);
    virtual void drawYGrid(KGraphics& graphics);
    virtual void drawXAxis(KGraphics& graphics);
    virtual void drawYAxis(KGraphics& graphics);
    // The value range's ends beside the plot, for a plot too short for tick labels.
    void drawYLimits(KGraphics& graphics);
    virtual void drawTicks(KGraphics& graphics);
    // A dotted grid line across the plot at row y. Its dots keep their places on the time
    // axis, so that they move with the curves when the view pans.
    void drawGridRow(KGraphics& graphics, int y);
    void drawXIntercept(KGraphics& graphics);
    void drawYIntercept(KGraphics& graphics);
    void drawMarkers(KGraphics& graphics);
    void drawTrigger(KGraphics& graphics);
    void drawTracker(KGraphics& graphics, CRect box);
    void drawHorzHair(KGraphics& graphics, int y);
    void drawVertHair(KGraphics& graphics, int x);
    void drawPlotEdge(KGraphics& graphics);

    // The ranges changed by the user: the frame brings the others in step.
    void rangeChanged();
    // Narrows (quarter 0.25) or widens (-0.25) the time or the value range by a quarter of
    // its span at each end, as a step of the history; false when refused.
    bool zoomBy(bool time, double quarter);
    // Records the present ranges as a step of the history, after constrainRanges.
    void recordZoom();
    // Brings the ranges a zoom step set into the form the kind keeps (a plot keeps its two
    // scales equal), before the step is recorded. Nothing by default.
    virtual void constrainRanges() {}
    // The marker (0 X, 1 O) whose line is within reach of the plot column; -1 for none.
    int markerAt(int x) const;
    // Whether zooming by box and wheel changes only the time range (kinds whose values have
    // fixed places).
    virtual bool isTimeOnly() const { return false; }
    // Whether all that the plot shows moves with the time range, so that a pan can move
    // its pixels: not so while marks stand at fixed columns.
    virtual bool isPlotPannable() const { return true; }
    // Whether the legend shows beside the plot (kinds that name their curves otherwise do
    // without).
    virtual bool showsLegend() const { return true; }
    bool showsOwnXAxis() const { return ownXAxis_; }
    void setOwnXAxis(bool on) { ownXAxis_ = on; }

    CRect plot_;

private:
    struct ZoomStep {
        KRange x;
        KRange y;
    };
    void applyStep(const ZoomStep& step);
    // XOR feedback drawn straight onto the host: the rubber band, the cross hair.
    void xorBox(CRect box);
    void xorCrossHair(CPoint point);
    void toggleMarkers();
    void endDrag();

    KBitSet flags_;
    KBitSet options_;
    bool autoColoring_ = true;
    bool active_ = false;
    bool offsetEnabled_ = false;
    std::int32_t offsetLocation_ = 0;
    std::int32_t legendMode_ = 0;
    std::int32_t opMode_ = 0;
    bool toolTip_ = true;
    bool crossHair_ = false;
    bool measuring_ = false;
    bool everySample_ = false;
    KRange xRange_;
    KRange yRange_;
    double markerX_;
    double markerO_;
    double trigger_ = 0.0;
    double xIntercept_ = 0.0;
    double yIntercept_ = 0.0;
    KString xLabel_;
    KString yLabel_;
    bool manualPrecision_ = false;
    std::int32_t precision_ = 3;
    std::int32_t leftMargin_ = 0;
    std::int32_t rightMargin_ = 0;
    bool ownXAxis_ = false;
    std::vector<ZoomStep> history_;
    int historyPosition_ = NO_STEP;

    // Interaction under way.
    enum class Drag { NONE, BOX, MARKER_X, MARKER_O };
    Drag drag_ = Drag::NONE;
    CPoint dragStart_;
    CRect box_;
    bool boxShown_ = false;
    bool xOnly_ = false;
    CPoint crossHairAt_;
    bool crossHairShown_ = false;

    // Where the window shows lines of markers X and O, in the plot they were painted in,
    // so that a move repaints those columns and the new ones rather than the whole panel.
    // Lost until a paint covers the whole plot, and when partial paints left too many.
    static constexpr int NO_COLUMN = -1000000000;
    std::vector<int> markersShown_[2];
    CRect markersPlot_;
    bool markersLost_ = true;
    // The strip a marker line at x is painted in.
    CRect markerColumn(int x) const;
    // The column marker m (0 for X, 1 for O) is drawn in now; NO_COLUMN when not shown.
    int markerColumnOf(int m) const;
    void repaintMarkerColumns();
    // How many columns in from the plot's right (or left) edge the picture depends on what
    // lies beyond that edge: lines clipped there, marks cut off.
    int edgeReach(bool right);
};
