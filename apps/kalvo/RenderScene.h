#pragma once

#include <string>

#include <kalvo/foundation/KString.h>

#include "CommandLine.h"

class KCanvas;
class KRecord;
class RecordSource;

// What kalvo render hands a view: the options, the record read whole, and a title for it. A
// view builds its root container on the canvas, lays it out and runs the posted tasks, so that
// the canvas can be painted as it stands.
struct RenderScene {
    const CommandLine& options;
    RecordSource& source;
    KRecord& record;
    KString title;  // name, device and start of the record
};

// A view: its --view name, what it shows (for the help) and how it is built.
struct RenderView {
    const char* name;
    void (*build)(KCanvas& canvas, RenderScene& scene);
};
