#include <gtest/gtest.h>

#include <kalvo/kalvo.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <string>
#include <tuple>
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
    Signal s;
    for (size_t i = 0; i < 2 * n; ++i) (i % 2 ? s.im : s.re).push_back(dist(gen));
    return s;
}

// Direct multidimensional DFT of the given output bins (flat indices, dims[0] fastest). Each
// term's phase, in units of 2*pi/total, is the sum over dimensions of (j*k mod d) * total/d,
// so one table of the total's roots of unity serves every shape.
std::vector<Complex> directDft(const Signal& x, const std::vector<int>& dims, int sign,
                               const std::vector<size_t>& bins) {
    const size_t total = x.re.size();
    const long double twoPi = 2.0L * std::numbers::pi_v<long double>;
    std::vector<Complex> roots(total), out;
    for (size_t t = 0; t < total; ++t)
        roots[t] = Complex(std::cos(twoPi * t / total), sign * std::sin(twoPi * t / total));
    for (size_t k : bins) {
        Complex sum = 0;
        for (size_t j = 0; j < total; ++j) {
            size_t t = 0, jr = j, kr = k;
            for (size_t d : dims) {
                t += (jr % d) * (kr % d) % d * (total / d);
                jr /= d;
                kr /= d;
            }
            sum += Complex(x.re[j], x.im[j]) * roots[t % total];
        }
        out.push_back(sum);
    }
    return out;
}

// No scaling (0 or 1), divide by a value, by the length, by the square root of the length.
const double kScalingModes[] = {0.0, 1.0, 2.5, -1.0, -2.0};

// Transforms a random signal of the given shape and compares it with the direct DFT over bins
// 0..40, the top 40 and a spread in between: enough to expose a wrong butterfly or permutation
// in a long transform without a quadratic reference over every bin.
void expectMatchesDirectDft(const std::vector<int>& dims, int iSign, double scaling,
                            double tolerance, unsigned seed) {
    size_t total = 1;
    std::string shape;
    for (int d : dims) {
        total *= static_cast<size_t>(d);
        shape += (shape.empty() ? "" : "x") + std::to_string(d);
    }
    SCOPED_TRACE("dims " + shape + ", iSign " + std::to_string(iSign) + ", scaling " +
                 std::to_string(scaling));
    const Signal x = randomSignal(total, seed);
    Signal y = x;
    ASSERT_EQ(0, fftns(static_cast<int>(dims.size()), dims.data(), y.re.data(), y.im.data(), iSign,
                       scaling));
    std::vector<size_t> bins;
    for (size_t i = 0; i < total; ++i)
        if (total <= 2100 || i < 40 || i >= total - 40 || (i - 40) % (total / 97) == 0)
            bins.push_back(i);
    const auto ref = directDft(x, dims, iSign > 0 ? 1 : -1, bins);
    const long double divisor = scaling == 0.0 || scaling == 1.0 ? 1.0L
                                : scaling == -1.0                ? static_cast<long double>(total)
                                : scaling < -1.0 ? std::sqrt(static_cast<long double>(total))
                                                 : scaling;
    long double err = 0, norm = 0;
    for (size_t b = 0; b < bins.size(); ++b) {
        const Complex expected = ref[b] / divisor;
        err += std::norm(Complex(y.re[bins[b]], y.im[bins[b]]) - expected);
        norm += std::norm(expected);
    }
    EXPECT_LT(static_cast<double>(std::sqrt(err / norm)), tolerance);
}

// Largest distance from e^(i*sign*2*pi*k/n) over every step-th bin: what an impulse at 1
// transforms to.
double worstRootError(const std::vector<double>& re, const std::vector<double>& im, int iSign,
                      int step) {
    const int n = static_cast<int>(re.size());
    double worst = 0.0;
    for (int k = 0; k < n; k += step) {
        const double angle = iSign * 2.0 * std::numbers::pi * k / n;
        worst = std::max(worst, std::hypot(re[k] - std::cos(angle), im[k] - std::sin(angle)));
    }
    return worst;
}

