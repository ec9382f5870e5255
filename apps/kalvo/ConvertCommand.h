#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo convert: a record rewritten in another data file type or revision, checked by
// reading the new files back before they are put in place.
class ConvertCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
