#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo harmonics: the harmonic content of a stretch of each chosen channel, through the
// library's FFT over the stretch's samples, in physical values.
class HarmonicsCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
