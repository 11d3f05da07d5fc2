#include "service_dialogs/DoIPIoCtlDlg.h"

#include <cstdio>
#include <cstdlib>

#include "pdu/MorvaneExtensions.h"
#include "pdu/PduApi.h"
#include "service_dialogs/IpAddress.h"

using controls::Notification;

namespace {

const char* const kIoCtlNames[] = {
    "PDU_IOCTL_VEHICLE_ID_REQUEST",        "PDU_IOCTL_SET_ETH_SWITCH_STATE", "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE",
    "PDU_IOCTL_GET_ENTITY_STATUS",         "PDU_IOCTL_GET_ETH_SWITCH_STATE", "PDU_IOCTL_GET_ETH_PIN_OPTION",
    PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST,
};

UNUM32 Number(const controls::Edit& edit)
{
    return static_cast<UNUM32>(std::strtol(edit.GetWindowText().c_str(), nullptr, 10));
}

// An answer item goes back to the library whatever became of it.
struct AnswerItem {
    PDU_DATA_ITEM* item = nullptr;
    ~AnswerItem()
    {
        if (item) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    }
    bool Is(T_PDU_IT type) const { return item && item->ItemType == type && item->pData; }
    UNUM32 Number() const { return *static_cast<const UNUM32*>(item->pData); }
};

}  // namespace

DoIPIoCtlDlg::DoIPIoCtlDlg(ui::Ui& ui, ServiceDialogHost& host)
    : ServiceDialog(ui, host, IDD, "DoIP IoCtl Dialog"),
      m_VehicleIdGroup(IDC_VEHICLE_ID_GROUP, "Vehicle Identification Request"),
      m_SwitchGroup(IDC_SWITCH_GROUP, "Ethernet Switch State"),
      m_EntityGroup(IDC_ENTITY_GROUP, "Get Diagnostic Power Mode/Entity Status"),
      m_IoCtlCombo(IDC_IOCTL_TYPE, "IoCtl Type", false, false),
      m_PreselectionModeEdit(IDC_PRESELECTION_MODE, "PreselectionMode (0...2)"),
      m_PreselectionValueEdit(IDC_PRESELECTION_VALUE, "PreselectionValue"),
      m_CombinationModeEdit(IDC_COMBINATION_MODE, "CombinationMode (0...3)"),
      m_DiscoveryTimeEdit(IDC_DISCOVERY_TIME, "VehicleDiscoveryTime (ms)"),
      m_DestAddressCombo(IDC_DEST_ADDRESS, "DestAddress"),
      m_ActivationPinEdit(IDC_ACTIVATION_PIN, "Ethernet Activation Pin Number"),
      m_SenseStateEdit(IDC_SENSE_STATE, "Ethernet Sense State"),
      m_CurrentEdit(IDC_CURRENT, "Current:"),
      m_PinOptionEdit(IDC_PIN_OPTION, "Ethernet Pin Option:"),
      m_LogicalAddressEdit(IDC_LOGICAL_ADDRESS, "Logical Address"),
      m_TimeoutEdit(IDC_TIMEOUT, "Timeout"),
      m_ModuleCombo(IDC_MODULE_ID, "Module ID", false, false),
      m_SendIoCtlButton(IDC_SEND_IOCTL, "Send IoCtl"),
      m_ResultEdit(IDC_RESULT, "Result")
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_IoCtlCombo, &m_VehicleIdGroup, &m_PreselectionModeEdit, &m_PreselectionValueEdit, &m_CombinationModeEdit,
             &m_DiscoveryTimeEdit, &m_DestAddressCombo, &m_SwitchGroup, &m_ActivationPinEdit, &m_SenseStateEdit,
             &m_CurrentEdit, &m_PinOptionEdit, &m_EntityGroup, &m_LogicalAddressEdit, &m_TimeoutEdit, &m_ModuleCombo,
             &m_SendIoCtlButton, &m_ResultEdit})
        AddControl(*c);
    m_CurrentEdit.SetReadOnly(true);
    m_PinOptionEdit.SetReadOnly(true);
    m_ResultEdit.SetReadOnly(true);
    On(m_ModuleCombo, Notification::SelChange, [this] { OnCbnSelchangeModule(); });
    On(m_SendIoCtlButton, Notification::Clicked, [this] { OnBnClickedSendIoCtl(); });
}

