#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include <kalvo/kalvo.h>

namespace {

using Complex = std::complex<double>;

// The line of the generated faults under samples/line-faults/ (see the records' header
// files): Z1 = 3 + j24 ohm primary, k0 = 0.6686 at -7.49 degrees, faults at 60 % of it.
const Complex Z1(3.0, 24.0);
constexpr double K0 = 0.6686, K0_DEGREES = -7.49;

KRecord readFault(const char* name, bool primary) {
    KComtradeReader reader;
    reader.setPrimaryValues(primary);
    KRecord record;
    const std::string path =
        std::string(KALVO_SOURCE_DIR) + "/samples/line-faults/" + name + ".cfg";
    reader.read(path.c_str(), record);
    return record;
}

// The largest relative error of the loop's impedance against expected, over the samples
// from one cycle after the trigger to the end.
double worstError(KRecord& record, int loop, Complex expected) {
    KImpedanceTransform z;
    z.setLoop(loop);
    z.setResidualFactor(K0, K0_DEGREES);
    KRecord out;
    EXPECT_TRUE(z.transform(&record, out, 0, record.getSampleCount(), false, false))
        << z.getError().c_str();
    EXPECT_EQ(z.getWindow(), 80);
    double worst = 0;
    int counted = 0;
    for (int i = 0; i < out.getSampleCount(); ++i) {
        if (out.getDomainValue(i) < 0.02 - 1e-9) continue;
        const Complex seen(out.getTrace(0)->getSample(i), out.getTrace(1)->getSample(i));
        worst = std::max(worst, std::abs(seen - expected) / std::abs(expected));
        ++counted;
    }
    EXPECT_EQ(counted, 6 * 80);
    return worst;
}

}  // namespace

TEST(KImpedanceTransform, everyLoopMeasuresTheFaultPointAfterTheFirstCycle) {
    const char* faults[] = {"AG-60", "BG-60", "CG-60", "AB-60", "BC-60", "CA-60"};
    for (int loop = 0; loop < KImpedanceTransform::LOOP_COUNT; ++loop) {
        KRecord record = readFault(faults[loop], true);
        EXPECT_LT(worstError(record, loop, 0.6 * Z1), 0.02) << faults[loop];
        // In secondary ohms: CT 1200/5 and VT 132000/110 scale the ohms by 0.2.
        KRecord secondary = readFault(faults[loop], false);
        EXPECT_LT(worstError(secondary, loop, 0.6 * 0.2 * Z1), 0.02)
            << faults[loop] << ", secondary";
    }
    // The fault behind the relay: a quarter of the line, backwards.
    KRecord reverse = readFault("AG-reverse", true);
    EXPECT_LT(worstError(reverse, KImpedanceTransform::AG, -0.25 * Z1), 0.02);
}

TEST(KImpedanceTransform, theLoopsAroundAFaultSeeItOtherwise) {
    KRecord record = readFault("BG-60", true);
    KImpedanceTransform z;
    z.setResidualFactor(K0, K0_DEGREES);
    KRecord out;
    const int last = record.getSampleCount() - 1;
    auto seen = [&](int loop) {
        z.setLoop(loop);
        EXPECT_TRUE(z.transform(&record, out, 0, last + 1, false, false));
        return Complex(out.getTrace(0)->getSample(last), out.getTrace(1)->getSample(last));
    };
    // Sound phases and the loops without the faulted phase see far more than the fault.
    EXPECT_GT(std::abs(seen(KImpedanceTransform::AG)), 3 * std::abs(0.6 * Z1));
    EXPECT_GT(std::abs(seen(KImpedanceTransform::CA)), 3 * std::abs(0.6 * Z1));
    // Without compensation the faulted loop measures too far: nearly (1 + k0) times the
    // line (the load current is in the phase current but not in the residual).
    z.setResidualFactor(0, 0);
    EXPECT_NEAR(std::abs(seen(KImpedanceTransform::BG)) / std::abs(0.6 * Z1), 1 + K0, 0.1);
    // Before the fault every loop sees the load, far out.
    z.setLoop(KImpedanceTransform::AB);
    ASSERT_TRUE(z.transform(&record, out, 0, last + 1, false, false));
    EXPECT_GT(std::hypot(out.getTrace(0)->getSample(200), out.getTrace(1)->getSample(200)), 100.0);
    EXPECT_STREQ(out.getTrace(0)->getName().c_str(), "AB R");
    EXPECT_STREQ(out.getTrace(1)->getName().c_str(), "AB X");
    EXPECT_STREQ(out.getTrace(1)->getUnits().c_str(), "Ohm");
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(78))) << "no phasor in the first cycle";
}

