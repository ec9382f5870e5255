#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo info: what a record is, its sampling table and, per channel, the range and RMS of
// its values; then what the reader found wrong with the files.
class InfoCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
