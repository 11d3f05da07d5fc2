#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "controls/CListCtrlEx.h"

namespace {

void Fill(CListCtrlEx& list, int columns, int rows) {
    for (int c = 0; c < columns; ++c)
        list.InsertColumn(c, "col" + std::to_string(c));
    for (int r = 0; r < rows; ++r) {
        list.InsertItem(r, "r" + std::to_string(r));
        for (int c = 1; c < columns; ++c)
            list.SetItemText(r, c, "r" + std::to_string(r) + "c" + std::to_string(c));
    }
}

TEST(CListCtrlEx, MenuStateFollowsItemsAndSelection) {
    const struct {
        int rows;
        std::vector<int> selected;
        bool canSelectAll, canCopy;
    } cases[] = {
        {0, {}, false, false}, {2, {}, true, false}, {2, {1}, true, true}, {2, {0, 1}, false, true},
    };
    for (const auto& c : cases) {
        CListCtrlEx list(1);
        Fill(list, 1, c.rows);
        for (int row : c.selected)
            list.SetItemState(row, true);
        auto menu = list.ContextMenuItems();
        ASSERT_EQ(menu.size(), 2u);
        EXPECT_EQ(menu[0].id, 272);
        EXPECT_EQ(menu[1].id, 273);
        EXPECT_EQ(menu[0].enabled, c.canSelectAll) << c.rows << " rows, " << c.selected.size() << " selected";
        EXPECT_EQ(menu[1].enabled, c.canCopy) << c.rows << " rows, " << c.selected.size() << " selected";
    }
}

TEST(CListCtrlEx, CopyTextFormat) {
    const struct {
        int columns;
        std::vector<int> selected;
        const char* text;
    } cases[] = {
        {1, {}, ""},
        {1, {0}, "r0\r\n"},
        {1, {2, 0}, "r0\r\nr2\r\n"},
        {2, {1}, "r1\tr1c1\t\r\n"},
        {3, {0, 1}, "r0\tr0c1\tr0c2\t\r\nr1\tr1c1\tr1c2\t\r\n"},
    };
    for (const auto& c : cases) {
        CListCtrlEx list(1);
        Fill(list, c.columns, 3);
        for (int row : c.selected)
            list.SetItemState(row, true);
        EXPECT_EQ(list.CopyText(), c.text) << c.columns << " columns";
    }
}

TEST(CListCtrlEx, KeysSelectAllAndCopyToTheClipboard) {
    CListCtrlEx list(1);
    Fill(list, 1, 3);
    std::optional<std::string> clipboard;
    list.SetClipboardSink([&](const std::string& text) { clipboard = text; });

    EXPECT_TRUE(list.OnChar(3));  // nothing selected: the clipboard stays as it was
    EXPECT_FALSE(clipboard.has_value());
    EXPECT_FALSE(list.OnChar('a'));

    EXPECT_TRUE(list.OnChar(1));
    EXPECT_EQ(list.GetSelectedCount(), 3);
    EXPECT_FALSE(list.CanSelectAll());
    EXPECT_TRUE(list.OnChar(3));
    EXPECT_EQ(clipboard, "r0\r\nr1\r\nr2\r\n");

    list.ClearSelection();
    EXPECT_TRUE(list.OnCommand(CListCtrlEx::ID_SELECT_ALL));
    EXPECT_EQ(list.GetSelectedRows(), (std::vector<int>{0, 1, 2}));
    EXPECT_FALSE(list.OnCommand(274));
}

TEST(CListCtrlEx, SelectionStaysOnItsRows) {
    CListCtrlEx list(1);
    Fill(list, 1, 3);
    EXPECT_FALSE(list.SetItemState(3, true));
    list.SetItemState(1, true);
    list.InsertItem(0, "new");
    EXPECT_TRUE(list.IsSelected(2));
    list.DeleteItem(2);
    EXPECT_EQ(list.GetSelectedCount(), 0);
    EXPECT_TRUE(list.SetItemStateRange(0, 2, true));
    EXPECT_FALSE(list.SetItemStateRange(2, 3, false));  // three rows left
    EXPECT_EQ(list.GetSelectedRows(), (std::vector<int>{0, 1, 2}));
    EXPECT_TRUE(list.SetItemStateRange(0, 1, false));
    EXPECT_EQ(list.GetSelectedRows(), std::vector<int>{2});
    list.SelectAll();
    list.DeleteAllItems();
    EXPECT_EQ(list.GetSelectedCount(), 0);
    EXPECT_FALSE(list.CanCopy());
}

}  // namespace
