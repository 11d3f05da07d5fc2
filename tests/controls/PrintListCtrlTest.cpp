#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "controls/PrintListCtrl.h"

namespace {

struct Write {
    int col;
    const char* text;
};

struct AppendCase {
    const char* name;
    std::vector<Write> writes;
    std::vector<std::string> rows;
};

TEST(PrintListCtrl, AppendsSplitRowsAtLineBreaks) {
    const AppendCase cases[] = {
        {"nothing written", {}, {""}},
        {"one line", {{0, "a\n"}}, {"a", ""}},
        {"text behind the break", {{0, "a\nb"}}, {"a", "b"}},
        {"appends to the same cell", {{0, "a"}, {0, "b\n"}}, {"ab", ""}},
        {"other column", {{1, "x"}}, {"\tx"}},
        {"break continues in the same column", {{0, "a"}, {2, "c\nd"}}, {"a\t\tc", "\t\td"}},
        {"empty lines", {{0, "\n\n"}}, {"", "", ""}},
        {"column 6 is lost", {{6, "lost\n"}}, {""}},
        {"negative column is lost", {{-1, "lost\n"}}, {""}},
        {"null text", {{0, nullptr}}, {""}},
        {"last column", {{5, "f"}}, {"\t\t\t\t\tf"}},
    };
    for (const auto& c : cases) {
        PrintListCtrl list;
        for (const auto& w : c.writes)
            list.PrintText(w.col, w.text);
        EXPECT_EQ(list.Rows(), c.rows) << c.name;
        EXPECT_EQ(list.RowCount(), c.rows.size()) << c.name;
    }
}

TEST(PrintListCtrl, WriteToLostColumnStillMarksDirty) {
    PrintListCtrl list;
    list.Flush();
    list.Print(6, "%s", "x\n");
    EXPECT_TRUE(list.Flush().changed);
    EXPECT_EQ(list.GetItemCount(), 1);
}

TEST(PrintListCtrl, FormattedWriteIsCutAt1024) {
    PrintListCtrl list;
    std::string longText(2000, 'a');
    list.Print(0, "%s\n", longText.c_str());  // the break lies beyond the cut
    EXPECT_EQ(list.RowCount(), 1u);
    EXPECT_EQ(list.GetItemText(0, 0), std::string(1024, 'a'));

    PrintListCtrl plain;
    plain.PrintText(0, longText.c_str());
    EXPECT_EQ(plain.Rows()[0].size(), 1024u);

    PrintListCtrl exact;
    exact.Print(0, "%s%s", std::string(1023, 'b').c_str(), "\n");
    EXPECT_EQ(exact.RowCount(), 2u);
}

TEST(PrintListCtrl, FormatsArguments) {
    PrintListCtrl list;
    list.Print(0, "Return of PDUConnect:\n%s\n", "PDU_STATUS_NOERROR");
    list.Print(0, "%u-%04X", 7u, 0xabu);
    EXPECT_EQ(list.Rows(), (std::vector<std::string>{"Return of PDUConnect:", "PDU_STATUS_NOERROR", "7-00AB"}));
}

TEST(PrintListCtrl, RowShowsOnlyAfterFlush) {
    PrintListCtrl list;
    EXPECT_EQ(list.GetItemCount(), 0);
    list.Print(0, "one\ntwo\n");
    EXPECT_EQ(list.GetItemCount(), 0);
    auto result = list.Flush();
    EXPECT_TRUE(result.changed);
    EXPECT_EQ(result.rowCount, 3u);
    EXPECT_EQ(list.GetItemCount(), 3);
    EXPECT_EQ(list.GetItemText(1, 0), "two");

    list.Print(0, "three\n");
    EXPECT_EQ(list.GetItemCount(), 3);
    EXPECT_TRUE(list.Flush().changed);
    EXPECT_EQ(list.GetItemCount(), 4);
    auto idle = list.Flush();
    EXPECT_FALSE(idle.changed);
    EXPECT_EQ(idle.rowCount, 4u);
}

TEST(PrintListCtrl, FlushRedrawsTheLastScreen) {
    const struct {
        int lines;
        uint32_t rowCount;
        uint32_t firstRedraw;
    } cases[] = {{0, 1, 0}, {35, 36, 0}, {36, 37, 1}, {100, 101, 65}, {25000, 20000, 19964}};
    for (const auto& c : cases) {
        PrintListCtrl list;
        for (int i = 0; i < c.lines; ++i)
            list.PrintText(0, "x\n");
        list.PrintText(0, "");
        auto result = list.Flush();
        EXPECT_EQ(result.rowCount, c.rowCount) << c.lines;
        EXPECT_EQ(result.firstRedrawRow, c.firstRedraw) << c.lines;
    }
}

TEST(PrintListCtrl, FullRingDropsTheOldestRow) {
    PrintListCtrl list;
    for (int i = 0; i < 19999; ++i)
        list.Print(0, "line %d\n", i);
    auto full = list.Flush();
    EXPECT_EQ(full.rowCount, 20000u);
    EXPECT_FALSE(full.shifted);
    EXPECT_EQ(list.GetItemText(0, 0), "line 0");

    list.Print(0, "line %d\n", 19999);  // row 20001
    auto shifted = list.Flush();
    EXPECT_TRUE(shifted.shifted);
    EXPECT_EQ(shifted.rowCount, 20000u);
    EXPECT_EQ(list.GetItemCount(), 20000);
    EXPECT_EQ(list.GetItemText(0, 0), "line 1");
    EXPECT_EQ(list.GetItemText(19998, 0), "line 19999");
    EXPECT_EQ(list.GetItemText(19999, 0), "");
    EXPECT_EQ(list.GetItemText(20000, 0), "");

    for (int i = 20000; i < 50000; ++i)
        list.Print(0, "line %d\n", i);
    list.Flush();
    EXPECT_EQ(list.GetItemText(0, 0), "line 30001");
    EXPECT_EQ(list.Rows().size(), 20000u);
}

TEST(PrintListCtrl, ClearLeavesOneEmptyRowAtOnce) {
    PrintListCtrl list;
    list.SetRowColour(0x0000ff);
    list.Print(0, "a\nb\nc");
    list.Print(3, "d");
    list.Flush();
    list.SelectAll();
    list.Clear();
    EXPECT_EQ(list.GetItemCount(), 1);
    EXPECT_EQ(list.Rows(), std::vector<std::string>{""});
    EXPECT_EQ(list.GetItemText(0, 3), "");
    EXPECT_EQ(list.GetSelectedCount(), 1);
    list.Print(0, "e");
    EXPECT_EQ(list.GetRowColour(0), PrintListCtrl::WHITE);  // the current colour went back to white
    auto result = list.Flush();
    EXPECT_TRUE(result.cleared);
    EXPECT_EQ(list.GetItemText(0, 0), "e");
}

TEST(PrintListCtrl, RowTakesTheColourOfTheWriteThatLeavesItCurrent) {
    PrintListCtrl list;
    list.SetRowColour(0x0000ff);
    list.Print(0, "a");
    list.SetRowColour(0x00ff00);
    list.Print(0, "b\n");  // the break moves on before the colour is applied
    list.Print(9, "lost");  // a lost write colours nothing
    list.SetRowColour(0xff0000);
    list.Print(9, "lost");
    list.Flush();
    EXPECT_EQ(list.GetRowColour(0), 0x0000ffu);
    EXPECT_EQ(list.GetRowColour(1), 0x00ff00u);
    EXPECT_EQ(list.GetRowColour(5), PrintListCtrl::WHITE);
}

TEST(PrintListCtrl, PrepareAddsOneWideColumn) {
    PrintListCtrl list;
    list.Prepare();
    ASSERT_EQ(list.GetColumnCount(), 1);
    EXPECT_EQ(list.Columns()[0].heading, "");
    EXPECT_EQ(list.Columns()[0].width, 600);
    EXPECT_EQ(list.Columns()[0].format, CListCtrlEx::LVCFMT_LEFT);
}

TEST(PrintListCtrl, CopyTakesTheHeaderColumns) {
    PrintListCtrl list;
    list.Prepare();
    list.Print(0, "a\nb\nc\n");
    list.Print(1, "hidden");
    list.Flush();
    list.SetItemState(0, true);
    list.SetItemState(2, true);
    EXPECT_EQ(list.CopyText(), "a\r\nc\r\n");
    list.InsertColumn(1, "two", CListCtrlEx::LVCFMT_LEFT, 50);
    EXPECT_EQ(list.CopyText(), "a\t\t\r\nc\t\t\r\n");
}

// A worker writes while the UI thread flushes and paints, as the log timer does.
TEST(PrintListCtrl, WriterAndFlushingReaderRunTogether) {
    PrintListCtrl list;
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 30000; ++i) {
            list.SetRowColour(i % 2 ? 0xffffffu : 0xeeeeeeu);
            list.Print(i % 2, "line %d\n", i);
        }
        done = true;
    });
    uint32_t lastCount = 0;
    while (!done) {
        auto result = list.Flush();
        EXPECT_GE(result.rowCount, lastCount);
        lastCount = result.rowCount;
        int count = list.GetItemCount();
        for (int row = std::max(0, count - 36); row < count; ++row) {
            (void)list.GetItemText(row, 0);
            (void)list.GetRowColour(row);
        }
    }
    writer.join();
    list.Flush();
    EXPECT_EQ(list.GetItemCount(), 20000);
    // 30000 breaks: the oldest of the 20000 rows left is line 10001, the last one the row in progress.
    EXPECT_EQ(list.GetItemText(0, 1), "line 10001");
    EXPECT_EQ(list.GetItemText(19998, 1), "line 29999");
    EXPECT_EQ(list.GetItemText(19999, 0), "");
}

}  // namespace
