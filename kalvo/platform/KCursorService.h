#pragma once

// The cursor shapes the library asks of its host. A host with a window system installs
// its own service; without one, nothing is shown and every request does nothing.
class KCursorService {
public:
    virtual ~KCursorService() = default;

    // Shows the busy cursor until the matching end; calls may nest.
    virtual void beginWaitCursor() {}
    virtual void endWaitCursor() {}

    // The installed service, or one that does nothing.
    static KCursorService& get();
    // Null goes back to the one that does nothing. The installed one is not owned.
    static void install(KCursorService* service);
};
