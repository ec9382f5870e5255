#pragma once

#include <cstdio>
#include <string>

#include "CommandLine.h"

// kalvo export: comma-separated columns of time and the chosen channels, written as the
// data file is read.
class ExportCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);

    // Appends a value in the fewest digits that read back as the same sample.
    static void appendValue(std::string& line, double v);
    static void appendValue(std::string& line, float v);
};
