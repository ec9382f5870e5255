#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/graph/KCurve.h>
#include <kalvo/record/KRecord.h>

namespace {

// Bin k of the transform's kernel e^(+2 pi i jk / n), computed directly.
std::complex<long double> directBin(const std::vector<double>& re, const std::vector<double>& im,
                                    size_t k) {
    std::complex<long double> sum = 0;
    for (size_t j = 0, n = re.size(); j < n; ++j)
        sum += std::complex<long double>(re[j], im[j]) *
               std::polar(1.0L, 2 * std::numbers::pi_v<long double> * ((j * k) % n) / n);
    return sum;
}

struct Columns {
    KVector<double> v;
    ~Columns() { KDataTransform::deleteColumns(v); }
};

KRecord sampledRecord(int n, double step, double hz, double amplitude, double phase) {
    KRecord r;
    r.create(1, n, 1024);
    for (int i = 0; i < n; ++i) {
        r.setDomainValue(i * step);
        r.setTraceValue(0, amplitude * std::sin(2 * M_PI * hz * i * step + phase));
        r.commit();
    }
    r.selectTrace(0);
    return r;
}

}  // namespace

TEST(KFftTransform, arrayForm) {
    KFftTransform fft;
    std::vector<double> re = {1, 2, 3, 4, 5, -1, 0.5}, im = {0, 1, 0, -2, 0, 0, 3};
    KVector<double> in;
    in.add(re.data());
    in.add(im.data());
    Columns out;
    int n = 0;
    EXPECT_FALSE(fft.transform(in, out.v, n));
    EXPECT_EQ(out.v.getCount(), 0);

    n = 7;
    ASSERT_TRUE(fft.transform(in, out.v, n));
    EXPECT_EQ(n, 3);
    ASSERT_EQ(out.v.getCount(), 3);
    EXPECT_EQ(re[0], 1.0);  // the inputs are left as they were
    for (int k = 0; k < 7; ++k) {
        const auto expected = directBin(re, im, k);
        EXPECT_EQ(out.v[0][k], k);  // no sample rate: bin numbers
        EXPECT_NEAR(out.v[1][k], static_cast<double>(expected.real()), 1e-12);
        EXPECT_NEAR(out.v[2][k], static_cast<double>(expected.imag()), 1e-12);
    }

    // With a sample rate of at least 1, frequencies (negative above n/2); below it, bin numbers.
    for (auto [rate, bin3, bin4] : {std::array{700.0, 300.0, -300.0}, std::array{0.5, 3.0, 4.0}}) {
        Columns bins;
        fft.setSampleRate(rate);
        n = 7;
        ASSERT_TRUE(fft.transform(in, bins.v, n));
        EXPECT_DOUBLE_EQ(bins.v[0][3], bin3) << rate;
        EXPECT_DOUBLE_EQ(bins.v[0][4], bin4) << rate;
    }

    Columns one;
    n = 1;
    ASSERT_TRUE(fft.transform(in, one.v, n));
    EXPECT_EQ(n, 0);
    EXPECT_EQ(one.v[0][0], 0.0);
    EXPECT_EQ(one.v[1][0], 1.0);
    EXPECT_EQ(one.v[2][0], 0.0);
}

// 64 samples at 1/3840 s: one cycle of 60 Hz. Span over step is 63, so magnitudes are 2/63
// of the raw bins, with the times as the real input and the values as the imaginary one.
TEST(KFftTransform, recordFormOfOneCycle) {
    KRecord source = sampledRecord(64, 1.0 / 3840, 60, 10.0, 0.3);
    KFftTransform fft;
    KRecord spectrum;
    ASSERT_TRUE(fft.transform(&source, spectrum, 0, 64, false, false));
    ASSERT_EQ(spectrum.getTraceCount(), 2);
    ASSERT_EQ(spectrum.getSampleCount(), 32);
    EXPECT_NEAR(fft.getSampleRate(), 3840.0, 1e-9);

    const std::vector<double> times(source.getXData(), source.getXData() + 64),
        values(source.getYData(), source.getYData() + 64);
    spectrum.selectTrace(0);
    const double* magnitude = spectrum.getYData();
    spectrum.selectTrace(1);
    const double* phase = spectrum.getYData();
    for (int k = 0; k < 32; ++k) {
        SCOPED_TRACE(k);
        const auto raw = directBin(times, values, k);
        EXPECT_NEAR(spectrum.getXData()[k], 60.0 * k, 1e-9);
        EXPECT_NEAR(magnitude[k], 2.0 / 63 * static_cast<double>(std::abs(raw)), 1e-12);
        EXPECT_NEAR(phase[k], static_cast<double>(std::arg(raw)) * 180 / M_PI, 1e-9);
    }

    KRecord normalised;
    ASSERT_TRUE(fft.transform(&source, normalised, 0, 64, true, true));
    EXPECT_EQ(normalised.getXData()[5], 5.0);  // bin numbers: harmonic numbers here
    normalised.selectTrace(0);
    EXPECT_DOUBLE_EQ(normalised.getYData()[1], 1.0);
    EXPECT_EQ(fft.getSampleRate(), 0.0);
}

