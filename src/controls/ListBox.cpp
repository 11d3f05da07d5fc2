#include "controls/ListBox.h"

#include <algorithm>

#include "controls/TextCompare.h"

namespace controls {

ListBox::ListBox(int id, std::string caption, bool sorted) : Control(id, std::move(caption)), m_sorted(sorted) {}

int ListBox::GetCount() const {
    std::lock_guard lock(Mutex());
    return static_cast<int>(m_lines.size());
}

int ListBox::Insert(int index, const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        m_lines.insert(m_lines.begin() + index, Line{text, 0});
        if (m_curSel >= index)
            ++m_curSel;
    }
    Changed();
    return index;
}

int ListBox::AddString(const std::string& text) {
    std::unique_lock lock(Mutex());
    int index = static_cast<int>(m_lines.size());
    if (m_sorted) {
        auto it = std::lower_bound(m_lines.begin(), m_lines.end(), text,
            [](const Line& line, const std::string& t) { return CompareNoCase(line.text, t) < 0; });
        index = static_cast<int>(it - m_lines.begin());
    }
    lock.unlock();
    return Insert(index, text);
}

int ListBox::InsertString(int index, const std::string& text) {
    int count = GetCount();
    if (index == -1)
        index = count;
    if (index < 0 || index > count)
        return LB_ERR;
    return Insert(index, text);
}

int ListBox::DeleteString(int index) {
    int remaining;
    {
        std::lock_guard lock(Mutex());
        if (!ValidIndex(index))
            return LB_ERR;
        m_lines.erase(m_lines.begin() + index);
        if (m_curSel == index)
            m_curSel = LB_ERR;
        else if (m_curSel > index)
            --m_curSel;
        remaining = static_cast<int>(m_lines.size());
    }
    Changed();
    return remaining;
}

void ListBox::ResetContent() {
    {
        std::lock_guard lock(Mutex());
        m_lines.clear();
        m_curSel = LB_ERR;
    }
    Changed();
}

int ListBox::GetCurSel() const {
    std::lock_guard lock(Mutex());
    return m_curSel;
}

int ListBox::SetCurSel(int index) {
    int result;
    {
        std::lock_guard lock(Mutex());
        m_curSel = ValidIndex(index) ? index : LB_ERR;
        result = m_curSel;
    }
    Changed();
    return result;
}

std::string ListBox::GetText(int index) const {
    std::lock_guard lock(Mutex());
    return ValidIndex(index) ? m_lines[index].text : std::string();
}

int ListBox::Find(int start, const std::string& text, bool exact) const {
    std::lock_guard lock(Mutex());
    int count = static_cast<int>(m_lines.size());
    if (start < -1 || start >= count)
        start = -1;
    for (int step = 1; step <= count; ++step) {
        int i = (start + step) % count;
        if (exact ? CompareNoCase(m_lines[i].text, text) == 0 : StartsWithNoCase(m_lines[i].text, text))
            return i;
    }
    return LB_ERR;
}

int ListBox::FindString(int start, const std::string& prefix) const {
    return Find(start, prefix, false);
}

int ListBox::FindStringExact(int start, const std::string& text) const {
    return Find(start, text, true);
}

int ListBox::SetItemData(int index, uintptr_t data) {
    std::lock_guard lock(Mutex());
    if (!ValidIndex(index))
        return LB_ERR;
    m_lines[index].data = data;
    return 1;
}

uintptr_t ListBox::GetItemData(int index) const {
    std::lock_guard lock(Mutex());
    return ValidIndex(index) ? m_lines[index].data : 0;
}

void ListBox::UserSelect(int index) {
    if (!IsVisible() || !IsWindowEnabled() || index < 0 || index >= GetCount())
        return;
    SetCurSel(index);
    Notify(Notification::SelChange);
}

void ListBox::UserDoubleClick(int index) {
    if (!IsVisible() || !IsWindowEnabled() || index < 0 || index >= GetCount())
        return;
    UserSelect(index);
    Notify(Notification::DoubleClick);
}

std::vector<std::string> ListBox::Strings() const {
    std::lock_guard lock(Mutex());
    std::vector<std::string> strings;
    strings.reserve(m_lines.size());
    for (const Line& line : m_lines)
        strings.push_back(line.text);
    return strings;
}

}  // namespace controls
