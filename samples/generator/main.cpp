// Makes the embedded sample record: a single line-to-ground fault on phase A of a 60 Hz,
// 115 kV line, recorded at 64 samples per cycle. 3.75 cycles of load, then the fault (a
// fundamental with a decaying DC offset and some 5th and 7th harmonic), the trip command
// 1.5 cycles in, the breaker opening at the current zeros after 7 cycles, and a dead line
// to the end (16 cycles in all). Writes the record as 1999 BINARY and as 2013 ASCII into the given
// folder and prints what it put in, for checking the analysis against. Then writes the line
// faults of known impedance into its line-faults/ folder (LineFaults.cpp).
//
//     kalvo_sample_generator OUTPUT_FOLDER
#include <cmath>
#include <cstdio>
#include <string>

#include <kalvo/foundation/KException.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeWriter.h>

#include "LineFaults.h"

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double LINE_FREQUENCY = 60.0;
constexpr int SAMPLES_PER_CYCLE = 64;
constexpr double RATE = LINE_FREQUENCY * SAMPLES_PER_CYCLE;
constexpr int PRE_FAULT_SAMPLES = 240;  // 3.75 cycles: the trigger falls on a whole microsecond
constexpr int TOTAL_CYCLES = 16;
constexpr double TRIP_CYCLES = 1.5;  // relay operates
constexpr double OPEN_CYCLES = 7.0;  // breaker contacts part; each pole clears at its next zero
constexpr double TAU = 0.015;        // DC time constant (X/R about 5.7)

// Phasors as RMS magnitude and angle in degrees.
struct Phasor {
    double rms, degrees;
    double at(double t, int harmonic = 1) const {
        return rms * std::sqrt(2.0) *
               std::cos(2 * PI * LINE_FREQUENCY * harmonic * t + degrees * PI / 180);
    }
};

const Phasor LOAD_V[3] = {{66395, 0}, {66395, -120}, {66395, 120}};
const Phasor LOAD_I[3] = {{400, -20}, {400, -140}, {400, 100}};
const Phasor FAULT_V[3] = {{19900, -3}, {69800, -124}, {70500, 124}};
const Phasor FAULT_IA = {5000, -78};
const Phasor FAULT_IA5 = {200, 35};   // 4 % of the fundamental
const Phasor FAULT_IA7 = {125, -60};  // 2.5 %
const Phasor FAULT_IBC[2] = {{410, -141}, {395, 101}};

struct Channel {
    const char* id;
    const char* phase;
    const char* units;
    double primary, secondary;  // instrument transformer ratio
    double peak;                // largest value, sets the scaling
};

const Channel CHANNELS[7] = {{"VA", "A", "V", 1000, 1, 110000}, {"VB", "B", "V", 1000, 1, 110000},
                             {"VC", "C", "V", 1000, 1, 110000}, {"IA", "A", "A", 1200, 5, 16000},
                             {"IB", "B", "A", 1200, 5, 16000},  {"IC", "C", "A", 1200, 5, 16000},
                             {"IN", "N", "A", 1200, 5, 16000}};

// The fault current of phase A: its AC part, and a DC part that starts equal and opposite
// to the step in AC current at inception, so that the current is continuous.
double faultCurrentA(double t) {
    const double ac = FAULT_IA.at(t) + FAULT_IA5.at(t, 5) + FAULT_IA7.at(t, 7);
    const double step =
        (FAULT_IA.at(0) + FAULT_IA5.at(0, 5) + FAULT_IA7.at(0, 7)) - LOAD_I[0].at(0);
    return ac - step * std::exp(-t / TAU);
}

// Instantaneous primary values of the seven channels at t seconds after fault inception.
void values(double t, const double clearedAt[3], double out[7]) {
    for (int p = 0; p < 3; ++p) {
        double v, i;
        if (t < 0) {
            v = LOAD_V[p].at(t);
            i = LOAD_I[p].at(t);
        } else if (t < clearedAt[p]) {
            v = FAULT_V[p].at(t);
            i = p == 0 ? faultCurrentA(t) : FAULT_IBC[p - 1].at(t);
        } else {
            // Line side of the breaker: the voltage rings down, the current is gone.
            v = FAULT_V[p].at(t) * std::exp(-(t - clearedAt[p]) / 0.004);
            i = 0.0;
        }
        out[p] = v;
        out[3 + p] = i;
    }
    out[6] = out[3] + out[4] + out[5];
}

// The first zero crossing of a phase current at or after t0, by bisection on its sign.
double nextZero(int phase, double t0) {
    const double never[3] = {1e9, 1e9, 1e9};
    auto current = [&](double t) {
        double v[7];
        values(t, never, v);
        return v[3 + phase];
    };
    const double step = 1.0 / RATE / 8;
    double a = t0, fa = current(a);
    for (double b = t0 + step;; b += step) {
        const double fb = current(b);
        if ((fa <= 0) != (fb <= 0)) {
            for (int k = 0; k < 60; ++k) {
                const double m = 0.5 * (a + b);
                if ((current(m) <= 0) == (fa <= 0))
                    a = m;
                else
                    b = m;
            }
            return b;
        }
        a = b;
        fa = fb;
    }
}

