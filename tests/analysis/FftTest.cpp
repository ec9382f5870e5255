#include <gtest/gtest.h>

#include <kalvo/kalvo.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

using Complex = std::complex<long double>;

struct Signal {
    std::vector<double> re;
    std::vector<double> im;
};

Signal randomSignal(size_t n, unsigned seed) {
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    Signal s{std::vector<double>(n), std::vector<double>(n)};
    for (size_t i = 0; i < n; ++i) {
        s.re[i] = dist(gen);
        s.im[i] = dist(gen);
    }
    return s;
}

// Direct multidimensional DFT of the given output bins (flat indices, dims[0] fastest).
std::vector<Complex> directDft(const Signal& x, const std::vector<int>& dims, int sign,
                               const std::vector<size_t>& bins) {
    const size_t total = x.re.size();
    const long double twoPi = 2.0L * std::numbers::pi_v<long double>;
    std::vector<Complex> out;
    if (dims.size() == 1) {
        // One dimension: a table of the n roots of unity keeps this quadratic loop cheap.
        const size_t n = total;
        std::vector<Complex> roots(n);
        for (size_t t = 0; t < n; ++t)
            roots[t] = Complex(std::cos(twoPi * t / n), sign * std::sin(twoPi * t / n));
        for (size_t k : bins) {
            Complex sum = 0;
            size_t t = 0;
            for (size_t j = 0; j < n; ++j) {
                sum += Complex(x.re[j], x.im[j]) * roots[t];
                t += k;
                if (t >= n) t -= n;
            }
            out.push_back(sum);
        }
        return out;
    }
    for (size_t k : bins) {
        Complex sum = 0;
        for (size_t j = 0; j < total; ++j) {
            long double phase = 0;
            size_t jr = j, kr = k;
            for (int d : dims) {
                phase += static_cast<long double>((jr % d) * (kr % d) % d) / d;
                jr /= d;
                kr /= d;
            }
            sum += Complex(x.re[j], x.im[j]) *
                   Complex(std::cos(twoPi * phase), sign * std::sin(twoPi * phase));
        }
        out.push_back(sum);
    }
    return out;
}

double relativeRmsError(const Signal& y, const std::vector<Complex>& ref,
                        const std::vector<size_t>& bins, long double divisor) {
    long double err = 0, norm = 0;
    for (size_t b = 0; b < bins.size(); ++b) {
        const Complex expected = ref[b] / divisor;
        err += std::norm(Complex(y.re[bins[b]], y.im[bins[b]]) - expected);
        norm += std::norm(expected);
    }
    return static_cast<double>(std::sqrt(err / norm));
}

std::vector<size_t> allBins(size_t n) {
    std::vector<size_t> bins(n);
    for (size_t i = 0; i < n; ++i) bins[i] = i;
    return bins;
}

// Bins 0..40, the top 40 and a spread in between: enough to expose a wrong butterfly or
// permutation in a long transform without a quadratic reference over every bin.
std::vector<size_t> sampledBins(size_t n) {
    if (n <= 2100) return allBins(n);
    std::vector<size_t> bins;
    for (size_t i = 0; i < 40; ++i) bins.push_back(i);
    for (size_t i = 40; i < n - 40; i += n / 97) bins.push_back(i);
    for (size_t i = n - 40; i < n; ++i) bins.push_back(i);
    return bins;
}

struct ScalingMode {
    double scaling;
    const char* name;
};

const ScalingMode kScalingModes[] = {
    {0.0, "none (0.0)"}, {1.0, "none (1.0)"},       {2.5, "divide by 2.5"},
    {-1.0, "by length"}, {-2.0, "by sqrt(length)"},
};

long double divisorFor(double scaling, size_t total) {
    if (scaling == 0.0 || scaling == 1.0) return 1.0L;
    if (scaling == -1.0) return static_cast<long double>(total);
    if (scaling < -1.0) return std::sqrt(static_cast<long double>(total));
    return scaling;
}

// Transforms a random signal of the given shape and compares it with the direct DFT.
void expectMatchesDirectDft(const std::vector<int>& dims, int iSign, double scaling,
                            double tolerance, unsigned seed) {
    size_t total = 1;
    for (int d : dims) total *= static_cast<size_t>(d);
    const Signal x = randomSignal(total, seed);
    Signal y = x;
    std::string shape;
    for (int d : dims) shape += (shape.empty() ? "" : "x") + std::to_string(d);
    SCOPED_TRACE("dims " + shape + ", iSign " + std::to_string(iSign) + ", scaling " +
                 std::to_string(scaling));
    ASSERT_EQ(0, fftns(static_cast<int>(dims.size()), dims.data(), y.re.data(), y.im.data(), iSign,
                       scaling));
    const std::vector<size_t> bins = sampledBins(total);
    const auto ref = directDft(x, dims, iSign > 0 ? 1 : -1, bins);
    EXPECT_LT(relativeRmsError(y, ref, bins, divisorFor(scaling, total)), tolerance);
}

}  // namespace

