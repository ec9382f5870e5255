#include <kalvo/toolkit/layout/KGridLayout.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include <kalvo/foundation/KArchive.h>
#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KGridLayout, KLayout, 1)

namespace {

std::vector<KComponent*> visibleChildren(KContainer* container) {
    std::vector<KComponent*> list;
    for (int i = 0; i < container->getComponentCount(); ++i) {
        KComponent* child = container->getComponent(i);
        if (child->isVisible()) list.push_back(child);
    }
    return list;
}

}  // namespace

KGridLayout::KGridLayout(int rows, int columns, int hgap, int vgap)
    : KLayout(hgap, vgap), rows_(std::max(rows, 0)), columns_(std::max(columns, 0)) {}

CSize KGridLayout::shape(int count) const {
    if (rows_ > 0 && columns_ > 0) return CSize(columns_, rows_);
    if (rows_ > 0) return CSize((count + rows_ - 1) / rows_, rows_);
    if (columns_ > 0) return CSize(columns_, (count + columns_ - 1) / columns_);
    return CSize(count, count > 0 ? 1 : 0);
}

int KGridLayout::getDragConstraint() const {
    if (rows_ != 0 && columns_ != 0) return DRAG_NONE;
    return dragMode_ > 0 ? DRAG_ORDER : DRAG_NONE;
}

CSize KGridLayout::layoutSize(KContainer* container, bool preferred) {
    if (container == nullptr) return CSize(0, 0);
    const std::vector<KComponent*> children = visibleChildren(container);
    const CSize grid = shape(static_cast<int>(children.size()));
    CSize cell(0, 0);
    for (KComponent* child : children) {
        const CSize size = preferred ? child->getPreferredSize() : child->getMinimumSize();
        cell.cx = std::max(cell.cx, size.cx);
        cell.cy = std::max(cell.cy, size.cy);
    }
    const CRect insets = container->getInsets();
    return CSize(
        insets.left + insets.right + grid.cx * cell.cx + std::max(grid.cx - 1, 0) * getHorzGap(),
        insets.top + insets.bottom + grid.cy * cell.cy + std::max(grid.cy - 1, 0) * getVertGap());
}

CSize KGridLayout::minimumLayoutSize(KContainer* container) {
    return layoutSize(container, false);
}

CSize KGridLayout::preferredLayoutSize(KContainer* container) {
    return layoutSize(container, true);
}

void KGridLayout::layoutContainer(KContainer* container) {
    if (container == nullptr) return;
    const std::vector<KComponent*> children = visibleChildren(container);
    const CSize grid = shape(static_cast<int>(children.size()));
    if (grid.cx == 0 || grid.cy == 0) return;
    const CRect client = container->getClientRect();
    const int width = std::max(client.Width() - (grid.cx - 1) * getHorzGap(), 0);
    const int height = std::max(client.Height() - (grid.cy - 1) * getVertGap(), 0);
    // Cell i spans from i·size/n to (i+1)·size/n, rounded up, plus the gaps before it.
    auto edge = [](int i, int size, int n) { return (i * size + n - 1) / n; };
    const int cells = std::min(static_cast<int>(children.size()), grid.cx * grid.cy);
    for (int k = 0; k < cells; ++k) {
        const int column = k % grid.cx;
        const int row = k / grid.cx;
        const int left = client.left + edge(column, width, grid.cx) + column * getHorzGap();
        const int right = client.left + edge(column + 1, width, grid.cx) + column * getHorzGap();
        const int top = client.top + edge(row, height, grid.cy) + row * getVertGap();
        const int bottom = client.top + edge(row + 1, height, grid.cy) + row * getVertGap();
        children[k]->setBounds(CRect(left, top, right, bottom));
    }
}

void KGridLayout::Serialize(KArchive& archive) {
    KLayout::Serialize(archive);
    if (archive.isStoring()) {
        archive << static_cast<std::int32_t>(rows_) << static_cast<std::int32_t>(columns_)
                << static_cast<std::int32_t>(dragMode_);
    } else {
        std::int32_t rows = 0, columns = 0, mode = 0;
        archive >> rows >> columns >> mode;
        setRows(rows);
        setColumns(columns);
        dragMode_ = mode;
    }
}

void KGridLayout::copy(const KObject& other) {
    KLayout::copy(other);
    if (const KGridLayout* grid = k_dynamic_cast<KGridLayout>(const_cast<KObject*>(&other))) {
        rows_ = grid->rows_;
        columns_ = grid->columns_;
        dragMode_ = grid->dragMode_;
    }
}
