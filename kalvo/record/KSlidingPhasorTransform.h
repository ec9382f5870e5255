#pragma once

#include <vector>

#include <kalvo/record/KDataTransformExt.h>

class KRecord;

// One-cycle sliding-window phasors: the full-cycle discrete Fourier transform that protection
// relays run, over the cycle of the line frequency that ends at each sample. The phasor of a
// sample is the RMS value and the angle of the fundamental in the cycle up to it, the angle
// being that of a cosine with its zero at time zero of the domain (the trigger, for records
// read from files). A steady sine at the line frequency gives the same phasor at every sample;
// a sine off it by df gives a phasor that turns at df (360 df degrees a second).
//
// A sample whose cycle reaches back before the first sample, or holds a missing sample or a
// gap in time, has no phasor (NaN).
//
// Where the samples are evenly spaced at a whole number of samples per cycle, that many make
// the window, and each phasor follows from the one before in a few operations (restarted from
// an exact sum every few thousand samples, so that rounding cannot build up). Other records
// (a rate that is not a multiple of the line frequency, several rates, a rate that tracks the
// system frequency) are resampled by linear interpolation onto an even grid of the next whole
// number of samples per cycle; each sample then takes the phasor interpolated between the two
// grid windows that end around it. Intervals of more than two and a half typical sample steps
// count as gaps.
class KSlidingPhasorTransform : public KDataTransformExt {
public:
    // The pair of traces a channel becomes: real and imaginary parts, or RMS magnitude and
    // angle in degrees.
    enum Form { CARTESIAN = 0, POLAR = 1 };

    KSlidingPhasorTransform();

    using KDataTransformExt::transform;

    // The line frequency in Hz; 0 (the default) takes the source record's LINE_FREQUENCY.
    // Values that are not finite and positive are ignored.
    void setFrequency(double hz);
    double getFrequency() const { return frequency_; }
    // CARTESIAN (the default) or POLAR; others are ignored.
    void setForm(int form);
    int getForm() const { return form_; }

    // in[0] the sample times, every further column the samples of a channel: appends two
    // columns per channel, in the form's pair. Needs the frequency set. False, with nothing
    // appended, for n < 1, fewer than two columns, no frequency, or times that do not run
    // forward.
    bool transform(KVector<double>& in, KVector<double>& out, int& n) override;

    // The samples from..to-1 of the source's selected trace: target becomes their domain and
    // two traces, "<name> re" and "<name> im" (or "<name> mag" and "<name> ang"), in the
    // trace's units (degrees for angles). False, leaving target alone, for a stretch outside
    // the data, a source without a selected trace, no line frequency, or times that do not
    // run forward. The boolean arguments are not used.
    bool transform(KRecord* source, KRecord& target, int from, int to, bool, bool) override;

    // Every listed trace of the source at once: target becomes the source's domain and two
    // traces per listed trace, named as above, with the source's name, trigger and
    // properties. False, leaving target alone, as above or for a trace that is not there.
    // Target may not be the source; one that holds as many traces keeps them (and their
    // memory), so that transforming again allocates nothing.
    bool transformTraces(const KRecord& source, const std::vector<int>& traces, KRecord& target);

    // The phasors of n samples y at times x, as real and imaginary parts (re and im hold n
    // each). False, with nothing written, without a usable frequency or with times that do
    // not run forward.
    bool computePhasors(const double* x, const double* y, int n, double* re, double* im);

    // What the last computation did: the window in samples (grid samples when resampled),
    // and whether it resampled.
    int getWindow() const { return window_; }
    bool isResampled() const { return resampled_; }

    // The frequency a computation on the record uses: the one set, else the record's line
    // frequency; 0 when neither is usable.
    double frequencyFor(const KRecord& record) const;

private:
    // The phasors of the samples from..to-1 of the traces into target (which may not be
    // source).
    bool fill(const KRecord& source, const std::vector<int>& traces, int from, int to,
              KRecord& target);
    // How the samples at x are to be taken: sets window_, resampled_ and step_.
    bool plan(const double* x, int n, double hz);
    // The phasors of n samples at x as the plan takes them.
    void compute(const double* x, const double* y, int n, double hz, double* re, double* im);
    // The sliding sums of n evenly spaced samples starting at time t0, window_ per cycle.
    void slide(const double* y, int n, double t0, double hz, double* re, double* im) const;
    // Real and imaginary parts to magnitude and degrees, in place.
    static void toPolar(double* re, double* im, int n);

    double frequency_ = 0.0;
    int form_ = CARTESIAN;
    int window_ = 0;
    bool resampled_ = false;
    double step_ = 0.0;  // the grid step when resampled; the longest interval not a gap
    double gap_ = 0.0;
};
