#include "ViewerOptions.h"

#include <cstdlib>
#include <cstring>

#include <kalvo/foundation/KException.h>

const char* const ViewerOptions::HELP =
    "usage: kalvo view [FILE...] [--size WxH] [--frame-log FILE] [--state-file FILE]\n"
    "\n"
    "Opens COMTRADE disturbance records (FILE.cfg with its .dat, or FILE.cff) and Kalvo\n"
    "workspaces (.kvw) in a window, one tab each: the time graphs of the record with markers\n"
    "and read-outs, the channel list and the status channels' events beside them. The View\n"
    "menu shows the stretch between the markers as harmonics, phasors, an XY plot and on\n"
    "the impedance plane.\n"
    "\n"
    "  --size WxH         the window's size in pixels (1280x800 by default)\n"
    "  --frame-log FILE   writes the time of every frame painted to FILE when the viewer\n"
    "                     closes, with their median and 99th percentile\n"
    "  --state-file FILE  keeps FILE up to date with what the viewer shows (tabs, ranges,\n"
    "                     markers and read-outs, messages), for scripts that drive it\n"
    "  --version          the version\n";

ViewerOptions::ViewerOptions(int argc, char** argv) {
    auto value = [&](int& i) -> const char* {
        if (i + 1 >= argc) KException::raise("Usage", "%s needs a value", argv[i]);
        return argv[++i];
    };
    for (int i = 1; i < argc; ++i) {
        const char* a = argv[i];
        if (std::strcmp(a, "--help") == 0 || std::strcmp(a, "-h") == 0) {
            help = true;
        } else if (std::strcmp(a, "--version") == 0) {
            version = true;
        } else if (std::strcmp(a, "--size") == 0) {
            const char* text = value(i);
            char* end = nullptr;
            const long w = std::strtol(text, &end, 10);
            const long h = *end == 'x' ? std::strtol(end + 1, &end, 10) : 0;
            if (*end != '\0' || w < 320 || h < 240 || w > 16384 || h > 16384)
                KException::raise(
                    "Usage",
                    "--size needs WIDTHxHEIGHT in pixels (320x240 to 16384x16384), not '%s'", text);
            width = static_cast<int>(w);
            height = static_cast<int>(h);
        } else if (std::strcmp(a, "--frame-log") == 0) {
            frameLog = value(i);
        } else if (std::strcmp(a, "--state-file") == 0) {
            stateFile = value(i);
        } else if (a[0] == '-' && a[1] != '\0') {
            KException::raise("Usage", "unknown option '%s'", a);
        } else {
            files.emplace_back(a);
        }
    }
}
