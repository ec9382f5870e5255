#include <kalvo/record/KTransform.h>

#include <kalvo/foundation/KAssertion.h>
#include <kalvo/record/KRecord.h>

namespace {

bool hasEveryColumn(const KVector<double>& in) {
    for (int c = 0; c < in.getCount(); ++c) {
        if (in.get(c) == nullptr) return false;
    }
    return true;
}

}  // namespace

bool KTransform::Linear::transform(KVector<double>& in, KVector<double>& out, int& n) {
    if (n < 1 || !hasEveryColumn(in)) return false;
    for (int c = 0; c < in.getCount(); ++c) {
        const double* x = in.get(c);
        auto* y = new double[static_cast<size_t>(n)];
        for (int i = 0; i < n; ++i) y[i] = x[i] * scale_ + offset_;
        out.add(y);
    }
    return true;
}

bool KTransform::Linear::doTransform(KRecordProducer& source, int trace, KRecord& target) {
    source.selectTrace(trace);
    const double* x = source.getXData();
    const double* y = source.getYData();
    int n = source.getSampleCount();

    KAssertion assertion("Processing linear transform");
    KVector<double> in;
    KVector<double> out;
    bool done = false;
    if (x != nullptr && y != nullptr) {
        in.add(const_cast<double*>(y));
        done = transform(in, out, n) && out.getCount() == 1;
    }
    if (!done) {
        // A transform that failed half way may still have handed out arrays.
        deleteColumns(out);
        assertion.check(false);
    }
    target.setData(x, out, n);
    deleteColumns(out);
    return true;
}

bool KTransform::Add::transform(KVector<double>& in, KVector<double>& out, int& n) {
    if (n < 1 || !hasEveryColumn(in)) return false;
    auto* sum = new double[static_cast<size_t>(n)]();
    if (in.getCount() > 0) {
        const double* first = in.get(0);
        for (int i = 0; i < n; ++i) sum[i] = first[i];
    }
    for (int c = 1; c < in.getCount(); ++c) {
        const double* x = in.get(c);
        for (int i = 0; i < n; ++i) sum[i] += x[i];
    }
    out.add(sum);
    return true;
}
