#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include <cairo.h>

namespace ktest {

// A virtual X server for tests that drive real windows, started on a free display the first
// time a test asks for it and stopped when the program ends; DISPLAY names it from then on.
// Input goes in through xdotool, pictures come out through ImageMagick's import, the
// clipboard is read and written through xclip: each a program of its own, as a user's
// tools are. While such a program runs, the caller's pump runs too, so that a window of the
// test program itself answers it (the clipboard's owner must).
class XSession {
public:
    static constexpr int WIDTH = 1280;
    static constexpr int HEIGHT = 800;

    // The session, started on first use; a test failure when Xvfb cannot be started.
    static XSession& get();
    const std::string& getDisplay() const { return display_; }

    // Called while a program runs and while waiting.
    void setPump(std::function<void()> pump) { pump_ = std::move(pump); }
    // Runs the program with the arguments; its exit status (-1 when it could not run),
    // with what it wrote to standard output in out when given.
    int run(const std::vector<std::string>& argv, std::string* out = nullptr);
    // Starts a program that goes on by itself (a clipboard owner, the viewer); its id.
    pid_t start(const std::vector<std::string>& argv, const char* logPath = nullptr);
    // Ends a program started here; its exit status, or -1 when it had to be killed.
    int stop(pid_t pid, int graceMs = 3000);
    // Whether a program started here is still running.
    static bool isRunning(pid_t pid);

    // xdotool with the arguments, split at blanks.
    bool xdotool(const std::string& arguments);
    // A picture of the whole screen as PNG.
    bool screenshot(const std::string& path);
    // Waits until the condition holds, pumping meanwhile; false after the timeout.
    bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 10000);
    void sleep(int ms);

    ~XSession();

private:
    XSession();

    pid_t server_ = -1;
    std::string display_;
    std::function<void()> pump_;
};

// A PNG file's pixels.
class Picture {
public:
    explicit Picture(const std::string& pngPath);
    ~Picture();
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    bool isValid() const { return image_ != nullptr; }
    int getWidth() const { return width_; }
    int getHeight() const { return height_; }
    // The pixel as 0xRRGGBB; -1 outside the picture or when the file could not be read.
    long pixel(int x, int y) const;
    // How many pixels of the rectangle differ from the colour.
    int countOtherThan(long color, int left, int top, int right, int bottom) const;

private:
    cairo_surface_t* image_ = nullptr;
    int width_ = 0, height_ = 0;
};

// The folder where the tests leave their screenshots for people to look at.
std::string screenshotDir();

}  // namespace ktest
