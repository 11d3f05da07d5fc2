#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QToolTip>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <sstream>
#include <atomic>
#include <thread>

#include "QtTestApp.h"
#include "app/CQuillonDlg.h"
#include "headless/HeadlessUi.h"
#include "qt/ControlBinder.h"
#include "qt/MainWindowView.h"

namespace {

template <class W>
W* WidgetOf(QWidget& view, const controls::Control& control)
{
    return view.findChild<W*>(QStringLiteral("control_%1").arg(control.Id()));
}

class MainWindowViewTest : public ::testing::Test {
protected:
    void SetUp() override { EnsureQtApp(); }
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

// The longest values the logic writes into the resource fields fit at the default size and at
// the smallest the window can be made; every caption sits right above its own field.
TEST_F(MainWindowViewTest, FieldsShowTheirLongestValuesWholeAndCaptionsSitOnTheirFields)
{
    const struct {
        controls::Edit& edit;
        const char* longest;
    } fields[] = {
        {m_dlg.m_ResourceStatusEdit, "NOT_USED |NOT_AVAILABLE |NOT_LOCKED"},
        {m_dlg.m_InfoProtocolEdit, "MSP_MRVNE_ISO_11898_onboard"},
        {m_dlg.m_InfoProtocolEdit, "ISO_14229_3_on_ISO_15765_2"},
        {m_dlg.m_InfoBustypeEdit, "ISO_11898_2_DWFTCAN"},
        {m_dlg.m_InfoPinsEdit, "Pins 16 & 16 & 16 & 16"},
        {m_dlg.m_ResourceShortNameEdit, "UDS_on_CAN_HS_Pins_6_14"},
    };
    MainWindowView view(m_dlg);
    view.show();
    const QSize defaultSize = view.size();
    for (const QSize size : {defaultSize, view.minimumSizeHint()}) {
        view.resize(size);
        QCoreApplication::processEvents();
        for (const auto& field : fields) {
            auto* edit = WidgetOf<QLineEdit>(view, field.edit);
            EXPECT_LE(ControlBinder::FittingWidth(edit, field.longest), edit->width())
                << field.longest << " at " << size.width() << "x" << size.height();
        }
        for (QLabel* label : view.findChildren<QLabel*>()) {
            QWidget* field = label->buddy();
            if (!field) continue;
            const QRect l(label->mapTo(&view, QPoint()), label->size());
            const QRect f(field->mapTo(&view, QPoint()), field->size());
            EXPECT_LE(l.bottom(), f.top()) << label->text().toStdString();
            EXPECT_LE(f.top() - l.bottom(), 6) << label->text().toStdString() << " floats above its field";
            EXPECT_EQ(l.left(), f.left()) << label->text().toStdString();
        }
    }
    EXPECT_GE(defaultSize.width(), 1100);
}

TEST_F(MainWindowViewTest, CutEditShowsItsWholeTextAsTooltip)
{
    MainWindowView view(m_dlg);
    view.show();
    QCoreApplication::processEvents();
    auto* edit = WidgetOf<QLineEdit>(view, m_dlg.m_ConflictingResourcesEdit);
    const std::string whole(300, 'r');
    m_dlg.m_ConflictingResourcesEdit.SetWindowText(whole);
    QCoreApplication::processEvents();
    HideToolTip();
    QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), edit->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(edit, &hover);
    EXPECT_TRUE(QToolTip::isVisible());
    EXPECT_EQ(QToolTip::text().toStdString(), whole);
    HideToolTip();

    m_dlg.m_ConflictingResourcesEdit.SetWindowText("fits");
    QCoreApplication::processEvents();
    QApplication::sendEvent(edit, &hover);
    EXPECT_FALSE(QToolTip::isVisible());
}
