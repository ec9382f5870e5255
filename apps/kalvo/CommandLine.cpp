#include "CommandLine.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include <kalvo/foundation/KException.h>

double CommandLine::seconds(const char* option, const char* text) {
    char* end = nullptr;
    const double v = strtod(text, &end);
    if (*text == '\0' || *end != '\0' || !std::isfinite(v))
        KException::raise("Usage", "%s needs a time in seconds, not '%s'", option, text);
    return v;
}

CommandLine::CommandLine(int argc, char** argv, int first, int accepted) {
    auto value = [&](int& i) -> const char* {
        if (i + 1 >= argc) KException::raise("Usage", "%s needs a value", argv[i]);
        return argv[++i];
    };
    auto is = [](const char* a, const char* name) { return strcmp(a, name) == 0; };
    for (int i = first; i < argc; ++i) {
        const char* a = argv[i];
        if (is(a, "--help") || is(a, "-h")) {
            help = true;
        } else if (is(a, "--primary")) {
            primary = true;
        } else if (is(a, "--quiet") || is(a, "-q")) {
            quiet = true;
        } else if (is(a, "--encoding")) {
            const char* name = value(i);
            if (!KTextEncoding::parseName(name, encoding))
                KException::raise("Usage",
                                  "unknown encoding '%s' (auto, utf-8, latin1, cp1251, gbk)", name);
        } else if ((accepted & CHANNELS) && is(a, "--channels")) {
            const std::string list = value(i);
            size_t start = 0;
            while (start <= list.size()) {
                const size_t comma = list.find(',', start);
                const std::string item = list.substr(start, comma - start);
                if (!item.empty()) channels.push_back(item);
                if (comma == std::string::npos) break;
                start = comma + 1;
            }
            if (channels.empty())
                KException::raise("Usage", "--channels needs a list of names or numbers");
        } else if ((accepted & RANGE) && is(a, "--from")) {
            from = seconds(a, value(i));
            hasFrom = true;
        } else if ((accepted & RANGE) && is(a, "--to")) {
            to = seconds(a, value(i));
            hasTo = true;
        } else if ((accepted & OUTPUT) && is(a, "-o")) {
            output = value(i);
            if (output.empty()) KException::raise("Usage", "-o needs a file name");
        } else if ((accepted & HARMONICS) && is(a, "--max")) {
            const char* text = value(i);
            char* end = nullptr;
            const long n = strtol(text, &end, 10);
            if (*end != '\0' || n < 1 || n > 100000)
                KException::raise("Usage", "--max needs a harmonic number from 1, not '%s'", text);
            maxHarmonic = static_cast<int>(n);
        } else if ((accepted & PICTURE) && is(a, "--markers")) {
            const char* text = value(i);
            const char* comma = strchr(text, ',');
            if (comma == nullptr) KException::raise("Usage", "--markers needs two times: T1,T2");
            markers = {seconds(a, std::string(text, comma).c_str()), seconds(a, comma + 1)};
        } else if ((accepted & PICTURE) && is(a, "--size")) {
            const char* text = value(i);
            char* end = nullptr;
            const long w = strtol(text, &end, 10);
            const long h = *end == 'x' ? strtol(end + 1, &end, 10) : 0;
            if (*end != '\0' || w < 200 || h < 150 || w > 20000 || h > 20000)
                KException::raise("Usage", "--size needs WIDTHxHEIGHT in pixels (200x150 to 20000x20000), not '%s'", text);
            width = static_cast<int>(w);
            height = static_cast<int>(h);
        } else if ((accepted & PICTURE) && is(a, "--dark")) {
            dark = true;
        } else if ((accepted & SEQUENCE) && is(a, "--rotation")) {
            rotation = value(i);
            for (char& c : rotation) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
            if (rotation != "ABC" && rotation != "ACB")
                KException::raise("Usage", "--rotation needs ABC or ACB, not '%s'", argv[i]);
        } else if ((accepted & PLOT) && is(a, "--view")) {
            view = value(i);
        } else if ((accepted & PLOT) && is(a, "--x")) {
            xChannel = value(i);
        } else if ((accepted & PLOT) && is(a, "--y")) {
            yChannel = value(i);
        } else if ((accepted & PLOT) && is(a, "--mode")) {
            plotMode = value(i);
            if (plotMode != "xy" && plotMode != "polar" && plotMode != "scatter")
                KException::raise("Usage", "--mode is xy, polar or scatter, not '%s'", plotMode.c_str());
        } else if ((accepted & PLOT) && is(a, "--loop")) {
            const std::string list = value(i);
            size_t start = 0;
            for (;;) {
                const size_t comma = list.find(',', start);
                const std::string item = list.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
                if (!item.empty()) loops.push_back(item);
                if (comma == std::string::npos) break;
                start = comma + 1;
            }
            if (loops.empty()) KException::raise("Usage", "--loop needs AG, BG, CG, AB, BC or CA");
        } else if ((accepted & PLOT) && KImpedanceSettings::isOption(a)) {
            const char* text = value(i);
            try {
                impedance.readOption(a, text);
            } catch (const KException& e) {
                KException::raise("Usage", "%s", e.getText().c_str());
            }
        } else if ((accepted & HARMONICS) && is(a, "--percent")) {
            percent = true;
        } else if ((accepted & HARMONICS) && is(a, "--wide")) {
            wide = true;
        } else if ((accepted & INFO) && is(a, "--json")) {
            json = true;
        } else if ((accepted & INFO) && is(a, "--header")) {
            header = true;
        } else if ((accepted & CONVERT) && is(a, "--format")) {
            const char* name = value(i);
            if (!KComtradeConfig::parseFileType(name, format))
                KException::raise("Usage",
                                  "unknown format '%s' (ascii, binary, binary32, float32)", name);
            hasFormat = true;
        } else if ((accepted & CONVERT) && is(a, "--revision")) {
            const char* year = value(i);
            if (is(year, "1991"))
                revision = KComtradeConfig::REV_1991;
            else if (is(year, "1999"))
                revision = KComtradeConfig::REV_1999;
            else if (is(year, "2013"))
                revision = KComtradeConfig::REV_2013;
            else
                KException::raise("Usage", "unknown revision '%s' (1991, 1999, 2013)", year);
            hasRevision = true;
        } else if (a[0] == '-' && a[1] != '\0') {
            KException::raise("Usage", "unknown option '%s'", a);
        } else if (file.empty()) {
            file = a;
        } else {
            KException::raise("Usage", "one file at a time: '%s' and '%s'", file.c_str(), a);
        }
    }
    if (hasFrom && hasTo && to <= from)
        KException::raise("Usage", "--to (%g) must come after --from (%g)", to, from);
}
