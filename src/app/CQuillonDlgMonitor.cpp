// Monitor launch: "open MoLi" finds out which hardware the monitor VCI is, takes the library's
// monitor service and opens a monitor window on it.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "app/CQuillonDlg.h"
#include "description/HardwareModel.h"
#include "monitor_link/CDoIpMoLiDlg.h"
#include "pdu/MorvaneExtensions.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

constexpr size_t kChannelTextSize = 20;
constexpr size_t kVciTextSize = 128;

// Outside devices that monitor through the pass-thru class.
const char* const kPassThruDevices[] = {
    "Mongoose", "CarDAQ PLUS", "VSI-2534", "PassThru+ XS", "BSE-2534 Global Programmer", "ES581.4", "PCANPT32 PEAK",
    "KTS", "DPA 5 Dearborn Group, Inc.", "DST-i DENSO CORPORATION", "QTR7101#", "QTR7101A#", "QTR7102#",
};

bool Contains(const std::string& text, const char* piece) { return text.find(piece) != std::string::npos; }

std::string FirstWords(const std::string& text, int words)
{
    size_t end = 0;
    for (int i = 0; i < words && end != std::string::npos; ++i) end = text.find(' ', i == 0 ? 0 : end + 1);
    return text.substr(0, end);
}

// The device name in the form the monitor service wants.
std::string MonitorHardwareName(const std::string& text, uint32_t hardwareType)
{
    const std::pair<const char*, const char*> named[] = {
        {"VSI-2534", "VSI-2534"}, {"BSE-2534 Global Programmer", "BSE-2534 Global Programmer"},
        {"PassThru+ XS 2G", "PassThru+ XS 2G"}, {"ES581.4", "ES581.4"}, {"PCANPT32 PEAK", "PCANPT32"},
        {"KTS", "KTS"}, {"DST-i DENSO CORPORATION", "DST-i"},
    };
    for (const auto& [piece, name] : named)
        if (Contains(text, piece)) return name;
    for (const char* piece : {"QTR7101#", "QTR7101A#", "QTR7102#", "ZentaStick#", "BrontoMax#", "BusStick_USB#"})
        if (Contains(text, piece)) return FirstWords(text, 1);
    if (hardwareType == CMoLiDlg::kPassThruHardwareType) return FirstWords(text, 2);
    const size_t blank = text.rfind(' ');
    return blank == std::string::npos ? text : text.substr(blank + 1);
}

std::string ComboText(const controls::ComboBox& combo, size_t size)
{
    const int sel = combo.GetCurSel();
    const std::string text = sel >= 0 ? combo.GetLBText(sel) : combo.GetWindowText();
    return text.substr(0, size);
}

}  // namespace

void CQuillonDlg::OnBnClickedOpenMoLi()
{
    Log("\n************* Opening Monitor-Link *****************\n\n");
    const std::string channel = ComboText(m_ChannelCombo, kChannelTextSize);
    if (std::string("DOIP").find(channel) != std::string::npos) {
        if (m_bPduConstructed) {
            OpenDoIpMoLi();
            return;
        }
        Log("%s", kShortSeparator);
        Log("Error: Could not create a new MonitorLink dialog! PDU API is not constructed!\n");
        return;
    }
    const std::string vciText = ComboText(m_MonitorVciCombo, kVciTextSize);
    uint32_t hardwareType = 0;
    if (!FindMonitorHardware(vciText, hardwareType)) return;
    PduModuleRec* module = FindModule(vciText);
    KdMonitorService* service = module ? GetMonitorService(*module) : nullptr;
    if (!service) return;
    std::shared_ptr<CMoLiDlg> dialog = CreateMoLiDialog(vciText, hardwareType, channel, *module);
    dialog->m_pMonitorService = service;
    m_MonitorDialogs.push_back(dialog);
    // A failed start has closed the window already.
    if (!dialog->OnInitDialog()) return;
    m_ui.ShowModeless(*dialog);
    if (m_AlignMode == 1) dialog->PlaceRightOfCenter(*this);
    if (m_AlignMode == 2) dialog->PlaceRightOf(*this);
}

// The DoIP monitor window runs on an ordinary link of the module of the monitor VCI combo.
void CQuillonDlg::OpenDoIpMoLi()
{
    auto dialog = MakeLinkDialog<CDoIpMoLiDlg>(m_ui);
    dialog->m_protocolName = m_InfoProtocolEdit.GetWindowText();
    dialog->m_pMainDlg = this;
    const PduModuleRec* module = FindModule(ComboText(m_MonitorVciCombo, kVciTextSize));
    dialog->m_hMod = module ? module->hMod : PDU_HANDLE_UNDEF;
    char title[400];
    std::snprintf(title, sizeof title, "Monitor on %s(%d)", "DoIp instance", static_cast<int>(m_SelectedResourceId));
    dialog->m_title = title;
    const std::string label = m_LabelEdit.GetWindowText();
    if (!label.empty()) dialog->m_title += " - " + label;
    m_MonitorDialogs.push_back(dialog);
    if (!dialog->OnInitDialog()) return;
    m_ui.ShowModeless(*dialog);
    if (m_AlignMode == 1) dialog->PlaceRightOfCenter(*this);
    if (m_AlignMode == 2) dialog->PlaceRightOf(*this);
}

