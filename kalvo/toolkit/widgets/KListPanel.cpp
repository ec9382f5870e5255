#include <kalvo/toolkit/widgets/KListPanel.h>

#include <algorithm>
#include <vector>

#include <kalvo/foundation/KArchive.h>

K_IMPLEMENT_CLASS(KListPanel, KPanel, 1)

namespace {

constexpr std::int32_t STORED_VERSION = 1;

std::vector<KComponent*> visibleChildren(const KContainer& container) {
    std::vector<KComponent*> list;
    for (int i = 0; i < container.getComponentCount(); ++i) {
        KComponent* child = container.getComponent(i);
        if (child->isVisible()) list.push_back(child);
    }
    return list;
}

}  // namespace

KListPanel::KListPanel(const char* name) : KPanel(name) {}

void KListPanel::setGap(int gap) {
    if (gap < 0 || gap == gap_) return;
    gap_ = gap;
    postAction("layout.change");
}

void KListPanel::doLayout() {
    const std::vector<KComponent*> children = visibleChildren(*this);
    if (children.empty()) return;
    const CRect client = getClientRect();
    const int count = static_cast<int>(children.size());
    std::vector<int> heights(children.size(), -1);  // -1: still to share out
    int remaining = client.Height() - gap_ * (count - 1);
    int open = count;
    // Children whose minimum is above the even share get their minimum, those whose
    // maximum is below it their maximum, and the share of the rest is taken again, until
    // every child fits its share.
    for (bool settled = false; !settled && open > 0;) {
        settled = true;
        const int share = remaining / open;
        for (int i = 0; i < count; ++i) {
            if (heights[i] >= 0) continue;
            const int minimum = children[i]->getMinimumSize().cy;
            const int maximum = std::max(minimum, static_cast<int>(children[i]->getMaximumSize().cy));
            if (minimum <= share && share <= maximum) continue;
            heights[i] = minimum > share ? minimum : maximum;
            remaining -= heights[i];
            --open;
            settled = false;
        }
    }
    // The rest shares evenly; the first children take the pixels left over.
    const int share = open > 0 ? std::max(0, remaining) / open : 0;
    int extra = open > 0 ? std::max(0, remaining) % open : 0;
    int y = client.top;
    for (int i = 0; i < count; ++i) {
        if (heights[i] < 0) heights[i] = share + (extra-- > 0 ? 1 : 0);
        children[i]->setBounds(CRect(client.left, y, client.right, y + heights[i]));
        y += heights[i] + gap_;
    }
}

CSize KListPanel::stackSize(bool preferred) const {
    const std::vector<KComponent*> children = visibleChildren(*this);
    int width = 0, height = 0;
    for (const KComponent* child : children) {
        const CSize size = preferred ? child->getPreferredSize() : child->getMinimumSize();
        width = std::max(width, size.cx);
        height += size.cy;
    }
    if (!children.empty()) height += gap_ * static_cast<int>(children.size() - 1);
    const CRect insets = getInsets();
    return CSize(width + insets.left + insets.right, height + insets.top + insets.bottom);
}

CSize KListPanel::getMinimumSize() const {
    return stackSize(false);
}

CSize KListPanel::getPreferredSize() const {
    return stackSize(true);
}

void KListPanel::onCommand(KEvent& event) {
    KPanel::onCommand(event);
    if (event.isNamed("COL.LEFT") || event.isNamed("COL.RIGHT")) doLayout();
}

void KListPanel::componentAdded(KComponent*) {
    postAction("layout.change");
}

void KListPanel::componentRemoved(KComponent*) {
    postAction("layout.change");
}

void KListPanel::copy(const KObject& other) {
    KPanel::copy(other);
    if (const KListPanel* p = k_dynamic_cast<KListPanel>(const_cast<KObject*>(&other))) {
        gap_ = p->gap_;
    }
}

void KListPanel::Serialize(KArchive& ar) {
    KPanel::Serialize(ar);
    if (ar.isStoring()) {
        ar << STORED_VERSION << static_cast<std::int32_t>(gap_);
        return;
    }
    const std::int32_t version = ar.readVersion(STORED_VERSION, "list panel");
    if (version < 1) return;
    std::int32_t gap;
    ar >> gap;
    if (gap >= 0) gap_ = gap;
}