TEST(Fft, matchesDirectDftForEveryLengthUpTo300) {
    for (int n = 1; n <= 300; ++n) {
        for (int iSign : {1, -1}) {
            const double scaling = kScalingModes[(n + (iSign > 0)) % 5].scaling;
            expectMatchesDirectDft({n}, iSign, scaling, 1e-13, static_cast<unsigned>(n));
        }
    }
}

TEST(Fft, everyScalingModeInEachDirection) {
    for (const ScalingMode& mode : kScalingModes) {
        SCOPED_TRACE(mode.name);
        for (int iSign : {1, -1}) {
            expectMatchesDirectDft({360}, iSign, mode.scaling, 1e-13, 7);
            expectMatchesDirectDft({6, 7, 5}, iSign, mode.scaling, 1e-13, 8);
        }
    }
}

TEST(Fft, lengthsWithLargePrimeFactors) {
    for (int n : {1009, 2 * 1013, 3 * 3 * 3 * 7 * 11 * 13, 10007, 4 * 4 * 17 * 17 * 3})
        for (int iSign : {1, -1}) expectMatchesDirectDft({n}, iSign, -1.0, 1e-12, n);
}

TEST(Fft, twoAndThreeDimensions) {
    const std::vector<std::vector<int>> shapes = {
        {8, 8}, {6, 10}, {16, 9}, {1, 13}, {13, 1}, {7, 12, 5}, {4, 1, 9}, {2, 3, 2}, {11, 11},
    };
    for (const auto& dims : shapes)
        for (int iSign : {1, -1})
            for (double scaling : {0.0, -1.0, -2.0})
                expectMatchesDirectDft(dims, iSign, scaling, 1e-13, 11);
}

TEST(Fft, dimensionsListEndedByZero) {
    const int dims[] = {5, 6, 0};
    const Signal x = randomSignal(30, 3);
    Signal counted = x, listed = x, leading = x;
    ASSERT_EQ(0, fftns(2, dims, counted.re.data(), counted.im.data(), -1, 0.0));
    ASSERT_EQ(0, fftns(0, dims, listed.re.data(), listed.im.data(), -1, 0.0));
    EXPECT_EQ(counted.re, listed.re);
    EXPECT_EQ(counted.im, listed.im);
    // A 1-D transform of the same data differs, so the list really gave two dimensions.
    const int one[] = {30};
    ASSERT_EQ(0, fftns(1, one, leading.re.data(), leading.im.data(), -1, 0.0));
    EXPECT_NE(leading.re, listed.re);
}

TEST(Fft, interleavedComplexDataThroughTheStride) {
    for (int n : {12, 97, 256}) {
        const Signal x = randomSignal(n, 5);
        for (int iSign : {2, -2}) {
            std::vector<double> data(2 * n);
            for (int i = 0; i < n; ++i) {
                data[2 * i] = x.re[i];
                data[2 * i + 1] = x.im[i];
            }
            Signal split = x;
            const int dims[] = {n};
            ASSERT_EQ(0, fftns(1, dims, data.data(), data.data() + 1, iSign, -1.0));
            ASSERT_EQ(0, fftns(1, dims, split.re.data(), split.im.data(), iSign / 2, -1.0));
            for (int i = 0; i < n; ++i) {
                EXPECT_DOUBLE_EQ(split.re[i], data[2 * i]) << "n " << n << " bin " << i;
                EXPECT_DOUBLE_EQ(split.im[i], data[2 * i + 1]) << "n " << n << " bin " << i;
            }
        }
    }
}

TEST(Fft, lengthOneIsUnchanged) {
    double re = 0.25, im = -3.0;
    const int dims[] = {1};
    EXPECT_EQ(0, fftns(1, dims, &re, &im, 1, -1.0));
    EXPECT_EQ(0.25, re);
    EXPECT_EQ(-3.0, im);
}

TEST(Fft, twoToThe22PointsWithElevenFactors) {
    const int n = 1 << 22;
    const int dims[] = {n};
    // An impulse at 1 gives the roots of unity e^(-2*pi*i*k/N); the inverse brings it back.
    std::vector<double> re(n, 0.0), im(n, 0.0);
    re[1] = 1.0;
    ASSERT_EQ(0, fftns(1, dims, re.data(), im.data(), -1, 0.0));
    double worst = 0.0;
    for (int k = 0; k < n; k += 997) {
        const double angle = -2.0 * std::numbers::pi * k / n;
        worst = std::max(worst, std::hypot(re[k] - std::cos(angle), im[k] - std::sin(angle)));
    }
    EXPECT_LT(worst, 1e-12);
    ASSERT_EQ(0, fftns(1, dims, re.data(), im.data(), 1, -1.0));
    double residue = 0.0;
    for (int k = 0; k < n; ++k)
        residue = std::max(residue, std::hypot(re[k] - (k == 1 ? 1.0 : 0.0), im[k]));
    EXPECT_LT(residue, 1e-13);
}