bool CQuillonDlg::FindMonitorHardware(const std::string& vciText, uint32_t& hardwareType)
{
    const std::string key = FirstWords(vciText, 1);
    if (key.empty()) {
        Log("No VCI connected for monitoring or MDF file is not parsed\n");
        return false;
    }
    const int row = FindHardwareModel(key);
    if (row < HardwareModelCount()) {
        hardwareType = HardwareModelAt(row).moduleTypeId;
        if (!IsDoIpHardwareType(hardwareType)) return true;
        m_ui.MessageBox("MonitorLink not supported on DoIP modules!", "", ui::MB_OK);
        return false;
    }
    const bool passThru = std::any_of(std::begin(kPassThruDevices), std::end(kPassThruDevices),
                                      [&](const char* device) { return Contains(vciText, device); });
    if (!passThru) {
        Log("Hardware not supported for monitoring or MDF file is not parsed\n");
        return false;
    }
    hardwareType = CMoLiDlg::kPassThruHardwareType;
    return true;
}

// The service object lives in the library; the IOCTL gives its address.
KdMonitorService* CQuillonDlg::GetMonitorService(const PduModuleRec& module)
{
    uint32_t ioctl = 0;
    if (!ResolveIoCtl(PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE, ioctl)) {
        m_ui.MessageBox(std::string("PDUGetObjectId failed for ") + PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE, "", ui::MB_OK);
        return nullptr;
    }
    PDU_DATA_ITEM* out = nullptr;
    m_LastPduStatus = PduApi.PDUIoCtl(module.hMod, PDU_HANDLE_UNDEF, ioctl, nullptr, &out);
    KdMonitorService* service = nullptr;
    if (m_LastPduStatus == PDU_STATUS_NOERROR && out && out->ItemType == PDU_IT_IO_BYTEARRAY && out->pData) {
        const auto* array = static_cast<const PDU_IO_BYTEARRAY_DATA*>(out->pData);
        uintptr_t address = 0;
        if (array->pData && array->DataSize >= 8) std::memcpy(&address, array->pData, sizeof address);
        service = reinterpret_cast<KdMonitorService*>(address);
    }
    if (out) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
    if (service) return service;
    Log("%s", kShortSeparator);
    Log("Return of PDUIoCtl:\n%s\n", PduStatusText(m_LastPduStatus));
    Log("Error: Could not create a new MonitorLink dialog!\n");
    return nullptr;
}

std::shared_ptr<CMoLiDlg> CQuillonDlg::CreateMoLiDialog(const std::string& vciText, uint32_t hardwareType,
                                                        const std::string& channel, const PduModuleRec& module)
{
    auto dialog = MakeLinkDialog<CMoLiDlg>(m_ui);
    dialog->m_hardwareType = hardwareType;
    std::snprintf(dialog->m_hardwareName, sizeof dialog->m_hardwareName, "%s",
                  MonitorHardwareName(vciText, hardwareType).c_str());
    std::snprintf(dialog->m_busName, sizeof dialog->m_busName, "%s", channel.c_str());
    dialog->m_protocolName = m_InfoProtocolEdit.GetWindowText();
    dialog->m_busTypeName = m_InfoBustypeEdit.GetWindowText();
    dialog->m_pMainDlg = this;
    char title[400];
    std::snprintf(title, sizeof title, "Monitor on %s(%d)", module.displayName.c_str(),
                  static_cast<int>(m_SelectedResourceId));
    dialog->m_title = title;
    const std::string label = m_LabelEdit.GetWindowText();
    if (!label.empty()) dialog->m_title += " - " + label;
    dialog->m_hMod = module.hMod;
    dialog->m_resourceId = m_SelectedResourceId;
    for (const ResourceInfo* r : module.resources) {
        if (r->id != m_SelectedResourceId) continue;
        dialog->m_protocolId = r->protocolId;
        dialog->m_busTypeId = r->busTypeId;
        break;
    }
    return dialog;
}

bool CQuillonDlg::CloseMonitorWindow(CLinkBaseDlg* dialog)
{
    const auto it = std::find_if(m_MonitorDialogs.begin(), m_MonitorDialogs.end(),
                                 [dialog](const auto& monitor) { return monitor.get() == dialog; });
    if (it == m_MonitorDialogs.end()) return false;
    m_ui.DestroyWindow(*dialog);
    // Let go once the handler that closed it has returned.
    m_ClosedLinks.push_back(std::move(*it));
    m_MonitorDialogs.erase(it);
    return true;
}

void CQuillonDlg::DetachMonitorWindows()
{
    for (const auto& monitor : m_MonitorDialogs) monitor->DetachService();
}
