#pragma once

#include <cstdint>
#include <vector>

#include <kalvo/analysis/KSymmetricalComponents.h>
#include <kalvo/toolkit/KPanel.h>

class KCurve;
class KDataTransform;
class KDataTransformExt;
class KGraphAxis;
class KGraphFrame;
class KPhasorPanel;

// The phasors of a time graph: the time graph on top and, below it, four phasor diagrams:
// the phase quantities of its first three analog curves, and their positive-, negative- and
// zero-sequence components. Each phasor is the component at the base frequency of the stretch
// between markers X and O (1 / its length, so over a cycle of the line the fundamental), as
// an RMS magnitude and a cosine angle in degrees at the start of the stretch. The stretch is
// taken as the spectrum transform takes it: from the last sample before marker X up to the
// last one before marker O. The phase rotation, "ABC" or "ACB", decides which sequence is the
// positive one. With auto-colouring on, a new set of curves takes the palette's first
// colours.
//
// The phasors are computed again when the frame is created, when a curve is added through
// it, when the markers of the time graph move (or are shown or hidden) and on the "update"
// command; the work runs as a task posted to the interface thread.
//
// The parts, by path below the frame: "header", "client.frame" (the time graph, its
// marker read-outs under the axis), "client.subclient.centerpanel" holding "phasor0" to
// "phasor3", and "footer" with "basefq".
class KPhasorFrame : public KPanel {
    K_DECLARE_CLASS(KPhasorFrame);

public:
    static constexpr int PANELS = 4;

    KPhasorFrame();
    ~KPhasorFrame() override;

    // Builds the parts and computes.
    void create();
    // Adds the curve to the time graph's active graph (the first makes an analog graph) and
    // computes again; false beyond the maximum number of curves.
    bool addCurve(KCurve* curve);
    void getCurveList(std::vector<KCurve*>& list) const;
    KCurve* getActiveCurve() const;

    // Parts. getGraphFrame raises "Unable to find graph frame." when it is missing.
    KGraphFrame* getGraphFrame() const;
    KGraphAxis* getAxis() const;
    void getPhasorPanelList(std::vector<KPhasorPanel*>& list) const;
    // The index-th phasor panel; null when there is none.
    KPhasorPanel* getPhasorGraph(int index) const;
    KString getTitle() const;
    void setTitle(const char* title);
    void setGraphFrameTitle(const char* title);
    KString getGraphFrameTitle() const;

    // Markers and the time range, forwarded to the time graph.
    void toggleMarkers();
    void toggleMarkerLockStep();
    bool isMarkerLock() const;
    void setMarkerXPosition(double x);
    void setMarkerOPosition(double x);
    double getMarkerXPosition() const;
    double getMarkerOPosition() const;
    void setAperture(double lo, double hi);
    void getAperture(double& lo, double& hi) const;
    void setPanControl(double lo, double hi);
    void toggleAutoColoring();
    bool isAutoColoring() const { return autoColoring_; }

    // The stretch analysed last; setting it moves the markers there.
    void setRegionBounds(double from, double to);
    void getRegionBounds(double& from, double& to) const;
    // 1 / the stretch's length, as computed last (NaN for none).
    void setBaseFrequency(double hz) { baseFrequency_ = hz; }
    double getBaseFrequency() const { return baseFrequency_; }
    // 1 to 32 curves (3 by default); others are ignored.
    void setMaximumCurves(int maximum);
    int getMaximumCurves() const { return maximumCurves_; }
    // "ABC" or "ACB" in any case (others are ignored); computes again.
    void setPhaseRotation(const char* rotation);
    const char* getPhaseRotation() const;
    KSymmetricalComponents::Rotation getRotation() const { return rotation_; }
    // The transform of the stretches into spectra; the frame owns it. Setting one deletes the
    // one before; null installs a new FFT transform.
    void setDataTransform(KDataTransformExt* transform);
    KDataTransformExt* getDataTransform() const { return transform_; }
    // The precision of every panel's magnitudes.
    void enableManualPrecision(bool on);
    void setManualPrecision(int digits);

    // Posts the computation.
    void updateTransform();
    // The computation: every phasor panel titled, labelled and given its phasors.
    void updatePhasors();
    bool isUpdatePending() const { return updatePending_; }
    // The phase-A phasors computed last: the three phase quantities, and the zero, positive
    // and negative sequence components (NaN where there is nothing to compute from).
    KSymmetricalComponents::Phasor getPhasor(int index) const;
    KSymmetricalComponents::Phasor getSequence(int sequence) const;

    // The phasor at the base frequency of count samples (their first bin through the
    // transform's column form): RMS magnitude and cosine angle in degrees at the first sample.
    // False, with both NaN, for fewer than 2 samples or a failed transform.
    static bool computePhasor(KDataTransform& transform, const double* values, int count,
                              double& rms, double& degrees);

    CSize getMinimumSize() const override;
    CSize getMaximumSize() const override;
    void onCommand(KEvent& event) override;
    void actionPerformed(KEvent& event) override;

    void copy(const KObject& other) override;
    // After the panel part: version 1; region bounds, base frequency, maximum curves, phase
    // rotation, auto colouring, precision.
    void Serialize(KArchive& archive) override;

private:
    // The read-outs of the time graph's left column go under the axis, in a row.
    void rearrangeAxisFooter(KGraphFrame* frame);
    void updateFooter();

    double regionFrom_;
    double regionTo_;
    double baseFrequency_;
    std::int32_t maximumCurves_ = 3;
    KSymmetricalComponents::Rotation rotation_ = KSymmetricalComponents::ABC;
    KDataTransformExt* transform_ = nullptr;
    bool autoColoring_ = true;
    bool manualPrecision_ = false;
    std::int32_t precision_ = 3;
    bool updatePending_ = false;
    size_t colored_ = 0;  // the curves given colours of their own last
    KSymmetricalComponents::Phasor phasors_[3];
    KSymmetricalComponents::Phasor sequences_[3];
};
