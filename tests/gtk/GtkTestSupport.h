#pragma once

#include <gtest/gtest.h>

#include <gtk/gtk.h>

#include <string>

#include "support/XSession.h"

namespace ktest {

// The virtual X server and GTK on it, started once for the program; the session pumps the
// GLib main loop whenever it waits, so that the program's windows answer.
inline XSession& startGtk() {
    XSession& x = XSession::get();
    static bool started = false;
    if (!started) {
        gtk_init();
        x.setPump([] {
            while (g_main_context_iteration(nullptr, FALSE)) {
            }
        });
        started = true;
    }
    return x;
}

// A screenshot under the screenshot folder, named for the test.
inline std::string shot(XSession& x, const std::string& name) {
    const std::string path = screenshotDir() + "/" + name + ".png";
    EXPECT_TRUE(x.screenshot(path)) << path;
    return path;
}

}  // namespace ktest

namespace ktest {

// Runs a program after a while, from the main loop, while the test waits in a question it
// asked (a menu, a dialog): xdotool typing into whatever has the keyboard, or import taking
// a picture of the question. The program is collected by the destructor.
class Later {
public:
    Later(std::vector<std::string> argv, int delayMs) : argv_(std::move(argv)) {
        source_ = g_timeout_add(static_cast<guint>(delayMs), onTime, this);
    }
    // xdotool with the arguments, split at blanks.
    static std::vector<std::string> xdotool(const std::string& arguments) {
        std::vector<std::string> argv = {"xdotool"};
        std::string word;
        for (char c : arguments + " ") {
            if (c != ' ') {
                word += c;
            } else if (!word.empty()) {
                argv.push_back(word);
                word.clear();
            }
        }
        return argv;
    }
    static std::vector<std::string> screenshot(const std::string& name) {
        return {"import", "-window", "root", screenshotDir() + "/" + name + ".png"};
    }
    ~Later() {
        if (source_ != 0) g_source_remove(source_);
        XSession::get().stop(pid_);
    }
    Later(const Later&) = delete;
    Later& operator=(const Later&) = delete;

private:
    static gboolean onTime(gpointer self) {
        auto* later = static_cast<Later*>(self);
        later->source_ = 0;
        later->pid_ = XSession::get().start(later->argv_);
        return G_SOURCE_REMOVE;
    }
    std::vector<std::string> argv_;
    guint source_ = 0;
    pid_t pid_ = -1;
};

}  // namespace ktest
