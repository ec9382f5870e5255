#include <kalvo/platform/CTreeCtrl.h>

HTREEITEM CTreeCtrl::InsertItem(const char* text, HTREEITEM parent) {
    if (parent != TVI_ROOT && !valid(parent)) return -1;
    items_.push_back({text != nullptr ? text : "", 0, parent});
    return GetCount() - 1;
}

bool CTreeCtrl::SetItemData(HTREEITEM item, std::uintptr_t data) {
    if (!valid(item)) return false;
    items_[static_cast<size_t>(item)].data = data;
    return true;
}

std::uintptr_t CTreeCtrl::GetItemData(HTREEITEM item) const {
    return valid(item) ? items_[static_cast<size_t>(item)].data : 0;
}

std::string CTreeCtrl::GetItemText(HTREEITEM item) const {
    return valid(item) ? items_[static_cast<size_t>(item)].text : std::string();
}

HTREEITEM CTreeCtrl::GetParentItem(HTREEITEM item) const {
    if (!valid(item)) return -1;
    const HTREEITEM parent = items_[static_cast<size_t>(item)].parent;
    return parent == TVI_ROOT ? -1 : parent;
}

// Items are kept in insertion order, so children follow their parent in the list.
HTREEITEM CTreeCtrl::GetChildItem(HTREEITEM item) const {
    if (item != TVI_ROOT && !valid(item)) return -1;
    for (HTREEITEM i = item + 1; i < GetCount(); ++i) {
        if (items_[static_cast<size_t>(i)].parent == item) return i;
    }
    return -1;
}

HTREEITEM CTreeCtrl::GetNextSiblingItem(HTREEITEM item) const {
    if (!valid(item)) return -1;
    const HTREEITEM parent = items_[static_cast<size_t>(item)].parent;
    for (HTREEITEM i = item + 1; i < GetCount(); ++i) {
        if (items_[static_cast<size_t>(i)].parent == parent) return i;
    }
    return -1;
}
