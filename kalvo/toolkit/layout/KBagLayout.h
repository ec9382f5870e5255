#pragma once

#include <kalvo/toolkit/layout/KLayout.h>

// Free placement: children keep the bounds they are given (by the program or by dragging
// them around). Laying out only brings back a child that fell wholly outside the client
// area, for example after the container shrank, so that it can still be reached.
class KBagLayout : public KLayout {
    K_DECLARE_CLASS(KBagLayout);

public:
    KBagLayout();

    void layoutContainer(KContainer* container) override;
    int getDragConstraint() const override { return DRAG_FREE; }
};
