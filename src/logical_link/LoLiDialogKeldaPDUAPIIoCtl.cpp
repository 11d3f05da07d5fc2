// The buttons of the full link window that call PDUIoCtl.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "editors/IoCtlFilterDialog.h"
#include "logical_link/LinkHost.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "service_dialogs/BusTraceRequest.h"
#include "service_dialogs/CBusMonitoringDlg.h"
#include "service_dialogs/ProxyComParamText.h"

namespace {

constexpr const char* kSeparator = LinkEventDecoder::kSeparator;

constexpr const char* kWrongItem = "   resulting item type was not PDU_IT_IO_UNUM32\n";

// Millivolts the standard lets a programming voltage have, and its two special values.
bool IsValidVoltage(long mv)
{
    return (mv >= 5000 && mv <= 20000) || mv == -1 || mv == -2;
}

std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...)
{
    char buffer[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return buffer;
}

}  // namespace

// Network order: IPv4 in the record's last four bytes, IPv6 as eight groups.
std::string ProxyAddressText(const PDU_IO_PROXY_COM_PARAM_DATA& data)
{
    const UNUM8* a = data.IpAddress;
    if (data.IpVersion != 6) return Printf("%d.%d.%d.%d", a[12], a[13], a[14], a[15]);
    std::string text;
    for (int group = 0; group < 8; ++group)
        text += Printf(group ? ":%04x" : "%04x", (a[2 * group] << 8) | a[2 * group + 1]);
    return text;
}

namespace {

std::string PskText(const PDU_IO_PROXY_COM_PARAM_DATA& data)
{
    std::string text;
    for (int i = 0; i < 32; ++i) text += Printf(i ? " 0x%02x" : "0x%02x", data.SessionPsk[i]);
    return text;
}

// At most 512 characters, and never past the text's end.
std::string UriText(const PDU_IO_PROXY_COM_PARAM_DATA& data)
{
    if (!data.pUri) return {};
    size_t length = 0;
    while (length < 512 && data.pUri[length]) ++length;
    return std::string(data.pUri, length);
}

}  // namespace

void LoLiDialogKeldaPDUAPI::LogAlways(const std::string& text)
{
    if (m_pUIThread) m_pUIThread->Print(m_log, 0, text.c_str());
}

// A name the library doesn't know leaves the id undefined, which every later call refuses.
bool LoLiDialogKeldaPDUAPI::FindIoCtl(const char* name, UNUM32& id)
{
    id = PDU_ID_UNDEF;
    return PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<CHAR8*>(name), &id) == PDU_STATUS_NOERROR;
}

