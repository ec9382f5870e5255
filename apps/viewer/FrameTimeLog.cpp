#include "FrameTimeLog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

double millisecondsBetween(std::chrono::steady_clock::time_point a,
                           std::chrono::steady_clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

}  // namespace

FrameTimeLog::FrameTimeLog(GtkWidget* window, std::string path)
    : window_(GTK_WIDGET(g_object_ref(window))), path_(std::move(path)) {
    if (gtk_widget_get_realized(window_)) {
        attach();
    } else {
        g_signal_connect(window_, "realize", G_CALLBACK(onRealize), this);
    }
}

FrameTimeLog::~FrameTimeLog() {
    write();
    g_signal_handlers_disconnect_by_data(window_, this);
    if (clock_ != nullptr) {
        g_signal_handlers_disconnect_by_data(clock_, this);
        g_object_unref(clock_);
    }
    g_object_unref(window_);
}

void FrameTimeLog::onRealize(GtkWidget*, gpointer self) {
    static_cast<FrameTimeLog*>(self)->attach();
}

void FrameTimeLog::attach() {
    if (clock_ != nullptr) return;
    clock_ = gtk_widget_get_frame_clock(window_);
    if (clock_ == nullptr) return;
    g_object_ref(clock_);
    // The frame begins with its input: the events flushed before the update.
    g_signal_connect(clock_, "flush-events", G_CALLBACK(onFrameStart), this);
    g_signal_connect(clock_, "after-paint", G_CALLBACK(onFrameEnd), this);
}

void FrameTimeLog::onFrameStart(GdkFrameClock*, gpointer self) {
    auto* log = static_cast<FrameTimeLog*>(self);
    log->frameStart_ = std::chrono::steady_clock::now();
    log->inFrame_ = true;
    log->paint_ = 0;
    log->painted_ = false;
}

void FrameTimeLog::painted(double milliseconds) {
    paint_ += milliseconds;
    painted_ = true;
}

void FrameTimeLog::onFrameEnd(GdkFrameClock*, gpointer self) {
    auto* log = static_cast<FrameTimeLog*>(self);
    if (!log->inFrame_) return;
    log->inFrame_ = false;
    // Frames that repainted no view (a menu opening, the cursor blinking) say nothing of them.
    if (!log->painted_) return;
    const auto now = std::chrono::steady_clock::now();
    log->frames_.push_back({static_cast<double>(g_get_real_time()) / 1e6,
                            millisecondsBetween(log->frameStart_, now), log->paint_});
}

double FrameTimeLog::percentile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t rank = static_cast<size_t>(std::ceil(share * static_cast<double>(values.size())));
    return values[std::clamp<size_t>(rank, 1, values.size()) - 1];
}

FrameTimeLog::Summary FrameTimeLog::summarize() const {
    Summary s;
    s.frames = static_cast<int>(frames_.size());
    std::vector<double> whole, paint;
    for (const Frame& f : frames_) {
        whole.push_back(f.whole);
        paint.push_back(f.paint);
    }
    s.median = percentile(whole, 0.5);
    s.p99 = percentile(whole, 0.99);
    s.max = percentile(whole, 1.0);
    s.paintMedian = percentile(paint, 0.5);
    s.paintP99 = percentile(paint, 0.99);
    s.paintMax = percentile(paint, 1.0);
    return s;
}

bool FrameTimeLog::write() const {
    FILE* out = std::fopen(path_.c_str(), "w");
    if (out == nullptr) return false;
    std::fprintf(out,
                 "# frame times of the Kalvo viewer: end of the frame (seconds since 1970), whole "
                 "frame ms, painting ms\n");
    for (const Frame& f : frames_) std::fprintf(out, "%.6f %.3f %.3f\n", f.at, f.whole, f.paint);
    const Summary s = summarize();
    std::fprintf(out, "# frames %d\n", s.frames);
    std::fprintf(out, "# frame ms: median %.2f, 99th percentile %.2f, max %.2f\n", s.median, s.p99,
                 s.max);
    std::fprintf(out, "# painting ms: median %.2f, 99th percentile %.2f, max %.2f\n", s.paintMedian,
                 s.paintP99, s.paintMax);
    return std::fclose(out) == 0;
}
