#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>
#include <QTreeWidget>

#include "../support/ComParamRecords.h"
#include "QtTestApp.h"
#include "description/ComParamValue.h"
#include "editors/ComParam_Dialog.h"
#include "editors/URID_Table_Dialog.h"
#include "pdu/PduApi.h"
#include "qt/BenchMain.h"
#include "qt/QtUi.h"

namespace {

std::vector<ComParamInfo> Records()
{
    std::vector<ComParamInfo> records;
    records.push_back(Definition(10, "CP_P2Max", PDU_PT_UNUM32, PDU_PC_TIMING, "150000"));
    records.push_back(Definition(60, "CP_CanPhysReqId", PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, "0x7E0"));
    return records;
}

// The queued syncs of the controls' changes, and the ones those post in turn.
void Settle()
{
    for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
}

class EditorViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureQtApp();
        // No library: every call fails cleanly.
        BindPduApi(nullptr, [](void*, const char*) -> void* { return nullptr; });
        RegisterViews(m_ui);
    }
    template <class D>
    void RunModal(D& dialog, const std::function<void(DialogView*)>& inside)
    {
        QTimer::singleShot(0, [&] {
            inside(m_ui.ViewOf(dialog));
            if (!dialog.IsEnded()) dialog.EndDialog(ui::IDCANCEL);
        });
        m_ui.RunModal(dialog);
    }
    template <class W>
    static W* Widget(DialogView* view, int id)
    {
        return view->findChild<W*>(QStringLiteral("control_%1").arg(id));
    }

    QtUi m_ui;
    std::vector<ComParamInfo> m_records = Records();
};

TEST_F(EditorViewTest, ComParamEditorBoxesFollowEachOtherThroughTheView)
{
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::EditLinkComParams, "ISO_X", 1, 1, m_records);
    RunModal(dialog, [&](DialogView* view) {
        ASSERT_NE(view, nullptr);
        for (controls::Control* c : dialog.Controls()) EXPECT_NE(Widget<QWidget>(view, c->Id()), nullptr) << c->Caption();
        auto* combo = Widget<QComboBox>(view, dialog.m_ComParamCombo.Id());
        ASSERT_NE(combo, nullptr);
        EXPECT_EQ(combo->count(), 1);  // the unique-id ComParam is the URID editor's
        auto* dec = Widget<QLineEdit>(view, dialog.m_DecEdit.Id());
        auto* hex = Widget<QLineEdit>(view, dialog.m_HexEdit.Id());
        EXPECT_EQ(dec->text(), "150000");
        EXPECT_EQ(hex->text(), "0x249f0");
        dec->setText("255");
        emit dec->textEdited("255");
        Settle();
        EXPECT_EQ(hex->text(), "0xff");
    });
}

TEST_F(EditorViewTest, UridTreeMirrorsItsControlAndEditsInPlace)
{
    URID_Table_Dialog dialog(m_ui, "ISO_X", 1, 1, m_records);
    RunModal(dialog, [&](DialogView* view) {
        ASSERT_NE(view, nullptr);
        auto* tree = Widget<QTreeWidget>(view, dialog.m_Tree.Id());
        ASSERT_NE(tree, nullptr);
        const auto root = dialog.m_Tree.GetRootItem();
        const auto urid = dialog.m_Tree.InsertItem("URID = _", root);
        dialog.m_Tree.Expand(root);
        Settle();
        ASSERT_EQ(tree->topLevelItemCount(), 1);
        QTreeWidgetItem* item = tree->topLevelItem(0)->child(0);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->text(0), "URID = _");
        tree->setCurrentItem(item);
        EXPECT_EQ(dialog.m_Tree.GetSelectedItem(), urid);
        tree->editItem(item);
        auto* editor = tree->findChild<QLineEdit*>();
        ASSERT_NE(editor, nullptr);
        editor->setText("URID = 7");
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(editor, &enter);
        Settle();
        EXPECT_EQ(dialog.m_Tree.GetItemText(urid), "URID = 7");
        EXPECT_EQ(tree->topLevelItem(0)->child(0)->text(0), "URID = 7");
    });
}

TEST(QtFileBox, FilterAndDefaultExtensionInQtsTerms)
{
    EXPECT_EQ(QtUi::FileFilters("ComParam|*.ini||"), "ComParam (*.ini)");
    EXPECT_EQ(QtUi::FileFilters("Ini files (*.ini)|*.ini|All|*.*||"), "Ini files (*.ini);;All (*.*)");
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"/a/set", ".ini", "/a/set.ini"}, {"/a/set", "ini", "/a/set.ini"},
        {"/a/set.txt", ".ini", "/a/set.txt"}, {"/a.b/set", ".ini", "/a.b/set.ini"}, {"/a/set", "", "/a/set"}};
    for (const auto& [path, ext, expected] : cases) EXPECT_EQ(QtUi::WithDefaultExtension(path, ext), expected) << path;
}

}  // namespace
