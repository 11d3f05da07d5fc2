#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "controls/Control.h"

namespace controls {

// A single-selection list of strings.
class ListBox : public Control {
public:
    static constexpr int LB_ERR = -1;

    ListBox(int id, std::string caption = {}, bool sorted = false);

    int GetCount() const;
    int AddString(const std::string& text);  // sorted style inserts in order (case-insensitive)
    int InsertString(int index, const std::string& text);  // -1 appends; LB_ERR beyond the end
    int DeleteString(int index);  // the remaining count, LB_ERR for a bad index
    void ResetContent();

    int GetCurSel() const;
    int SetCurSel(int index);  // by program: no notification; -1 clears; LB_ERR for a bad index
    std::string GetText(int index) const;  // "" for a bad index
    int FindString(int start, const std::string& prefix) const;
    int FindStringExact(int start, const std::string& text) const;

    int SetItemData(int index, uintptr_t data);
    uintptr_t GetItemData(int index) const;  // 0 for a bad index

    // As a user would: select a line (SelChange), double-click it (SelChange, then DoubleClick).
    void UserSelect(int index);
    void UserDoubleClick(int index);

    std::vector<std::string> Strings() const;  // snapshot for views

private:
    struct Line {
        std::string text;
        uintptr_t data = 0;
    };
    bool ValidIndex(int index) const { return index >= 0 && index < static_cast<int>(m_lines.size()); }
    int Find(int start, const std::string& text, bool exact) const;
    int Insert(int index, const std::string& text);

    const bool m_sorted;
    std::vector<Line> m_lines;
    int m_curSel = LB_ERR;
};

}  // namespace controls
