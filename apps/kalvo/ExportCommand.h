#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo export: comma-separated columns of time and the chosen channels.
class ExportCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
