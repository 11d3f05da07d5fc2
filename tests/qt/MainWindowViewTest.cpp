#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <sstream>
#include <atomic>
#include <thread>

#include "app/CQuillonDlg.h"
#include "headless/HeadlessUi.h"
#include "qt/MainWindowView.h"

namespace {

void EnsureApp()
{
    static int argc = 1;
    static char name[] = "test_qt";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QApplication(argc, argv);
}

template <class W>
W* WidgetOf(QWidget& view, const controls::Control& control)
{
    return view.findChild<W*>(QStringLiteral("control_%1").arg(control.Id()));
}

class MainWindowViewTest : public ::testing::Test {
protected:
    void SetUp() override { EnsureApp(); }
    std::ostringstream m_out;
    HeadlessUi m_ui{m_out};
    CQuillonDlg m_dlg{m_ui};
};

}  // namespace

TEST_F(MainWindowViewTest, EveryControlHasItsWidget)
{
    MainWindowView view(m_dlg);
    for (controls::Control* c : m_dlg.Controls())
        EXPECT_NE(WidgetOf<QWidget>(view, *c), nullptr) << c->Caption();
    EXPECT_EQ(WidgetOf<QPushButton>(view, m_dlg.m_UnloadButton)->text(), "&Unload");
    EXPECT_FALSE(WidgetOf<QPushButton>(view, m_dlg.m_OpenLastLinkButton)->isEnabled());
}

TEST_F(MainWindowViewTest, UserActionsReachTheLogicAndChangesComeBack)
{
    MainWindowView view(m_dlg);
    // Typing into a line edit sets the edit.
    auto* label = WidgetOf<QLineEdit>(view, m_dlg.m_LabelEdit);
    label->setText("x");
    emit label->textEdited("bench 1");
    EXPECT_EQ(m_dlg.m_LabelEdit.GetWindowText(), "bench 1");

    // A change made on another thread shows after the queued update.
    std::thread worker([this] {
        m_dlg.m_ResourceStatusEdit.SetWindowText("USED |");
        m_dlg.m_ModuleCombo.AddString("ZentaStick 1");
        m_dlg.m_ModuleCombo.SetCheck(0, 1);
    });
    worker.join();
    QCoreApplication::processEvents();
    EXPECT_EQ(WidgetOf<QLineEdit>(view, m_dlg.m_ResourceStatusEdit)->text(), "USED |");
    auto* modules = WidgetOf<QComboBox>(view, m_dlg.m_ModuleCombo);
    ASSERT_EQ(modules->count(), 1);
    auto* model = qobject_cast<QStandardItemModel*>(modules->model());
    ASSERT_NE(model, nullptr);
    EXPECT_EQ(model->item(0)->checkState(), Qt::Checked);

    // Pressing a button runs its handler.
    m_dlg.Log("line\n");
    WidgetOf<QPushButton>(view, m_dlg.m_ClearLogButton)->click();
    EXPECT_EQ(m_dlg.LogList()->Rows(), std::vector<std::string>{""});
}

TEST_F(MainWindowViewTest, ViewsComeAndGoWhileAWorkerWritesControls)
{
    std::atomic<bool> stop{false};
    std::thread worker([this, &stop] {
        for (int i = 0; !stop; ++i) {
            m_dlg.m_ResourceStatusEdit.SetWindowText(std::to_string(i));
            m_dlg.m_ModuleCombo.SetCheck(0, i & 1);
        }
    });
    m_dlg.m_ModuleCombo.AddString("ZentaStick 1");
    for (int round = 0; round < 20; ++round) {
        auto view = std::make_unique<MainWindowView>(m_dlg);
        QCoreApplication::processEvents();
        view.reset();
        QCoreApplication::processEvents();
    }
    stop = true;
    worker.join();
    QCoreApplication::processEvents();
}

TEST_F(MainWindowViewTest, ClosedCheckComboShowsTheCheckedLines)
{
    MainWindowView view(m_dlg);
    m_dlg.m_ModuleCombo.AddString("A 1");
    m_dlg.m_ModuleCombo.AddString("B 2");
    m_dlg.m_ModuleCombo.AddString("C 3");
    m_dlg.m_ModuleCombo.SetCheck(0, 1);
    m_dlg.m_ModuleCombo.SetCheck(2, 1);
    m_dlg.m_ModuleCombo.SetCurSel(1);
    QCoreApplication::processEvents();
    auto* modules = WidgetOf<QComboBox>(view, m_dlg.m_ModuleCombo);
    EXPECT_EQ(modules->property("quillonCheckedText").toString(), "A 1; C 3");
    EXPECT_EQ(modules->toolTip(), "B 2");  // the tooltip shows the selection in full
}
