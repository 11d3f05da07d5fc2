#include "controls/CListCtrlEx.h"

#include <algorithm>

namespace controls {

CListCtrlEx::CListCtrlEx(int id, std::string caption) : Control(id, std::move(caption)) {}

int CListCtrlEx::InsertColumn(int index, const std::string& heading, int format, int width) {
    {
        std::lock_guard lock(Mutex());
        index = std::clamp(index, 0, static_cast<int>(m_columns.size()));
        m_columns.insert(m_columns.begin() + index, Column{heading, format, width});
    }
    Changed();
    return index;
}

std::vector<CListCtrlEx::Column> CListCtrlEx::Columns() const {
    std::lock_guard lock(Mutex());
    return m_columns;
}

bool CListCtrlEx::DeleteColumn(int index) {
    {
        std::lock_guard lock(Mutex());
        if (index < 0 || index >= static_cast<int>(m_columns.size())) return false;
        m_columns.erase(m_columns.begin() + index);
    }
    Changed();
    return true;
}

void CListCtrlEx::SetFont(Font font) {
    {
        std::lock_guard lock(Mutex());
        m_font = std::move(font);
    }
    Changed();
}

CListCtrlEx::Font CListCtrlEx::GetFont() const {
    std::lock_guard lock(Mutex());
    return m_font;
}

int CListCtrlEx::GetColumnCount() const {
    std::lock_guard lock(Mutex());
    return static_cast<int>(m_columns.size());
}

int CListCtrlEx::GetItemCount() const {
    std::lock_guard lock(Mutex());
    return static_cast<int>(m_rows.size());
}

std::string CListCtrlEx::GetItemText(int row, int col) const {
    std::lock_guard lock(Mutex());
    if (row < 0 || row >= static_cast<int>(m_rows.size()) || col < 0)
        return {};
    const auto& cells = m_rows[row];
    return col < static_cast<int>(cells.size()) ? cells[col] : std::string();
}

int CListCtrlEx::InsertItem(int index, const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        int count = static_cast<int>(m_rows.size());
        if (index < 0 || index > count)
            index = count;
        m_rows.insert(m_rows.begin() + index, std::vector<std::string>{text});
        if (index < static_cast<int>(m_selected.size()))
            m_selected.insert(m_selected.begin() + index, false);
    }
    Changed();
    return index;
}

bool CListCtrlEx::SetItemText(int row, int col, const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        if (row < 0 || row >= static_cast<int>(m_rows.size()) || col < 0)
            return false;
        auto& cells = m_rows[row];
        if (col >= static_cast<int>(cells.size()))
            cells.resize(col + 1);
        cells[col] = text;
    }
    Changed();
    return true;
}

bool CListCtrlEx::DeleteItem(int row) {
    {
        std::lock_guard lock(Mutex());
        if (row < 0 || row >= static_cast<int>(m_rows.size()))
            return false;
        m_rows.erase(m_rows.begin() + row);
        if (row < static_cast<int>(m_selected.size())) {
            m_selectedCount -= m_selected[row] ? 1 : 0;
            m_selected.erase(m_selected.begin() + row);
        }
    }
    Changed();
    return true;
}

void CListCtrlEx::DeleteAllItems() {
    {
        std::lock_guard lock(Mutex());
        m_rows.clear();
    }
    TrimSelection(0);
    Changed();
}

void CListCtrlEx::SetSelectedLocked(int row, bool selected) {
    if (row >= static_cast<int>(m_selected.size())) {
        if (!selected)
            return;
        m_selected.resize(row + 1, false);
    }
    if (m_selected[row] != selected) {
        m_selected[row] = selected;
        m_selectedCount += selected ? 1 : -1;
    }
}

bool CListCtrlEx::SetItemState(int row, bool selected) {
    int count = GetItemCount();
    if (row < -1 || row >= count)
        return false;
    {
        std::lock_guard lock(Mutex());
        if (row == -1) {
            m_selected.assign(selected ? count : 0, selected);
            m_selectedCount = selected ? count : 0;
        } else {
            SetSelectedLocked(row, selected);
        }
    }
    Changed();
    return true;
}

