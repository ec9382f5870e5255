#pragma once

#include <cstdint>

#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KRange.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/toolkit/KContainer.h>

class KGraphFrame;
class KSlider;

// The time axis shared by the graph panels of a frame: it owns the visible time range, draws
// its ticks, minor ticks and their labels (numbers with SI prefixes, or calendar times for a
// range of seconds since 1970), and carries the markers X and O and the trigger, which it
// shows as small tabs, names in tooltips and lets the user drag. Below the ticks lies its
// scroll slider "Slider1": the whole record as the track, the range in view as the thumb,
// whose ends can be dragged to zoom.
//
// Keys: Left and Right pan by a grid step, Page Up and Page Down by the range, Home and End
// go to the record's ends, + and - zoom. The wheel pans.
class KGraphAxis : public KContainer {
    K_DECLARE_CLASS(KGraphAxis);

public:
    // Flag bits.
    static constexpr int TRIGGER = 4;
    static constexpr int MARKER_X = 7;
    static constexpr int MARKER_O = 8;

    // Marker image cells of "GRAPH_MARKERS", and its cell width.
    static constexpr int CELL_X = 0;
    static constexpr int CELL_O = 1;
    static constexpr int CELL_WIDTH = 11;

    // The marks' colours, shared with the graph panels' hair lines.
    static const COLORREF MARKER_X_COLOR;
    static const COLORREF MARKER_O_COLOR;
    static const COLORREF TRIGGER_COLOR;

    KGraphAxis();
    ~KGraphAxis() override;

    // "Seconds" ... "Years" and "s", "m", "h", "d", "M", "Y"; null outside 0..5.
    static const char* getUnitName(int unit);
    static const char* getUnitCode(int unit);
    // The tick label fonts: normal and bold.
    static const CFont& getAxisFont();
    static const CFont& getBoldFont();

    // Adds the scroll slider "Slider1".
    void create();
    KSlider* getSlider() const;

    // Range.
    // Takes the limits when the range accepts them, recomputes the grid; false otherwise.
    bool setRange(double lo, double hi);
    void getRange(double& lo, double& hi) const;
    KRange& getXRange() { return range_; }
    const KRange& getXRange() const { return range_; }
    // The extent the range may show (the record's), for the slider and the markers.
    void setBounds(double lower, double upper);
    using KContainer::setBounds;
    // The text after every tick label ("s").
    void setUnits(const char* units) { units_ = units; }
    const KString& getUnits() const { return units_; }

    // Markers and trigger. A position must be finite and within the bounds, else it is
    // ignored; an accepted one makes the frame redraw.
    void setMarkerXPosition(double x);
    void setMarkerOPosition(double x);
    void setTriggerPosition(double x);
    void getMarkerPositions(double& x, double& o) const;
    double getMarkerXPosition() const { return markerX_; }
    double getMarkerOPosition() const { return markerO_; }
    double getTriggerPosition() const { return trigger_; }
    void setMarkersEnabled(bool on);
    bool isMarkersEnabled() const { return isMarkerXEnabled() && isMarkerOEnabled(); }
    void setMarkerXEnabled(bool on) { flags_.set(MARKER_X, on); }
    bool isMarkerXEnabled() const { return flags_.get(MARKER_X); }
    void setMarkerOEnabled(bool on) { flags_.set(MARKER_O, on); }
    bool isMarkerOEnabled() const { return flags_.get(MARKER_O); }
    void setTriggerEnabled(bool on) { flags_.set(TRIGGER, on); }
    bool isTriggerEnabled() const { return flags_.get(TRIGGER); }
    KBitSet& getFlags() { return flags_; }
    void setMinorGrids(bool on) { minorGrids_ = on; }
    bool isMinorGrids() const { return minorGrids_; }
    void setSnapToGrid(bool on) { snapToGrid_ = on; }
    bool isSnapToGrid() const { return snapToGrid_; }
    // Locks O to X at their present distance, or frees it.
    void toggleMarkerLockStep();
    bool isMarkerLock() const { return markerLock_; }
    double getMarkerLockDistance() const { return lockDistance_; }
    // Pans so that the marker (or trigger) is in view, and posts "update".
    void focusMarkerX();
    void focusMarkerO();
    void focusMarkerT();
    bool isMouseDrag() const { return mouseDrag_; }
    void setMouseDrag(bool drag) { mouseDrag_ = drag; }

    // The slider's dynamic aperture; false without a slider.
    void setDynAperture(bool on);
    bool isApertureDynamic() const;
    void setLowSpeed(bool on);

    // Mapping between a time and a pixel column of the inner rectangle.
    int toLogicalX(double x) const;
    double toRealX(int px) const;

    // Tick labels: empty for a non-finite value; numbers through the engineering labels; for a
    // time range calendar fields by the range's time unit.
    KString toLabel(double value, int precision, double lo, double hi) const;
    KString toLabelFixed(double value, int precision, double lo, double hi) const;

    // A time for read-outs: milliseconds to the microsecond below a second ("16.667 ms"),
    // seconds to the microsecond above; empty for a value that is not finite.
    static KString formatTime(double seconds);

    KString getTooltipText(CPoint point) const override;
    // Refreshes the frame's read-outs beside the axis.
    void updateMarkerLabels();
    // The slider follows the range and the bounds, and the read-outs are refreshed.
    void updateStatusLabels();
    // The slider's track: the whole extent.
    void updateScrollbar(double lo, double hi);
    // The slider's thumb: the range in view.
    void setPanControl(double lo, double hi);
    // The slider's thumb as a range.
    void getAperture(double& lo, double& hi) const;

    void doLayout() override;
    void paint(KGraphics& graphics) override;
    CSize getPreferredSize() const override;
    CSize getMinimumSize() const override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;
    void actionPerformed(KEvent& event) override;
    void mousePressed(KEvent& event) override;
    void mouseDragged(KEvent& event) override;
    void mouseReleased(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the container part: version 1; flags, minor grids, marker X and O, trigger,
    // lock distance, snap to grid, lock, the range, the bounds' units text.
    void Serialize(KArchive& archive) override;

private:
    // The frame this axis serves; null outside one.
    KGraphFrame* getFrame() const;
    // The band of ticks and labels (above the slider).
    CRect getTickRect() const;
    void drawGrid(KGraphics& graphics);
    void drawMarkers(KGraphics& graphics);
    void drawTrigger(KGraphics& graphics);
    void drawMark(KGraphics& graphics, int cell, double position, int shift, COLORREF color);
    // Which mark (0 X, 1 O, 2 trigger) is within reach of the column; -1 for none.
    int markAt(int x) const;
    // Moves O with X while the lock is on.
    void offsetMarker();
    // Pans the range by delta (kept in the bounds), rounded to whole pixels unless told
    // otherwise, and tells the frame.
    void pan(double delta, bool wholePixels = true);
    // The delta rounded to whole pixels of the axis (one at least): a view moved so keeps
    // the graphs' pixel columns of the samples still in it.
    double toWholePixels(double delta) const;
    void rangeChanged();

    KBitSet flags_;
    bool mouseDrag_ = false;
    bool minorGrids_ = false;
    double markerX_;
    double markerO_;
    double trigger_ = 0.0;
    double lockDistance_ = 0.0;
    bool snapToGrid_ = true;
    bool markerLock_ = false;
    KRange range_;
    KString units_;

    // The mark being dragged (0 X, 1 O, 2 trigger; -1 none) and where its hair line is.
    int dragMark_ = -1;
    double dragPosition_ = 0.0;
};
