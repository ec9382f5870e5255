#include "ViewerOptions.h"

#include <cstdlib>
#include <cstring>

#include <kalvo/foundation/KException.h>

const char* const ViewerOptions::HELP =
    "usage: kalvo view [FILE...] [--k0 MAG,ANGLE] [--mho REACH,ANGLE[,OFFSET]]...\n"
    "                  [--quad X,R,ANGLE]... [--size WxH] [--frame-log FILE] [--state-file FILE]\n"
    "\n"
    "Opens COMTRADE disturbance records (FILE.cfg with its .dat, or FILE.cff) and Kalvo\n"
    "workspaces (.kvw) in a window, one tab each: the time graphs of the record with markers\n"
    "and read-outs, the channel list and the status channels' events beside them. The View\n"
    "menu shows the stretch between the markers as harmonics, phasors, an XY plot and on\n"
    "the impedance plane, whose k0 and zones View > Impedance Settings sets for each tab.\n"
    "\n"
    "  --k0 MAG,ANGLE     k0 = (Z0 - Z1) / 3 Z1 of the ground loops, magnitude and angle in\n"
    "                     degrees, for each record opened\n"
    "  --mho REACH,ANGLE[,OFFSET]\n"
    "                     a mho zone: reach in ohms (as the record's values: primary or\n"
    "                     secondary) at the angle in degrees, offset back the other way\n"
    "  --quad X,R,ANGLE   a quadrilateral zone: reactive and resistive reach in ohms, line\n"
    "                     angle from 45 to 90 degrees\n"
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
        } else if (KImpedanceSettings::isOption(a)) {
            const char* text = value(i);
            try {
                impedance.readOption(a, text);
            } catch (const KException& e) {
                KException::raise("Usage", "%s", e.getText().c_str());
            }
        } else if (a[0] == '-' && a[1] != '\0') {
            KException::raise("Usage", "unknown option '%s'", a);
        } else {
            files.emplace_back(a);
        }
    }
}
