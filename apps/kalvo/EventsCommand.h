#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo events: the status channels' states at the first sample, then every change of
// state in time order, as the data file is read.
class EventsCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
