#pragma once

#include <string>
#include <vector>

#include <kalvo/io/KTextEncoding.h>

// The options of a kalvo subcommand, read from its arguments. Raises KException titled
// "Usage" for an unknown option or a bad value.
class CommandLine {
public:
    // Which options a subcommand takes, beside FILE, --primary, --encoding and --help.
    enum Option { CHANNELS = 1, RANGE = 2, OUTPUT = 4, HARMONICS = 8, PICTURE = 16 };

    CommandLine(int argc, char** argv, int first, int accepted);

    std::string file;                   // empty: the embedded sample
    std::vector<std::string> channels;  // names or numbers from 1; empty: the default set
    double from = 0.0, to = 0.0;
    bool hasFrom = false, hasTo = false;
    std::string output;  // empty: standard output
    int maxHarmonic = 50;
    bool percent = false;
    bool primary = false;
    bool help = false;
    std::vector<double> markers;  // --markers T1,T2
    int width = 1600, height = 900;
    bool dark = false;
    KTextEncoding::Encoding encoding = KTextEncoding::AUTO;

private:
    static double seconds(const char* option, const char* text);
};