TEST(Fft, twoToThe24PointsHasTooManyFactors) {
    const int n = 1 << 24;
    const int dims[] = {n};
    std::vector<double> re(n, 1.0), im(n, 0.0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, fftns(1, dims, re.data(), im.data(), 1, 0.0));
    EXPECT_EQ(
        "Error: fftradix() - exceeded number of factors\n"
        "Error: fftradix() - insufficient memory.\n",
        testing::internal::GetCapturedStderr());
    EXPECT_EQ(1.0, re[12345]);
}

TEST(Fft, dimensionErrors) {
    const std::vector<std::vector<int>> bad = {{4, 0, 3}, {-2}, {3, -1}};
    for (const auto& dims : bad) {
        std::vector<double> re(12, 1.0), im(12, 0.0);
        testing::internal::CaptureStderr();
        EXPECT_EQ(-1,
                  fftns(static_cast<int>(dims.size()), dims.data(), re.data(), im.data(), 1, 0.0));
        EXPECT_EQ("Error: fftns() - dimension error\n", testing::internal::GetCapturedStderr());
        EXPECT_EQ(std::vector<double>(12, 1.0), re) << "data touched on a dimension error";
    }
    const int empty[] = {0};
    double re = 1.0, im = 0.0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, fftns(0, empty, &re, &im, 1, 0.0));
    EXPECT_EQ("Error: fftns() - dimension error\n", testing::internal::GetCapturedStderr());
    const int four[] = {4};
    double re4[4] = {1, 2, 3, 4}, im4[4] = {};
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, fftns(1, four, re4, im4, 0, 0.0));
    EXPECT_EQ("Error: fftns() - iSign must not be 0\n", testing::internal::GetCapturedStderr());
    // A span that is not a multiple of the dimension's length cannot be walked.
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, fftradix(re4, im4, 4, 3, 4, 1, 4, 4));
    EXPECT_EQ("Error: fftradix() - dimension error\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(2.0, re4[1]);
}

TEST(Fft, frequencyOfEachBin) {
    EXPECT_DOUBLE_EQ(0.0, fftFrequency(8, 0));
    EXPECT_DOUBLE_EQ(0.125, fftFrequency(8, 1));
    EXPECT_DOUBLE_EQ(0.5, fftFrequency(8, 4));
    EXPECT_DOUBLE_EQ(-0.375, fftFrequency(8, 5));
    EXPECT_DOUBLE_EQ(-0.125, fftFrequency(8, 7));
    EXPECT_DOUBLE_EQ(0.0, fftFrequency(8, 8));
    EXPECT_DOUBLE_EQ(0.0, fftFrequency(8, 9));
    // Odd length: n / 2 halves to the integer below, so bin 3 of 7 is still positive.
    EXPECT_DOUBLE_EQ(3.0 / 7.0, fftFrequency(7, 3));
    EXPECT_DOUBLE_EQ(-3.0 / 7.0, fftFrequency(7, 4));
    EXPECT_DOUBLE_EQ(0.0, fftFrequency(1, 0));
}

TEST(Fft, scratchOnlyGrowsAndIsReleased) {
    fftFreeScratch();
    EXPECT_EQ(0u, fftScratchSize());
    Signal x = randomSignal(3 * 7 * 11 * 16, 9);
    const int dims[] = {3 * 7 * 11 * 16};
    ASSERT_EQ(0, fftns(1, dims, x.re.data(), x.im.data(), -1, 0.0));
    const size_t grown = fftScratchSize();
    EXPECT_GT(grown, 0u);
    ASSERT_EQ(0, fftns(1, dims, x.re.data(), x.im.data(), 1, -1.0));
    EXPECT_EQ(grown, fftScratchSize()) << "repeated length reallocated";
    const int smaller[] = {100};
    ASSERT_EQ(0, fftns(1, smaller, x.re.data(), x.im.data(), 1, 0.0));
    EXPECT_EQ(grown, fftScratchSize()) << "scratch shrank";
    fftFreeScratch();
    EXPECT_EQ(0u, fftScratchSize());
    // Released scratch is rebuilt on demand and still gives the right answer.
    expectMatchesDirectDft({3 * 7 * 11 * 16}, 1, 0.0, 1e-13, 9);
}
