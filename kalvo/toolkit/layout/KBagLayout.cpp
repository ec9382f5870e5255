#include <kalvo/toolkit/layout/KBagLayout.h>

#include <algorithm>

#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KBagLayout, KLayout, 1)

KBagLayout::KBagLayout() : KLayout(0, 0) {}

void KBagLayout::layoutContainer(KContainer* container) {
    if (container == nullptr) return;
    const CRect client = container->getClientRect();
    for (int i = 0; i < container->getComponentCount(); ++i) {
        KComponent* child = container->getComponent(i);
        CRect bounds = child->getBounds();
        CRect common;
        if (common.IntersectRect(bounds, client) || client.IsRectEmpty()) continue;
        // Moved just far enough to lie inside again, top-left first when it is too big.
        const int dx = bounds.right <= client.left ? client.left - bounds.left
                       : bounds.left >= client.right
                           ? std::max(client.right - bounds.right, client.left - bounds.left)
                           : 0;
        const int dy = bounds.bottom <= client.top ? client.top - bounds.top
                       : bounds.top >= client.bottom
                           ? std::max(client.bottom - bounds.bottom, client.top - bounds.top)
                           : 0;
        bounds.OffsetRect(dx, dy);
        child->setBounds(bounds);
    }
}
