#pragma once

#include <functional>
#include <string>
#include <vector>

#include "controls/Control.h"

namespace controls {

// A report list with a popup for select-all and copy. A plain list keeps its rows itself; a
// virtual list (PrintListCtrl) overrides the three item accessors.
class CListCtrlEx : public Control {
public:
    static constexpr int ID_SELECT_ALL = 272;
    static constexpr int ID_COPY = 273;
    static constexpr int LVCFMT_LEFT = 0;
    static constexpr int LVCFMT_RIGHT = 1;
    static constexpr int LVCFMT_CENTER = 2;

    using ClipboardSink = std::function<void(const std::string&)>;

    struct Column {
        std::string heading;
        int format = LVCFMT_LEFT;
        int width = 0;
    };
    struct MenuItem {
        int id;
        std::string text;
        bool enabled;
    };

    explicit CListCtrlEx(int id = 0, std::string caption = {});

    // Header columns; index beyond the end appends. Returns the new column's index.
    int InsertColumn(int index, const std::string& heading, int format = LVCFMT_LEFT, int width = 100);
    std::vector<Column> Columns() const;
    virtual int GetColumnCount() const;
    // False when there is no column at `index`.
    bool DeleteColumn(int index);
    // The fixed-pitch face the view draws the rows in, and its size in tenths of a point.
    struct Font {
        std::string face;
        int tenthsOfPoint = 0;
    };
    void SetFont(Font font);
    Font GetFont() const;

    virtual int GetItemCount() const;
    virtual std::string GetItemText(int row, int col) const;  // "" out of range

    // Rows of a plain list.
    int InsertItem(int index, const std::string& text);  // -1 or beyond the end appends
    bool SetItemText(int row, int col, const std::string& text);
    bool DeleteItem(int row);
    void DeleteAllItems();

    // Selection; row -1 means every row, as the toolkit has it.
    bool SetItemState(int row, bool selected);
    // Rows first..last at once, with one change report; false when the range is out of bounds.
    bool SetItemStateRange(int first, int last, bool selected);
    bool IsSelected(int row) const;
    int GetSelectedCount() const;
    std::vector<int> GetSelectedRows() const;
    void SelectAll();
    void ClearSelection();

    bool CanSelectAll() const;
    bool CanCopy() const;
    // Selected rows: column 0, then with more than one header column a tab and every further
    // column followed by a tab; each line ends "\r\n". Empty with nothing selected.
    std::string CopyText() const;
    // Hands CopyText to the clipboard sink; with nothing selected the clipboard is left alone.
    void Copy();
    void SetClipboardSink(ClipboardSink sink);

    // The owner's own commands, after select-all and copy; run on the UI thread.
    void AddMenuCommand(int id, std::string text, std::function<void()> run);
    std::vector<MenuItem> ContextMenuItems() const;
    bool OnCommand(int id);  // true for 272, 273 and the owner's commands
    bool OnChar(int ch);     // Ctrl+A (1) and Ctrl+C (3); false: default handling

protected:
    // Drops the selection of rows at or beyond `count` (the list got shorter).
    void TrimSelection(int count);

private:
    void SetSelectedLocked(int row, bool selected);

    std::vector<Column> m_columns;
    Font m_font;
    std::vector<std::vector<std::string>> m_rows;
    std::vector<bool> m_selected;
    int m_selectedCount = 0;
    ClipboardSink m_clipboard;
    struct OwnerCommand {
        int id;
        std::string text;
        std::function<void()> run;
    };
    std::vector<OwnerCommand> m_ownerCommands;
};

}  // namespace controls

// The class keeps its own name outside the namespace as well.
using controls::CListCtrlEx;
