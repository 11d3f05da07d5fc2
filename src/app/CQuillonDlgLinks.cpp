// Link launch: "Open LoLi" creates a ComLogicalLink and its window; "OpenLastLink" replays a
// remembered selection; "..." chooses which one.
#include <algorithm>
#include <cstdio>

#include "app/CQuillonDlg.h"
#include "description/NumberText.h"
#include "logical_link/LoLiDialog.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

constexpr uint32_t kFlagsWithoutResource = 0x2000040;

}  // namespace

std::vector<ErrorCodeInfo> CQuillonDlg::CopyVendorErrors()
{
    std::lock_guard lock(PrintLock);
    return m_ErrorCodes;
}

std::shared_ptr<CLinkBaseDlg> CQuillonDlg::CreateLinkDialog()
{
    if (m_bMonitorMode) return MakeLinkDialog<LoLiDialogKeldaPDUAPI>(m_ui);
    return MakeLinkDialog<LoLiDialog>(m_ui);
}

// The texts of the Resource Info edits, the title's protocol and label, the flag bytes.
void CQuillonDlg::FillLinkFields(CLinkBaseDlg& link)
{
    link.m_protocolName = m_InfoProtocolEdit.GetWindowText();
    link.m_busTypeName = m_InfoBustypeEdit.GetWindowText();
    link.m_pinsText = m_InfoPinsEdit.GetWindowText();
    link.m_pMainDlg = this;
    link.m_title = link.m_protocolName;
    const std::string label = m_LabelEdit.GetWindowText();
    if (!label.empty()) link.m_title += " - " + label;
    const uint32_t flags = ParseULong32(m_LoLiCreateFlagsEdit.GetWindowText(), 0);
    for (int i = 0; i < 4; ++i) link.m_createFlags[i] = static_cast<uint8_t>(flags >> (8 * i));
}

void CQuillonDlg::OnBnClickedOpenLoLi()
{
    if (!m_bApiUsable) {
        m_ui.MessageBox("Error in the selected MVCI module, check the log window!\n", "", ui::MB_OK);
        return;
    }
    if (ParseULong32(m_LoLiCreateFlagsEdit.GetWindowText(), 0) == kFlagsWithoutResource) {
        OpenLoLiWithoutResource();
        return;
    }
    if (m_pPduModules.empty()) {
        m_ui.MessageBox("Error: PDU-API Modules not found, parse the MDF file!", "", ui::MB_OK);
        return;
    }
    if (m_SelectedResourceId == 0) {
        m_ui.MessageBox("The selected resource is not available !", "", ui::MB_OK);
        return;
    }
    // Before anything can fail: a failed attempt is remembered too.
    if (!m_bReplayingHistory) m_History.Add(m_CurrentEntry);
    std::shared_ptr<CLinkBaseDlg> link = CreateLinkDialog();
    FillLinkFields(*link);
    PduModuleRec* module = nullptr;
    {
        std::lock_guard lock(PrintLock);
        const int sel = m_ModuleCombo.GetCurSel();
        module = sel < 0 ? nullptr : FindModule(m_ModuleCombo.GetLBText(sel));
    }
    if (!module) return;
    char suffix[300];
    std::snprintf(suffix, sizeof suffix, " on %s(%d)", module->displayName.c_str(), static_cast<int>(m_SelectedResourceId));
    link->m_title += suffix;
    if (!CreateLink(link, module, nullptr, m_SelectedResourceId)) return;
    ShowLinkWindow(link, module->displayName);
}