TEST(KFftTransform, recordFormRefusesBadStretches) {
    KRecord source = sampledRecord(16, 0.001, 50, 1, 0);
    KFftTransform fft;
    KRecord target = sampledRecord(3, 1, 1, 1, 0);
    const int stretches[][2] = {{5, 5}, {8, 2}, {-1, 4}, {0, 17}};
    for (const auto& [from, to] : stretches)
        EXPECT_FALSE(fft.transform(&source, target, from, to, false, false)) << from << ".." << to;
    EXPECT_FALSE(fft.transform(nullptr, target, 0, 4, false, false));
    // A record that was created and fed but never had a trace selected has no trace data.
    KRecord unselected;
    unselected.create(1, 0, 16);
    for (int i = 0; i < 16; ++i) {
        unselected.setDomainValue(i * 0.001);
        unselected.setTraceValue(0, i);
        unselected.commit();
    }
    EXPECT_FALSE(fft.transform(&unselected, target, 0, 8, false, false));
    EXPECT_EQ(target.getSampleCount(), 3);  // left alone
    EXPECT_EQ(target.getTraceCount(), 1);

    // A stretch of one sample has no rows; a part of the record works on its own samples.
    ASSERT_TRUE(fft.transform(&source, target, 3, 4, false, false));
    EXPECT_EQ(target.getSampleCount(), 0);
    ASSERT_TRUE(fft.transform(&source, target, 4, 12, false, false));
    EXPECT_EQ(target.getSampleCount(), 4);
    EXPECT_NEAR(target.getXData()[1], 125.0, 1e-9);  // 1000 Hz over 8 samples
}

// The curves' form: each curve's samples between two times, through the record form, one
// new record per curve (empty where there is nothing to transform).
TEST(KFftTransform, curveFormTransformsTheStretchOfEachCurve) {
    KRecord r;
    r.create(2, 0, 1024);
    for (int i = 0; i < 200; ++i) {
        r.setDomainValue(i / 3840.0);
        r.setTraceValue(0, 10.0 * std::sin(2 * M_PI * 60.0 * i / 3840.0));
        r.setTraceValue(1, 4.0 * std::sin(2 * M_PI * 120.0 * i / 3840.0));
        r.commit();
    }
    KCurve first, second, stranger;
    r.selectTrace(0);
    first.setProducer(&r);
    r.selectTrace(1);
    second.setProducer(&r);
    KVector<KCurve> curves;
    curves.add(&first);
    curves.add(nullptr);
    curves.add(&second);
    curves.add(&stranger);
    KVector<KRecord> records;
    KFftTransform fft;
    // One cycle of 60 Hz from the second sample on: 64 samples, bin 1 the fundamental.
    const double t1 = 1.5 / 3840, t2 = 65.5 / 3840;
    ASSERT_TRUE(fft.transform(curves, records, t1, t2, true, false));
    ASSERT_EQ(records.getCount(), 3);
    KRecord direct;
    r.selectTrace(0);
    ASSERT_TRUE(fft.transform(&r, direct, r.findIndex(t1), r.findIndex(t2), true, false));
    ASSERT_EQ(records[0]->getSampleCount(), direct.getSampleCount());
    records[0]->selectTrace(0);
    direct.selectTrace(0);
    for (int i = 0; i < direct.getSampleCount(); ++i)
        EXPECT_EQ(records[0]->getYData()[i], direct.getYData()[i]) << i;
    // The second curve's 120 Hz shows in bin 2, each curve's own channel.
    records[1]->selectTrace(0);
    EXPECT_GT(records[1]->getYData()[2], 10 * records[1]->getYData()[1]);
    // A curve without data gives an empty record in its place.
    EXPECT_TRUE(records[2]->isEmpty());
    for (int i = 0; i < records.getCount(); ++i) delete records[i];
    KVector<KCurve> none;
    KVector<KRecord> nothing;
    EXPECT_TRUE(fft.transform(none, nothing, 0, 1, false, false));
    EXPECT_EQ(nothing.getCount(), 0);
}