TEST(KImpedanceTransform, loopNamesAndSettings) {
    EXPECT_EQ(KImpedanceTransform::findLoop("bc"), KImpedanceTransform::BC);
    EXPECT_EQ(KImpedanceTransform::findLoop("AC"), KImpedanceTransform::CA);
    EXPECT_EQ(KImpedanceTransform::findLoop("GA"), -1);
    EXPECT_EQ(KImpedanceTransform::findLoop("AN"), -1);
    EXPECT_STREQ(KImpedanceTransform::getLoopName(KImpedanceTransform::CG), "CG");
    EXPECT_EQ(KImpedanceTransform::getLoopName(6), nullptr);
    KImpedanceTransform z;
    z.setLoop(9);
    EXPECT_EQ(z.getLoop(), KImpedanceTransform::AG);
    z.setResidualFactor(NAN, 3);
    double m, a;
    z.getResidualFactor(m, a);
    EXPECT_EQ(m, 0.0);
}

TEST(KImpedanceTransform, saysWhyItCannotMeasure) {
    KRecord record = readFault("AG-60", true);
    KRecord out;
    KImpedanceTransform z;
    // Channels given by hand must be in volts and amperes.
    const int swapped[6] = {3, 4, 5, 0, 1, 2};
    z.setChannels(swapped);
    EXPECT_FALSE(z.transform(&record, out, 0, 800, false, false));
    EXPECT_STREQ(z.getError().c_str(), "IA is in 'A', not in volts");
    const int status[6] = {0, 1, 2, 3, 4, 7};
    z.setChannels(status);
    EXPECT_FALSE(z.transform(&record, out, 0, 800, false, false));
    EXPECT_STREQ(z.getError().c_str(), "KALVO LINE TEST has no analog channel 8");
    EXPECT_EQ(out.getSampleCount(), 0) << "the target is left alone";

    // Found by themselves: a record of currents only has none to find.
    KRecord currents;
    currents.create(3, 0, 1024);
    const char* names[3] = {"IA", "IB", "IC"};
    for (int t = 0; t < 3; ++t) {
        currents.setTraceName(t, names[t]);
        currents.getTrace(t)->setUnits("A");
    }
    currents.setName("FEEDER");
    currents.setDomainValue(0);
    currents.commit();
    KImpedanceTransform found;
    EXPECT_FALSE(found.transform(&currents, out, 0, 1, false, false));
    EXPECT_STREQ(found.getError().c_str(),
                 "FEEDER has no set of three phase voltages and three phase currents");

    record.setProperty(KRecord::LINE_FREQUENCY, "");
    EXPECT_FALSE(found.transform(&record, out, 0, 800, false, false));
    EXPECT_STREQ(found.getError().c_str(), "KALVO LINE TEST has no line frequency");
}

TEST(KImpedanceTransform, belowTheMinimumCurrentThereIsNoImpedance) {
    KRecord record = readFault("AB-60", true);
    KImpedanceTransform z;
    z.setLoop(KImpedanceTransform::AB);
    KRecord out;
    // The load current (some 250 A) is above 2 % of the fault's; 1 kA is not.
    ASSERT_TRUE(z.transform(&record, out, 0, 800, false, false));
    EXPECT_FALSE(std::isnan(out.getTrace(0)->getSample(200)));
    z.setMinimumCurrent(1000);
    ASSERT_TRUE(z.transform(&record, out, 0, 800, false, false));
    EXPECT_TRUE(std::isnan(out.getTrace(0)->getSample(200)));
    EXPECT_FALSE(std::isnan(out.getTrace(0)->getSample(799)));
}