void CQuillonDlg::OpenLoLiWithoutResource()
{
    if (!m_bReplayingHistory) m_History.Add(m_CurrentEntry);
    if (!m_bMonitorMode) {
        Log("%s", kShortSeparator);
        Log("Error: Could not create a new LogicalLink dialog!\n");
        return;
    }
    std::shared_ptr<CLinkBaseDlg> link = CreateLinkDialog();
    FillLinkFields(*link);
    PduModuleRec* module = nullptr;
    {
        std::lock_guard lock(PrintLock);
        const int sel = m_MonitorVciCombo.GetCurSel();
        module = sel < 0 ? nullptr : FindModule(m_MonitorVciCombo.GetLBText(sel));
    }
    // The API resolves the resource itself: by the selection's data on a module, else by id.
    const bool created = module ? CreateLink(link, module, m_pRscData.get(), PDU_ID_UNDEF)
                                : CreateLink(link, nullptr, nullptr, m_SelectedResourceId);
    if (!created) return;
    m_bLinkWithoutResource = true;
    ShowLinkWindow(link, module ? module->displayName : std::string());
    m_bLinkWithoutResource = false;
}

bool CQuillonDlg::CreateLink(const std::shared_ptr<CLinkBaseDlg>& link, const PduModuleRec* module,
                             PDU_RSC_DATA* rscData, uint32_t resourceId)
{
    std::vector<UNUM8> flagBytes(link->m_createFlags, link->m_createFlags + 4);
    PDU_FLAG_DATA flags{4, flagBytes.data()};
    link->m_hMod = module ? module->hMod : PDU_HANDLE_UNDEF;
    link->m_resourceId = m_SelectedResourceId;
    if (module) {
        for (const ResourceInfo* r : module->resources) {
            if (r->id != m_SelectedResourceId) continue;
            link->m_protocolId = r->protocolId;
            link->m_busTypeId = r->busTypeId;
            break;
        }
    }
    Log("\n************* Opening Logical-Link *****************\n\n");
    UNUM32 hCLL = 0;
    m_LastPduStatus = PduApi.PDUCreateComLogicalLink(link->m_hMod, rscData, resourceId, link->LinkTag(), &hCLL, &flags);
    Log("%s", kShortSeparator);
    Log("Return of PDUCreateComLogicalLink:\n%s\n", PduStatusText(m_LastPduStatus));
    if (m_LastPduStatus != PDU_STATUS_NOERROR) {
        link->m_pMainDlg = nullptr;
        return false;
    }
    link->m_hCLL = hCLL;
    Log("%s", kShortSeparator);
    Log("LogicalLink handler: %d\n", static_cast<int>(hCLL));
    m_LinkDialogs.push_back(link.get());
    m_OwnedLinks.push_back(link);
    return true;
}

void CQuillonDlg::ShowLinkWindow(const std::shared_ptr<CLinkBaseDlg>& link, const std::string& moduleName)
{
    // A failed start leaves the window with its log but without workers and timer; show the log
    // once, so the user can read why.
    if (!link->OnInitDialog()) link->LogList()->Flush();
    m_ui.ShowModeless(*link);
    if (m_AlignMode == 1) link->PlaceRightOfCenter(*this);
    if (m_AlignMode == 2) link->PlaceRightOf(*this);
    for (LinkSlot& slot : m_LinkSlots) {
        if (slot.hCLL != 0) continue;
        slot = LinkSlot{link.get(), link->m_hCLL};
        break;
    }
    const uint32_t hMod = link->m_hMod;
    m_ModuleLinkRegistry.AddModule(moduleName, hMod);
    m_ModuleLinkRegistry.AddLink(moduleName, link->m_hCLL, link->m_protocolName, link->m_busTypeName, link->m_pinsText);
}

