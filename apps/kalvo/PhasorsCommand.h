#pragma once

#include <cstdio>
#include <vector>

#include "CommandLine.h"

class KRecord;

// kalvo phasors: three channels as phasors (RMS magnitude and angle at the base frequency of
// a stretch of samples) and their positive-, negative- and zero-sequence components.
class PhasorsCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);

    // The phases A, B and C of the first set of phase voltages or phase currents in channel
    // order (KPhaseChannels); without one, the first three analog channels (of analogCount,
    // the record's first traces; fewer when there are fewer).
    static std::vector<int> defaultChannels(const KRecord& record, int analogCount);
};
