#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

constexpr double PI = 3.14159265358979323846;

// A record of one trace: an RMS-100 cosine of the frequency and angle (degrees, at time 0),
// sampled at the rate from t0.
KRecord cosine(double hz, double degrees, double rate, int n, double t0, double line = 60.0) {
    KRecord r;
    r.create(1, n, 1024);
    r.setTraceName(0, "VA");
    r.getTrace(0)->setUnits("kV");
    for (int i = 0; i < n; ++i) {
        const double t = t0 + i / rate;
        r.setDomainValue(t);
        r.setTraceValue(0, 100 * std::sqrt(2.0) * std::cos(2 * PI * hz * t + degrees * PI / 180));
        r.commit();
    }
    KString text;
    text.format("%g", line);
    r.setProperty(KRecord::LINE_FREQUENCY, text.c_str());
    r.selectTrace(0);
    return r;
}

std::complex<double> at(const KRecord& phasors, int i) {
    return {phasors.getTrace(0)->getSample(i), phasors.getTrace(1)->getSample(i)};
}

// The angle of b after a, in degrees, unwrapped to (-180, 180].
double turn(std::complex<double> a, std::complex<double> b) {
    return std::arg(b / a) * 180 / PI;
}

}  // namespace

TEST(KSlidingPhasorTransform, aSineAtTheLineFrequencyStandsStill) {
    // 64 samples a cycle, starting before time zero: the angle is that of the cosine at 0.
    KRecord source = cosine(60, 30, 3840, 640, -0.05);
    KSlidingPhasorTransform phasor;
    KRecord out;
    ASSERT_TRUE(phasor.transformTraces(source, {0}, out));
    EXPECT_EQ(phasor.getWindow(), 64);
    EXPECT_FALSE(phasor.isResampled());
    ASSERT_EQ(out.getTraceCount(), 2);
    EXPECT_STREQ(out.getTrace(0)->getName().c_str(), "VA re");
    EXPECT_STREQ(out.getTrace(1)->getName().c_str(), "VA im");
    EXPECT_STREQ(out.getTrace(1)->getUnits().c_str(), "kV");
    EXPECT_EQ(out.getSampleCount(), 640);
    // No phasor before the first whole cycle; then the same one at every sample.
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(62)));
    for (int i = 63; i < 640; ++i) {
        ASSERT_NEAR(std::abs(at(out, i)), 100, 1e-9) << i;
        ASSERT_NEAR(std::arg(at(out, i)) * 180 / PI, 30, 1e-9) << i;
    }

    // The polar form: magnitude and degrees.
    phasor.setForm(KSlidingPhasorTransform::POLAR);
    ASSERT_TRUE(phasor.transform(&source, out, 100, 300, false, false));
    EXPECT_EQ(out.getSampleCount(), 200);
    EXPECT_STREQ(out.getTrace(0)->getName().c_str(), "VA mag");
    EXPECT_STREQ(out.getTrace(1)->getUnits().c_str(), "deg");
    EXPECT_DOUBLE_EQ(out.getDomainValue(0), source.getDomainValue(100));
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(62))) << "the stretch's own first cycle";
    EXPECT_NEAR(out.getTrace(0)->getSample(199), 100, 1e-9);
    EXPECT_NEAR(out.getTrace(1)->getSample(199), 30, 1e-9);
}

TEST(KSlidingPhasorTransform, aSineOffTheLineFrequencyTurnsAtTheDifference) {
    for (double hz : {61.0, 59.5}) {
        KRecord source = cosine(hz, 0, 3840, 3840, 0);
        KSlidingPhasorTransform phasor;
        KRecord out;
        ASSERT_TRUE(phasor.transformTraces(source, {0}, out));
        // A tenth of a second apart, the phasor has turned 36 degrees per hertz off (give or
        // take the ripple that a window of not quite a cycle leaves).
        for (int i = 100; i + 384 < 3840; i += 500) {
            EXPECT_NEAR(turn(at(out, i), at(out, i + 384)), 360 * (hz - 60) * 0.1, 0.6)
                << hz << " Hz at " << i;
            // The magnitude stays within the leak of the one-cycle window.
            EXPECT_NEAR(std::abs(at(out, i)), 100, 1.5) << hz << " Hz at " << i;
        }
    }
}

TEST(KSlidingPhasorTransform, resamplesRatesThatAreNoMultipleOfTheLine) {
    // 115.2 samples a cycle of 50 Hz; and a rate that wanders as frequency tracking makes it.
    KRecord even = cosine(50, -45, 5760, 2000, -0.1, 50);
    KRecord wandering;
    wandering.create(1, 0, 1024);
    double t = 0;
    for (int i = 0; i < 3000; ++i) {
        wandering.setDomainValue(t);
        wandering.setTraceValue(0, 100 * std::sqrt(2.0) * std::cos(2 * PI * 50 * t - PI / 4));
        wandering.commit();
        t += 1.0 / (2400 + 10 * std::sin(i * 0.01));
    }
    wandering.setProperty(KRecord::LINE_FREQUENCY, "50");
    for (KRecord* source : {&even, &wandering}) {
        KSlidingPhasorTransform phasor;
        KRecord out;
        ASSERT_TRUE(phasor.transformTraces(*source, {0}, out));
        EXPECT_TRUE(phasor.isResampled());
        const int n = source->getSampleCount();
        EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(0)));
        for (int i = n / 4; i < n; i += 37) {
            ASSERT_NEAR(std::abs(at(out, i)), 100, 0.5) << i;
            ASSERT_NEAR(std::arg(at(out, i)) * 180 / PI, -45, 0.5) << i;
        }
    }
}

