#pragma once

class KRecord;

// The three phase voltages and the three phase currents of a record, as a distance relay takes
// them. A channel's kind comes from its units (volts or amperes, with an SI prefix: "kV",
// "mA", or written out: "volt", "amperes"), its phase from its name where the name shows one ("VA", "Ub_1", "F2-IB", "ILC",
// "UL2", "HV IR") and else from its phase field. Phases are A, B, C; R, S, T; or 1, 2, 3 (with
// or without an L before them); the three of a set are of one naming. The first complete set
// of each kind, in channel order, is taken.
class KPhaseChannels {
public:
    enum Kind { NONE = 0, VOLTAGE = 1, CURRENT = 2 };

    KPhaseChannels() = delete;

    // The trace indices of phases A, B and C of the voltages and of the currents; false (with
    // -1 where a phase was not found) unless both sets are complete.
    static bool find(const KRecord& record, int voltages[3], int currents[3]);

    // VOLTAGE for volts, CURRENT for amperes (any SI prefix), NONE otherwise.
    static int kindOf(const char* units);
    // What a value in these units is in volts or amperes (1000 for "kV"); NaN for units
    // of neither.
    static double toBaseUnits(const char* units);
    // The phase a channel name shows for its kind: 0 to 2, and the naming it uses (0 ABC,
    // 1 RST, 2 numbers) in family; -1 when it shows none.
    static int phaseOfName(const char* name, int kind, int& family);
    // The phase of a phase field ("A", "b", "R", "L2", "3"): 0 to 2 with its family, or -1.
    static int phaseOfField(const char* phase, int& family);
};
