#include <kalvo/analysis/KFftTransform.h>

#include <cmath>
#include <cstring>
#include <memory>

#include <kalvo/analysis/Fft.h>
#include <kalvo/foundation/KAssertion.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/PolarTransform.h>

KFftTransform::KFftTransform() { setName("NFFT"); }

KFftTransform::~KFftTransform() { fftFreeScratch(); }

bool KFftTransform::transform(KVector<double>& in, KVector<double>& out, int& n) {
    if (n < 1 || in.getCount() < 2 || in.get(0) == nullptr || in.get(1) == nullptr) return false;
    length_ = n;
    auto frequencies = std::make_unique<double[]>(static_cast<size_t>(n));
    auto re = std::make_unique<double[]>(static_cast<size_t>(n));
    auto im = std::make_unique<double[]>(static_cast<size_t>(n));
    std::memcpy(re.get(), in.get(0), sizeof(double) * static_cast<size_t>(n));
    std::memcpy(im.get(), in.get(1), sizeof(double) * static_cast<size_t>(n));
    const int dims[] = {n};
    if (fftns(1, dims, re.get(), im.get(), 1, 0.0) == -1) return false;

    const double rate = getSampleRate();
    const bool inHertz = std::isfinite(rate) && rate >= 1.0;
    for (int i = 0; i < n; ++i) frequencies[i] = inHertz ? fftFrequency(n, i) * rate : i;
    out.add(frequencies.release());
    out.add(re.release());
    out.add(im.release());
    n /= 2;
    return true;
}

bool KFftTransform::transform(KRecord* source, KRecord& target, int from, int to,
                              bool normalizeX, bool normalizeY) {
    const int count = to - from;
    if (source == nullptr || count <= 0 || from < 0 || to > source->getSampleCount()) return false;
    const double* x = source->getXData();
    const double* y = source->getYData();
    if (x == nullptr || y == nullptr) return false;
    x += from;
    y += from;

    const double span = std::fabs(x[count - 1] - x[0]);
    const double step = count > 1 ? std::fabs(x[1] - x[0]) : 0.0;
    setSampleRate(!normalizeX && step != 0.0 ? 1.0 / step : 0.0);

    const KAssertion work("Processing transform");
    // The times go in as the real part and the values as the imaginary part: the
    // magnitudes and phases are calibrated against exactly this.
    KVector<double> input;
    input.add(const_cast<double*>(x));
    input.add(const_cast<double*>(y));
    KVector<double> spectrum;
    int bins = count;
    work.check(transform(input, spectrum, bins));

    KVector<double> cartesian, polar;
    cartesian.add(spectrum.get(1));
    cartesian.add(spectrum.get(2));
    int n = count;
    PolarTransform toPolar;
    const bool converted = toPolar.transform(cartesian, polar, n);
    if (!converted) {
        deleteColumns(spectrum);
        work.check(false);
    }
    const double* frequency = spectrum.get(0);
    const double* magnitude = polar.get(0);
    const double* phase = polar.get(1);

    target.destroy();
    target.create(2, 0, 1024);
    target.ensureCapacity(bins);
    target.setTraceName(0, "Magnitude");
    target.setTraceName(1, "Phase");
    const double ratio = span != 0.0 && step != 0.0 ? span / step : 1.0;
    const double scale = 2.0 / ratio;
    // Unguarded on purpose: a zero fundamental gives non-finite normalised values.
    const double norm = normalizeY && count > 1 ? 1.0 / (scale * magnitude[1]) : 1.0;
    for (int i = 0; i < bins; ++i) {
        target.setDomainValue(frequency[i]);
        target.setTraceValue(0, scale * magnitude[i] * norm);
        target.setTraceValue(1, phase[i]);
        target.commit();
    }
    deleteColumns(spectrum);
    deleteColumns(polar);
    return true;
}

bool KFftTransform::transform(KVector<KCurve>& curves, KVector<KRecord>& records, double from,
                              double to, bool normalizeX, bool normalizeY) {
    for (int i = 0; i < curves.getCount(); ++i) {
        KCurve* curve = curves.get(i);
        if (curve == nullptr) continue;
        const int first = curve->findIndex(from);
        const int end = curve->findIndex(to);
        auto* result = new KRecord();
        records.add(result);
        if (KRecord* record = curve->getRecord()) {
            transform(record, *result, first, end, normalizeX, normalizeY);
        }
    }
    return true;
}
