#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <sstream>

#include "QtTestApp.h"
#include "app/CAboutDlg.h"
#include "app/Resource.h"
#include "controls/Button.h"
#include "controls/Edit.h"
#include "headless/HeadlessUi.h"
#include "qt/BenchMain.h"
#include "qt/QtUi.h"
#include "ui/Dialog.h"

namespace {

// A dialog as the bench's are: OK runs a check, Cancel ends it; either button may be left out.
class FormDialog : public Dialog {
public:
    FormDialog(ui::Ui& ui, bool withOk, bool withCancel, const char* title = "Form")
        : Dialog(ui, 900, title), m_Edit(10, "Value"), m_Ok(ui::IDOK, "OK"), m_Cancel(ui::IDCANCEL, "Cancel"),
          m_Other(11, "Other")
    {
        AddControl(m_Edit);
        AddControl(m_Other);
        On(m_Other, controls::Notification::Clicked, [this] { ++otherPresses; });
        if (withOk) {
            AddControl(m_Ok);
            On(m_Ok, controls::Notification::Clicked, [this] {
                ++okPresses;
                if (m_Edit.GetWindowText() != "refuse") EndDialog(ui::IDOK);
            });
        }
        if (withCancel) {
            AddControl(m_Cancel);
            On(m_Cancel, controls::Notification::Clicked, [this] { EndDialog(ui::IDCANCEL); });
        }
    }
    void OnClose() override
    {
        ++closes;
        Dialog::OnClose();
    }

    controls::Edit m_Edit;
    controls::Button m_Ok, m_Cancel, m_Other;
    int okPresses = 0, otherPresses = 0, closes = 0;
};

// The main window of these tests: a plain dialog shown modeless, as the owner of what it opens.
class OwnerDialog : public Dialog {
public:
    explicit OwnerDialog(ui::Ui& ui) : Dialog(ui, 901, "Owner"), m_Exit(ui::IDCANCEL, "Exit")
    {
        AddControl(m_Exit);
        On(m_Exit, controls::Notification::Clicked, [this] { ++exits; });
    }
    void OnClose() override { ++closes; }
    controls::Button m_Exit;
    int exits = 0, closes = 0;
};

void Key(QWidget* window, int key)
{
    QWidget* target = QApplication::focusWidget();
    if (!target || target->window() != window) target = window;
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(target, &press);
}

class DialogViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureQtApp();
        m_ui.ShowModeless(m_owner);
        m_ownerView = m_ui.ViewOf(m_owner);
        m_ownerView->setGeometry(100, 80, 700, 500);
        QCoreApplication::processEvents();
    }
    void TearDown() override
    {
        m_ui.DestroyWindow(m_owner);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);  // before the dialogs go
    }

    // Runs `dialog` modally; `inside` runs once its window shows. Returns the end code.
    int RunModal(Dialog& dialog, const std::function<void(DialogView*)>& inside)
    {
        QTimer::singleShot(0, [&] {
            DialogView* view = m_ui.ViewOf(dialog);
            ASSERT_NE(view, nullptr);
            inside(view);
            if (!dialog.IsEnded()) dialog.EndDialog(-1);  // never leave a test hanging in the loop
        });
        return m_ui.RunModal(dialog);
    }

    QtUi m_ui;
    OwnerDialog m_owner{m_ui};
    DialogView* m_ownerView = nullptr;
};

TEST_F(DialogViewTest, OpensParentedAndCentredOverItsOwner)
{
    FormDialog form(m_ui, true, true);
    RunModal(form, [&](DialogView* view) {
        EXPECT_EQ(view->parentWidget(), m_ownerView);
        EXPECT_TRUE(view->isWindow());
        const QPoint offset = view->frameGeometry().center() - m_ownerView->frameGeometry().center();
        EXPECT_LE(std::abs(offset.x()), 1);
        EXPECT_LE(std::abs(offset.y()), 1);
        EXPECT_TRUE(view->DialogButtonWidget(ui::IDOK)->isDefault());
    });
}

TEST_F(DialogViewTest, OwnerNearTheScreensEdgeKeepsTheDialogOnTheScreen)
{
    const QRect room = m_ownerView->screen()->availableGeometry();
    m_ownerView->move(room.right() - 100, room.bottom() - 100);
    FormDialog form(m_ui, true, true);
    RunModal(form, [&](DialogView* view) { EXPECT_TRUE(room.contains(view->frameGeometry())); });
}