bool DoIPIoCtlDlg::OnInitDialog()
{
    m_IoCtlCombo.ResetContent();
    for (const char* name : kIoCtlNames) m_IoCtlCombo.AddString(name);
    m_IoCtlCombo.SetCurSel(0);
    m_PreselectionModeEdit.SetWindowText("0");
    m_PreselectionValueEdit.SetWindowText("");
    m_CombinationModeEdit.SetWindowText("0");
    m_DiscoveryTimeEdit.SetWindowText("1000");
    m_DestAddressCombo.ResetContent();
    m_DestAddressCombo.AddString("255.255.255.255");
    m_DestAddressCombo.AddString("ff02::1");
    m_DestAddressCombo.SetCurSel(0);
    m_ActivationPinEdit.SetWindowText("8");
    m_SenseStateEdit.SetWindowText("1");
    m_CurrentEdit.SetWindowText("-");
    m_PinOptionEdit.SetWindowText("-");
    m_LogicalAddressEdit.SetWindowText("0x1");
    m_TimeoutEdit.SetWindowText("1000");
    m_ResultEdit.SetWindowText("");
    m_ModuleCombo.ResetContent();
    const uint32_t module = SelectedMainModule();
    char text[32];
    std::snprintf(text, sizeof text, "0x%x", module);
    m_ModuleCombo.AddString(module == PDU_HANDLE_UNDEF ? "PDU_HANDLE_UNDEF" : text);
    m_ModuleCombo.AddString("PDU_HANDLE_UNDEF");
    m_ModuleCombo.SetCurSel(0);
    OnCbnSelchangeModule();
    return true;
}

void DoIPIoCtlDlg::OnCbnSelchangeModule()
{
    const int sel = m_ModuleCombo.GetCurSel();
    const std::string text = sel >= 0 ? m_ModuleCombo.GetLBText(sel) : m_ModuleCombo.GetWindowText();
    if (!text.empty() && text[0] == 'P') {
        m_hModule = PDU_HANDLE_UNDEF;
        return;
    }
    const size_t hex = text.find("0x");
    m_hModule = static_cast<uint32_t>(std::strtoul(hex == std::string::npos ? text.c_str() : text.c_str() + hex + 2, nullptr, 16));
}

void DoIPIoCtlDlg::ShowResult(const std::string& text)
{
    m_ResultEdit.SetWindowText(text.substr(0, 99));
}

void DoIPIoCtlDlg::OnBnClickedSendIoCtl()
{
    const int sel = m_IoCtlCombo.GetCurSel();
    const std::string name = sel >= 0 ? m_IoCtlCombo.GetLBText(sel) : m_IoCtlCombo.GetWindowText();
    ShowResult("...");
    m_ui.RedrawNow(*this);
    T_PDU_ERROR result = PDU_STATUS_NOERROR;
    bool called = false;
    bool entityQuery = false;
    std::string success;  // the power mode's own text for a success
    if (name == PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST) {
        called = ClearEntityList(result);
    } else if (name == "PDU_IOCTL_VEHICLE_ID_REQUEST") {
        called = VehicleIdRequest(result);
    } else if (name == "PDU_IOCTL_SET_ETH_SWITCH_STATE") {
        called = SetSwitchState(result);
    } else if (name == "PDU_IOCTL_GET_ETH_SWITCH_STATE") {
        called = GetPinValue(name.c_str(), m_CurrentEdit, result);
    } else if (name == "PDU_IOCTL_GET_ETH_PIN_OPTION") {
        called = GetPinValue(name.c_str(), m_PinOptionEdit, result);
    } else if (name == "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE") {
        called = GetPowerMode(result, success);
        entityQuery = true;
    } else if (name == "PDU_IOCTL_GET_ENTITY_STATUS") {
        called = GetEntityStatus(result);
        entityQuery = true;
    }
    if (!called) return;
    m_LastStatus = result;
    if (result == PDU_STATUS_NOERROR && !success.empty()) {
        ShowResult(success);
        return;
    }
    if (const char* text = ResultText(result, entityQuery)) ShowResult(text);
}

const char* DoIPIoCtlDlg::ResultText(T_PDU_ERROR result, bool entityQuery)
{
    switch (result) {
    case PDU_STATUS_NOERROR: return "PDU_STATUS_NOERROR";
    case PDU_ERR_FCT_FAILED: return "PDU_ERR_FCT_FAILED";
    case PDU_ERR_COMM_PC_TO_VCI_FAILED: return "PDU_ERR_COMM_PC_TO_VCI_FAILED";
    case PDU_ERR_PDUAPI_NOT_CONSTRUCTED: return "PDU_ERR_PDUAPI_NOT_CONSTRUCTED";
    case PDU_ERR_INVALID_PARAMETERS: return "PDU_ERR_INVALID_PARAMETERS";
    case PDU_ERR_INVALID_HANDLE: return "PDU_ERR_INVALID_HANDLE";
    case PDU_ERR_MODULE_NOT_CONNECTED: return "PDU_ERR_MODULE_NOT_CONNECTED";
    case PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED: return "PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED";
    default: break;
    }
    if (!entityQuery) return result == PDU_ERR_ID_NOT_SUPPORTED ? "PDU_ERR_ID_NOT_SUPPORTED" : nullptr;
    if (result == PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS) return "PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS";
    if (result == PDU_ERR_DOIP_RESPONSE_TIMEOUT) return "PDU_ERR_DOIP_RESPONSE_TIMEOUT";
    return "PDUIoCtl unexpected return code.";
}

bool DoIPIoCtlDlg::IoCtlId(const char* name, uint32_t& id)
{
    if (ResolveIoCtl(name, id)) return true;
    m_ui.MessageBox(std::string("PDUGetObjectId failed for ") + name, "", ui::MB_OK);
    return false;
}

