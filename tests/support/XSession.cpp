#include "XSession.h"

#include <gtest/gtest.h>

#include <cairo.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>

extern char** environ;

namespace ktest {

namespace {

std::vector<char*> argvOf(const std::vector<std::string>& argv) {
    std::vector<char*> out;
    for (const std::string& a : argv) out.push_back(const_cast<char*>(a.c_str()));
    out.push_back(nullptr);
    return out;
}

}  // namespace

XSession& XSession::get() {
    static XSession session;
    return session;
}

XSession::XSession() {
    // Xvfb tells the display it chose on a pipe once it takes connections.
    int fds[2];
    if (pipe(fds) != 0) {
        ADD_FAILURE() << "no pipe for Xvfb";
        return;
    }
    const std::string screen = std::to_string(WIDTH) + "x" + std::to_string(HEIGHT) + "x24";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 3);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const std::vector<std::string> argv = {KALVO_XVFB, "-displayfd", "3",   "-screen", "0",
                                           screen,     "-nolisten",  "tcp", "-noreset"};
    std::vector<char*> args = argvOf(argv);
    if (posix_spawn(&server_, KALVO_XVFB, &actions, nullptr, args.data(), environ) != 0)
        server_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    std::string number;
    pollfd p{fds[0], POLLIN, 0};
    char c;
    while (server_ > 0 && poll(&p, 1, 10000) > 0 && read(fds[0], &c, 1) == 1 && c != '\n')
        number += c;
    close(fds[0]);
    if (number.empty()) {
        ADD_FAILURE() << "Xvfb did not start (" << KALVO_XVFB << ")";
        return;
    }
    display_ = ":" + number;
    setenv("DISPLAY", display_.c_str(), 1);
    // GTK draws with cairo on the virtual server, which has no GL.
    setenv("GSK_RENDERER", "cairo", 1);
    setenv("GDK_BACKEND", "x11", 1);
    // No GL on the virtual server: GTK would load the software driver only to leave it
    // unused (and what the driver allocates outlives its unloading).
    setenv("GDK_DEBUG", "gl-disable", 1);
    // No desktop session around: settings stay in memory, and nothing looks for the
    // accessibility bus.
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("GTK_A11Y", "none", 1);
}

XSession::~XSession() {
    if (server_ > 0) {
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
    }
}

void XSession::sleep(int ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end) {
        if (pump_) pump_();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

bool XSession::waitUntil(const std::function<bool()>& condition, int timeoutMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (pump_) pump_();
        if (condition()) return true;
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

bool XSession::isRunning(pid_t pid) {
    return pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0;
}

pid_t XSession::start(const std::vector<std::string>& argv, const char* logPath) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (logPath != nullptr) {
        posix_spawn_file_actions_addopen(&actions, 1, logPath, O_WRONLY | O_CREAT | O_APPEND, 0644);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
    }
    std::vector<char*> args = argvOf(argv);
    pid_t pid = -1;
    if (posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

int XSession::stop(pid_t pid, int graceMs) {
    if (pid <= 0) return -1;
    int status = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(graceMs);
    while (std::chrono::steady_clock::now() < end) {
        if (waitpid(pid, &status, WNOHANG) == pid)
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        if (pump_) pump_();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    return -1;
}

int XSession::run(const std::vector<std::string>& argv, std::string* out) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
    std::vector<char*> args = argvOf(argv);
    pid_t pid = -1;
    const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    if (spawned != 0) {
        close(fds[0]);
        return -1;
    }
    std::string text;
    int status = 0;
    for (;;) {
        char buffer[4096];
        ssize_t n;
        while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
            text.append(buffer, static_cast<size_t>(n));
        if (waitpid(pid, &status, WNOHANG) == pid) break;
        if (pump_) pump_();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    char buffer[4096];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<size_t>(n));
    close(fds[0]);
    if (out != nullptr) *out = text;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool XSession::xdotool(const std::string& arguments) {
    std::vector<std::string> argv = {"xdotool"};
    std::istringstream words(arguments);
    for (std::string w; words >> w;) argv.push_back(w);
    return run(argv) == 0;
}

bool XSession::screenshot(const std::string& path) {
    return run({"import", "-window", "root", path}) == 0;
}

Picture::Picture(const std::string& pngPath) {
    cairo_surface_t* image = cairo_image_surface_create_from_png(pngPath.c_str());
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        return;
    }
    cairo_surface_flush(image);
    image_ = image;
    width_ = cairo_image_surface_get_width(image);
    height_ = cairo_image_surface_get_height(image);
}

Picture::~Picture() {
    if (image_ != nullptr) cairo_surface_destroy(image_);
}

long Picture::pixel(int x, int y) const {
    if (image_ == nullptr || x < 0 || y < 0 || x >= width_ || y >= height_) return -1;
    const auto* row = cairo_image_surface_get_data(image_) +
                      static_cast<size_t>(y) * cairo_image_surface_get_stride(image_);
    return static_cast<long>(reinterpret_cast<const uint32_t*>(row)[x] & 0xFFFFFF);
}

int Picture::countOtherThan(long color, int left, int top, int right, int bottom) const {
    int n = 0;
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) n += pixel(x, y) != color ? 1 : 0;
    }
    return n;
}

std::string screenshotDir() {
    const std::string dir = KALVO_SCREENSHOT_DIR;
    mkdir(dir.c_str(), 0755);
    return dir;
}

}  // namespace ktest
