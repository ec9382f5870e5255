#pragma once

#include <string_view>

// The sample record compiled into the command: a line-to-ground fault written by
// samples/generator as 1999 BINARY.
class EmbeddedSample {
public:
    static constexpr const char* NAME = "slg-fault-1999-binary";
    static std::string_view config();
    static std::string_view data();
};
