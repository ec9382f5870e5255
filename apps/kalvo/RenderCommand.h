#pragma once

#include <cstdio>
#include <vector>

#include <kalvo/foundation/KString.h>

#include "CommandLine.h"

class KCanvas;
class KGraphFrame;
class KRecord;
class RecordSource;

// kalvo render: a view of the record (the time graphs, as the viewer shows them, by default)
// painted into a picture.
class RenderCommand {
public:
    static const char* const HELP;
    static int run(const CommandLine& options, FILE* out);

    // What a view is given: the options, the record read and where it came from, the
    // channels --channels chose (every channel when none were given) and the record's title
    // (station, device, start).
    struct Input {
        const CommandLine& options;
        RecordSource& source;
        KRecord& record;
        std::vector<int> channels;
        bool channelsGiven;
        KString title;
    };
    // A view builds its root on the canvas (of the --size asked for) and lays it out; the
    // command then writes the picture.
    using View = void (*)(KCanvas& canvas, Input& input);

    // The time graphs of the channels in the frame as every view shows them: the title,
    // --dark, the window --from/--to and the --markers. The canvas grows taller when the
    // graphs need the room.
    static void showTimeGraphs(KCanvas& canvas, KGraphFrame& frame, Input& input, const std::vector<int>& channels);
};
