#include "ViewKinds.h"

#include <cstring>

bool ViewKind::isAvailable() const {
    return std::strcmp(id, "time") == 0 || build != nullptr;
}

const std::vector<ViewKind>& ViewKind::all() {
    // The harmonic, phasor, XY and impedance views get their builders once their frames
    // (KHarmonicFrame, KPhasorFrame, KPlotFrame) are in the library.
    static const std::vector<ViewKind> kinds = {
        {"time", "_Time Graphs", "F5", nullptr},    {"harmonic", "_Harmonics", "F6", nullptr},
        {"phasor", "_Phasors", "F7", nullptr},      {"xy", "_XY Plot", "F8", nullptr},
        {"impedance", "_Impedance", "F9", nullptr},
    };
    return kinds;
}

const ViewKind* ViewKind::find(const char* id) {
    for (const ViewKind& kind : all()) {
        if (id != nullptr && std::strcmp(kind.id, id) == 0) return &kind;
    }
    return nullptr;
}
