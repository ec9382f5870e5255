#pragma once

#include <functional>

class KHost;

// The pace of a held button: after the press has acted once, the action runs again after a
// pause, then quickly, until the button is let go. Timers run on the host; without one
// nothing repeats.
class KAutoRepeat {
public:
    static constexpr unsigned DELAY_MS = 400;
    static constexpr unsigned RATE_MS = 50;

    KAutoRepeat() = delete;

    // Starts the repeat; timer holds the id of the running timer (it changes once, when the
    // pause is over) and must outlive the repeat.
    static void start(KHost* host, unsigned& timer, std::function<void()> action);
    // Stops it; nothing when timer is 0. Sets timer to 0.
    static void stop(KHost* host, unsigned& timer);
};
