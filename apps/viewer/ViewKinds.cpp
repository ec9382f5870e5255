#include "ViewKinds.h"

#include <cstring>

#include "RecordViews.h"

const std::vector<ViewKind>& ViewKind::all() {
    static const std::vector<ViewKind> kinds = {
        {"time", "_Time Graphs", "F5", nullptr, false},
        {"harmonic", "_Harmonics", "F6", RecordViews::buildHarmonic, true},
        {"phasor", "_Phasors", "F7", RecordViews::buildPhasor, true},
        {"xy", "_XY Plot", "F8", RecordViews::buildXY, false},
        {"impedance", "_Impedance", "F9", RecordViews::buildImpedance, false},
    };
    return kinds;
}

const ViewKind* ViewKind::find(const char* id) {
    for (const ViewKind& kind : all()) {
        if (id != nullptr && std::strcmp(kind.id, id) == 0) return &kind;
    }
    return nullptr;
}
