#pragma once

#include <any>
#include <cstdint>

#include "controls/Control.h"

namespace controls {

// A combo box with an edit field (drop-down style) or without (drop-list style).
// Selecting by program never fires the selection handler; the dialogs call handlers explicitly.
class ComboBox : public Control {
public:
    static constexpr int CB_ERR = -1;

    ComboBox(int id, std::string caption, bool sorted = false, bool hasEdit = true);

    int GetCount() const;
    int AddString(const std::string& text);  // sorted style inserts in order (case-insensitive)
    int InsertString(int index, const std::string& text);  // -1 appends
    int DeleteString(int index);  // returns the remaining count, CB_ERR for a bad index
    void ResetContent();          // removes all items, clears selection and edit text

    int GetCurSel() const;
    int SetCurSel(int index);  // -1 clears; returns CB_ERR for a bad index (selection cleared)
    std::string GetLBText(int index) const;  // empty for a bad index

    // Search from the item after `start` (-1: from the top), wrapping, without case.
    int FindString(int start, const std::string& prefix) const;
    int FindStringExact(int start, const std::string& text) const;
    int SelectString(int start, const std::string& prefix);

    // Integer item data and typed attachments.
    int SetItemData(int index, uintptr_t data);
    uintptr_t GetItemData(int index) const;  // 0 for a bad index
    void SetItemAttachment(int index, std::any value);
    std::any GetItemAttachment(int index) const;

    // The edit field. For a drop-list combo it is the selected item's text.
    std::string GetWindowText() const;
    void SetWindowText(const std::string& text);  // by program: no notification

    // As a user would: choose an item (SelChange) or type into the edit field (EditChange).
    void UserSelect(int index);
    void UserType(const std::string& text);
    // The user put the focus in the box, or its drop-down list closed.
    void UserFocus();
    void UserCloseUp();

    bool IsSorted() const { return m_sorted; }
    bool HasEdit() const { return m_hasEdit; }

    struct Item {
        std::string text;
        uintptr_t data = 0;
        std::any attachment;
    };
    std::vector<Item> Items() const;  // snapshot for views

protected:
    const bool m_sorted;
    const bool m_hasEdit;
    std::vector<Item> m_items;
    int m_curSel = CB_ERR;
    std::string m_editText;
    // Bumped by every change of the items, so derived views of them know when to rebuild.
    uint64_t m_contentVersion = 0;

private:
    bool ValidIndex(int index) const { return index >= 0 && index < static_cast<int>(m_items.size()); }
    int Find(int start, const std::string& text, bool exact) const;
    void SelectLocked(int index);
};

}  // namespace controls
