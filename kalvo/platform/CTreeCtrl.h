#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A tree item's handle; TVI_ROOT stands for the invisible root above the top items.
using HTREEITEM = int;
constexpr HTREEITEM TVI_ROOT = -1;

// The model of a tree view: items with a text and a value, under a parent, in insertion
// order. Hosts show it; the library fills it (a component tree, for instance).
class CTreeCtrl {
public:
    // The new item's handle, or -1 (and nothing inserted) under an unknown parent.
    HTREEITEM InsertItem(const char* text, HTREEITEM parent = TVI_ROOT);
    void DeleteAllItems() { items_.clear(); }
    int GetCount() const { return static_cast<int>(items_.size()); }

    bool SetItemData(HTREEITEM item, std::uintptr_t data);
    std::uintptr_t GetItemData(HTREEITEM item) const;
    // Empty for an unknown item.
    std::string GetItemText(HTREEITEM item) const;
    // -1 when there is none.
    HTREEITEM GetParentItem(HTREEITEM item) const;
    HTREEITEM GetChildItem(HTREEITEM item) const;
    HTREEITEM GetNextSiblingItem(HTREEITEM item) const;
    HTREEITEM GetRootItem() const { return GetChildItem(TVI_ROOT); }

private:
    struct Item {
        std::string text;
        std::uintptr_t data;
        HTREEITEM parent;
    };
    bool valid(HTREEITEM item) const { return item >= 0 && item < GetCount(); }
    std::vector<Item> items_;
};
