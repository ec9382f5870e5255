#pragma once

#include <vector>

class KCanvasView;
class KGraphFrame;
class KImpedanceSettings;
class KRecord;

// The views a record's tab can switch between, in menu order. The time graphs are every
// tab's first view; the others are built from them on first use, with time graphs of their
// own that show the stretch between the tab's markers.
struct ViewKind {
    const char* id;     // "time", "harmonic", "phasor", "xy", "impedance"
    const char* label;  // the menu text, with its mnemonic
    const char* key;    // the accelerator, as GTK names it
    // Builds the view's root on the canvas for a tab's time graphs, record and impedance
    // settings; returns the view's own time graphs. Raises KException when the record cannot
    // give the view. Null for the time graphs, which every tab has.
    KGraphFrame* (*build)(KCanvasView& canvas, KGraphFrame& timeGraphs, KRecord& record,
                          const KImpedanceSettings& impedance);
    // Whether the view needs both markers (and places them when the tab has none shown).
    bool needsMarkers;

    static const std::vector<ViewKind>& all();
    // The kind of that id; null for none.
    static const ViewKind* find(const char* id);
};
