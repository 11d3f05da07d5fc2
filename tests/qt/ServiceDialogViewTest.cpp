#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>

#include "QtTestApp.h"
#include "pdu/PduApi.h"
#include "qt/BenchMain.h"
#include "qt/QtUi.h"
#include "qt/SODConfDialogView.h"
#include "qt/SetBrokerDialogView.h"
#include "qt/SetTraceOptionsDialogView.h"
#include "qt/VCIWLANStatDialogView.h"
#include "service_dialogs/SODConfDialog.h"
#include "service_dialogs/SetBrokerDialog.h"
#include "service_dialogs/SetTraceOptionsDialog.h"
#include "service_dialogs/VCIWLANStatDialog.h"

namespace {

// The main window as the service dialogs see it: two modules, the second selected.
class Host : public ServiceDialogHost {
public:
    bool IsLibraryLoaded() const override { return false; }
    std::vector<std::string> ModuleNames() override { return {"ZentaStick Morvane AG ZS-100231", "BrontoMax"}; }
    int SelectedModuleIndex() override { return 1; }
    uint32_t GetModuleHandleByName(const std::string& name) override { return name == "BrontoMax" ? 2 : 1; }
    void OnServiceDialogClosed(Dialog& dialog) override
    {
        ++closed;
        ui->DestroyWindow(dialog);
    }
    QtUi* ui = nullptr;
    int closed = 0;
};

void Settle()
{
    for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
}

class ServiceDialogViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureQtApp();
        BindPduApi(nullptr, [](void*, const char*) -> void* { return nullptr; });
        RegisterViews(m_ui);
        m_host.ui = &m_ui;
    }
    // Shows the dialog modeless, as the main window does, and checks that its own view binds
    // every control; returns the view.
    template <class View>
    DialogView* Show(Dialog& dialog)
    {
        dialog.OnInitDialog();
        m_ui.ShowModeless(dialog);
        DialogView* view = m_ui.ViewOf(dialog);
        EXPECT_NE(dynamic_cast<View*>(view), nullptr) << dialog.GetWindowText();
        if (!view) return nullptr;
        for (controls::Control* c : dialog.Controls())
            EXPECT_NE(view->findChild<QWidget*>(QStringLiteral("control_%1").arg(c->Id())), nullptr) << c->Caption();
        return view;
    }
    template <class W>
    static W* Widget(DialogView* view, int id)
    {
        return view->findChild<W*>(QStringLiteral("control_%1").arg(id));
    }

    QtUi m_ui;
    Host m_host;
};

}  // namespace

TEST_F(ServiceDialogViewTest, WlanStatisticsShowTheAnswerAndCloseThroughTheHost)
{
    auto dialog = std::make_shared<VCIWLANStatDialog>(m_ui, m_host);
    DialogView* view = Show<VCIWLANStatDialogView>(*dialog);
    ASSERT_NE(view, nullptr);
    auto* combo = Widget<QComboBox>(view, VCIWLANStatDialog::IDC_MODULE_HANDLE);
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(combo->currentText(), "BrontoMax");
    EXPECT_EQ(dialog->m_hModule, 2u);
    PDU_IO_WLAN_SIGNAL_DATA data{2, 0x201, 36, 0, 0, 0, 0, 0, 0, 0, 0, {}};
    std::memset(data.Ssid, 'S', sizeof data.Ssid);
    dialog->ShowStatistics(data);
    Settle();
    EXPECT_EQ(Widget<QLineEdit>(view, VCIWLANStatDialog::IDC_MODE)->text(), "Infrastructure");
    EXPECT_EQ(Widget<QLineEdit>(view, VCIWLANStatDialog::IDC_WLAN_CHANNEL)->text(), "36");
    EXPECT_EQ(Widget<QLineEdit>(view, VCIWLANStatDialog::IDC_FREQUENCY)->text(), "n/a");
    EXPECT_EQ(Widget<QLineEdit>(view, VCIWLANStatDialog::IDC_SSID)->text(), QString(32, 'S'));
    // Without a library the button sends nothing and leaves the fields.
    dialog->m_GetWlanStatsButton.Click();
    EXPECT_EQ(dialog->m_ModeEdit.GetWindowText(), "Infrastructure");
    view->close();
    Settle();
    EXPECT_EQ(m_host.closed, 1);
}

TEST_F(ServiceDialogViewTest, TraceSodAndBrokerHaveTheirViews)
{
    auto trace = std::make_shared<SetTraceOptionsDialog>(m_ui, m_host);
    auto sod = std::make_shared<SODConfDialog>(m_ui, m_host);
    auto broker = std::make_shared<SetBrokerDialog>(m_ui, m_host);
    Show<SetTraceOptionsDialogView>(*trace);
    Show<SODConfDialogView>(*sod);
    DialogView* view = Show<SetBrokerDialogView>(*broker);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->windowTitle(), "Dialog");
    // Cancel of each asks the host to take it down.
    for (Dialog* d : std::initializer_list<Dialog*>{trace.get(), sod.get(), broker.get()})
        static_cast<controls::Button*>(d->FindControl(ui::IDCANCEL))->Click();
    Settle();
    EXPECT_EQ(m_host.closed, 3);
}
