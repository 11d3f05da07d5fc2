#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "controls/Control.h"

namespace controls {

// A tree of text items, each with an integer of item data, with one selection and an in-place
// edit of an item's text. Items are named by handles that stay valid until the item goes; 0 is
// no item. Changes by program notify no handler, as the toolkit's tree does; what a user does
// (select, edit in place, right-click) does.
class TreeCtrl : public Control {
public:
    using Handle = uintptr_t;
    static constexpr Handle kRoot = ~Handle(0);  // the invisible parent of the top-level items
    static constexpr Handle kLast = ~Handle(0) - 1;

    using Control::Control;

    Handle InsertItem(const std::string& text, Handle parent = kRoot, Handle after = kLast);
    // The item with all its children; kRoot empties the tree.
    bool DeleteItem(Handle item);
    void DeleteAllItems() { DeleteItem(kRoot); }

    std::string GetItemText(Handle item) const;
    bool SetItemText(Handle item, const std::string& text);
    uintptr_t GetItemData(Handle item) const;
    bool SetItemData(Handle item, uintptr_t data);

    // The first top-level item; the children of an item in order; 0 when there is none.
    Handle GetRootItem() const { return GetChildItem(kRoot); }
    Handle GetChildItem(Handle item) const;
    Handle GetNextSiblingItem(Handle item) const;
    // kRoot for a top-level item, 0 for an unknown one.
    Handle GetParentItem(Handle item) const;
    bool ItemHasChildren(Handle item) const { return GetChildItem(item) != 0; }
    std::vector<Handle> Children(Handle item) const;

    bool Expand(Handle item);
    bool IsExpanded(Handle item) const;
    Handle GetSelectedItem() const;
    bool SelectItem(Handle item);  // by program: no notification

    // The in-place edit, while an item is being edited.
    Handle GetEditItem() const;
    std::string GetEditText() const;
    void SetEditText(const std::string& text);
    // The item under the mouse at the last right-click, 0 when the click hit no item.
    Handle GetHitItem() const;

    // As a user would. UserSelect notifies SelChange; an in-place edit notifies BeginLabelEdit
    // when it opens (with the item's text in the edit) and EndLabelEdit when it is committed;
    // a right-click selects the item under the mouse and notifies ContextMenu.
    void UserSelect(Handle item);
    bool UserBeginEdit(Handle item);
    void UserEndEdit(const std::string& text);
    void UserRightClick(Handle item);

    // The items in display order, for views and scripts.
    struct Node {
        Handle handle = 0;
        int level = 0;
        std::string text;
        bool expanded = false;
    };
    std::vector<Node> Snapshot() const;
    // The item at a path of texts from the top ("URID-Table / URID=1"); 0 when none matches.
    Handle FindPath(const std::vector<std::string>& texts) const;

private:
    struct Item {
        std::string text;
        uintptr_t data = 0;
        Handle parent = kRoot;
        std::vector<Handle> children;
        bool expanded = false;
    };
    bool Known(Handle item) const { return item == kRoot || m_items.count(item) != 0; }
    const std::vector<Handle>& ChildrenOf(Handle item) const;
    void Erase(Handle item);
    void AddNodes(Handle parent, int level, std::vector<Node>& out) const;

    std::map<Handle, Item> m_items;
    std::vector<Handle> m_top;
    Handle m_next = 1;
    Handle m_selected = 0;
    Handle m_editItem = 0;
    Handle m_hitItem = 0;
    std::string m_editText;
};

}  // namespace controls
