#pragma once

#include <string>
#include <vector>

#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KTextEncoding.h>
#include <kalvo/plot/KImpedanceSettings.h>

// The options of a kalvo subcommand, read from its arguments. Raises KException titled
// "Usage" for an unknown option or a bad value.
class CommandLine {
public:
    // Which options a subcommand takes, beside FILE, --primary, --encoding, --quiet and --help.
    enum Option {
        CHANNELS = 1,   // --channels LIST
        RANGE = 2,      // --from T, --to T
        OUTPUT = 4,     // -o FILE
        HARMONICS = 8,  // --max H, --percent, --wide
        INFO = 16,      // --json, --header
        CONVERT = 32,   // --format F, --revision Y
        PICTURE = 64,   // --markers T1,T2, --size WxH, --dark
        PLOT = 128,     // --view V, --x CH, --y CH, --mode M, --loop L, --k0 M,A, --mho, --quad
        SEQUENCE = 256, // --rotation ABC|ACB
    };

    CommandLine(int argc, char** argv, int first, int accepted);

    std::string file;                   // empty: the embedded sample
    std::vector<std::string> channels;  // items of --channels; empty: the default set
    double from = 0.0, to = 0.0;
    bool hasFrom = false, hasTo = false;
    std::string output;  // empty: standard output
    int maxHarmonic = 50;
    bool percent = false;
    bool wide = false;
    bool json = false;
    bool header = false;
    bool hasFormat = false, hasRevision = false;
    KComtradeConfig::FileType format = KComtradeConfig::BINARY;
    KComtradeConfig::Revision revision = KComtradeConfig::REV_1999;
    bool primary = false;
    bool quiet = false;
    bool help = false;
    std::vector<double> markers;  // --markers T1,T2
    int width = 1600, height = 900;
    bool dark = false;
    std::string view;                  // --view; empty: the time graphs
    std::string xChannel, yChannel;    // --x, --y
    std::string plotMode = "xy";       // --mode: xy, polar, scatter
    std::vector<std::string> loops;    // --loop, items of comma lists in order
    KImpedanceSettings impedance;      // --k0, --mho and --quad
    std::string rotation = "ABC";      // --rotation: the phase rotation, upper case
    KTextEncoding::Encoding encoding = KTextEncoding::AUTO;

private:
    static double seconds(const char* option, const char* text);
};
