// The link windows' views: every control has its widget, a window of its own on the desktop,
// a dialog kept alive until its view is gone, and a repaint a worker asks for.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QFocusEvent>
#include <QPointer>
#include <memory>
#include <sstream>
#include <thread>

#include "QtTestApp.h"
#include "headless/HeadlessUi.h"
#include "logical_link/LoLiDialog.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "logical_link/MaskAndPatternDialog.h"
#include "logical_link/TxFlagsDlg.h"
#include "monitor_link/CMoLiDlg.h"
#include "qt/BenchMain.h"
#include "qt/CMoLiDlgView.h"
#include "qt/LoLiDialogKeldaPDUAPIView.h"
#include "qt/LoLiDialogView.h"
#include "qt/MaskAndPatternDialogView.h"
#include "qt/TxFlagsDlgView.h"

namespace {

template <class W = QWidget>
W* WidgetOf(QWidget& view, const controls::Control& control)
{
    return view.findChild<W*>(QStringLiteral("control_%1").arg(control.Id()));
}

void ExpectEveryControlBound(QWidget& view, const Dialog& dialog)
{
    for (controls::Control* c : dialog.Controls()) EXPECT_NE(WidgetOf(view, *c), nullptr) << c->Caption();
}

class LinkWindowViewTest : public ::testing::Test {
protected:
    void SetUp() override { EnsureQtApp(); }
    std::ostringstream m_out;
    HeadlessUi m_ui{m_out};
};

}  // namespace

TEST_F(LinkWindowViewTest, EveryControlHasItsWidget)
{
    auto full = MakeLinkDialog<LoLiDialogKeldaPDUAPI>(m_ui);
    LoLiDialogKeldaPDUAPIView fullView(*full);
    ExpectEveryControlBound(fullView, *full);
    EXPECT_FALSE(WidgetOf(fullView, full->m_CancelButton)->isEnabled());

    auto plain = MakeLinkDialog<LoLiDialog>(m_ui);
    LoLiDialogView plainView(*plain);
    ExpectEveryControlBound(plainView, *plain);

    TxFlagsDlg txFlags(m_ui, nullptr);
    TxFlagsDlgView txView(txFlags);
    ExpectEveryControlBound(txView, txFlags);
    MaskAndPatternDialog masks(m_ui);
    MaskAndPatternDialogView maskView(masks);
    ExpectEveryControlBound(maskView, masks);

    auto monitor = MakeLinkDialog<CMoLiDlg>(m_ui);
    CMoLiDlgView monitorView(*monitor);
    ExpectEveryControlBound(monitorView, *monitor);
}

TEST_F(LinkWindowViewTest, MonitorRadiosKeepToTheirGroupAndTheHeaderNamesTheColumns)
{
    auto monitor = MakeLinkDialog<CMoLiDlg>(m_ui);
    monitor->m_List.InsertColumn(0, "D");
    monitor->m_List.InsertColumn(1, "Time [ms]");
    CMoLiDlgView view(*monitor);
    WidgetOf<QAbstractButton>(view, monitor->m_ExplicitRadio)->click();
    WidgetOf<QAbstractButton>(view, monitor->m_FilterNegativeRadio)->click();
    WidgetOf<QAbstractButton>(view, monitor->m_FilterOffRadio)->click();
    EXPECT_EQ(monitor->m_ExplicitRadio.GetCheck(), 1);
    EXPECT_EQ(monitor->m_FilterNegativeRadio.GetCheck(), 0);
    EXPECT_EQ(monitor->m_FilterOffRadio.GetCheck(), 1);
    auto* rows = WidgetOf<QAbstractItemView>(view, monitor->m_List);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(rows->model()->headerData(1, Qt::Horizontal).toString(), "Time [ms]");
}

TEST_F(LinkWindowViewTest, TheCancelComboHoldsWhileTheUserHasIt)
{
    auto link = MakeLinkDialog<LoLiDialogKeldaPDUAPI>(m_ui);
    LoLiDialogKeldaPDUAPIView view(*link);
    auto* combo = WidgetOf<QComboBox>(view, link->m_CancelCombo);
    QFocusEvent focus(QEvent::FocusIn, Qt::MouseFocusReason);
    QCoreApplication::sendEvent(combo, &focus);
    EXPECT_TRUE(link->m_cancelComboHeld);
    combo->showPopup();
    combo->hidePopup();
    QCoreApplication::processEvents();
    EXPECT_FALSE(link->m_cancelComboHeld);  // closed with nothing chosen
}

TEST_F(LinkWindowViewTest, ALinkWindowLivesOnTheDesktopAndOutlivesItsDialogsOwner)
{
    QtUi ui;
    RegisterViews(ui);
    auto link = MakeLinkDialog<LoLiDialog>(ui);
    ui.ShowModeless(*link);
    QPointer<DialogView> view = ui.ViewOf(*link);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->parentWidget(), nullptr);
    EXPECT_TRUE(view->inherits("LoLiDialogView"));

    // A worker's repaint comes through on the GUI thread.
    std::thread([&] { ui.RedrawNow(*link); }).join();
    QCoreApplication::processEvents();

    std::weak_ptr<CLinkBaseDlg> weak = link;
    ui.DestroyWindow(*link);
    link.reset();
    EXPECT_FALSE(weak.expired());  // the view still refers to its controls
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(view.isNull());
    EXPECT_TRUE(weak.expired());
}
