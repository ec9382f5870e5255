#include <kalvo/toolkit/widgets/KAutoRepeat.h>

#include <kalvo/platform/KHost.h>

void KAutoRepeat::start(KHost* host, unsigned& timer, std::function<void()> action) {
    stop(host, timer);
    if (host == nullptr) return;
    timer = host->setTimer(DELAY_MS, [host, &timer, action]() {
        // Killing this timer may destroy this callback: work on copies.
        KHost* const h = host;
        unsigned& t = timer;
        const std::function<void()> a = action;
        h->killTimer(t);
        t = h->setTimer(RATE_MS, a);
        a();
    });
}

void KAutoRepeat::stop(KHost* host, unsigned& timer) {
    if (timer != 0 && host != nullptr) host->killTimer(timer);
    timer = 0;
}
