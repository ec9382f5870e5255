#pragma once

#include <kalvo/record/KDataTransform.h>

class KRecord;
class KRecordProducer;

// The library's column transforms that keep the domain as it is.
class KTransform {
public:
    KTransform() = delete;

    // Every column scaled and shifted: out = in x scale + offset.
    class Linear : public KDataTransform {
    public:
        Linear(double scale = 1.0, double offset = 0.0) : scale_(scale), offset_(offset) {}

        void set(double scale, double offset) {
            scale_ = scale;
            offset_ = offset;
        }
        double getScale() const { return scale_; }
        double getOffset() const { return offset_; }

        // False for n < 1 or a missing column; otherwise one output per input column.
        bool transform(KVector<double>& in, KVector<double>& out, int& n) override;

        // Transforms one trace of source into target, which then holds source's domain and
        // the transformed values as its only trace. Raises a KException titled "Assertion
        // Failed" with the text "Processing linear transform" when the transform fails;
        // target is then left as it was.
        bool doTransform(KRecordProducer& source, int trace, KRecord& target);

    private:
        double scale_;
        double offset_;
    };

    // The element-by-element sum of all input columns, as one output column.
    class Add : public KDataTransform {
    public:
        // False for n < 1 or a missing column. With no input columns the output is zeros.
        bool transform(KVector<double>& in, KVector<double>& out, int& n) override;
    };
};
