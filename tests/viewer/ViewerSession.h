#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include <kalvo/platform/CRect.h>

#include "support/XSession.h"

namespace ktest {

// What the viewer's state report says: a line per fact, its key first, words after.
class ViewerState {
public:
    explicit ViewerState(std::string text = "");

    const std::string& getText() const { return text_; }
    bool has(const std::string& key) const;
    // The value of the key's line (all after the key); empty for none.
    std::string get(const std::string& key) const;
    std::vector<std::string> words(const std::string& key) const;
    // The word at that place of the key's value as a number; NaN when it is not one.
    double number(const std::string& key, size_t word = 0) const;
    // The four numbers after the word name in the key's value, as a rectangle.
    CRect rect(const std::string& key, const std::string& name) const;
    // The lines whose key begins with the prefix, whole.
    std::vector<std::string> lines(const std::string& prefix) const;
    // The text of the lines whose keys begin with one of the prefixes, in order: what two
    // states must share to show the same.
    std::string select(const std::vector<std::string>& prefixes) const;

private:
    std::string text_;
};

// One viewer under test on the test program's virtual X server: started with the files
// given, its window at the screen's top-left, its state report and outputs in a folder of
// its own, its configuration in the test's (both removed unless the test failed).
class ViewerSession {
public:
    explicit ViewerSession(const std::vector<std::string>& arguments,
                           const std::string& program = KALVO_VIEWER);
    ~ViewerSession();
    ViewerSession(const ViewerSession&) = delete;
    ViewerSession& operator=(const ViewerSession&) = delete;

    XSession& x() const { return x_; }
    const std::string& getFolder() const { return folder_; }
    ViewerState state() const;
    // Waits until the state satisfies the condition; the last state read when it does not.
    bool waitFor(const std::function<bool(const ViewerState&)>& condition, int timeoutMs = 20000,
                 ViewerState* last = nullptr) const;
    // A point of the canvas in front, on the screen.
    CPoint onScreen(const ViewerState& state, CPoint canvas) const;
    // A picture of the screen in the screenshot folder.
    std::string shot(const std::string& name) const;
    bool isRunning() const { return XSession::isRunning(pid_); }
    // Quits by the keyboard (Ctrl+Q); the exit status, -1 when it had to be killed.
    int quit();

private:
    XSession& x_;
    std::string folder_;
    std::string config_;
    pid_t pid_ = -1;
};

}  // namespace ktest
