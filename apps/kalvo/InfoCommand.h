#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo info: what a record is, the sampling rates its configuration declares, per channel
// the range and RMS of its values or how its state changes, the texts that come with it and
// what the reader found wrong with the files; as text or as one JSON document.
class InfoCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