void LoLiDialogKeldaPDUAPI::QueueIoCtl(const char* name)
{
    UNUM32 id = PDU_ID_UNDEF;
    if (!FindIoCtl(name, id)) LogAlways(std::string("PDUGetObjectId failed for ") + name + ":\n");
    if (PduApi.PDUIoCtl(m_hMod, m_hCLL, id, nullptr, nullptr) != PDU_STATUS_NOERROR)
        LogAlways(std::string("PDUIoCtl failed for ") + name + ":\n");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedSuspend()
{
    QueueIoCtl("PDU_IOCTL_SUSPEND_TX_QUEUE");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedResume()
{
    QueueIoCtl("PDU_IOCTL_RESUME_TX_QUEUE");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedClearQueue()
{
    QueueIoCtl("PDU_IOCTL_CLEAR_TX_QUEUE");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedResetTimestamp()
{
    UNUM32 id = PDU_ID_UNDEF;
    FindIoCtl("PDU_IOCTL_RESET_TIMESTAMP", id);
    PduApi.PDUIoCtl(m_hMod, m_hCLL, id, nullptr, nullptr);
}

void LoLiDialogKeldaPDUAPI::OnBnClickedOnChange()
{
    m_ui.MessageBox("Is not implemented", "", ui::MB_OK);
}

// One of the two module values of "Explicit": the link handle is 0, as for the module itself.
// Without its id the ignition is not asked; the battery is asked all the same.
void LoLiDialogKeldaPDUAPI::ReadModuleValue(const char* name, PDU_DATA_ITEM* input, bool needsId, const ValueText& text)
{
    UNUM32 id = PDU_ID_UNDEF;
    if (!FindIoCtl(name, id)) {
        LogAlways(std::string("PDUGetObjectId failed for ") + name + ":\n");
        if (needsId) return;
    }
    PDU_DATA_ITEM* output = nullptr;
    const T_PDU_ERROR result = PduApi.PDUIoCtl(m_hMod, 0, id, input, &output);
    if (result != PDU_STATUS_NOERROR) {
        LogFormat("PDUIoCtl failed for %s.\n", name);
    } else if (output && output->ItemType != PDU_IT_IO_UNUM32) {
        LogFormat("PDUIoCtl failed for %s:\n", name);
        Log(kWrongItem);
    } else if (output && output->pData) {
        Log((std::string(name) + ": " + text(*static_cast<const UNUM32*>(output->pData))).c_str());
    }
    if (output) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
}

void LoLiDialogKeldaPDUAPI::OnBnClickedExplicit()
{
    UNUM32 off = 0;
    PDU_DATA_ITEM ignition{PDU_IT_IO_UNUM32, &off};
    ReadModuleValue("PDU_IOCTL_READ_IGNITION_SENSE_STATE", &ignition, true, [](UNUM32 value) -> std::string {
        return value == 1 ? "1 (On)\n" : value == 0 ? "0 (Off)\n" : "<undefined value>\n";
    });
    ReadModuleValue("PDU_IOCTL_READ_VBATT", nullptr, false,
                    [](UNUM32 value) { return Printf("%d mV\n", static_cast<int>(value)); });
}

void LoLiDialogKeldaPDUAPI::OnBnClickedSetVoltage()
{
    const long voltage = std::atol(m_VoltEdit.GetWindowText().c_str());
    if (!IsValidVoltage(voltage)) {
        m_ui.MessageBox("Illegal value for the voltage", "", ui::MB_OK);
        return;
    }
    UNUM32 id = PDU_ID_UNDEF;
    m_lastStatus = PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<CHAR8*>("PDU_IOCTL_SET_PROG_VOLTAGE"), &id);
    if (m_lastStatus != PDU_STATUS_NOERROR) LogAlways("PDUGetObjectId failed for PDU_IOCTL_SET_PROG_VOLTAGE:\n");
    PDU_IO_PROG_VOLTAGE_DATA data{static_cast<UNUM32>(voltage),
                                  static_cast<UNUM32>(std::atol(m_PinEdit.GetWindowText().c_str()))};
    PDU_DATA_ITEM input{PDU_IT_IO_PROG_VOLTAGE, &data};
    m_lastStatus = PduApi.PDUIoCtl(m_hMod, m_hCLL, id, &input, nullptr);
    Log(kSeparator);
    LogFormat("Return of PDUIoCtl:\n%s\n", PduStatusText(m_lastStatus));
    if (m_lastStatus != PDU_STATUS_NOERROR) Log("PDUIoCtl failed for PDU_IOCTL_SET_PROG_VOLTAGE\n");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedGetVoltage()
{
    UNUM32 id = PDU_ID_UNDEF;
    m_lastStatus = PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<CHAR8*>("PDU_IOCTL_READ_PROG_VOLTAGE"), &id);
    if (m_lastStatus != PDU_STATUS_NOERROR) LogAlways("PDUGetObjectId failed for PDU_IOCTL_READ_PROG_VOLTAGE:\n");
    PDU_IO_PROG_VOLTAGE_DATA data{0, static_cast<UNUM32>(std::atol(m_PinEdit.GetWindowText().c_str()))};
    PDU_DATA_ITEM input{PDU_IT_IO_PROG_VOLTAGE, &data};
    PDU_DATA_ITEM* output = nullptr;
    m_lastStatus = PduApi.PDUIoCtl(m_hMod, m_hCLL, id, &input, &output);
    if (m_lastStatus == PDU_STATUS_NOERROR && output) {
        if (output->ItemType == PDU_IT_IO_UNUM32 && output->pData) {
            const auto value = static_cast<int>(*static_cast<const UNUM32*>(output->pData));
            LogFormat("Voltage: %d\n", value);
            m_VoltEdit.SetWindowText(std::to_string(value));  // with the screen disabled too
        } else if (output->ItemType != PDU_IT_IO_UNUM32) {
            Log("PDUIoCtl failed for PDU_IOCTL_READ_PROG_VOLTAGE:\n");
            Log(kWrongItem);
        }
    } else if (m_lastStatus != PDU_STATUS_NOERROR) {
        Log(kSeparator);
        LogFormat("Return of PDUIoCtl:\n%s\n", PduStatusText(m_lastStatus));
        Log("PDUIoCtl failed for PDU_IOCTL_READ_PROG_VOLTAGE\n");
    }
    if (output) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
}

void LoLiDialogKeldaPDUAPI::OnBnClickedBusMonitoring()
{
    CBusMonitoringDlg dialog(m_ui);
    if (m_ui.RunModal(dialog) != ui::IDOK) return;
    BusTraceRequest request;
    const LinkComParams::Model model = m_pMainDlg ? m_pMainDlg->GetDescriptionModel() : LinkComParams::Model{};
    for (size_t i = 0; model.busTypes && i < model.busTypes->size(); ++i)
        if ((*model.busTypes)[i].name == dialog.m_BusTypeName) {
            request.config.BusTypeId = (*model.busTypes)[i].id;
            break;
        }
    // The filled pin fields, in order, a slot each.
    for (const std::string* pin : {&dialog.m_Pin1, &dialog.m_Pin2})
        if (!pin->empty())
            request.pins[request.config.NumPins++].DLCPinNumber = static_cast<UNUM32>(std::atol(pin->c_str()));
    request.config.Activate = dialog.m_Activate;
    request.config.MaxTraceFileSize = dialog.m_MaxTraceFileSize;
    request.traceFilePath = dialog.m_TraceFilePath;
    request.traceFile = dialog.m_TraceFile;
    UNUM32 id = PDU_ID_UNDEF;
    if (!FindIoCtl("PDU_IOCTL_BUS_TRACE", id)) LogAlways("PDUGetObjectId failed for PDU_IOCTL_BUS_TRACE:\n");
    if (PduApi.PDUIoCtl(m_hMod, 0, id, request.Item(), nullptr) != PDU_STATUS_NOERROR)
        m_ui.MessageBox("PDUIoCtl failed for PDU_IOCTL_CLEAR_TX_QUEUE", "", ui::MB_OK);
}

void LoLiDialogKeldaPDUAPI::OnBnClickedReqProxyCP()
{
    UNUM32 id = PDU_ID_UNDEF;
    m_lastStatus = PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<CHAR8*>("PDU_IOCTL_GET_PROXY_COM_PARAMS"), &id);
    if (m_lastStatus != PDU_STATUS_NOERROR) {
        Log(kSeparator);
        LogFormat("Return of PDUGetObjectId:\n%s\n", PduStatusText(m_lastStatus));
        Log("PDUGetObjectId failed for PDU_IOCTL_GET_PROXY_COM_PARAMS\n");
        return;
    }
    // "Cycle Time" doubles as this request's time-out.
    UNUM32 timeout = static_cast<UNUM32>(std::strtoul(m_CycleTimeEdit.GetWindowText().c_str(), nullptr, 0));
    PDU_DATA_ITEM input{PDU_IT_IO_PROXY_COM_PARAM_REQUEST, &timeout};
    PDU_DATA_ITEM* output = nullptr;
    m_lastStatus = PduApi.PDUIoCtl(m_hMod, m_hCLL, id, &input, &output);
    const std::string returned = Printf("Return of PDUIoCtl:\n%s\n", PduStatusText(m_lastStatus));
    Log(kSeparator);
    Log(returned.c_str());
    if (m_lastStatus != PDU_STATUS_NOERROR) {
        Log("PDUIoCtl failed for PDU_IOCTL_GET_PROXY_COM_PARAMS\n");
    } else if (!output) {
        Log("Error: pOutputData==NULL\n");
    } else if (output->ItemType != PDU_IT_IO_PROXY_COM_PARAM || !output->pData) {
        Log("Error: pOutputData->ItemType!=PDU_IT_IO_PROXY_COM_PARAM\n");
    } else {
        Log(kSeparator);
        Log(returned.c_str());
        ShowProxyComParams(*static_cast<const PDU_IO_PROXY_COM_PARAM_DATA*>(output->pData));
    }
    if (output) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
}

void LoLiDialogKeldaPDUAPI::ShowProxyComParams(const PDU_IO_PROXY_COM_PARAM_DATA& data)
{
    const std::string address = ProxyAddressText(data);
    Log("PDU_IO_PROXY_COM_PARAM_DATA (V3.1 version):\n");
    LogFormat("   ACK Code    : 0x%02x\n", data.AckCode);
    LogFormat("   IP Version  : 0x%02x\n", data.IpVersion);
    LogFormat("   IP Address  : %s\n", address.c_str());
    LogFormat("   NON-TLS Port: %d\n", data.Port);
    LogFormat("   TLS Port    : %d\n", data.TlsPort);
    LogFormat("   sessionPSK  : %s\n", PskText(data).c_str());
    LogFormat("   URI         : %s\n\n", UriText(data).c_str());
    ProxyComParamText::Store({address, std::to_string(data.TlsPort), std::to_string(data.Port)});
}

void LoLiDialogKeldaPDUAPI::OnBnClickedIoCtlFilters()
{
    if (m_pIoCtlFilterDlg) {
        m_ui.MessageBox("The IOCTL Filter dialog is already open!", "", ui::MB_OK);
        return;
    }
    auto dialog = std::make_unique<IoCtlFilterDialog>(m_ui, m_protocolName, m_hMod, m_hCLL, m_filterData);
    m_pIoCtlFilterDlg = dialog.get();
    const int code = m_ui.RunModal(*dialog);
    // After anything but OK the pointer stays: the link then refuses this editor and its own
    // close. The dialog is kept with it, so the pointer never dangles.
    if (code == ui::IDOK)
        m_pIoCtlFilterDlg = nullptr;
    else
        m_cancelledFilterDialog = std::move(dialog);
}
