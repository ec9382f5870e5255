// Symmetrical components against worked cases of the power-system textbooks, in both phase
// rotations. The expected values were worked out by hand from the defining formulas, to the
// four figures the books give; a case under rotation ACB is the same physical case with
// phases B and C exchanged, and must give the same components.
#include <gtest/gtest.h>

#include <complex>
#include <string>

#include <kalvo/analysis/KSymmetricalComponents.h>

namespace {

using Phasor = KSymmetricalComponents::Phasor;
using SC = KSymmetricalComponents;

Phasor P(double magnitude, double degrees) {
    return SC::fromPolar(magnitude, degrees);
}

// Near in magnitude (to 1e-4 of the larger or absolutely) and, when there is one, in angle.
void expectNear(Phasor actual, Phasor expected, const std::string& what, double tolerance = 1e-4) {
    SCOPED_TRACE(what);
    EXPECT_NEAR(std::abs(actual), std::abs(expected), tolerance);
    if (std::abs(expected) > 1e-3) {
        double d = SC::degreesOf(actual) - SC::degreesOf(expected);
        while (d > 180) d -= 360;
        while (d < -180) d += 360;
        EXPECT_NEAR(d, 0.0, 0.01);
    }
}

// The components of the phases under both rotations: abc under ABC, and abc with B and C
// exchanged under ACB, each compared with the expected zero, positive, negative sequence.
void expectBothRotations(const Phasor abc[3], Phasor zero, Phasor positive, Phasor negative,
                         const std::string& what) {
    Phasor s[3];
    SC::compute(abc, SC::ABC, s);
    expectNear(s[SC::ZERO], zero, what + ", ABC, zero");
    expectNear(s[SC::POSITIVE], positive, what + ", ABC, positive");
    expectNear(s[SC::NEGATIVE], negative, what + ", ABC, negative");
    const Phasor acb[3] = {abc[0], abc[2], abc[1]};
    SC::compute(acb, SC::ACB, s);
    expectNear(s[SC::ZERO], zero, what + ", ACB, zero");
    expectNear(s[SC::POSITIVE], positive, what + ", ACB, positive");
    expectNear(s[SC::NEGATIVE], negative, what + ", ACB, negative");
}

// The sequence sets add up to the phases again, under both rotations.
void expectSynthesis(const Phasor abc[3]) {
    for (SC::Rotation r : {SC::ABC, SC::ACB}) {
        Phasor s[3], sum[3] = {}, member[3];
        SC::compute(abc, r, s);
        for (SC::Sequence q : {SC::ZERO, SC::POSITIVE, SC::NEGATIVE}) {
            SC::expand(s[q], q, r, member);
            for (int i = 0; i < 3; ++i) sum[i] += member[i];
        }
        for (int i = 0; i < 3; ++i)
            expectNear(sum[i], abc[i], "synthesis of phase " + std::string(1, 'A' + i), 1e-9);
    }
}

}  // namespace

TEST(KSymmetricalComponents, ABalancedSetIsPositiveSequenceOnly) {
    const Phasor abc[3] = {P(1, 0), P(1, -120), P(1, 120)};
    expectBothRotations(abc, 0, P(1, 0), 0, "balanced set");
    // The same set turning the other way is, to a system of rotation ACB, negative sequence.
    Phasor s[3];
    SC::compute(abc, SC::ACB, s);
    expectNear(s[SC::POSITIVE], 0, "ABC set under ACB, positive");
    expectNear(s[SC::NEGATIVE], P(1, 0), "ABC set under ACB, negative");
    // The members of a positive-sequence set: B lags A by 120 degrees under ABC, leads it
    // under ACB.
    Phasor members[3];
    SC::expand(P(2, 10), SC::POSITIVE, SC::ABC, members);
    expectNear(members[1], P(2, -110), "ABC positive B");
    expectNear(members[2], P(2, 130), "ABC positive C");
    SC::expand(P(2, 10), SC::POSITIVE, SC::ACB, members);
    expectNear(members[1], P(2, 130), "ACB positive B");
    expectNear(members[2], P(2, -110), "ACB positive C");
    SC::expand(P(2, 10), SC::ZERO, SC::ACB, members);
    expectNear(members[2], P(2, 10), "zero C");
    EXPECT_NEAR(std::arg(SC::a) * 180 / M_PI, 120.0, 1e-12);
    expectSynthesis(abc);
}

