#pragma once

#include <functional>
#include <string>

#include <glib.h>

// Keeps a text file up to date with what the viewer shows, for scripts that drive it and
// wait for it to respond: rewritten, whole and at once, a moment after anything changed.
class StateReport {
public:
    StateReport(std::string path, std::function<std::string()> describe);
    ~StateReport();
    StateReport(const StateReport&) = delete;
    StateReport& operator=(const StateReport&) = delete;

    // Something changed: the file is rewritten soon.
    void changed();
    // Rewrites the file now.
    void write();

private:
    static gboolean onTimer(gpointer self);

    std::string path_;
    std::function<std::string()> describe_;
    guint timer_ = 0;
};
