#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <kalvo/graph/KGraphPanel.h>

class KPlotCurve;
class KRecordProducer;

// One trace against another over a stretch of time (the aperture), as a graph panel: its
// ranges, mapping, zoom history, legend and cross hair are the graph panel's, with the X range
// holding values rather than time. Each pair of traces (a KPlotCurve, also its legend entry)
// is drawn
//   - XY: a line through the points (x(t), y(t)) in time order;
//   - polar: each pair taken as magnitude (X trace) and angle in degrees (Y trace), on a grid
//     of rings and spokes, with the phasor of the aperture's end drawn from the origin;
//   - scatter: the points alone;
// and the point at the aperture's end is marked. The line may be coloured by time, from blue
// at the aperture's start to red at its end, with the scale beside the plot.
//
// Equal scaling keeps one unit as many pixels across as up; until it is set by hand it is on
// for polar plots and for XY plots whose pairs are of like units. A drag zooms to the dragged
// box, the wheel zooms both ways around the pointer (Shift: pans), both as steps of the zoom
// history. The cross hair reads both values and the time of the nearest point. The keys are
// the popup menu's.
class KPlotPanel : public KGraphPanel {
    K_DECLARE_CLASS(KPlotPanel);

public:
    enum Mode { XY = 0, POLAR = 1, SCATTER = 2 };

    KPlotPanel();

    // Names the panel "plot" and adds the legend.
    void create() override;

    // Adds a pair of the producer's traces, x (or KPlotCurve::DOMAIN) and y, as a new curve
    // with the caption (or "<Y> / <X>"); null when the legend is full. The ranges are reset to
    // take in what the pairs hold.
    KPlotCurve* addPair(KRecordProducer* producer, int xTrace, int yTrace,
                        const char* caption = nullptr);
    // The same for a producer that the curve keeps alive.
    KPlotCurve* addSharedPair(std::shared_ptr<KRecordProducer> producer, int xTrace, int yTrace,
                              const char* caption = nullptr);
    void getPairList(std::vector<KPlotCurve*>& list) const;

    // XY, POLAR or SCATTER; others are ignored.
    void setMode(int mode);
    int getMode() const { return mode_; }
    void setEqualScaling(bool on);
    bool isEqualScaling() const;
    void setTimeColoring(bool on) { timeColoring_ = on; }
    bool isTimeColoring() const { return timeColoring_; }
    // The stretch of time drawn, from t0 to t1 (in either order); both NaN (the default) for
    // all of it.
    void setTimeAperture(double t0, double t1);
    void getTimeAperture(double& t0, double& t1) const;

    // Both ranges over what the pairs hold (polar: a circle round the origin), with a margin;
    // the zoom history starts anew. False when there is nothing to show.
    virtual bool resetZoom();
    bool resetZoomX() override { return resetZoom(); }
    bool resetZoomY() override { return resetZoom(); }
    // Both ranges scaled by factor about the point (values), as a step of the zoom history.
    bool zoomAround(double x, double y, double factor);

    // Where sample i of the pair is drawn, in the plot's units: its (x, y), or (m cos a,
    // m sin a) in a polar plot. False for a sample without a point.
    bool pointOf(KPlotCurve* pair, int i, double& x, double& y) const;
    // The sample within the aperture whose point lies nearest the pixel (panel coordinates),
    // within reach pixels; false when there is none.
    bool findNearest(CPoint point, int reach, KPlotCurve*& pair, int& sample) const;

    // The pairs' samples as comma-separated text on the clipboard: a "Time,<X>,<Y>" header
    // and a row per sample, of one pair or (null) of every pair side by side; over the
    // aperture, or all of them.
    bool copyPairs(KPlotCurve* only, bool aperture);

    // The axis titles: the labels set, or the pairs' names and units ("VA (kV)"; the units
    // alone for pairs of several names, nothing for pairs of several units).
    KString getXTitle() const;
    KString getYTitle() const;

    // "x:\t<value>", "y:\t<value>", then the nearest point's pair and time.
    KString getCrossHairText(CPoint point) const override;
    // The extents of the points drawn (all samples, whatever the aperture).
    void findXExtents(double& lo, double& hi) const override;
    void findYExtents(double& lo, double& hi) const override;

    CSize getPreferredSize() const override;
    // A polar plot has no value labels left of it.
    int getLeftMarginNeeded() const override;
    // Room for the time scale when colouring by time.
    int getRightMarginNeeded() const override;
    void doLayout() override;
    void paint(KGraphics& graphics) override;
    void mouseWheel(KEvent& event) override;
    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the graph panel: version 1; mode, equal scaling (and whether it was set), time
    // colouring, the aperture, then the records the pairs show.
    void Serialize(KArchive& archive) override;

    // The colour of a time within the aperture t0..t1 when colouring by time.
    static COLORREF timeColor(double t, double t0, double t1);

protected:
    CRect layoutPlot() override;
    void constrainRanges() override;
    void drawCurve(KGraphics& graphics, KCurve* curve, int index) override;
    void drawXGrid(KGraphics& graphics) override;
    void drawYGrid(KGraphics& graphics) override;
    void drawXAxis(KGraphics& graphics) override;
    void drawYAxis(KGraphics& graphics) override;
    void drawTicks(KGraphics& graphics) override;
    // What lies under the pairs, drawn before the first of them (clipped to the plot);
    // nothing here.
    virtual void drawUnderlay(KGraphics&) {}
    // What lies over them, after the last (clipped to the plot); nothing here.
    virtual void drawOverlay(KGraphics&) {}
    // What the plot says when its pairs have no point in the aperture.
    virtual KString getEmptyNote() const;
    // The time span the colours stand for: the aperture, or all of the pairs' times.
    void getColorSpan(double& t0, double& t1) const;
    // The part of the right margin below the legend, where kinds may put read-outs.
    CRect getNotesRect() const;
    // The pixel of a point in the plot's units, as a double (not clamped).
    double pixelX(double x) const;
    double pixelY(double y) const;

private:
    void drawPolarGrid(KGraphics& graphics);
    void drawTitles(KGraphics& graphics);
    void drawColorScale(KGraphics& graphics);
    // Whether any pair has a point in the aperture.
    bool hasPoints() const;
    void drawPoints(KGraphics& graphics, KPlotCurve* pair, int first, int last);
    void drawLine(KGraphics& graphics, KPlotCurve* pair, int first, int last);
    void drawEnd(KGraphics& graphics, KPlotCurve* pair, int first, int last);
    // Whether equal scaling holds by default: polar, or like units.
    bool isEqualByDefault() const;
    void pairAdded(KPlotCurve* pair);

    std::int32_t mode_ = XY;
    bool equalScaling_ = true;
    bool equalSet_ = false;
    bool timeColoring_ = false;
    double aperture0_;
    double aperture1_;
    bool underlayDrawn_ = false;
};
