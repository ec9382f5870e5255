#pragma once

#include <string>
#include <vector>

#include <kalvo/plot/KImpedanceSettings.h>

// The viewer's command line. Raises KException titled "Usage" for an unknown option or a
// bad value.
class ViewerOptions {
public:
    static const char* const HELP;

    ViewerOptions(int argc, char** argv);

    std::vector<std::string> files;  // records and workspaces to open
    int width = 1280, height = 800;  // the window's size
    std::string frameLog;            // where to write the frame times; empty for none
    std::string stateFile;           // where to keep the state for scripts; empty for none
    KImpedanceSettings impedance;    // --k0, --mho, --quad: of each record opened
    bool help = false;
    bool version = false;
};
