#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "controls/CCheckComboBox.h"
#include "controls/CComboBoxInfoExt.h"
#include "controls/CToolTipComboBox.h"
#include "controls/ComboBox.h"
#include "controls/ListBox.h"

using controls::ComboBox;
using controls::Notification;

namespace {

std::vector<std::string> Texts(const ComboBox& combo) {
    std::vector<std::string> texts;
    for (const auto& item : combo.Items())
        texts.push_back(item.text);
    return texts;
}

TEST(ComboBox, SortedStyleInsertsInOrderWithoutCase) {
    ComboBox combo(1, "Select Protocol", true);
    const std::pair<const char*, int> adds[] = {{"b", 0}, {"A", 0}, {"c", 2}, {"a", 0}, {"B2", 3}};
    for (const auto& [text, index] : adds)
        EXPECT_EQ(combo.AddString(text), index) << text;
    EXPECT_EQ(Texts(combo), (std::vector<std::string>{"a", "A", "b", "B2", "c"}));

    ComboBox plain(2, "Select Cable");
    plain.AddString("b");
    plain.AddString("a");
    EXPECT_EQ(plain.InsertString(1, "z"), 1);
    EXPECT_EQ(plain.InsertString(9, "x"), ComboBox::CB_ERR);
    EXPECT_EQ(Texts(plain), (std::vector<std::string>{"b", "z", "a"}));
}

TEST(ComboBox, SearchesByPrefixOrExactlyWithoutCaseAndWraps) {
    ComboBox combo(1, "c");
    for (const char* text : {"apple", "Banana", "apricot", "APPLE pie"})
        combo.AddString(text);
    const struct {
        bool exact;
        int start;
        const char* text;
        int found;
    } cases[] = {
        {false, -1, "AP", 0}, {false, 0, "ap", 2}, {false, 2, "ap", 3}, {false, 3, "ap", 0},
        {false, -1, "banana", 1}, {false, -1, "x", -1}, {false, 17, "ban", 1}, {false, -1, "", 0},
        {true, -1, "apple", 0}, {true, 0, "apple", 0}, {true, -1, "BANANA", 1}, {true, -1, "ban", -1},
    };
    for (const auto& c : cases) {
        int found = c.exact ? combo.FindStringExact(c.start, c.text) : combo.FindString(c.start, c.text);
        EXPECT_EQ(found, c.found) << (c.exact ? "exact " : "prefix ") << c.start << " " << c.text;
    }
    EXPECT_EQ(ComboBox(2, "empty").FindString(-1, ""), ComboBox::CB_ERR);
}

TEST(ComboBox, ProgramSelectionFiresNothingUserSelectionNotifies) {
    ComboBox combo(5, "Select Bustype");
    std::vector<Notification> seen;
    combo.SetNotifier([&](int, Notification n) { seen.push_back(n); });
    combo.AddString("ISO_11898_2_DWCAN");
    combo.AddString("ISO_9141_2_UART");

    EXPECT_EQ(combo.SetCurSel(1), 1);
    EXPECT_EQ(combo.GetWindowText(), "ISO_9141_2_UART");
    EXPECT_EQ(combo.SetCurSel(5), ComboBox::CB_ERR);
    EXPECT_EQ(combo.GetCurSel(), ComboBox::CB_ERR);
    EXPECT_EQ(combo.GetWindowText(), "");
    combo.SetWindowText("typed");
    EXPECT_EQ(combo.SelectString(-1, "none"), ComboBox::CB_ERR);
    EXPECT_TRUE(seen.empty());

    combo.UserSelect(0);
    combo.UserType("ISO");
    EXPECT_EQ(seen, (std::vector<Notification>{Notification::SelChange, Notification::EditChange}));
    EXPECT_EQ(combo.GetCurSel(), 0);
    EXPECT_EQ(combo.GetWindowText(), "ISO");
}

TEST(ComboBox, SelectionFollowsItsItem) {
    ComboBox combo(1, "c");
    for (const char* text : {"a", "b", "c"})
        combo.AddString(text);
    combo.SetCurSel(1);
    combo.InsertString(0, "first");
    EXPECT_EQ(combo.GetCurSel(), 2);
    EXPECT_EQ(combo.DeleteString(0), 3);
    EXPECT_EQ(combo.GetCurSel(), 1);
    combo.DeleteString(1);
    EXPECT_EQ(combo.GetCurSel(), ComboBox::CB_ERR);
    EXPECT_EQ(combo.DeleteString(7), ComboBox::CB_ERR);
    combo.ResetContent();
    EXPECT_EQ(combo.GetCount(), 0);
    EXPECT_EQ(combo.GetWindowText(), "");
}

TEST(ComboBox, DropListShowsOnlyItsItems) {
    ComboBox combo(1, "Channel", false, false);
    combo.AddString("CAN1");
    combo.AddString("KLINE1");
    combo.SetWindowText("kline1");
    EXPECT_EQ(combo.GetCurSel(), 1);
    combo.SetWindowText("nothing");
    EXPECT_EQ(combo.GetWindowText(), "KLINE1");
    combo.UserType("c");
    EXPECT_EQ(combo.GetCurSel(), 0);
}

TEST(ComboBox, ItemDataAndAttachmentsStayWithTheirItem) {
    ComboBox combo(1, "c", true);
    combo.AddString("m");
    combo.SetItemData(0, 42);
    combo.SetItemAttachment(0, std::string("record"));
    combo.AddString("a");
    EXPECT_EQ(combo.GetItemData(1), 42u);
    EXPECT_EQ(std::any_cast<std::string>(combo.GetItemAttachment(1)), "record");
    EXPECT_EQ(combo.SetItemData(2, 1), ComboBox::CB_ERR);
    EXPECT_EQ(combo.GetItemData(-1), 0u);
}

TEST(CToolTipComboBox, TooltipShowsTheSelection) {
    CToolTipComboBox combo(1, "Select DLC Pin(s)");
    EXPECT_EQ(combo.TooltipText(), "");
    combo.AddString("HI:6 LOW:14 a rather long pin description");
    combo.SetCurSel(0);
    EXPECT_EQ(combo.TooltipText(), "HI:6 LOW:14 a rather long pin description");
    EXPECT_EQ(CToolTipComboBox::AUTOPOP_MS, 15000);
}

TEST(CCheckComboBox, JoinsCheckedLinesAndRejectsBadIndex) {
    CCheckComboBox combo(1, "Select MVCI M&odule");
    EXPECT_FALSE(combo.IsSorted());
    for (const char* text : {"VCI-A", "VCI-B", "VCI-C"})
        combo.AddString(text);
    EXPECT_EQ(combo.GetCheckedText(), "");
    const struct {
        int index, state, result;
        const char* joined;
    } steps[] = {
        {0, 1, 1, "VCI-A"}, {2, 1, 1, "VCI-A; VCI-C"}, {0, 0, 1, "VCI-C"},
        {3, 1, ComboBox::CB_ERR, "VCI-C"}, {-1, 1, ComboBox::CB_ERR, "VCI-C"}, {1, 7, 1, "VCI-B; VCI-C"},
    };
    for (const auto& s : steps) {
        EXPECT_EQ(combo.SetCheck(s.index, s.state), s.result) << s.index;
        EXPECT_EQ(combo.GetCheckedText(), s.joined) << s.index;
    }
    EXPECT_EQ(combo.GetCheck(1), 7);
    EXPECT_EQ(combo.GetCheck(3), ComboBox::CB_ERR);

    combo.DeleteString(2);  // the cache must not outlive its lines
    EXPECT_EQ(combo.GetCheckedText(), "VCI-B");
    combo.ResetContent();
    EXPECT_EQ(combo.GetCheckedText(), "");
}

TEST(CCheckComboBox, UserToggleNotifiesSelectionChange) {
    CCheckComboBox combo(1, "m");
    combo.AddString("VCI");
    std::vector<Notification> seen;
    combo.SetNotifier([&](int, Notification n) { seen.push_back(n); });
    combo.SetCheck(0, 1);
    EXPECT_TRUE(seen.empty());
    combo.UserToggleCheck(0);
    combo.UserToggleCheck(4);
    EXPECT_EQ(combo.GetCheck(0), 0);
    EXPECT_EQ(seen, std::vector<Notification>{Notification::SelChange});
}

TEST(CComboBoxInfoExt, RecordTravelsWithItsLine) {
    CComboBoxInfoExt<std::string> combo(1, "Select PDU-API Version", true);
    combo.AddItem("Zeta", std::make_shared<std::string>("/opt/zeta.so"));
    combo.AddItem("Alpha", std::make_shared<std::string>("/opt/alpha.so"));
    combo.AddString("no record");
    ASSERT_EQ(combo.GetLBText(0), "Alpha");
    EXPECT_EQ(*combo.GetInfo(0), "/opt/alpha.so");
    EXPECT_EQ(*combo.GetInfo(2), "/opt/zeta.so");
    EXPECT_EQ(combo.GetInfo(1), nullptr);
    EXPECT_EQ(combo.GetInfo(9), nullptr);
}

TEST(ListBox, InsertsSelectsAndReportsDoubleClick) {
    controls::ListBox list(125);
    EXPECT_EQ(list.InsertString(0, "first"), 0);
    EXPECT_EQ(list.InsertString(1, "second"), 1);
    EXPECT_EQ(list.InsertString(5, "far"), controls::ListBox::LB_ERR);
    EXPECT_EQ(list.InsertString(-1, "third"), 2);
    std::vector<Notification> seen;
    list.SetNotifier([&](int, Notification n) { seen.push_back(n); });
    list.SetCurSel(2);
    EXPECT_TRUE(seen.empty());
    list.UserDoubleClick(1);
    EXPECT_EQ(seen, (std::vector<Notification>{Notification::SelChange, Notification::DoubleClick}));
    EXPECT_EQ(list.GetText(list.GetCurSel()), "second");
    EXPECT_EQ(list.DeleteString(0), 2);
    EXPECT_EQ(list.GetCurSel(), 0);
    EXPECT_EQ(list.FindStringExact(-1, "THIRD"), 1);
    EXPECT_EQ(list.FindString(0, "s"), 0);

    controls::ListBox sorted(147, "", true);
    for (const char* text : {"b", "C", "a"})
        sorted.AddString(text);
    EXPECT_EQ(sorted.Strings(), (std::vector<std::string>{"a", "b", "C"}));
}

}  // namespace
