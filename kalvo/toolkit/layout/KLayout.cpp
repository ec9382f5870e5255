#include <kalvo/toolkit/layout/KLayout.h>

#include <algorithm>
#include <cstdint>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KLayout, KObject, 1)

KLayout::KLayout(int hgap, int vgap) : hgap_(hgap), vgap_(vgap) {}

void KLayout::addLayoutComponent(KComponent*, const char*) {}

CSize KLayout::minimumLayoutSize(KContainer* container) {
    if (container == nullptr) return CSize(0, 0);
    const CRect insets = container->getInsets();
    return CSize(insets.left + insets.right, insets.top + insets.bottom);
}

CSize KLayout::preferredLayoutSize(KContainer* container) {
    if (container == nullptr) return CSize(0, 0);
    const CRect client = container->getClientRect();
    const CRect insets = container->getInsets();
    int right = client.left;
    int bottom = client.top;
    for (int i = 0; i < container->getComponentCount(); ++i) {
        const KComponent* child = container->getComponent(i);
        if (!child->isVisible()) continue;
        const CRect bounds = child->getBounds();
        right = std::max(right, bounds.right);
        bottom = std::max(bottom, bounds.bottom);
    }
    return CSize(right - client.left + insets.left + insets.right,
                 bottom - client.top + insets.top + insets.bottom);
}

void KLayout::layoutContainer(KContainer*) {}

int KLayout::getDragConstraint() const { return DRAG_NONE; }

void KLayout::Serialize(KArchive& archive) {
    if (archive.isStoring()) {
        archive << static_cast<std::int32_t>(hgap_) << static_cast<std::int32_t>(vgap_);
    } else {
        std::int32_t h = 0, v = 0;
        archive >> h >> v;
        hgap_ = h;
        vgap_ = v;
    }
}

void KLayout::copy(const KObject& other) {
    if (const KLayout* layout = k_dynamic_cast<KLayout>(const_cast<KObject*>(&other))) {
        hgap_ = layout->hgap_;
        vgap_ = layout->vgap_;
    }
}
