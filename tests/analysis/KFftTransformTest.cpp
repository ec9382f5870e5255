#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include <kalvo/analysis/KFftTransform.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/record/KRecord.h>

namespace {

// The transform's kernel is e^(+2 pi i jk / n), computed directly.
std::vector<std::complex<long double>> directDft(const std::vector<double>& re,
                                                 const std::vector<double>& im) {
    const size_t n = re.size();
    const long double pi = 3.141592653589793238462643383279502884L;
    std::vector<std::complex<long double>> out(n);
    for (size_t k = 0; k < n; ++k) {
        std::complex<long double> sum = 0;
        for (size_t j = 0; j < n; ++j) {
            const long double angle = 2 * pi * static_cast<long double>((j * k) % n) / n;
            sum += std::complex<long double>(re[j], im[j]) *
                   std::complex<long double>(std::cos(angle), std::sin(angle));
        }
        out[k] = sum;
    }
    return out;
}

struct Columns {
    KVector<double> v;
    ~Columns() { KDataTransform::deleteColumns(v); }
};

KRecord sampledRecord(int n, double step, double hz, double amplitude, double phase) {
    KRecord r;
    r.create(1, n, 1024);
    for (int i = 0; i < n; ++i) {
        const double t = i * step;
        r.setDomainValue(t);
        r.setTraceValue(0, amplitude * std::sin(2 * M_PI * hz * t + phase));
        r.commit();
    }
    r.selectTrace(0);
    return r;
}

}  // namespace

TEST(KFftTransform, arrayForm) {
    KFftTransform fft;
    EXPECT_STREQ(fft.getName().c_str(), "NFFT");
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
    EXPECT_EQ(fft.getLength(), 7);
    ASSERT_EQ(out.v.getCount(), 3);
    EXPECT_EQ(re[0], 1.0);  // the inputs are left as they were
    const auto expected = directDft(re, im);
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(out.v[0][k], k);  // no sample rate: bin numbers
        EXPECT_NEAR(out.v[1][k], static_cast<double>(expected[k].real()), 1e-12);
        EXPECT_NEAR(out.v[2][k], static_cast<double>(expected[k].imag()), 1e-12);
    }

    Columns hz;
    fft.setSampleRate(700.0);
    n = 7;
    ASSERT_TRUE(fft.transform(in, hz.v, n));
    EXPECT_DOUBLE_EQ(hz.v[0][1], 100.0);
    EXPECT_DOUBLE_EQ(hz.v[0][3], 300.0);
    EXPECT_DOUBLE_EQ(hz.v[0][4], -300.0);  // above n/2: negative frequencies

    Columns slow;
    fft.setSampleRate(0.5);  // below 1: bin numbers again
    n = 7;
    ASSERT_TRUE(fft.transform(in, slow.v, n));
    EXPECT_EQ(slow.v[0][4], 4.0);

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

    std::vector<double> times(source.getXData(), source.getXData() + 64);
    source.selectTrace(0);
    std::vector<double> values(source.getYData(), source.getYData() + 64);
    const auto raw = directDft(times, values);
    spectrum.selectTrace(0);
    const double* magnitude = spectrum.getYData();
    spectrum.selectTrace(1);
    const double* phase = spectrum.getYData();
    for (int k = 0; k < 32; ++k) {
        SCOPED_TRACE(k);
        EXPECT_NEAR(spectrum.getXData()[k], 60.0 * k, 1e-9);
        EXPECT_NEAR(magnitude[k], 2.0 / 63 * static_cast<double>(std::abs(raw[k])), 1e-12);
        EXPECT_NEAR(phase[k], static_cast<double>(std::arg(raw[k])) * 180 / M_PI, 1e-9);
    }
    // The sine sits in bin 1 of the imaginary input: 64 * 10 / 2 before scaling.
    EXPECT_NEAR(magnitude[1], 2.0 / 63 * 320, 1.0);

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
    EXPECT_FALSE(fft.transform(&source, target, 5, 5, false, false));
    EXPECT_FALSE(fft.transform(&source, target, 8, 2, false, false));
    EXPECT_FALSE(fft.transform(&source, target, -1, 4, false, false));
    EXPECT_FALSE(fft.transform(&source, target, 0, 17, false, false));
    EXPECT_FALSE(fft.transform(nullptr, target, 0, 4, false, false));
    source.selectTrace(-1);  // no trace data
    EXPECT_FALSE(fft.transform(&source, target, 0, 8, false, false));
    EXPECT_EQ(target.getSampleCount(), 3);  // left alone
    EXPECT_EQ(target.getTraceCount(), 1);

    // A stretch of one sample has no rows; a part of the record works on its own samples.
    source.selectTrace(0);
    ASSERT_TRUE(fft.transform(&source, target, 3, 4, false, false));
    EXPECT_EQ(target.getSampleCount(), 0);
    ASSERT_TRUE(fft.transform(&source, target, 4, 12, false, false));
    EXPECT_EQ(target.getSampleCount(), 4);
    EXPECT_NEAR(target.getXData()[1], 125.0, 1e-9);  // 1000 Hz over 8 samples
}
