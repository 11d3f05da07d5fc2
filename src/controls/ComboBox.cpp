#include "controls/ComboBox.h"

#include <algorithm>

#include "controls/TextCompare.h"

namespace controls {

ComboBox::ComboBox(int id, std::string caption, bool sorted, bool hasEdit)
    : Control(id, std::move(caption)), m_sorted(sorted), m_hasEdit(hasEdit) {}

int ComboBox::GetCount() const {
    std::lock_guard lock(Mutex());
    return static_cast<int>(m_items.size());
}

int ComboBox::AddString(const std::string& text) {
    int index;
    {
        std::lock_guard lock(Mutex());
        index = static_cast<int>(m_items.size());
        if (m_sorted) {
            // Before the first item that is not smaller, as the toolkit's binary search lands.
            auto it = std::lower_bound(m_items.begin(), m_items.end(), text,
                [](const Item& item, const std::string& t) { return CompareNoCase(item.text, t) < 0; });
            index = static_cast<int>(it - m_items.begin());
        }
        m_items.insert(m_items.begin() + index, Item{text, 0, {}});
        if (m_curSel >= index)
            ++m_curSel;
        ++m_contentVersion;
    }
    Changed();
    return index;
}

int ComboBox::InsertString(int index, const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        int count = static_cast<int>(m_items.size());
        if (index == -1)
            index = count;
        if (index < 0 || index > count)
            return CB_ERR;
        m_items.insert(m_items.begin() + index, Item{text, 0, {}});
        if (m_curSel >= index)
            ++m_curSel;
        ++m_contentVersion;
    }
    Changed();
    return index;
}

int ComboBox::DeleteString(int index) {
    int remaining;
    {
        std::lock_guard lock(Mutex());
        if (!ValidIndex(index))
            return CB_ERR;
        m_items.erase(m_items.begin() + index);
        if (m_curSel == index)
            m_curSel = CB_ERR;
        else if (m_curSel > index)
            --m_curSel;
        ++m_contentVersion;
        remaining = static_cast<int>(m_items.size());
    }
    Changed();
    return remaining;
}

void ComboBox::ResetContent() {
    {
        std::lock_guard lock(Mutex());
        m_items.clear();
        m_curSel = CB_ERR;
        m_editText.clear();
        ++m_contentVersion;
    }
    Changed();
}

int ComboBox::GetCurSel() const {
    std::lock_guard lock(Mutex());
    return m_curSel;
}

void ComboBox::SelectLocked(int index) {
    m_curSel = ValidIndex(index) ? index : CB_ERR;
    if (m_hasEdit)
        m_editText = m_curSel == CB_ERR ? std::string() : m_items[m_curSel].text;
}

int ComboBox::SetCurSel(int index) {
    int result;
    {
        std::lock_guard lock(Mutex());
        SelectLocked(index);
        result = m_curSel;
    }
    Changed();
    return result;
}

std::string ComboBox::GetLBText(int index) const {
    std::lock_guard lock(Mutex());
    return ValidIndex(index) ? m_items[index].text : std::string();
}

int ComboBox::Find(int start, const std::string& text, bool exact) const {
    std::lock_guard lock(Mutex());
    int count = static_cast<int>(m_items.size());
    if (start < -1 || start >= count)
        start = -1;
    for (int step = 1; step <= count; ++step) {
        int i = (start + step) % count;
        const std::string& item = m_items[i].text;
        if (exact ? CompareNoCase(item, text) == 0 : StartsWithNoCase(item, text))
            return i;
    }
    return CB_ERR;
}

int ComboBox::FindString(int start, const std::string& prefix) const {
    return Find(start, prefix, false);
}

int ComboBox::FindStringExact(int start, const std::string& text) const {
    return Find(start, text, true);
}

int ComboBox::SelectString(int start, const std::string& prefix) {
    int index = FindString(start, prefix);
    if (index == CB_ERR)
        return CB_ERR;  // the selection stays as it was
    return SetCurSel(index);
}

int ComboBox::SetItemData(int index, uintptr_t data) {
    {
        std::lock_guard lock(Mutex());
        if (!ValidIndex(index))
            return CB_ERR;
        m_items[index].data = data;
        ++m_contentVersion;
    }
    Changed();
    return 1;  // the toolkit answers TRUE
}

uintptr_t ComboBox::GetItemData(int index) const {
    std::lock_guard lock(Mutex());
    return ValidIndex(index) ? m_items[index].data : 0;
}

void ComboBox::SetItemAttachment(int index, std::any value) {
    std::lock_guard lock(Mutex());
    if (ValidIndex(index))
        m_items[index].attachment = std::move(value);
}

std::any ComboBox::GetItemAttachment(int index) const {
    std::lock_guard lock(Mutex());
    return ValidIndex(index) ? m_items[index].attachment : std::any();
}

std::string ComboBox::GetWindowText() const {
    std::lock_guard lock(Mutex());
    if (m_hasEdit)
        return m_editText;
    return ValidIndex(m_curSel) ? m_items[m_curSel].text : std::string();
}

void ComboBox::SetWindowText(const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        if (m_hasEdit) {
            m_editText = text;
        } else {
            // Without an edit field the text can only be shown by selecting an item that has it.
            int index = CB_ERR;
            for (int i = 0; i < static_cast<int>(m_items.size()) && index == CB_ERR; ++i)
                if (CompareNoCase(m_items[i].text, text) == 0)
                    index = i;
            if (index == CB_ERR)
                return;
            SelectLocked(index);
        }
    }
    Changed();
}

void ComboBox::UserSelect(int index) {
    if (!IsVisible() || !IsWindowEnabled())
        return;
    {
        std::lock_guard lock(Mutex());
        if (!ValidIndex(index))
            return;
        SelectLocked(index);
    }
    Changed();
    Notify(Notification::SelChange);
}

void ComboBox::UserType(const std::string& text) {
    if (!IsVisible() || !IsWindowEnabled())
        return;
    if (!m_hasEdit) {
        // Typing into a drop list jumps to the first item with that prefix.
        int index = FindString(-1, text);
        if (index != CB_ERR)
            UserSelect(index);
        return;
    }
    {
        std::lock_guard lock(Mutex());
        m_editText = text;
    }
    Changed();
    Notify(Notification::EditChange);
}

void ComboBox::UserFocus() {
    if (IsVisible() && IsWindowEnabled())
        Notify(Notification::SetFocus);
}

void ComboBox::UserCloseUp() {
    if (IsVisible() && IsWindowEnabled())
        Notify(Notification::CloseUp);
}

std::vector<ComboBox::Item> ComboBox::Items() const {
    std::lock_guard lock(Mutex());
    return m_items;
}

}  // namespace controls
