#pragma once

// `kalvo view`: the records in a window. The window lives in a program of its own,
// kalvo-viewer, installed beside kalvo, so that the command itself needs no window system;
// this hands the arguments over to it.
class ViewCommand {
public:
    static const char* const NAME;  // "kalvo-viewer"
    // Replaces this process by the viewer with the arguments after "view"; returns (with a
    // message on standard error) only when the viewer cannot be started.
    static int run(int argc, char** argv);
};
