// Faults on a 132 kV, 50 Hz line of known impedance, as the distance relay at its sending end
// records them: a bolted fault at 60 % of the line for each fault loop (AG, BG, CG, AB, BC,
// CA), and an AG fault behind the relay, on the bus section a quarter of the line's impedance
// behind it.
//
// The system is two sources joined by the line:
//
//     ES --ZS-- S (relay) ------ line Z1 ------ R --ZR-- ER
//
// with the load flowing from S to R before the fault. Every zero-sequence impedance is K
// times its positive-sequence one (the network is homogeneous), so that a fault changes the
// currents of the faulted phases only; and the fault starts at the moment when that change
// passes through zero, so that the currents need no DC offset to stay continuous. The records
// are then the exact response of the network (its capacitance left out): once a relay's
// one-cycle window lies wholly in the fault, the loop of the fault measures m Z1, the
// impedance of the line up to the fault, with k0 = (K - 1) / 3.
#include "LineFaults.h"

#include <cmath>
#include <complex>
#include <cstdio>
#include <filesystem>

#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeWriter.h>

namespace {

using Complex = std::complex<double>;

constexpr double PI = 3.14159265358979323846;
constexpr double FREQUENCY = 50.0;
constexpr int PER_CYCLE = 80;
constexpr double RATE = FREQUENCY * PER_CYCLE;
constexpr int PRE_CYCLES = 3;
constexpr int FAULT_CYCLES = 7;
constexpr double TRIP_DELAY = 0.025;  // the relay's zone 1 for the faults in front of it
constexpr double PHASE_VOLTS = 132000.0 / 1.7320508075688772;
constexpr double CT_PRIMARY = 1200, CT_SECONDARY = 5;
constexpr double VT_PRIMARY = 132000, VT_SECONDARY = 110;

Complex degrees(double magnitude, double angle) {
    return std::polar(magnitude, angle * PI / 180);
}

const Complex Z1L(3.0, 24.0);               // the line, positive sequence, primary ohms
const Complex K = degrees(3.0, -5.0);       // zero- over positive-sequence impedance
const Complex ZS(0.8, 9.0), ZR(1.5, 16.0);  // the sources
const Complex ES = degrees(1.02 * PHASE_VOLTS, 8.0), ER = PHASE_VOLTS;
const Complex A = degrees(1.0, 120.0);
// Phase p's share of a positive-sequence set referred to phase A.
const Complex ROTATION[3] = {1.0, A* A, A};

enum Type { GROUND, PHASES };

struct Fault {
    const char* name;
    Type type;
    int special;      // the faulted phase (GROUND), or the sound one (PHASES)
    double distance;  // share of the line in front of the relay; negative: behind it
    const char* about;
};

const Fault FAULTS[] = {
    {"AG-60", GROUND, 0, 0.6, "phase A to ground"},
    {"BG-60", GROUND, 1, 0.6, "phase B to ground"},
    {"CG-60", GROUND, 2, 0.6, "phase C to ground"},
    {"AB-60", PHASES, 2, 0.6, "phases A and B"},
    {"BC-60", PHASES, 0, 0.6, "phases B and C"},
    {"CA-60", PHASES, 1, 0.6, "phases C and A"},
    {"AG-reverse", GROUND, 0, -0.25, "phase A to ground"},
};

// Phasors (RMS, primary) of the relay's voltages and currents, phases A, B, C.
struct Phasors {
    Complex v[3], i[3];
};

// Sequence components (0 zero, 1 positive, 2 negative) to phases, for the frame of phase s.
void toPhases(const Complex x[3], int s, Complex out[3]) {
    out[s] = x[0] + x[1] + x[2];
    out[(s + 1) % 3] = x[0] + A * A * x[1] + A * x[2];
    out[(s + 2) % 3] = x[0] + A * x[1] + A * A * x[2];
}

// The relay's phasors before and during the fault.
void solve(const Fault& f, Phasors& before, Phasors& during) {
    const bool forward = f.distance >= 0;
    const double m = std::fabs(f.distance);
    // The network either side of the fault, and the impedance between relay and fault.
    const Complex left = forward ? ZS + m * Z1L : ZS;
    const Complex right = forward ? (1 - m) * Z1L + ZR : m * Z1L + Z1L + ZR;
    const Complex between = m * Z1L;
    const Complex load = (ES - ER) / (left + right);
    const Complex atFault = ES - left * load;
    const Complex relayBefore = forward ? ES - ZS * load : atFault - between * load;
    for (int p = 0; p < 3; ++p) {
        before.v[p] = relayBefore * ROTATION[p];
        before.i[p] = load * ROTATION[p];
    }
    // Sequence impedances: zero sequence K times the others.
    auto seq = [](Complex z, int k) { return k == 0 ? K * z : z; };
    const int s = f.special;
    const Complex prefault = atFault * ROTATION[s];
    Complex zth[3], fault[3];
    for (int k = 0; k < 3; ++k)
        zth[k] = seq(left, k) * seq(right, k) / (seq(left, k) + seq(right, k));
    if (f.type == GROUND) {
        fault[0] = fault[1] = fault[2] = prefault / (zth[0] + zth[1] + zth[2]);
    } else {
        fault[1] = prefault / (zth[1] + zth[2]);
        fault[2] = -fault[1];
        fault[0] = 0.0;
    }
    Complex i[3], v[3];
    for (int k = 0; k < 3; ++k) {
        const Complex flow = k == 1 ? load * ROTATION[s] : 0.0;
        if (forward) {
            i[k] = flow + fault[k] * seq(right, k) / (seq(left, k) + seq(right, k));
            v[k] = (k == 1 ? ES * ROTATION[s] : 0.0) - seq(ZS, k) * i[k];
        } else {
            i[k] = flow - fault[k] * seq(left, k) / (seq(left, k) + seq(right, k));
            const Complex vf = (k == 1 ? prefault : 0.0) - zth[k] * fault[k];
            v[k] = vf - seq(between, k) * i[k];
        }
    }
    toPhases(i, s, during.i);
    toPhases(v, s, during.v);
    // The moment of inception: where the change in the first faulted phase's current passes
    // through zero. Turning every phasor by the same angle puts it at time zero.
    const int faulted = f.type == GROUND ? s : (s + 1) % 3;
    const Complex turn = std::polar(1.0, PI / 2 - std::arg(during.i[faulted] - before.i[faulted]));
    for (Phasors* set : {&before, &during}) {
        for (int p = 0; p < 3; ++p) {
            set->v[p] *= turn;
            set->i[p] *= turn;
        }
    }
}

double at(Complex phasor, double t) {
    return std::sqrt(2.0) * std::real(phasor * std::polar(1.0, 2 * PI * FREQUENCY * t));
}

KComtradeFile makeRecord(const Fault& f, const Phasors& before, const Phasors& during) {
    KComtradeFile file;
    KComtradeConfig& c = file.config;
    c.station = "KALVO LINE TEST";
    c.device = "S-R LINE RELAY";
    c.revision = KComtradeConfig::REV_1999;
    c.fileType = KComtradeConfig::BINARY;
    c.lineFrequency = FREQUENCY;
    const int n = (PRE_CYCLES + FAULT_CYCLES) * PER_CYCLE;
    const int pre = PRE_CYCLES * PER_CYCLE;
    c.rates = {{RATE, n}};
    KString reason;
    bool swapped;
    c.start.parse("02/09/2024", "14:05:10.000000", false, reason, swapped);
    c.trigger = KComtradeStamp::fromNanoseconds(
        c.start.getNanoseconds() +
            static_cast<int64_t>(pre) * 1000000000LL / static_cast<int64_t>(RATE),
        6);

    // Raw values use most of 16 bits: the peaks seen, with room to spare.
    double peakI = 0;
    for (int p = 0; p < 3; ++p) peakI = std::max(peakI, std::sqrt(2.0) * std::abs(during.i[p]));
    const double currentPeak = 1000.0 * std::ceil(peakI * 1.5 / 1000.0);
    const char* names[7] = {"VA", "VB", "VC", "IA", "IB", "IC", "IN"};
    const char* phases[7] = {"A", "B", "C", "A", "B", "C", "N"};
    for (int k = 0; k < 7; ++k) {
        KComtradeConfig::Analog a;
        a.index = k + 1;
        a.id = names[k];
        a.phase = phases[k];
        a.circuit = "S-R";
        const bool voltage = k < 3;
        a.units = voltage ? "kV" : "A";
        a.a = (voltage ? 160.0 : currentPeak) / 32000.0;
        a.primary = voltage ? VT_PRIMARY : CT_PRIMARY;
        a.secondary = voltage ? VT_SECONDARY : CT_SECONDARY;
        a.ps = 'P';
        c.analogs.push_back(a);
    }
    KComtradeConfig::Digital trip;
    trip.index = 1;
    trip.id = "TRIP";
    trip.circuit = "S-R";
    c.digitals.push_back(trip);

    file.data.resize(n, 7, 1);
    for (int i = 0; i < n; ++i) {
        const double t = static_cast<double>(i - pre) / RATE;
        file.data.timeStamps[i] = std::round(i * 1e6 / RATE);
        const Phasors& now = t < 0 ? before : during;
        double values[7];
        for (int p = 0; p < 3; ++p) {
            values[p] = at(now.v[p], t) / 1000.0;
            values[3 + p] = at(now.i[p], t);
        }
        values[6] = values[3] + values[4] + values[5];
        for (int k = 0; k < 7; ++k)
            file.data.getAnalogs<double>(k)[i] = std::round(values[k] / c.analogs[k].a);
        file.data.setDigital(0, i, f.distance > 0 && t >= TRIP_DELAY);
    }

    const Complex z0 = K * Z1L;
    const Complex k0 = (K - 1.0) / 3.0;
    const Complex seen = f.distance * Z1L;
    char text[2048];
    std::snprintf(
        text, sizeof text,
        "Generated record of a fault on a 132 kV, 50 Hz line, by kalvo_sample_generator.\n"
        "The relay at bus S looks into the line S-R.\n"
        "Line impedance, primary ohms: Z1 = %.4g + j%.4g (%.4g ohm at %.2f deg), "
        "Z0 = %.4g + j%.4g.\n"
        "Residual compensation k0 = (Z0 - Z1) / 3 Z1 = %.4f at %.2f deg.\n"
        "Fault: %s, bolted, %s %.0f %% of the line %s the relay, at the trigger.\n"
        "The loop of the fault measures %.4g %c j%.4g ohm primary (%.4g ohm at %.2f deg).\n"
        "CT %.0f/%.0f A, VT %.0f/%.0f V: secondary ohms are primary ohms times %.4g.\n",
        Z1L.real(), Z1L.imag(), std::abs(Z1L), std::arg(Z1L) * 180 / PI, z0.real(), z0.imag(),
        std::abs(k0), std::arg(k0) * 180 / PI, f.about,
        f.distance >= 0 ? "at" : "on the bus section", std::fabs(f.distance) * 100,
        f.distance >= 0 ? "from" : "behind", seen.real(), seen.imag() < 0 ? '-' : '+',
        std::fabs(seen.imag()), std::abs(seen), std::arg(seen) * 180 / PI, CT_PRIMARY, CT_SECONDARY,
        VT_PRIMARY, VT_SECONDARY, (CT_PRIMARY / CT_SECONDARY) / (VT_PRIMARY / VT_SECONDARY));
    file.header = text;
    return file;
}

}  // namespace

void writeLineFaults(const std::string& folder) {
    const std::string out = folder + "/line-faults";
    std::filesystem::create_directories(out);
    printf("\nLine faults (%s): line Z1 = %g + j%g ohm primary, Z0 = K Z1 with K = %g at %g deg\n",
           out.c_str(), Z1L.real(), Z1L.imag(), std::abs(K), std::arg(K) * 180 / PI);
    for (const Fault& f : FAULTS) {
        Phasors before, during;
        solve(f, before, during);
        KComtradeWriter::write(makeRecord(f, before, during),
                               (out + "/" + f.name + ".cfg").c_str());
        const Complex seen = f.distance * Z1L;
        printf("  %-11s %s: the loop measures %.4g %c j%.4g ohm\n", f.name, f.about, seen.real(),
               seen.imag() < 0 ? '-' : '+', std::fabs(seen.imag()));
    }
}
