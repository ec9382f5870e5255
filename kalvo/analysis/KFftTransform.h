#pragma once

#include <kalvo/record/KDataTransformExt.h>

// The spectrum transform ("NFFT"): a mixed-radix FFT of any length over a stretch of
// samples, handed back as frequency, real and imaginary arrays or, for a record, as a
// two-trace record of magnitude and phase against frequency.
class KFftTransform : public KDataTransformExt {
public:
    KFftTransform();
    // Releases the FFT's scratch memory, which all transforms share.
    ~KFftTransform() override;

    // The length of the last transform run.
    int getLength() const { return length_; }

    // in[0] real and in[1] imaginary parts, n samples each. Appends new arrays of
    // frequencies, real and imaginary parts (the caller owns them) and halves n: only the
    // first n / 2 entries are to be used. Frequencies are in Hz when the sample rate is
    // finite and at least 1, bin numbers otherwise. False, with nothing appended, for
    // n < 1, fewer than two input columns or a failed transform.
    bool transform(KVector<double>& in, KVector<double>& out, int& n) override;

    // The samples from..to-1 of source's selected trace: times as the real and values as
    // the imaginary input; target becomes magnitude (trace 0, scaled by 2 / (span / step))
    // and phase in degrees (trace 1) against frequency. normalizeX gives bin numbers
    // instead of Hz; normalizeY scales the magnitudes so that bin 1 is 1.0. False, leaving
    // target alone, for an empty or reversed stretch, one outside the data, or a record
    // without domain or trace data. A transform that fails raises through its
    // "Processing transform" check.
    bool transform(KRecord* source, KRecord& target, int from, int to, bool normalizeX,
                   bool normalizeY) override;

    // Each non-null curve's samples from the index of from up to the index of to (the
    // curve's findIndex), through the record form, into a new record appended to records,
    // which the caller owns: one record per non-null curve, empty where the curve has no
    // data or the stretch is empty. Always true.
    bool transform(KVector<KCurve>& curves, KVector<KRecord>& records, double from, double to,
                   bool normalizeX, bool normalizeY) override;

private:
    int length_ = 0;
};
