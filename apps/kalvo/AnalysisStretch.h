#pragma once

#include <string>

#include "CommandLine.h"

class KRecord;

// The stretch of samples the analysing commands and views work on: indices first up to end
// (not included) and their times.
struct AnalysisStretch {
    int first = 0;
    int end = 0;
    double from = 0.0;  // the first sample's time
    double to = 0.0;    // a sample step after the last one
    int cycles = 0;     // whole cycles of the line frequency it spans; 0 when not whole
    double lineFrequency = 0.0;

    // The samples from --from up to --to; without them, the cycle of the line frequency that
    // starts at the trigger (moved inside the record when it does not fit there, the whole
    // record without a line frequency, and with fewer than 2 samples in the cycle as many
    // samples of one rate as there are, up to 1026). Raises title for a record without
    // samples, "Usage" for a stretch of fewer than 2 samples or one over which the sampling
    // rate changes.
    static AnalysisStretch choose(const KRecord& record, const CommandLine& options, const std::string& name,
                                  const char* title);
};
