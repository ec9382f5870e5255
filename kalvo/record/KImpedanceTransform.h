#pragma once

#include <kalvo/record/KDataTransformExt.h>

class KRecord;

// The apparent impedance that a distance relay measures on one fault loop, sample by sample,
// from the one-cycle phasors (KSlidingPhasorTransform) of the three phase voltages and
// currents:
//
//     phase to ground (AG, BG, CG)     Z = Vp / (Ip + k0 3I0),  3I0 = Ia + Ib + Ic
//     phase to phase  (AB, BC, CA)     Z = (Vp - Vq) / (Ip - Iq)
//
// with the complex residual compensation factor k0 = (Z0 - Z1) / 3 Z1 of the line. The
// result is in ohms, primary or secondary as the record's values are: voltages and currents
// are first taken to volts and amperes by their units' prefixes. Where the loop current is
// below the minimum current, and where a phasor is missing (the first cycle, gaps), the
// impedance is NaN.
class KImpedanceTransform : public KDataTransformExt {
public:
    enum Loop { AG = 0, BG, CG, AB, BC, CA, LOOP_COUNT };

    KImpedanceTransform();

    using KDataTransformExt::transform;

    // "AG" ... "CA"; null outside 0 to 5.
    static const char* getLoopName(int loop);
    // The loop of a name (case ignored; "BA" is AB); -1 for none.
    static int findLoop(const char* name);
    // Whether the loop is a phase-to-ground one.
    static bool isGroundLoop(int loop) { return loop >= AG && loop <= CG; }

    // AG to CA; others are ignored.
    void setLoop(int loop);
    int getLoop() const { return loop_; }
    // k0 as magnitude and angle in degrees; non-finite values are ignored.
    void setResidualFactor(double magnitude, double degrees);
    void getResidualFactor(double& magnitude, double& degrees) const;
    // The line frequency; 0 (the default) takes the record's.
    void setFrequency(double hz);
    double getFrequency() const { return frequency_; }
    // The trace indices of VA, VB, VC, IA, IB and IC; -1 (the default) finds them
    // (KPhaseChannels).
    void setChannels(const int channels[6]);
    void getChannels(int channels[6]) const;
    // Loop currents below this many amperes give no impedance. Negative (the default) takes
    // 2 % of the largest loop current of the record.
    void setMinimumCurrent(double amperes);
    double getMinimumCurrent() const { return minimumCurrent_; }

    // The column form is not used: false.
    bool transform(KVector<double>& in, KVector<double>& out, int& n) override;
    // The impedance of the loop over samples from..to-1 of the source: target becomes their
    // domain and two traces, "<loop> R" and "<loop> X", in "Ohm", with the source's name,
    // trigger and properties. False, leaving target alone, when the channels are not there
    // (or cannot be found), a voltage is not in volts or a current not in amperes, or the
    // phasors cannot be taken (no line frequency, times that do not run forward). The
    // boolean arguments are not used.
    bool transform(KRecord* source, KRecord& target, int from, int to, bool, bool) override;

    // Why the last transform failed, as a sentence for people; empty after one that worked.
    const KString& getError() const { return error_; }
    // The phasor window of the last transform, in samples.
    int getWindow() const { return window_; }

private:
    bool fail(const char* format, ...) __attribute__((format(printf, 2, 3)));

    int loop_ = AG;
    double k0Magnitude_ = 0.0;
    double k0Degrees_ = 0.0;
    int channels_[6] = {-1, -1, -1, -1, -1, -1};
    double minimumCurrent_ = -1.0;
    double frequency_ = 0.0;
    int window_ = 0;
    KString error_;
};
