#include <kalvo/toolkit/layout/KFlowLayout.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KFlowLayout, KLayout, 1)

KFlowLayout::KFlowLayout(int align, int hgap, int vgap) : KLayout(hgap, vgap) {
    setAlignment(align);
}

void KFlowLayout::setAlignment(int align) {
    if (align >= LEFT && align <= RIGHT) align_ = align;
}

CSize KFlowLayout::oneRow(KContainer* container, bool preferred) const {
    if (container == nullptr) return CSize(0, 0);
    CSize size(0, 0);
    int count = 0;
    for (int i = 0; i < container->getComponentCount(); ++i) {
        const KComponent* child = container->getComponent(i);
        if (!child->isVisible()) continue;
        const CSize s = preferred ? child->getPreferredSize() : child->getMinimumSize();
        size.cx += s.cx + (count++ > 0 ? getHorzGap() : 0);
        size.cy = std::max(size.cy, s.cy);
    }
    const CRect insets = container->getInsets();
    return CSize(size.cx + insets.left + insets.right, size.cy + insets.top + insets.bottom);
}

CSize KFlowLayout::minimumLayoutSize(KContainer* container) {
    return oneRow(container, false);
}

CSize KFlowLayout::preferredLayoutSize(KContainer* container) {
    return oneRow(container, true);
}

void KFlowLayout::layoutContainer(KContainer* container) {
    if (container == nullptr) return;
    const CRect client = container->getClientRect();
    const int width = std::max(client.Width(), 0);

    struct Item {
        KComponent* child;
        CSize size;
    };
    std::vector<Item> row;
    int rowWidth = 0;
    int rowHeight = 0;
    int y = client.top;
    auto place = [&]() {
        int x = client.left;
        if (align_ == CENTER) x += (width - rowWidth) / 2;
        if (align_ == RIGHT) x += width - rowWidth;
        for (const Item& item : row) {
            const int top = y + (rowHeight - item.size.cy) / 2;
            item.child->setBounds(CRect(x, top, x + item.size.cx, top + item.size.cy));
            x += item.size.cx + getHorzGap();
        }
        y += rowHeight + getVertGap();
        row.clear();
        rowWidth = 0;
        rowHeight = 0;
    };
    for (int i = 0; i < container->getComponentCount(); ++i) {
        KComponent* child = container->getComponent(i);
        if (!child->isVisible()) continue;
        CSize size = child->getPreferredSize();
        size.cx = std::min(size.cx, width);
        const int needed = row.empty() ? size.cx : rowWidth + getHorzGap() + size.cx;
        if (!row.empty() && needed > width) place();
        rowWidth = row.empty() ? size.cx : rowWidth + getHorzGap() + size.cx;
        rowHeight = std::max(rowHeight, size.cy);
        row.push_back(Item{child, size});
    }
    if (!row.empty()) place();
}

void KFlowLayout::Serialize(KArchive& archive) {
    KLayout::Serialize(archive);
    if (archive.isStoring()) {
        archive << static_cast<std::int32_t>(align_) << static_cast<std::int32_t>(dragMode_);
    } else {
        std::int32_t align = CENTER, mode = 0;
        archive >> align >> mode;
        setAlignment(align);
        dragMode_ = mode;
    }
}

void KFlowLayout::copy(const KObject& other) {
    KLayout::copy(other);
    if (const KFlowLayout* flow = k_dynamic_cast<KFlowLayout>(const_cast<KObject*>(&other))) {
        align_ = flow->align_;
        dragMode_ = flow->dragMode_;
    }
}
