#pragma once

#include <functional>

class KComponent;
class KHost;

// The pace of a held button: after the press has acted once, the action runs again after a
// pause, then quickly, until the button is let go. Timers run on the host of the component
// that holds the button; without one nothing repeats, and a component taken out of the
// tree stops repeating by itself (it will get no release).
class KAutoRepeat {
public:
    static constexpr unsigned DELAY_MS = 400;
    static constexpr unsigned RATE_MS = 50;

    KAutoRepeat() = delete;

    // Starts the repeat for the owner. host and timer are the owner's: they keep the host
    // the timer runs on and the running timer's id (it changes once, when the pause is
    // over), and must live as long as the owner.
    static void start(const KComponent* owner, KHost*& host, unsigned& timer,
                      std::function<void()> action);
    // Stops it; nothing when nothing runs. Clears host and timer.
    static void stop(KHost*& host, unsigned& timer);
};
