// The main dialog's modeless service dialogs: WLAN statistics, trace options, SOD, broker.
#include <algorithm>

#include "app/CQuillonDlg.h"
#include "service_dialogs/DoIPIoCtlDlg.h"
#include "service_dialogs/SODConfDialog.h"
#include "service_dialogs/SetBrokerDialog.h"
#include "service_dialogs/SetTraceOptionsDialog.h"
#include "service_dialogs/VCIWLANStatDialog.h"

Dialog* CQuillonDlg::OpenServiceDialog(std::shared_ptr<ServiceDialog> dialog)
{
    m_ServiceDialogs.push_back(dialog);
    dialog->OnInitDialog();
    m_ui.ShowModeless(*dialog);
    return dialog.get();
}

// One window at a time, and only once the API is constructed.
void CQuillonDlg::OpenOnce(Dialog*& pointer, const char* alreadyOpen,
                           const std::function<std::shared_ptr<ServiceDialog>()>& make)
{
    if (!m_bPduConstructed) return;
    if (pointer) {
        m_ui.MessageBox(alreadyOpen, "", ui::MB_OK);
        return;
    }
    pointer = OpenServiceDialog(make());
}

void CQuillonDlg::OnBnClickedDoIpIoCtl()
{
    OpenOnce(m_pDoIpIoCtlDlg, "The DoIP IoCtl dialog is already open!",
             [this] { return std::make_shared<DoIPIoCtlDlg>(m_ui, *this); });
}

void CQuillonDlg::OnBnClickedVciWlanStat()
{
    OpenOnce(m_pWlanStatDlg, "The VCI WLAN Statistics dialog is already open!",
             [this] { return std::make_shared<VCIWLANStatDialog>(m_ui, *this); });
}

void CQuillonDlg::OnBnClickedSetTracePath()
{
    OpenOnce(m_pTraceOptionsDlg, "The set trace options dialog is already open!",
             [this] { return std::make_shared<SetTraceOptionsDialog>(m_ui, *this); });
}

// SOD and Broker open a new window on every press; the pointer names the newest one.
void CQuillonDlg::OnBnClickedSodConf()
{
    m_pSodConfDlg = OpenServiceDialog(std::make_shared<SODConfDialog>(m_ui, *this));
}

void CQuillonDlg::OnBnClickedBroker()
{
    m_pBrokerDlg = OpenServiceDialog(std::make_shared<SetBrokerDialog>(m_ui, *this));
}

std::vector<std::string> CQuillonDlg::ModuleNames()
{
    std::vector<std::string> names;
    for (const auto& item : m_ModuleCombo.Items()) names.push_back(item.text);
    return names;
}

uint32_t CQuillonDlg::GetModuleHandleByName(const std::string& name)
{
    std::lock_guard lock(PrintLock);  // the event thread may be rebuilding the module records
    const PduModuleRec* module = FindModule(name);
    return module ? module->hMod : PDU_HANDLE_UNDEF;
}

// An older SOD or Broker window that closes leaves the pointer to the newer one alone.
void CQuillonDlg::OnServiceDialogClosed(Dialog& dialog)
{
    const auto open = std::find_if(m_ServiceDialogs.begin(), m_ServiceDialogs.end(),
                                   [&dialog](const auto& d) { return d.get() == &dialog; });
    if (open == m_ServiceDialogs.end()) return;
    m_ui.DestroyWindow(dialog);
    for (Dialog** pointer : {&m_pDoIpIoCtlDlg, &m_pWlanStatDlg, &m_pTraceOptionsDlg, &m_pSodConfDlg, &m_pBrokerDlg}) {
        if (*pointer == &dialog) *pointer = nullptr;
    }
    m_ClosedServiceDialogs.push_back(std::move(*open));
    m_ServiceDialogs.erase(open);
}