TEST(KSlidingPhasorTransform, missingSamplesAndGapsLeaveTheirCyclesOut) {
    KRecord source = cosine(60, 0, 3840, 640, 0);
    source.getTrace(0)->getData()[300] = NAN;
    KSlidingPhasorTransform phasor;
    KRecord out;
    ASSERT_TRUE(phasor.transformTraces(source, {0}, out));
    EXPECT_NEAR(std::abs(at(out, 299)), 100, 1e-9);
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(300)));
    EXPECT_TRUE(std::isnan(out.getTrace(1)->getSample(363)));
    EXPECT_NEAR(std::abs(at(out, 364)), 100, 1e-9) << "once the missing sample leaves the cycle";

    // A record with a gap of 10 ms is resampled; the cycles over the gap have no phasor.
    KRecord gapped;
    gapped.create(1, 0, 1024);
    for (int i = 0; i < 800; ++i) {
        const double t = i / 3840.0 + (i >= 400 ? 0.01 : 0.0);
        gapped.setDomainValue(t);
        gapped.setTraceValue(0, 100 * std::sqrt(2.0) * std::cos(2 * PI * 60 * t));
        gapped.commit();
    }
    gapped.setProperty(KRecord::LINE_FREQUENCY, "60");
    ASSERT_TRUE(phasor.transformTraces(gapped, {0}, out));
    EXPECT_TRUE(phasor.isResampled());
    // (Linear interpolation of 64 samples a cycle costs about a thousandth.)
    EXPECT_NEAR(std::abs(at(out, 399)), 100, 0.2);
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(400)));
    EXPECT_NEAR(std::abs(at(out, 799)), 100, 0.2);
}

TEST(KSlidingPhasorTransform, refusesWhatItCannotTakeAndLeavesTheTargetAlone) {
    KRecord source = cosine(60, 0, 3840, 200, 0);
    KRecord target = cosine(60, 0, 3840, 10, 0);
    KSlidingPhasorTransform phasor;
    source.setProperty(KRecord::LINE_FREQUENCY, "");
    EXPECT_FALSE(phasor.transformTraces(source, {0}, target)) << "no line frequency";
    phasor.setFrequency(60);
    EXPECT_FALSE(phasor.transformTraces(source, {3}, target)) << "no such trace";
    EXPECT_FALSE(phasor.transform(&source, target, 150, 250, false, false)) << "past the end";
    source.getDomain().getData()[5] = 0.0;
    EXPECT_FALSE(phasor.transformTraces(source, {0}, target)) << "times that go back";
    KRecord slow = cosine(60, 0, 180, 50, 0);
    EXPECT_FALSE(phasor.transformTraces(slow, {0}, target)) << "three samples a cycle";
    EXPECT_EQ(target.getSampleCount(), 10);
    EXPECT_EQ(target.getTraceCount(), 1);
}

TEST(KSlidingPhasorTransform, longRecordsGiveWhatTheDefinitionGives) {
    // 90 000 samples of a wandering, noisy wave with a missing sample far in: the running
    // sums (four stretches at a time, and the stretch around the missing sample on its own)
    // against the DFT of each cycle taken afresh.
    const int n = 90000, w = 64;
    KRecord source;
    source.create(1, n, 1024);
    unsigned noise = 7;
    for (int i = 0; i < n; ++i) {
        const double t = i / 3840.0;
        noise = noise * 1103515245u + 12345u;
        source.setDomainValue(t);
        source.setTraceValue(
            0, (100 + 20 * std::sin(t)) * std::cos(2 * PI * 60.5 * t) + (noise >> 16) % 100 / 50.0);
        source.commit();
    }
    source.getTrace(0)->getData()[80000] = NAN;
    source.setProperty(KRecord::LINE_FREQUENCY, "60");
    KSlidingPhasorTransform phasor;
    KRecord out;
    ASSERT_TRUE(phasor.transformTraces(source, {0}, out));
    const double* y = source.getTrace(0)->getData();
    for (int i :
         {63, 64, 1000, 16446, 16447, 32830, 50000, 65598, 65599, 79999, 80063, 80064, 89999}) {
        std::complex<double> sum = 0;
        for (int k = i - w + 1; k <= i; ++k)
            sum += y[k] * std::polar(1.0, -2 * PI * 60 * k / 3840.0);
        sum *= std::sqrt(2.0) / w;
        if (std::isnan(sum.real())) {
            EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(i))) << i;
            continue;
        }
        EXPECT_NEAR(out.getTrace(0)->getSample(i), sum.real(), 1e-9) << i;
        EXPECT_NEAR(out.getTrace(1)->getSample(i), sum.imag(), 1e-9) << i;
    }
    // Transforming again into the same record keeps its traces.
    const double* kept = out.getTrace(1)->getData();
    ASSERT_TRUE(phasor.transformTraces(source, {0}, out));
    EXPECT_EQ(out.getTrace(1)->getData(), kept);
}
