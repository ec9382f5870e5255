#pragma once

#include <kalvo/toolkit/KContainer.h>

// The root of a composed view: a container that finds its "client" and "footer" panels by
// name.
class KFrame : public KContainer {
    K_DECLARE_CLASS(KFrame);

public:
    explicit KFrame(const char* name = nullptr);

    // The "client" container, or the view of a "client" scroll pane; raises "Unable to find
    // client panel." when there is no such container.
    KContainer* getClient() const;
    // Raises "Unable to find footer panel." when there is no "footer" container.
    KContainer* getFooter() const;
};