// Runs a call that must fail and returns what it wrote to standard error.
template <class Call>
std::string failureMessage(Call call) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, call());
    return testing::internal::GetCapturedStderr();
}

}  // namespace

// Every scaling mode meets every length class in each direction as n walks through them.
TEST(Fft, matchesDirectDftForEveryLengthUpTo300) {
    for (int n = 1; n <= 300; ++n)
        for (int iSign : {1, -1})
            expectMatchesDirectDft({n}, iSign, kScalingModes[(n + (iSign > 0)) % 5], 1e-13, n);
}

// Primes and lengths with large prime factors, which go through chirp convolutions: alone,
// beside small factors, twice (a square), two different ones, and beside the general odd
// radix. The direction alternates, and with it the sign of the chirp tables.
TEST(Fft, primesAndLengthsWithLargePrimeFactors) {
    for (int n : {53, 97, 1009, 10007, 2 * 1013, 16 * 1009, 2 * 3 * 5 * 211, 3 * 5 * 7 * 53,
                  59 * 59, 53 * 59, 4 * 4 * 17 * 17 * 3, 3 * 3 * 3 * 7 * 11 * 13})
        for (int iSign : {1, -1}) expectMatchesDirectDft({n}, iSign, -1.0, 1e-12, n);
    // A stretch of 100,003 samples, one direction: the direct reference is the slow part.
    expectMatchesDirectDft({100003}, -1, 0.0, 1e-12, 5);
}

// Forward then back is the identity for every kind of factor, including a large prime
// convolved in batches of neighbouring butterflies.
TEST(Fft, inverseTransformRestoresTheSignal) {
    for (int n : {1, 2, 60, 7 * 16, 101 * 64, 1009 * 3, 4 * 4 * 4 * 3 * 5 * 5}) {
        SCOPED_TRACE("n " + std::to_string(n));
        const Signal x = randomSignal(static_cast<size_t>(n), 3);
        Signal y = x;
        const int dims[] = {n};
        ASSERT_EQ(0, fftns(1, dims, y.re.data(), y.im.data(), 1, 0.0));
        ASSERT_EQ(0, fftns(1, dims, y.re.data(), y.im.data(), -1, -1.0));
        double worst = 0.0;
        for (int i = 0; i < n; ++i)
            worst = std::max(worst, std::hypot(y.re[i] - x.re[i], y.im[i] - x.im[i]));
        EXPECT_LT(worst, 1e-13);
    }
}

// With |iSign| = 2 the real and imaginary parts sit side by side in one array; the result is
// the same as with separate arrays.
TEST(Fft, interleavedComplexData) {
    for (const std::vector<int>& dims :
         std::vector<std::vector<int>>{{360}, {1009}, {3 * 1013}, {61, 6}, {4, 53}}) {
        size_t total = 1;
        for (int d : dims) total *= static_cast<size_t>(d);
        SCOPED_TRACE("dims " + std::to_string(dims[0]) + ", total " + std::to_string(total));
        const Signal x = randomSignal(total, 17);
        for (int iSign : {2, -2}) {
            Signal y = x;
            std::vector<double> data(2 * total);
            for (size_t i = 0; i < total; ++i) {
                data[2 * i] = x.re[i];
                data[2 * i + 1] = x.im[i];
            }
            const int ndim = static_cast<int>(dims.size());
            ASSERT_EQ(0, fftns(ndim, dims.data(), y.re.data(), y.im.data(), iSign / 2, 0.0));
            ASSERT_EQ(0, fftns(ndim, dims.data(), data.data(), data.data() + 1, iSign, 0.0));
            double worst = 0.0;
            for (size_t i = 0; i < total; ++i)
                worst = std::max(worst, std::hypot(data[2 * i] - y.re[i], data[2 * i + 1] - y.im[i]));
            EXPECT_LT(worst, 1e-10) << "iSign " << iSign;
        }
    }
}