bool CListCtrlEx::SetItemStateRange(int first, int last, bool selected) {
    if (first < 0 || last < first || last >= GetItemCount())
        return false;
    {
        std::lock_guard lock(Mutex());
        for (int row = first; row <= last; ++row)
            SetSelectedLocked(row, selected);
    }
    Changed();
    return true;
}

bool CListCtrlEx::IsSelected(int row) const {
    std::lock_guard lock(Mutex());
    return row >= 0 && row < static_cast<int>(m_selected.size()) && m_selected[row];
}

int CListCtrlEx::GetSelectedCount() const {
    std::lock_guard lock(Mutex());
    return m_selectedCount;
}

std::vector<int> CListCtrlEx::GetSelectedRows() const {
    std::lock_guard lock(Mutex());
    std::vector<int> rows;
    rows.reserve(m_selectedCount);
    for (size_t i = 0; i < m_selected.size(); ++i)
        if (m_selected[i])
            rows.push_back(static_cast<int>(i));
    return rows;
}

void CListCtrlEx::SelectAll() {
    SetItemState(-1, true);
}

void CListCtrlEx::ClearSelection() {
    {
        std::lock_guard lock(Mutex());
        m_selected.clear();
        m_selectedCount = 0;
    }
    Changed();
}

void CListCtrlEx::TrimSelection(int count) {
    {
        std::lock_guard lock(Mutex());
        if (count >= static_cast<int>(m_selected.size()))
            return;
        m_selectedCount -= static_cast<int>(std::count(m_selected.begin() + count, m_selected.end(), true));
        m_selected.resize(count);
    }
    Changed();
}

bool CListCtrlEx::CanSelectAll() const {
    int count = GetItemCount();
    return count > 0 && GetSelectedCount() < count;
}

bool CListCtrlEx::CanCopy() const {
    return GetSelectedCount() > 0;
}

std::string CListCtrlEx::CopyText() const {
    std::vector<int> rows = GetSelectedRows();
    int columns = GetColumnCount();
    std::string text;
    for (int row : rows) {
        text += GetItemText(row, 0);
        if (columns > 1) {
            text += '\t';
            for (int col = 1; col < columns; ++col) {
                text += GetItemText(row, col);
                text += '\t';
            }
        }
        text += "\r\n";
    }
    return text;
}

void CListCtrlEx::Copy() {
    if (GetSelectedCount() == 0)
        return;
    std::string text = CopyText();
    ClipboardSink sink;
    {
        std::lock_guard lock(Mutex());
        sink = m_clipboard;
    }
    if (sink)
        sink(text);
}

void CListCtrlEx::SetClipboardSink(ClipboardSink sink) {
    std::lock_guard lock(Mutex());
    m_clipboard = std::move(sink);
}

void CListCtrlEx::AddMenuCommand(int id, std::string text, std::function<void()> run) {
    std::lock_guard lock(Mutex());
    m_ownerCommands.push_back({id, std::move(text), std::move(run)});
}

std::vector<CListCtrlEx::MenuItem> CListCtrlEx::ContextMenuItems() const {
    std::vector<MenuItem> items{{ID_SELECT_ALL, "Select all", CanSelectAll()}, {ID_COPY, "Copy", CanCopy()}};
    std::lock_guard lock(Mutex());
    for (const OwnerCommand& command : m_ownerCommands) items.push_back({command.id, command.text, true});
    return items;
}

bool CListCtrlEx::OnCommand(int id) {
    if (id == ID_SELECT_ALL) {
        SelectAll();
        return true;
    }
    if (id == ID_COPY) {
        Copy();
        return true;
    }
    std::function<void()> run;
    {
        std::lock_guard lock(Mutex());
        for (const OwnerCommand& command : m_ownerCommands)
            if (command.id == id) run = command.run;
    }
    if (!run)
        return false;
    run();  // unlocked: the command may open boxes and read the list
    return true;
}

bool CListCtrlEx::OnChar(int ch) {
    if (ch == 1)
        return OnCommand(ID_SELECT_ALL);
    if (ch == 3)
        return OnCommand(ID_COPY);
    return false;
}

}  // namespace controls
