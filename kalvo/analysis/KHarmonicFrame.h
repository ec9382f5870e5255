#pragma once

#include <cstdint>

#include <kalvo/toolkit/KFrame.h>

class KCurve;
class KDataTransformExt;
class KFreqGraph;
class KGraphAxis;
class KGraphFrame;
class KGraphMeter;
class KLabel;
class KTableExt;

// The harmonic analysis of a time graph: the time graph on top, the spectrum of the stretch
// between its markers X and O below it (a frequency graph with its title, its units and, to
// its right, the marker read-out and the base frequency), and a table of every harmonic's
// magnitude and phase for each curve at the bottom. With the markers a cycle apart, bin h of
// the spectrum is harmonic h.
//
// With auto-colouring on, a new set of curves takes colours of their own (the curve palette,
// then its bright forms), so that the spectrum and the table tell them apart.
//
// The spectrum is computed again whenever the markers move (or are shown or hidden), a curve
// is added through the frame, or the "update" command arrives; the work runs as a task posted
// to the interface thread, once for any number of moves before it runs. While a marker is
// dragged on the time axis nothing is computed, unless calculation on drag is on.
//
// The parts, by path below the frame: "header", "client.frame" (the time graph),
// "client.midclient" with "KFreqGraph", "freqgraphtitle", "freqgraphunits" and "eastpanel"
// (with "meter" and "basefq"), "client.lowclient.KTable", and "footer".
class KHarmonicFrame : public KFrame {
    K_DECLARE_CLASS(KHarmonicFrame);

public:
    KHarmonicFrame();
    ~KHarmonicFrame() override;

    // Builds the parts.
    void create();
    // Adds the curve to the time graph's active graph (the first curve makes an analog
    // graph) and computes again; false when the graph takes no more curves.
    bool addCurve(KCurve* curve);

    // Parts; the getters raise "Unable to find graph frame.", "Unable to find table." and
    // "Unable to find frequency graph." when their part is missing.
    KGraphFrame* getGraphFrame() const;
    KGraphAxis* getAxis() const;
    KTableExt* getTable() const;
    KFreqGraph* getFrequencyGraph() const;
    KGraphMeter* getMeter() const;
    // Puts the meter in the east panel, replacing (and deleting) the one there; null makes a
    // new one.
    void setMeter(KGraphMeter* meter);
    KString getTitle() const;
    void setTitle(const char* title);
    KString getGraphFrameTitle() const;
    void setGraphFrameTitle(const char* title);
    KString getFrequencyGraphTitle() const;
    // The text of the base-frequency label.
    KString getBaseFrequencyText() const;

    // The transform of the stretches into spectra; the frame owns it. Setting one deletes the
    // one before; null installs a new FFT transform.
    void setDataTransform(KDataTransformExt* transform);
    KDataTransformExt* getDataTransform() const { return transform_; }

    // Markers, forwarded to the time graph.
    void setMarkerXPosition(double x);
    void setMarkerOPosition(double x);
    double getMarkerXPosition() const;
    double getMarkerOPosition() const;
    void toggleMarkers();
    // The stretch analysed last, and its base frequency (1 / its length; NaN for none).
    void getMarkerPositions(double& x, double& o) const;
    double getBaseFrequency() const { return baseFrequency_; }
    // Set while both markers of the time graph show.
    bool isAnalysisOn() const { return analysisOn_; }
    // Whether a computation is posted and has not run yet.
    bool isUpdatePending() const { return updatePending_; }

    void toggleAutoColoring();
    bool isAutoColoring() const { return autoColoring_; }
    // Computes while a marker is being dragged on the time axis.
    void setCalculateOnDrag(bool on) { calculateOnDrag_ = on; }
    bool isCalculateOnDrag() const { return calculateOnDrag_; }
    // The precision of the table's magnitudes, for the time graph and the spectrum too.
    void enableManualPrecision(bool on);
    void setManualPrecision(int digits);

    // Turns the analysis on (both markers show) or off and posts the computation.
    void updateTransform();
    // The computation itself: reads the markers and brings the spectrum, the table and the
    // labels up to date. Nothing while a marker is dragged and calculation on drag is off.
    void updateHarmonicFrame();
    KCurve* getActiveCurve() const;
    // Fills the table: a row per harmonic from first to last (-1: the last one there).
    void RedrawTable(int first = 1, int last = -1);

    void layoutAll() override;
    void onCommand(KEvent& event) override;
    void actionPerformed(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the container part: version 1; the markers, the base frequency, the switches.
    void Serialize(KArchive& archive) override;

private:
    void updateHarmonicLabels();
    void updateFreqComponent();
    void updateBuffers();
    KLabel* findLabel(const char* path) const;

    double markerX_;
    double markerO_;
    double baseFrequency_;
    bool analysisOn_ = false;
    KDataTransformExt* transform_ = nullptr;
    bool autoColoring_ = true;
    bool calculateOnDrag_ = false;
    bool updatePending_ = false;
};
