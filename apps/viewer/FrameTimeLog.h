#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <gtk/gtk.h>

// The times of the frames a window shows while its views repaint, written to a file when
// the window goes: a line per frame with the whole frame's milliseconds (from the frame
// clock's start of the frame, the input handled in it included, to the end of its paint)
// and the part spent painting components, then the median, the 99th percentile and the
// maximum of both.
class FrameTimeLog {
public:
    struct Summary {
        int frames = 0;
        double median = 0, p99 = 0, max = 0;
        double paintMedian = 0, paintP99 = 0, paintMax = 0;
    };

    FrameTimeLog(GtkWidget* window, std::string path);
    ~FrameTimeLog();
    FrameTimeLog(const FrameTimeLog&) = delete;
    FrameTimeLog& operator=(const FrameTimeLog&) = delete;

    // A view painted in the frame under way, taking that many milliseconds.
    void painted(double milliseconds);
    Summary summarize() const;
    // Writes the file; false when it cannot be written.
    bool write() const;

    // The value below which the share of the sorted values lies (nearest rank).
    static double percentile(std::vector<double> values, double share);

private:
    struct Frame {
        double at;     // the frame's end, in seconds since 1970
        double whole;  // milliseconds
        double paint;  // milliseconds
    };
    static void onRealize(GtkWidget* window, gpointer self);
    static void onFrameStart(GdkFrameClock* clock, gpointer self);
    static void onFrameEnd(GdkFrameClock* clock, gpointer self);
    void attach();

    GtkWidget* window_;
    std::string path_;
    GdkFrameClock* clock_ = nullptr;
    std::chrono::steady_clock::time_point frameStart_;
    bool inFrame_ = false;
    double paint_ = 0;
    bool painted_ = false;
    std::vector<Frame> frames_;
};
