#pragma once

#include <vector>

class KContainer;
class KGraphFrame;
class KRecord;

// The views a record's tab can switch between, in menu order. The time graphs are every
// tab's first view; the others are built from them on first use, and look at the stretch
// between the time graphs' markers. A view whose frame is not part of this build has no
// builder: its menu item is there, unavailable, until the frame is wired in here.
struct ViewKind {
    const char* id;     // "time", "harmonic", "phasor", "xy", "impedance"
    const char* label;  // the menu text, with its mnemonic
    const char* key;    // the accelerator, as GTK names it
    // Builds the view's root for a tab's time graphs and record; the tab owns what it gives.
    KContainer* (*build)(KGraphFrame& timeGraphs, KRecord& record);

    bool isAvailable() const;

    static const std::vector<ViewKind>& all();
    // The kind of that id; null for none.
    static const ViewKind* find(const char* id);
};