TEST(Fft, twoAndThreeDimensions) {
    const std::vector<std::vector<int>> shapes = {{8, 8},   {6, 10},    {16, 9},   {1, 13},
                                                  {13, 1},  {7, 12, 5}, {4, 1, 9}, {2, 3, 2},
                                                  {11, 11}, {6, 7, 5}, {53, 6},
                                                  {3, 61},  {41, 43},   {2, 59, 3}};
    for (const auto& dims : shapes)
        for (int iSign : {1, -1})
            for (double scaling : kScalingModes)
                expectMatchesDirectDft(dims, iSign, scaling, 1e-13, 11);
}

// Long lengths whose digit reversal moves whole tiles of rows a multiple of 4 KiB apart,
// including tiles that trade places in cycles of more than two (central factors 2 and 3,
// 2 and 5). An impulse at 1 checks every output position; a random signal checks the
// values against the direct transform.
TEST(Fft, longLengthsPermutedByTiles) {
    for (int n : {16384, 24576, 40960, 65536}) {
        for (int iSign : {1, -1}) {
            SCOPED_TRACE("n " + std::to_string(n) + ", iSign " + std::to_string(iSign));
            const int dims[] = {n};
            std::vector<double> re(n, 0.0), im(n, 0.0);
            re[1] = 1.0;
            ASSERT_EQ(0, fftns(1, dims, re.data(), im.data(), iSign, 0.0));
            EXPECT_LT(worstRootError(re, im, iSign, 1), 1e-12);
            expectMatchesDirectDft({n}, iSign, -1.0, 1e-12, static_cast<unsigned>(n));
        }
    }
}

// The two-at-a-time passes that processors without AVX2 run give the same transforms: every
// small radix and their pairs, interleaved data, two dimensions and a long tiled length.
TEST(Fft, passesWithoutWideVectors) {
    fftUseWideVectors(false);
    for (int n = 1; n <= 130; ++n) expectMatchesDirectDft({n}, n % 2 ? 1 : -1, -1.0, 1e-13, n);
    for (int n : {1000, 2048, 3840, 1009 * 4}) expectMatchesDirectDft({n}, -1, 0.0, 1e-12, n);
    expectMatchesDirectDft({12, 20}, 1, 0.0, 1e-13, 3);
    expectMatchesDirectDft({40960}, -1, 0.0, 1e-12, 4);
    const int dims[] = {60};
    std::vector<double> data(2 * 60, 0.0);
    data[2] = 1.0;
    EXPECT_EQ(0, fftns(1, dims, data.data(), data.data() + 1, -2, 0.0));
    fftUseWideVectors(true);
    for (int k = 0; k < 60; ++k) {
        const double angle = -2.0 * std::numbers::pi * k / 60;
        EXPECT_NEAR(data[2 * k], std::cos(angle), 1e-14);
        EXPECT_NEAR(data[2 * k + 1], std::sin(angle), 1e-14);
    }
}

TEST(Fft, twoToThe22PointsWithElevenFactors) {
    const int n = 1 << 22;
    const int dims[] = {n};
    // An impulse at 1 gives the roots of unity e^(-2*pi*i*k/N); the inverse brings it back.
    std::vector<double> re(n, 0.0), im(n, 0.0);
    re[1] = 1.0;
    ASSERT_EQ(0, fftns(1, dims, re.data(), im.data(), -1, 0.0));
    EXPECT_LT(worstRootError(re, im, -1, 997), 1e-12);
    ASSERT_EQ(0, fftns(1, dims, re.data(), im.data(), 1, -1.0));
    double residue = 0.0;
    for (int k = 0; k < n; ++k)
        residue = std::max(residue, std::hypot(re[k] - (k == 1 ? 1.0 : 0.0), im[k]));
    EXPECT_LT(residue, 1e-13);
}

TEST(Fft, twoToThe24PointsHasTooManyFactors) {
    const int dims[] = {1 << 24};
    std::vector<double> re(dims[0], 1.0), im(dims[0], 0.0);
    EXPECT_EQ(
        "Error: fftradix() - exceeded number of factors\n"
        "Error: fftradix() - insufficient memory.\n",
        failureMessage([&] { return fftns(1, dims, re.data(), im.data(), 1, 0.0); }));
    EXPECT_EQ(1.0, re[12345]);
}

