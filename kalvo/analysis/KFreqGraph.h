#pragma once

#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/graph/KBarGraphPanel.h>

class KRecord;

// The spectrum of the harmonic analysis: a bar graph that draws, for each of its curves, the
// result record of the spectrum transform at the curve's place in the list (magnitude or
// phase against frequency) instead of the curve's own samples. The curves only lend their
// names, colours and hatch flags; they are not shown in a legend.
//
// Keys: A shows magnitudes, H phases, F switches the frequencies between harmonic numbers and
// hertz, U the magnitudes between their own units and parts of the fundamental (the last two
// ask the frame to compute again, by the action "update").
class KFreqGraph : public KBarGraphPanel {
    K_DECLARE_CLASS(KFreqGraph);

public:
    // Bits of the frequency graph's own flags.
    static constexpr int NORMALIZE_X = 0;     // frequencies as harmonic numbers
    static constexpr int NORMALIZE_Y = 1;     // magnitudes relative to the fundamental
    static constexpr int MAGNITUDE_PLOT = 2;  // show magnitudes
    static constexpr int PHASE_PLOT = 3;      // show phases

    KFreqGraph();
    ~KFreqGraph() override;

    // The bar graph's parts, the legend hidden: the curves are named by the table.
    void create() override;
    int getRightMarginNeeded() const override;

    // One of the four flags above (the graph panel's display flags are reached through
    // setFlag and getFlag).
    void toggleFlag(int bit);
    bool getFreqFlag(int bit) const { return freqFlags_.get(bit); }
    void setNormalizeX(bool on) { freqFlags_.set(NORMALIZE_X, on); }
    bool isNormalizeX() const { return freqFlags_.get(NORMALIZE_X); }
    void setNormalizeY(bool on) { freqFlags_.set(NORMALIZE_Y, on); }
    bool isNormalizeY() const { return freqFlags_.get(NORMALIZE_Y); }
    // Magnitudes on (phases off) or off (phases on), then the action "display_switch" and a
    // fresh value range.
    void setMagnitudePlot(bool on);
    bool isMagnitudePlot() const { return freqFlags_.get(MAGNITUDE_PLOT); }
    void setPhasePlot(bool on);
    bool isPhasePlot() const { return freqFlags_.get(PHASE_PLOT); }
    // The trace drawn from every result record: 1 (phase) with phases on and magnitudes off,
    // else 0 (magnitude).
    int getShownTrace() const;

    // The result records, one per curve in list order; the graph owns them.
    KVector<KRecord>& getResults() { return results_; }
    const KVector<KRecord>& getResults() const { return results_; }
    // Deletes the result records, last first.
    void clearResults();
    // The result record of a curve; null when there is none.
    KRecord* getResult(const KCurve* curve) const;

    // The first and last frequency of the results (the last widened by a bin, for its
    // column); NaN without results.
    void findXExtents(double& lo, double& hi) const override;
    // The smallest and largest value shown; NaN without results.
    void findYExtents(double& lo, double& hi) const override;
    bool resetZoomX() override;
    // Magnitudes from 0 (or below) to the largest; phases from -180 to 180 degrees.
    bool resetZoomY() override;

    // The rows from the index of from (at least 1: bin 0, the mean, is never copied) to the
    // index of to, as comma-separated text on the clipboard: "Harmonic", then each curve's
    // magnitude and phase. False without curves.
    bool copyData(double from, double to) override;
    // The same text, without the clipboard.
    KString getCopyText(double from, double to) const;

    void processKeyEvent(KEvent& event) override;
    void onCommand(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the bar graph: version 1; the four flags.
    void Serialize(KArchive& archive) override;

protected:
    // Every curve's spectrum, the curves being hidden.
    void drawCurves(KGraphics& graphics) override;
    void drawSegments(KGraphics& graphics, const KCurve* curve, int first, int last) override;
    bool showsLegend() const override { return false; }

private:
    // A fresh value range and a repaint, after what is shown changed.
    void refresh();

    KBitSet freqFlags_;
    KVector<KRecord> results_;
};
