#pragma once

#include <cstdio>

#include "CommandLine.h"

// kalvo render: the record's time graphs, as the viewer shows them, painted into a picture.
class RenderCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);
};
