#pragma once

#include <string>
#include <vector>

// The kalvo command run as a user runs it, for the command tests.
namespace ktest {

struct Ran {
    int status = -1;  // the exit status; 128 + the signal when a signal ended it
    std::string out, err;
};

// The whole file as bytes; empty when it cannot be read.
std::string slurp(const std::string& path);

// Runs the built command with args, standard input empty, its output and errors caught.
Ran kalvo(const std::vector<std::string>& args);

}  // namespace ktest