bool DoIPIoCtlDlg::ClearEntityList(T_PDU_ERROR& result)
{
    uint32_t id = 0;
    if (!IoCtlId(PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST, id)) return false;
    result = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, id, nullptr, nullptr);
    return true;
}

bool DoIPIoCtlDlg::VehicleIdRequest(T_PDU_ERROR& result)
{
    PDU_IO_VEHICLE_ID_REQUEST request{};
    request.PreselectionMode = Number(m_PreselectionModeEdit);
    std::vector<char> value;
    if (request.PreselectionMode != 0) {
        const std::string text = m_PreselectionValueEdit.GetWindowText();
        if (text.empty()) {
            ShowResult("Error: PreselectionValue not set");
            return false;
        }
        value = TextCopy(text);
        request.PreselectionValue = value.data();
    }
    request.CombinationMode = Number(m_CombinationModeEdit);
    request.VehicleDiscoveryTime = Number(m_DiscoveryTimeEdit);
    const std::string address = m_DestAddressCombo.GetWindowText();
    IpAddress parsed;
    PDU_IP_ADDR_INFO destination{};
    if (!address.empty()) {
        // A zone behind "%" is read and has no place in the record; IpAddress drops it.
        const int version = address.find(':') != std::string::npos ? 6 : address.find('.') != std::string::npos ? 4 : 0;
        if (version == 0 || !IpAddress::Parse(address, version, parsed)) {
            ShowResult("Error: Check IP Address format");
            return false;
        }
        destination.IpVersion = static_cast<UNUM32>(version);
        destination.pAddress = parsed.bytes;
        request.NumDestinationAddresses = 1;
        request.pDestinationAddresses = &destination;
    }
    uint32_t id = 0;
    if (!IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST", id)) return false;
    PDU_DATA_ITEM item{PDU_IT_IO_VEHICLE_ID_REQUEST, &request};
    result = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, id, &item, nullptr);
    return true;
}

bool DoIPIoCtlDlg::SetSwitchState(T_PDU_ERROR& result)
{
    PDU_IO_ETH_SWITCH_STATE state{};
    state.EthernetActPinNumber = Number(m_ActivationPinEdit);
    state.EthernetSenseState = Number(m_SenseStateEdit);
    uint32_t id = 0;
    if (!IoCtlId("PDU_IOCTL_SET_ETH_SWITCH_STATE", id)) return false;
    PDU_DATA_ITEM item{PDU_IT_IO_ETH_SWITCH_STATE, &state};
    result = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, id, &item, nullptr);
    if (result == PDU_STATUS_NOERROR) m_CurrentEdit.SetWindowText("-");
    return true;
}

bool DoIPIoCtlDlg::GetPinValue(const char* name, controls::Edit& shown, T_PDU_ERROR& result)
{
    UNUM32 pin = Number(m_ActivationPinEdit);
    uint32_t id = 0;
    if (!IoCtlId(name, id)) return false;
    PDU_DATA_ITEM item{PDU_IT_IO_UNUM32, &pin};
    AnswerItem answer;
    result = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, id, &item, &answer.item);
    shown.SetWindowText(answer.Is(PDU_IT_IO_UNUM32) ? std::to_string(answer.Number()) : "-");
    return true;
}

// Both fields are read in base 10: the starting "0x1" reaches the library as 0.
PDU_IO_ENTITY_ADDRESS_DATA DoIPIoCtlDlg::EntityAddress() const
{
    return {Number(m_LogicalAddressEdit), Number(m_TimeoutEdit)};
}

// Power mode and entity status: the entity's address in, an answer item out.
bool DoIPIoCtlDlg::EntityQuery(const char* name, PDU_DATA_ITEM** answer, T_PDU_ERROR& result)
{
    PDU_IO_ENTITY_ADDRESS_DATA address = EntityAddress();
    uint32_t id = 0;
    if (!IoCtlId(name, id)) return false;
    PDU_DATA_ITEM item{PDU_IT_IO_ENTITY_ADDRESS, &address};
    result = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, id, &item, answer);
    return true;
}

bool DoIPIoCtlDlg::GetPowerMode(T_PDU_ERROR& result, std::string& success)
{
    AnswerItem answer;
    if (!EntityQuery("PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE", &answer.item, result)) return false;
    if (result != PDU_STATUS_NOERROR) return true;
    char text[100];
    if (answer.Is(PDU_IT_IO_UNUM32))
        std::snprintf(text, sizeof text, "PDU_STATUS_NOERROR: powerMode=%d", static_cast<int>(answer.Number()));
    else
        std::snprintf(text, sizeof text, "PDU_STATUS_NOERROR: powerMode=<n/a>");
    success = text;
    return true;
}

// The status record itself is not shown: a success is all the dialog reports.
bool DoIPIoCtlDlg::GetEntityStatus(T_PDU_ERROR& result)
{
    AnswerItem answer;
    return EntityQuery("PDU_IOCTL_GET_ENTITY_STATUS", &answer.item, result);
}