TEST(KSymmetricalComponents, UnbalancedCurrents) {
    // Ia = 1.6 at 25, Ib = 1.0 at 180, Ic = 0.9 at 132 degrees.
    const Phasor abc[3] = {P(1.6, 25), P(1.0, 180), P(0.9, 132)};
    expectBothRotations(abc, P(0.4512, 96.4529), P(0.9435, -0.0550), P(0.6024, 22.3157),
                        "unbalanced currents");
    expectSynthesis(abc);
    // And back: sequence voltages 0.6 at 90, 1.0 at 30 and 0.8 at -30 are the phase voltages
    // 1.7088 at 24.18, 0.4 at 90 and 1.7088 at 155.82 degrees.
    Phasor va[3] = {}, member[3];
    const Phasor sequences[3] = {P(0.6, 90), P(1.0, 30), P(0.8, -30)};
    for (SC::Sequence q : {SC::ZERO, SC::POSITIVE, SC::NEGATIVE}) {
        SC::expand(sequences[q], q, SC::ABC, member);
        for (int i = 0; i < 3; ++i) va[i] += member[i];
    }
    expectNear(va[0], P(1.7088, 24.1825), "Va");
    expectNear(va[1], P(0.4, 90), "Vb");
    expectNear(va[2], P(1.7088, 155.8175), "Vc");
}

TEST(KSymmetricalComponents, OpenConductor) {
    // Line c open, 10 A in line a returning through line b.
    const Phasor abc[3] = {P(10, 0), P(10, 180), 0};
    expectBothRotations(abc, 0, P(5.7735, -30), P(5.7735, 30), "open conductor");
    Phasor s[3], members[3];
    SC::compute(abc, SC::ABC, s);
    SC::expand(s[SC::POSITIVE], SC::POSITIVE, SC::ABC, members);
    expectNear(members[1], P(5.7735, -150), "Ib1");
    expectNear(members[2], P(5.7735, 90), "Ic1");
    SC::expand(s[SC::NEGATIVE], SC::NEGATIVE, SC::ABC, members);
    expectNear(members[1], P(5.7735, 150), "Ib2");
    expectNear(members[2], P(5.7735, -90), "Ic2");
    expectSynthesis(abc);
}

TEST(KSymmetricalComponents, SingleLineToGroundFault) {
    // A solidly grounded generator (E = 1, X1 = 0.25, X2 = 0.35, X0 = 0.10 per unit), phase a
    // to ground at its terminals: the three sequence currents are E / j(X1 + X2 + X0).
    const Phasor currents[3] = {P(4.2857, -90), 0, 0};
    expectBothRotations(currents, P(1.4286, -90), P(1.4286, -90), P(1.4286, -90), "fault currents");
    // The voltages: Va = 0, Vb and Vc of 1.0127 pu at -102.22 and 102.22 degrees.
    const Phasor voltages[3] = {0, P(1.0127, -102.2163), P(1.0127, 102.2163)};
    expectBothRotations(voltages, P(0.1429, 180), P(0.6429, 0), P(0.5, 180), "fault voltages");
    expectSynthesis(voltages);
}

TEST(KSymmetricalComponents, RotationNames) {
    SC::Rotation r = SC::ABC;
    EXPECT_TRUE(SC::parseRotation("acb", r));
    EXPECT_EQ(r, SC::ACB);
    EXPECT_FALSE(SC::parseRotation("BCA", r));
    EXPECT_FALSE(SC::parseRotation(nullptr, r));
    EXPECT_EQ(r, SC::ACB);
    EXPECT_STREQ(SC::getRotationName(SC::ABC), "ABC");
}
