#pragma once

#include <kalvo/platform/KCursorService.h>

// The busy cursor over every window of the application while work holds up the interface.
class KGtkCursorService : public KCursorService {
public:
    void beginWaitCursor() override;
    void endWaitCursor() override;
    bool isWaiting() const { return depth_ > 0; }

private:
    void show(const char* name);

    int depth_ = 0;
};
