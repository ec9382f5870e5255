#include "ViewerSession.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ktest {

ViewerState::ViewerState(std::string text) : text_(std::move(text)) {}

std::string ViewerState::get(const std::string& key) const {
    std::istringstream in(text_);
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, key.size() + 1, key + " ") == 0) return line.substr(key.size() + 1);
        if (line == key) return "";
    }
    return "";
}

bool ViewerState::has(const std::string& key) const {
    std::istringstream in(text_);
    for (std::string line; std::getline(in, line);) {
        if (line == key || line.compare(0, key.size() + 1, key + " ") == 0) return true;
    }
    return false;
}

std::vector<std::string> ViewerState::words(const std::string& key) const {
    std::istringstream in(get(key));
    std::vector<std::string> out;
    for (std::string w; in >> w;) out.push_back(w);
    return out;
}

double ViewerState::number(const std::string& key, size_t word) const {
    const std::vector<std::string> w = words(key);
    if (word >= w.size()) return NAN;
    char* end = nullptr;
    const double v = std::strtod(w[word].c_str(), &end);
    return *end == '\0' ? v : NAN;
}

CRect ViewerState::rect(const std::string& key, const std::string& name) const {
    const std::vector<std::string> w = words(key);
    for (size_t i = 0; i + 4 < w.size(); ++i) {
        if (w[i] == name) {
            return CRect(std::atoi(w[i + 1].c_str()), std::atoi(w[i + 2].c_str()),
                         std::atoi(w[i + 3].c_str()), std::atoi(w[i + 4].c_str()));
        }
    }
    return CRect();
}

std::vector<std::string> ViewerState::lines(const std::string& prefix) const {
    std::istringstream in(text_);
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, prefix.size(), prefix) == 0) out.push_back(line);
    }
    return out;
}

std::string ViewerState::select(const std::vector<std::string>& prefixes) const {
    std::string out;
    std::istringstream in(text_);
    for (std::string line; std::getline(in, line);) {
        for (const std::string& p : prefixes) {
            if (line.compare(0, p.size(), p) == 0) {
                out += line + "\n";
                break;
            }
        }
    }
    return out;
}

ViewerSession::ViewerSession(const std::vector<std::string>& arguments, const std::string& program)
    : x_(XSession::get()) {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    // A test may run viewers one after another, each reading what the one before left: a
    // folder for each, and the test's configuration (no recent files but those it makes).
    static int sessions = 0;
    const std::string base = ::testing::TempDir() + "kalvo-viewer-" +
                             (test != nullptr ? test->name() : "test") + "-" +
                             std::to_string(getpid());
    folder_ = base + "-" + std::to_string(++sessions);
    config_ = base + "-config";
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    std::filesystem::create_directories(config_);
    setenv("XDG_CONFIG_HOME", config_.c_str(), 1);
    // GTK's list of recent files too: tests run side by side must not see each other's.
    setenv("XDG_DATA_HOME", config_.c_str(), 1);
    std::vector<std::string> argv = {program};
    if (program != KALVO_VIEWER) argv.push_back("view");
    argv.insert(argv.end(), {"--state-file", folder_ + "/state.txt"});
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    // Run from the folder: printing to a file writes there.
    const std::string here = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
    pid_ = x_.start(argv, (folder_ + "/viewer.log").c_str());
    std::filesystem::current_path(here);
    EXPECT_GT(pid_, 0) << "cannot start " << program;
    EXPECT_TRUE(waitFor([](const ViewerState& s) { return s.has("tabs"); }))
        << "the viewer did not show";
    // The pointer over the window gives it the keyboard.
    x_.xdotool("mousemove 640 30");
}

ViewerSession::~ViewerSession() {
    if (isRunning()) x_.stop(pid_, 0);
    const bool failed = ::testing::Test::HasFailure();
    if (failed) {
        std::ifstream log(folder_ + "/viewer.log");
        std::stringstream text;
        text << log.rdbuf();
        std::fprintf(stderr, "viewer output:\n%s\nstate:\n%s\n", text.str().c_str(),
                     state().getText().c_str());
    } else {
        std::filesystem::remove_all(folder_);
        std::filesystem::remove_all(config_);
    }
}

ViewerState ViewerSession::state() const {
    std::ifstream in(folder_ + "/state.txt");
    std::stringstream text;
    text << in.rdbuf();
    return ViewerState(text.str());
}

bool ViewerSession::waitFor(const std::function<bool(const ViewerState&)>& condition, int timeoutMs,
                            ViewerState* last) const {
    ViewerState s;
    const bool met = x_.waitUntil(
        [&] {
            s = state();
            return condition(s);
        },
        timeoutMs);
    if (last != nullptr) *last = s;
    return met;
}

CPoint ViewerSession::onScreen(const ViewerState& state, CPoint canvas) const {
    return CPoint(static_cast<int>(state.number("canvas", 0)) + canvas.x,
                  static_cast<int>(state.number("canvas", 1)) + canvas.y);
}

std::string ViewerSession::shot(const std::string& name) const {
    const std::string path = screenshotDir() + "/" + name + ".png";
    EXPECT_TRUE(x_.screenshot(path)) << path;
    return path;
}

int ViewerSession::quit() {
    x_.xdotool("mousemove 640 30 key ctrl+q");
    const int status = x_.stop(pid_, 10000);
    pid_ = -1;
    return status;
}

}  // namespace ktest
