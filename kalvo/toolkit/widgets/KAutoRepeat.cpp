#include <kalvo/toolkit/widgets/KAutoRepeat.h>

#include <kalvo/platform/KHost.h>
#include <kalvo/toolkit/KComponent.h>

void KAutoRepeat::start(const KComponent* owner, KHost*& host, unsigned& timer,
                        std::function<void()> action) {
    stop(host, timer);
    host = owner->getCanvas();
    if (host == nullptr) return;
    // Killing a timer may destroy the callback that runs: the callbacks work on copies.
    const std::function<void()> tick = [owner, &host, &timer, action]() {
        const std::function<void()> act = action;
        if (owner->getCanvas() != host) {
            stop(host, timer);
            return;
        }
        act();
    };
    timer = host->setTimer(DELAY_MS, [&host, &timer, tick]() {
        KHost* const h = host;
        unsigned& t = timer;
        const std::function<void()> next = tick;
        h->killTimer(t);
        t = h->setTimer(RATE_MS, next);
        next();
    });
}

void KAutoRepeat::stop(KHost*& host, unsigned& timer) {
    if (timer != 0 && host != nullptr) host->killTimer(timer);
    timer = 0;
    host = nullptr;
}
