#pragma once

#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KDataTransform.h>

class KCurve;
class KRecord;

// A transform that works on whole records and on the records of curves, and knows the
// sample rate of what it transforms (samples per second; NaN until set). The two flags ask
// the derived transform to normalise its result's domain (normalizeX) and its values
// (normalizeY), in whatever sense that transform gives them.
class KDataTransformExt : public KDataTransform {
public:
    KDataTransformExt();

    // The column form stays visible beside the forms below.
    using KDataTransform::transform;

    double getSampleRate() const { return sampleRate_; }
    void setSampleRate(double rate) { sampleRate_ = rate; }

    // Transforms the samples from..to-1 of source into target. The base does nothing and
    // returns false.
    virtual bool transform(KRecord* source, KRecord& target, int from, int to, bool normalizeX,
                           bool normalizeY);
    // Transforms the stretch from..to (domain values) of each curve's record into a new
    // record appended to records. The base does nothing and returns false.
    virtual bool transform(KVector<KCurve>& curves, KVector<KRecord>& records, double from,
                           double to, bool normalizeX, bool normalizeY);

private:
    double sampleRate_ = KDouble::NaN;
};
