#pragma once

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include <kalvo/io/KComtradeReader.h>
#include <kalvo/record/KRecord.h>

#include "ViewerSession.h"

namespace ktest {

// Records of the shared collection: a disturbance of three currents and three voltages; a
// line fault with its protection's status channels. Named as the viewer names them: with
// the folders' links and dots resolved.
inline std::string sharedRecord(const char* path) {
    return std::filesystem::weakly_canonical(std::string(KALVO_SHARED_DATA) + "/comtrade/" + path)
        .string();
}
inline const std::string PQ = sharedRecord("COMTRADE.jl/1999-ascii-pq.cfg");
inline const std::string LINE_FAULT = sharedRecord("go-comtrade/test1.cfg");

// The tab has its record and the one in front has painted it: it takes input.
inline bool isReady(const ViewerState& s, int tab = 0) {
    return s.get("tab." + std::to_string(tab)).rfind("ready", 0) == 0 && s.number("painted") > 0;
}

inline std::string format(const char* fmt, int a, int b) {
    char text[128];
    std::snprintf(text, sizeof text, fmt, a, b);
    return text;
}

// Answers the viewer's file dialog: the whole path typed into its name field, then Enter.
inline void typeFileName(XSession& x, const std::string& path) {
    x.sleep(1200);
    x.xdotool("key ctrl+a");
    x.xdotool("type --delay 5 " + path);
    x.sleep(300);
    x.xdotool("key Return");
}

// Saves the workspace by Ctrl+S and the file dialog: whether the viewer said it did.
inline bool saveWorkspace(ViewerSession& v, const std::string& path, ViewerState& s) {
    v.x().xdotool("key ctrl+s");
    typeFileName(v.x(), path);
    return v.waitFor(
        [&](const ViewerState& st) { return st.get("status") == "Saved workspace " + path; },
        20000, &s);
}

// Exports the view by Ctrl+E as the PNG file at path and counts the pixels of the canvas in
// the screenshot that the export shows otherwise; -1 when the viewer did not export it or
// the picture is not the canvas' size.
inline int pixelsApartFromTheExport(ViewerSession& v, const std::string& screen, const std::string& path) {
    v.x().xdotool("key ctrl+e");
    typeFileName(v.x(), path);
    ViewerState s;
    if (!v.waitFor([&](const ViewerState& st) { return st.get("status") == "Exported the view to " + path; },
                   20000, &s)) {
        ADD_FAILURE() << s.get("status");
        return -1;
    }
    const std::vector<std::string> c = s.words("canvas");
    const CRect canvas(std::stoi(c[0]), std::stoi(c[1]), std::stoi(c[2]), std::stoi(c[3]));
    const Picture picture(path), shown(screen);
    if (picture.getWidth() != canvas.Width() || picture.getHeight() != canvas.Height()) return -1;
    int differing = 0;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x)
            differing += picture.pixel(x, y) != shown.pixel(canvas.left + x, canvas.top + y);
    }
    return differing;
}

// The record as the viewer reads it.
inline KRecord readRecord(const std::string& path) {
    KRecord record;
    KComtradeReader reader;
    reader.read(path.c_str(), record);
    return record;
}

// The value of a trace's sample nearest to a time.
inline double valueAt(const KRecord& record, int trace, double t) {
    const double* x = record.getXData();
    int best = 0;
    for (int i = 1; i < record.getSampleCount(); ++i) {
        if (std::fabs(x[i] - t) < std::fabs(x[best] - t)) best = i;
    }
    return record.getTrace(trace)->getData()[best];
}

// A value as the graphs label it ("-1.2KV", "350mA"): the number with its SI prefix.
inline double labelValue(const std::string& text) {
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (end == text.c_str()) return NAN;
    switch (*end) {
        case 'P':
            return v * 1e15;
        case 'T':
            return v * 1e12;
        case 'G':
            return v * 1e9;
        case 'M':
            return v * 1e6;
        case 'K':
            return v * 1e3;
        case 'm':
            return v * 1e-3;
        case 'u':
            return v * 1e-6;
        case 'n':
            return v * 1e-9;
        case 'p':
            return v * 1e-12;
        default:
            return v;
    }
}

}  // namespace ktest
