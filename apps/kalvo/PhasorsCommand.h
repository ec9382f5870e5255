#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "CommandLine.h"

class KRecord;

// kalvo phasors: three channels as phasors (RMS magnitude and angle at the base frequency of
// a stretch of samples) and their positive-, negative- and zero-sequence components.
class PhasorsCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);

    // A stretch of samples: indices first up to end (not included) and their times.
    struct Stretch {
        int first = 0;
        int end = 0;
        double from = 0.0;  // the first sample's time
        double to = 0.0;    // a sample step after the last one
        int cycles = 0;     // whole cycles of the line frequency it spans; 0 when not whole
        double lineFrequency = 0.0;
    };
    // The samples from --from up to --to; without them, the cycle of the line frequency that
    // starts at the trigger (moved inside the record when it does not fit there, the whole
    // record without a line frequency, and with fewer than 2 samples in the cycle as many
    // samples of one rate as there are, up to 1026). Raises "Usage" for a stretch of fewer
    // than 2 samples or one over which the sampling rate changes.
    static Stretch chooseStretch(const KRecord& record, const CommandLine& options,
                                 const std::string& name);
    // The phases A, B and C of the first set of phase voltages or phase currents in channel
    // order (KPhaseChannels); without one, the first three analog channels (of analogCount,
    // the record's first traces; fewer when there are fewer).
    static std::vector<int> defaultChannels(const KRecord& record, int analogCount);
};
