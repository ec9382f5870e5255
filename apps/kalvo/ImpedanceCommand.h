#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo impedance: the apparent impedance of fault loops, a row per cycle after the trigger.
class ImpedanceCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