void CQuillonDlg::OnLinkClosed(CLinkBaseDlg* dialog)
{
    if (CloseMonitorWindow(dialog)) return;
    const auto listed = std::find(m_LinkDialogs.begin(), m_LinkDialogs.end(), dialog);
    if (!dialog || listed == m_LinkDialogs.end()) return;
    for (LinkSlot& slot : m_LinkSlots) {
        if (slot.hCLL != dialog->m_hCLL) continue;
        slot = LinkSlot{};
        break;
    }
    m_ui.DestroyWindow(*dialog);
    m_ModuleLinkRegistry.RemoveLink(dialog->m_hMod, dialog->m_hCLL);
    // Let go once the handler that closed it has returned: it still runs on the dialog.
    const auto owned = std::find_if(m_OwnedLinks.begin(), m_OwnedLinks.end(),
                                    [dialog](const auto& link) { return link.get() == dialog; });
    if (owned != m_OwnedLinks.end()) {
        m_ClosedLinks.push_back(std::move(*owned));
        m_OwnedLinks.erase(owned);
    }
    m_LinkDialogs.erase(std::find(m_LinkDialogs.begin(), m_LinkDialogs.end(), dialog));
}

// ---------------------------------------------------------------- history

void CQuillonDlg::OnBnClickedHistoryMenu()
{
    std::vector<ui::MenuItem> items;
    for (int i = 0; i < m_History.GetCount(); ++i) {
        const HistoryEntry& e = m_History.GetAt(i);
        const std::string module = e.MVCIModule.substr(0, e.MVCIModule.find(' '));
        char text[1200];
        std::snprintf(text, sizeof text, "%d: %s | %s | %s | %s | %s", i, e.PDUShortName.c_str(), module.c_str(),
                      e.Protocol.c_str(), e.Bustype.c_str(), e.Pins.c_str());
        // Commands count from 1 here; the menu answers 0 when nothing was chosen.
        items.push_back(ui::MenuItem{i + 1, text, i == m_HistoryIndex, true});
    }
    const int chosen = m_ui.PopupMenu(*this, items);
    // A cancelled menu selects the newest entry, as index 0 and "nothing" are one answer.
    m_HistoryIndex = chosen > 0 ? chosen - 1 : 0;
}

bool CQuillonDlg::ReplaySelect(controls::ComboBox& combo, const std::string& text, void (CQuillonDlg::*handler)())
{
    const int index = combo.FindStringExact(-1, text);
    if (index < 0) return false;
    combo.SetCurSel(index);
    (this->*handler)();
    return true;
}

void CQuillonDlg::OnBnClickedOpenLastLink()
{
    if (m_HistoryIndex < 0 || m_HistoryIndex >= m_History.GetCount()) return;
    m_CurrentEntry = m_History.GetAt(m_HistoryIndex);
    // Stays set when a step fails, so the handlers don't overwrite the entry, until a replay
    // gets through.
    m_bReplayingHistory = true;
    if (!m_bApiReplayed) {
        int api = -1;
        for (int i = 0; i < m_ApiCombo.GetCount() && api < 0; ++i) {
            const auto name = m_ApiCombo.GetInfo(i);
            if (name && *name == m_CurrentEntry.PDUShortName) api = i;
        }
        if (api < 0) return;
        m_ApiCombo.SetCurSel(api);
        OnCbnSelchangeApi();
        OnBnClickedParseMdf();
        m_bApiReplayed = true;
    }
    if (!ReplaySelect(m_ModuleCombo, m_CurrentEntry.MVCIModule, &CQuillonDlg::OnCbnSelchangeModule)) return;
    OnBnClickedModuleConnect();
    if (!ReplaySelect(m_ProtocolCombo, m_CurrentEntry.Protocol, &CQuillonDlg::OnCbnSelchangeProtocol)) return;
    if (!ReplaySelect(m_BustypeCombo, m_CurrentEntry.Bustype, &CQuillonDlg::OnCbnSelchangeBustype)) return;
    if (!ReplaySelect(m_CableCombo, m_CurrentEntry.Cable, &CQuillonDlg::OnCbnSelchangeCable)) return;
    if (!ReplaySelect(m_PinsCombo, m_CurrentEntry.Pins, &CQuillonDlg::OnCbnSelchangePins)) return;
    OnBnClickedOpenLoLi();
    m_bReplayingHistory = false;
}
