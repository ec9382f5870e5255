#include "StateReport.h"

#include <cstdio>

StateReport::StateReport(std::string path, std::function<std::string()> describe)
    : path_(std::move(path)), describe_(std::move(describe)) {}

StateReport::~StateReport() {
    if (timer_ != 0) g_source_remove(timer_);
}

void StateReport::changed() {
    if (timer_ == 0) timer_ = g_timeout_add(40, onTimer, this);
}

gboolean StateReport::onTimer(gpointer self) {
    auto* report = static_cast<StateReport*>(self);
    report->timer_ = 0;
    report->write();
    return G_SOURCE_REMOVE;
}

void StateReport::write() {
    // Written beside and renamed into place: a reader never sees half a state.
    const std::string temporary = path_ + ".new";
    FILE* out = std::fopen(temporary.c_str(), "w");
    if (out == nullptr) return;
    const std::string text = describe_();
    const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (std::fclose(out) == 0 && written) std::rename(temporary.c_str(), path_.c_str());
}