TEST(Fft, dimensionErrors) {
    // The last list is empty: a zero count with the list ended at once.
    const std::vector<std::vector<int>> bad = {{4, 0, 3}, {-2}, {3, -1}, {0}};
    for (const std::vector<int>& dims : bad) {
        std::vector<double> re(12, 1.0), im(12, 0.0);
        const int count = dims[0] == 0 ? 0 : static_cast<int>(dims.size());
        EXPECT_EQ("Error: fftns() - dimension error\n", failureMessage([&] {
                      return fftns(count, dims.data(), re.data(), im.data(), 1, 0.0);
                  }));
        EXPECT_EQ(std::vector<double>(12, 1.0), re) << "data touched on a dimension error";
    }
    const int four[] = {4};
    double re4[4] = {1, 2, 3, 4}, im4[4] = {};
    EXPECT_EQ("Error: fftns() - iSign must not be 0\n",
              failureMessage([&] { return fftns(1, four, re4, im4, 0, 0.0); }));
    // A span that is not a multiple of the dimension's length cannot be walked.
    EXPECT_EQ("Error: fftradix() - dimension error\n",
              failureMessage([&] { return fftradix(re4, im4, 4, 3, 4, 1, 4, 4); }));
    EXPECT_EQ(2.0, re4[1]);
}

TEST(Fft, frequencyOfEachBin) {
    // Odd length: n / 2 halves to the integer below, so bin 3 of 7 is still positive.
    const std::tuple<int, int, double> cases[] = {
        {8, 0, 0.0}, {8, 1, 0.125}, {8, 4, 0.5},       {8, 5, -0.375},     {8, 7, -0.125},
        {8, 8, 0.0}, {8, 9, 0.0},   {7, 3, 3.0 / 7.0}, {7, 4, -3.0 / 7.0}, {1, 0, 0.0}};
    for (const auto& [n, bin, frequency] : cases)
        EXPECT_DOUBLE_EQ(frequency, fftFrequency(n, bin)) << n << " bin " << bin;
}

// Scratch only grows through its capacities, so an unchanged size means that nothing was
// allocated.
TEST(Fft, scratchIsKeptForRepeatedLengthsAndReleased) {
    const std::vector<std::vector<int>> shapes = {
        {3 * 7 * 11 * 16}, {10007}, {16 * 1009}, {1009, 3}, {59, 61}};
    for (const std::vector<int>& dims : shapes) {
        SCOPED_TRACE("dims " + std::to_string(dims[0]) + " x " + std::to_string(dims.size()));
        size_t total = 1;
        for (int d : dims) total *= static_cast<size_t>(d);
        Signal x = randomSignal(total, 9);
        const int ndim = static_cast<int>(dims.size());
        fftFreeScratch();
        EXPECT_EQ(0u, fftScratchSize());
        ASSERT_EQ(0, fftns(ndim, dims.data(), x.re.data(), x.im.data(), -1, 0.0));
        const size_t grown = fftScratchSize();
        EXPECT_GT(grown, 0u);
        for (int iSign : {1, -1, 1}) {
            ASSERT_EQ(0, fftns(ndim, dims.data(), x.re.data(), x.im.data(), iSign, -1.0));
            EXPECT_EQ(grown, fftScratchSize()) << "repeated length reallocated";
        }
        const int smaller[] = {100};
        ASSERT_EQ(0, fftns(1, smaller, x.re.data(), x.im.data(), 1, 0.0));
        EXPECT_LE(grown, fftScratchSize()) << "scratch shrank";
    }
    fftFreeScratch();
    EXPECT_EQ(0u, fftScratchSize());
    // Released scratch is rebuilt on demand and still gives the right answer, as do tables
    // rebuilt for one length after another.
    expectMatchesDirectDft({3 * 7 * 11 * 16}, 1, 0.0, 1e-13, 9);
    expectMatchesDirectDft({1009}, 1, 0.0, 1e-12, 9);
    expectMatchesDirectDft({10007}, -1, 0.0, 1e-12, 9);
    expectMatchesDirectDft({1009}, 1, 0.0, 1e-12, 10);
}
