#pragma once

#include <glib.h>

// A nested run of the GLib main loop for a question that the toolkit asks and waits for:
// a popup menu, a message box, a file dialog, a clipboard transfer. The window keeps
// painting meanwhile; hosts hold back input to their trees while any such loop runs, so
// that no handler is entered again before the question is answered.
class KGtkModalLoop {
public:
    KGtkModalLoop();
    ~KGtkModalLoop();
    KGtkModalLoop(const KGtkModalLoop&) = delete;
    KGtkModalLoop& operator=(const KGtkModalLoop&) = delete;

    // Runs until quit; at once when quit came first. With a timeout (ms, 0 for none) it
    // returns by itself then: false when it timed out.
    bool run(unsigned timeoutMs = 0);
    void quit();
    // Quits on the next idle moment instead: for signals that come before the ones that
    // carry the answer (a menu closes before its item's action runs).
    void quitSoon();

    // How many modal loops are running now.
    static int getDepth() { return depth_; }

private:
    static gboolean onTimeout(gpointer self);
    static gboolean onIdle(gpointer self);

    GMainLoop* loop_;
    bool done_ = false;
    bool timedOut_ = false;
    guint idle_ = 0;
    static int depth_;
};
