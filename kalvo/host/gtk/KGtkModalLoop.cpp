#include <kalvo/host/gtk/KGtkModalLoop.h>

int KGtkModalLoop::depth_ = 0;

KGtkModalLoop::KGtkModalLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {}

KGtkModalLoop::~KGtkModalLoop() {
    if (idle_ != 0) g_source_remove(idle_);
    g_main_loop_unref(loop_);
}

bool KGtkModalLoop::run(unsigned timeoutMs) {
    if (done_) return true;
    const guint timer = timeoutMs > 0 ? g_timeout_add(timeoutMs, onTimeout, this) : 0;
    ++depth_;
    g_main_loop_run(loop_);
    --depth_;
    if (timer != 0 && !timedOut_) g_source_remove(timer);
    return !timedOut_;
}

void KGtkModalLoop::quit() {
    done_ = true;
    g_main_loop_quit(loop_);
}

void KGtkModalLoop::quitSoon() {
    if (idle_ == 0) idle_ = g_idle_add(onIdle, this);
}

gboolean KGtkModalLoop::onTimeout(gpointer self) {
    auto* loop = static_cast<KGtkModalLoop*>(self);
    loop->timedOut_ = true;
    loop->quit();
    return G_SOURCE_REMOVE;
}

gboolean KGtkModalLoop::onIdle(gpointer self) {
    auto* loop = static_cast<KGtkModalLoop*>(self);
    loop->idle_ = 0;
    loop->quit();
    return G_SOURCE_REMOVE;
}
