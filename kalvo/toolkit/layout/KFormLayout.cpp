#include <kalvo/toolkit/layout/KFormLayout.h>

#include <algorithm>
#include <vector>

#include <kalvo/toolkit/KContainer.h>

K_IMPLEMENT_CLASS(KFormLayout, KLayout, 1)

namespace {

struct Row {
    KComponent* label;
    KComponent* field;  // null for a last label alone
};

std::vector<Row> rowsOf(KContainer* container) {
    std::vector<Row> rows;
    for (int i = 0; i < container->getComponentCount(); ++i) {
        KComponent* child = container->getComponent(i);
        if (!child->isVisible()) continue;
        if (!rows.empty() && rows.back().field == nullptr) {
            rows.back().field = child;
        } else {
            rows.push_back(Row{child, nullptr});
        }
    }
    return rows;
}

CSize sizeOf(const KComponent* c, bool preferred) {
    if (c == nullptr) return CSize(0, 0);
    return preferred ? c->getPreferredSize() : c->getMinimumSize();
}

}  // namespace

KFormLayout::KFormLayout(int hgap, int vgap) : KLayout(hgap, vgap) {}

CSize KFormLayout::layoutSize(KContainer* container, bool preferred) {
    if (container == nullptr) return CSize(0, 0);
    const std::vector<Row> rows = rowsOf(container);
    int labelWidth = 0;
    int fieldWidth = 0;
    int height = 0;
    for (const Row& row : rows) {
        const CSize label = sizeOf(row.label, preferred);
        const CSize field = sizeOf(row.field, preferred);
        labelWidth = std::max(labelWidth, label.cx);
        fieldWidth = std::max(fieldWidth, field.cx);
        height += std::max(label.cy, field.cy);
    }
    const CRect insets = container->getInsets();
    const int gaps = rows.empty() ? 0 : static_cast<int>(rows.size() - 1) * getVertGap();
    return CSize(
        insets.left + insets.right + labelWidth + (fieldWidth > 0 ? getHorzGap() : 0) + fieldWidth,
        insets.top + insets.bottom + height + gaps);
}

CSize KFormLayout::minimumLayoutSize(KContainer* container) {
    return layoutSize(container, false);
}

CSize KFormLayout::preferredLayoutSize(KContainer* container) {
    return layoutSize(container, true);
}

void KFormLayout::layoutContainer(KContainer* container) {
    if (container == nullptr) return;
    const std::vector<Row> rows = rowsOf(container);
    const CRect client = container->getClientRect();
    int labelWidth = 0;
    for (const Row& row : rows) labelWidth = std::max(labelWidth, row.label->getPreferredSize().cx);
    labelWidth = std::min(labelWidth, std::max(client.Width(), 0));
    const int fieldLeft = client.left + labelWidth + getHorzGap();
    const int fieldRight = std::max(client.right, fieldLeft);
    int y = client.top;
    for (const Row& row : rows) {
        const int height = std::max(row.label->getPreferredSize().cy, sizeOf(row.field, true).cy);
        row.label->setBounds(CRect(client.left, y, client.left + labelWidth, y + height));
        if (row.field != nullptr) row.field->setBounds(CRect(fieldLeft, y, fieldRight, y + height));
        y += height + getVertGap();
    }
}
