#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controls/TreeCtrl.h"

using controls::Notification;
using controls::TreeCtrl;

namespace {

std::string Shape(const TreeCtrl& tree)
{
    std::string text;
    for (const auto& node : tree.Snapshot()) text += std::string(node.level, '.') + node.text + (node.expanded ? "+" : "") + ";";
    return text;
}

TEST(TreeCtrl, ItemsKeepTheirPlaceAndGoWithTheirChildren)
{
    TreeCtrl tree(1, "Tree");
    const auto root = tree.InsertItem("root");
    const auto b = tree.InsertItem("b", root);
    const auto a = tree.InsertItem("a", root, TreeCtrl::kLast);
    const auto first = tree.InsertItem("first", root, 0);  // unknown "after": appended
    tree.InsertItem("b1", b);
    tree.Expand(root);
    EXPECT_EQ(Shape(tree), "root+;.b;..b1;.a;.first;");
    EXPECT_EQ(tree.GetNextSiblingItem(b), a);
    EXPECT_EQ(tree.GetNextSiblingItem(first), 0u);
    EXPECT_EQ(tree.GetParentItem(root), TreeCtrl::kRoot);
    EXPECT_EQ(tree.FindPath({"root", "b", "b1"}), tree.GetChildItem(b));
    EXPECT_EQ(tree.FindPath({"root", "c"}), 0u);
    tree.SelectItem(tree.GetChildItem(b));
    EXPECT_TRUE(tree.DeleteItem(b));
    EXPECT_EQ(tree.GetSelectedItem(), 0u);  // the selection went with its parent
    EXPECT_EQ(tree.GetItemText(b), "");
    EXPECT_FALSE(tree.SetItemData(b, 1));
    tree.DeleteAllItems();
    EXPECT_EQ(Shape(tree), "");
    EXPECT_EQ(tree.InsertItem("x", b), 0u);  // under a gone item: nothing
}

TEST(TreeCtrl, UserActionsNotifyWithTheStateTheirHandlersRead)
{
    TreeCtrl tree(7, "Tree");
    const auto item = tree.InsertItem("URID = _");
    std::vector<std::string> seen;
    tree.SetNotifier([&](int id, Notification n) {
        if (n == Notification::BeginLabelEdit) seen.push_back("begin:" + tree.GetEditText());
        if (n == Notification::EndLabelEdit) seen.push_back("end:" + tree.GetEditText());
        if (n == Notification::ContextMenu) seen.push_back("menu:" + std::to_string(tree.GetHitItem() == tree.GetSelectedItem()));
        if (n == Notification::SelChange) seen.push_back("select");
    });
    tree.UserSelect(item);
    ASSERT_TRUE(tree.UserBeginEdit(item));
    EXPECT_EQ(tree.GetEditItem(), item);
    tree.UserEndEdit("URID = 3");
    EXPECT_EQ(tree.GetEditItem(), 0u);
    tree.UserEndEdit("again");  // no edit open: nothing
    tree.UserRightClick(item);
    tree.UserRightClick(0);      // beside every item: no hit
    EXPECT_EQ(seen, (std::vector<std::string>{"select", "begin:URID = _", "end:URID = 3", "menu:1", "menu:0"}));
    EXPECT_EQ(tree.GetItemText(item), "URID = _");  // the dialog decides what the item becomes
}

}  // namespace