TEST_F(DialogViewTest, EscapeCancelsAndEnterPressesTheDefaultButton)
{
    FormDialog escape(m_ui, true, true);
    EXPECT_EQ(RunModal(escape, [](DialogView* view) { Key(view, Qt::Key_Escape); }), ui::IDCANCEL);
    EXPECT_EQ(escape.okPresses, 0);

    FormDialog enter(m_ui, true, true);
    EXPECT_EQ(RunModal(enter, [](DialogView* view) { Key(view, Qt::Key_Return); }), ui::IDOK);
    EXPECT_EQ(enter.okPresses, 1);

    // Enter from the edit reaches the default button, which runs its checks: a refusal keeps
    // the dialog open.
    FormDialog refused(m_ui, true, true);
    refused.m_Edit.SetWindowText("refuse");
    EXPECT_EQ(RunModal(refused, [&](DialogView* view) {
                  view->findChild<QLineEdit*>("control_10")->setFocus();
                  Key(view, Qt::Key_Enter);
                  EXPECT_FALSE(refused.IsEnded());
                  EXPECT_EQ(refused.okPresses, 1);
                  Key(view, Qt::Key_Escape);
              }),
              ui::IDCANCEL);
}

TEST_F(DialogViewTest, EnterPressesTheFocusedButton)
{
    FormDialog form(m_ui, true, true);
    RunModal(form, [&](DialogView* view) {
        auto* other = view->findChild<QPushButton*>("control_11");
        other->setFocus();
        Key(view, Qt::Key_Return);
        EXPECT_EQ(form.otherPresses, 1);
        EXPECT_EQ(form.okPresses, 0);
    });
}

TEST_F(DialogViewTest, WithoutCancelButtonEscapeIsTheCloseBoxAndWithoutOkEnterDoesNothing)
{
    FormDialog form(m_ui, false, false);
    EXPECT_EQ(RunModal(form, [&](DialogView* view) {
                  Key(view, Qt::Key_Return);
                  EXPECT_FALSE(form.IsEnded());
                  Key(view, Qt::Key_Escape);
                  EXPECT_EQ(form.closes, 1);
              }),
              ui::IDCANCEL);
}

TEST_F(DialogViewTest, ModelessWindowWithoutCancelIgnoresEscape)
{
    FormDialog window(m_ui, true, false, "Link");
    m_ui.ShowModeless(window);
    DialogView* view = m_ui.ViewOf(window);
    EXPECT_EQ(view->parentWidget(), m_ownerView);
    Key(view, Qt::Key_Escape);
    EXPECT_EQ(window.closes, 0);
    EXPECT_FALSE(window.IsEnded());
    Key(view, Qt::Key_Return);  // its default button still answers Enter
    EXPECT_EQ(window.okPresses, 1);
    m_ui.DestroyWindow(window);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST_F(DialogViewTest, TheMainWindowKeepsEscapeAndEnterToItsControls)
{
    Key(m_ownerView, Qt::Key_Escape);
    Key(m_ownerView, Qt::Key_Return);
    EXPECT_EQ(m_owner.exits, 0);
    EXPECT_EQ(m_owner.closes, 0);
}

TEST_F(DialogViewTest, AboutBoxTakesTheSizeOfItsTexts)
{
    RegisterViews(m_ui);
    CAboutDlg about(m_ui);
    EXPECT_EQ(RunModal(about, [&](DialogView* view) {
                  auto* info = view->findChild<QWidget*>(QStringLiteral("control_%1").arg(IDC_ABOUT_EDIT));
                  auto* address = view->findChild<QWidget*>(QStringLiteral("control_%1").arg(IDC_ABOUT_ADDRESS));
                  ASSERT_NE(info, nullptr);
                  ASSERT_NE(address, nullptr);
                  EXPECT_GE(info->width(), info->sizeHint().width());
                  EXPECT_GE(info->height(), info->sizeHint().height());
                  EXPECT_GE(address->height(), address->sizeHint().height());
                  EXPECT_EQ(view->size(), view->sizeHint());
                  Key(view, Qt::Key_Escape);
              }),
              ui::IDCANCEL);
}

}  // namespace
