#pragma once

#include <kalvo/platform/KCursorService.h>

// Shows the busy cursor for the lifetime of a scope.
class KWaitCursor {
public:
    KWaitCursor() { KCursorService::get().beginWaitCursor(); }
    ~KWaitCursor() { KCursorService::get().endWaitCursor(); }
    KWaitCursor(const KWaitCursor&) = delete;
    KWaitCursor& operator=(const KWaitCursor&) = delete;
};