KComtradeFile makeRecord() {
    KComtradeFile f;
    KComtradeConfig& c = f.config;
    c.station = "KALVO SUBSTATION";
    c.device = "LINE 1 RELAY";
    c.revision = KComtradeConfig::REV_1999;
    c.lineFrequency = LINE_FREQUENCY;
    const int n = TOTAL_CYCLES * SAMPLES_PER_CYCLE;
    c.rates = {{RATE, n}};
    KString reason;
    bool swapped;
    c.start.parse("14/03/2024", "09:26:53.500000", false, reason, swapped);
    const int64_t preFaultNs =
        static_cast<int64_t>(PRE_FAULT_SAMPLES) * 1000000000LL / static_cast<int64_t>(RATE);
    c.trigger = KComtradeStamp::fromNanoseconds(c.start.getNanoseconds() + preFaultNs, 6);
    for (int k = 0; k < 7; ++k) {
        KComtradeConfig::Analog a;
        a.index = k + 1;
        a.id = CHANNELS[k].id;
        a.phase = CHANNELS[k].phase;
        a.circuit = "LINE 1";
        a.units = CHANNELS[k].units;
        a.a = CHANNELS[k].peak / 32000.0;
        a.b = 0.0;
        a.min = -32767;
        a.max = 32767;
        a.primary = CHANNELS[k].primary;
        a.secondary = CHANNELS[k].secondary;
        a.ps = 'P';
        c.analogs.push_back(a);
    }
    const char* statusNames[2] = {"TRIP", "52A"};
    for (int k = 0; k < 2; ++k) {
        KComtradeConfig::Digital d;
        d.index = k + 1;
        d.id = statusNames[k];
        d.circuit = "LINE 1";
        d.normal = k == 1;  // the breaker is normally closed
        c.digitals.push_back(d);
    }
    double clearedAt[3];
    for (int p = 0; p < 3; ++p) clearedAt[p] = nextZero(p, OPEN_CYCLES / LINE_FREQUENCY);
    const double lastClear = std::max(clearedAt[0], std::max(clearedAt[1], clearedAt[2]));

    f.data.resize(n, 7, 2);
    for (int i = 0; i < n; ++i) {
        const double t = static_cast<double>(i - PRE_FAULT_SAMPLES) / RATE;
        f.data.timeStamps[i] = std::round(i * 1e6 / RATE);
        double v[7];
        values(t, clearedAt, v);
        for (int k = 0; k < 7; ++k) f.data.getAnalogs<double>(k)[i] = std::round(v[k] / c.analogs[k].a);
        f.data.setDigital(0, i, t >= TRIP_CYCLES / LINE_FREQUENCY && t < lastClear + 1 / 60.0);
        f.data.setDigital(1, i, t < OPEN_CYCLES / LINE_FREQUENCY + 0.5 / 60.0);
    }
    return f;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", argv[0]);
        return 2;
    }
    try {
        KComtradeFile f = makeRecord();
        const std::string folder = argv[1];
        f.config.revision = KComtradeConfig::REV_1999;
        f.config.fileType = KComtradeConfig::BINARY;
        KComtradeWriter::write(f, (folder + "/slg-fault-1999-binary.cfg").c_str());
        f.config.revision = KComtradeConfig::REV_2013;
        f.config.fileType = KComtradeConfig::ASCII;
        f.config.timeCode = "0";
        f.config.localCode = "0";
        f.config.timeQuality = "0";
        f.config.leapSecond = "0";
        KComtradeWriter::write(f, (folder + "/slg-fault-2013-ascii.cfg").c_str());
        printf("Fault current IA after the DC offset has decayed (from %.1f cycles on):\n",
               4.6 * TAU * LINE_FREQUENCY);
        printf("  fundamental %.1f A RMS at %+.0f deg\n", FAULT_IA.rms, FAULT_IA.degrees);
        printf("  5th harmonic %.1f A RMS (%.1f %%) at %+.0f deg\n", FAULT_IA5.rms,
               100 * FAULT_IA5.rms / FAULT_IA.rms, FAULT_IA5.degrees);
        printf("  7th harmonic %.1f A RMS (%.1f %%) at %+.0f deg\n", FAULT_IA7.rms,
               100 * FAULT_IA7.rms / FAULT_IA.rms, FAULT_IA7.degrees);
        printf("Angles are cosine phases at the trigger (fault inception).\n");
        writeLineFaults(folder);
    } catch (const KException& e) {
        fprintf(stderr, "%s\n", e.getText().c_str());
        return 1;
    }
    return 0;
}