TEST(KPhaseChannels, findsThePhasesByNameUnitsAndPhaseField) {
    struct Case {
        const char* name;
        const char* units;
        int phase;
        int family;
    };
    const Case cases[] = {
        {"VA", "kV", 0, 0},   {"VA(kV)", "kV", 0, 0},      {"Ub_1 110 kV", "kV", 1, 0},
        {"F2-IB", "A", 1, 0}, {"LINE SUM ILC", "A", 2, 0}, {"LINE ULA", "V", 0, 0},
        {"HV IR", "A", 0, 1}, {"HV Bus VT", "V", 2, 1},    {"IL2", "A", 1, 2},
        {"Ia1", "A", 0, 0},   {"U21", "V", -1, 0},         {"IARMS", "A", -1, 0},
        {"SDIA", "A", -1, 0}, {"3I0", "A", -1, 0},         {"SRC 1 Vag Mag", "kV", -1, 0},
        {"IA", "V", -1, 0},
    };
    for (const Case& c : cases) {
        int family = -1;
        const int kind = KPhaseChannels::kindOf(c.units);
        EXPECT_EQ(KPhaseChannels::phaseOfName(c.name, kind, family), c.phase) << c.name;
        if (c.phase >= 0) EXPECT_EQ(family, c.family) << c.name;
    }
    EXPECT_EQ(KPhaseChannels::toBaseUnits("kV"), 1000.0);
    EXPECT_EQ(KPhaseChannels::toBaseUnits(" mA"), 0.001);
    EXPECT_TRUE(std::isnan(KPhaseChannels::toBaseUnits("one")));
    EXPECT_TRUE(std::isnan(KPhaseChannels::toBaseUnits("")));
    EXPECT_EQ(KPhaseChannels::kindOf("Hz"), KPhaseChannels::NONE);
    EXPECT_EQ(KPhaseChannels::kindOf("volt"), KPhaseChannels::VOLTAGE);
    EXPECT_EQ(KPhaseChannels::kindOf("Amperes"), KPhaseChannels::CURRENT);
    EXPECT_EQ(KPhaseChannels::kindOf("kA"), KPhaseChannels::CURRENT);
    EXPECT_EQ(KPhaseChannels::kindOf("xV"), KPhaseChannels::NONE);
    int family = -1;
    EXPECT_EQ(KPhaseChannels::phaseOfField("L3", family), 2);
    EXPECT_EQ(family, 2);
    EXPECT_EQ(KPhaseChannels::phaseOfField("N", family), -1);

    // The first complete set: the phase field speaks where the name does not, a second
    // feeder's currents and a residual are passed over.
    KRecord r;
    const char* names[] = {"3U0", "U1", "U2", "U3", "Ia", "Ib", "IN", "Ic", "Ia2", "Ib2", "Ic2"};
    const char* units[] = {"V", "kV", "kV", "kV", "A", "A", "A", "A", "A", "A", "A"};
    const char* phases[] = {"N", "", "", "", "", "", "", "", "", "", ""};
    r.create(11, 0, 1024);
    for (int t = 0; t < 11; ++t) {
        r.setTraceName(t, names[t]);
        r.getTrace(t)->setUnits(units[t]);
        r.getTrace(t)->setPhase(phases[t]);
    }
    int v[3], i[3];
    ASSERT_TRUE(KPhaseChannels::find(r, v, i));
    EXPECT_EQ(std::vector<int>(v, v + 3), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(std::vector<int>(i, i + 3), (std::vector<int>{4, 5, 7}));
    r.getTrace(3)->setName("VN");
    EXPECT_FALSE(KPhaseChannels::find(r, v, i));
    EXPECT_EQ(v[2], -1);
    r.getTrace(3)->setPhase("C");
    EXPECT_FALSE(KPhaseChannels::find(r, v, i))
        << "U1, U2 are numbered; a C does not complete them";
}
