// Module and system events, and the main dialog's own IOCTLs.
#include <chrono>
#include <cstdlib>
#include <thread>

#include "app/CQuillonDlg.h"
#include "app/TableRows.h"
#include "description/ModuleDisplayName.h"
#include "pdu/PduApi.h"
#include "pdu/PduEventText.h"
#include "pdu/PduStatusText.h"

namespace {

void Destroy(void* item)
{
    if (item) PduApi.PDUDestroyItem(static_cast<PDU_ITEM*>(item));
}

// A queue that still delivers after this many items in one round is left for the next round, so
// that the round lets go of PrintLock and a stop is seen.
constexpr int kMaxEventsPerRound = 1000;

uint32_t DefaultCableId(uint32_t moduleTypeId)
{
    switch (moduleTypeId) {
    case 513: return 102;
    case 517: case 518: return 100;
    case 519: case 527: case 531: case 532: case 557: return 104;
    case 521: case 522: case 523: case 524: case 525: case 526: case 528: case 533:
    case 548: case 549: case 550: case 551: case 552: case 553:
    case 564: case 565: case 566: case 567: case 568:
    case 571: case 572: case 573: case 574: case 576: case 580: case 581:
        return 105;
    default: return 0;
    }
}

}  // namespace

// ---------------------------------------------------------------- the event thread

void CQuillonDlg::QUILLON_ModuleEventThread(CQuillonDlg* dlg)
{
    dlg->m_bEventThreadRunning = 1;
    for (;;) {
        const int woken = platform::WaitAny(*dlg->m_hModuleEventSem, *dlg->m_hSystemEventSem);
        if (dlg->m_bEventThreadStop) break;
        const bool more = woken == 0 ? dlg->ProcessModuleEvents() : dlg->ProcessSystemEvents();
        // Others wait for PrintLock too: the next round of a queue that never runs dry comes later.
        if (more) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    dlg->m_bEventThreadRunning = 0;
}

void PDU_CALL CQuillonDlg::ModuleEventCallback(T_PDU_EVT_DATA, UNUM32, UNUM32, void*, void* pAPITag)
{
    if (auto* dlg = static_cast<CQuillonDlg*>(pAPITag); dlg && dlg->m_hModuleEventSem) dlg->m_hModuleEventSem->Release();
}

void PDU_CALL CQuillonDlg::SystemEventCallback(T_PDU_EVT_DATA, UNUM32, UNUM32, void*, void* pAPITag)
{
    if (auto* dlg = static_cast<CQuillonDlg*>(pAPITag); dlg && dlg->m_hSystemEventSem) dlg->m_hSystemEventSem->Release();
}

// Each round holds PrintLock: the UI thread destructs and frees the library, and replaces the
// module array, only under it, so a round never calls into a library that is going away. Wake-ups
// left over from before an unload find the API not constructed and do nothing.
bool CQuillonDlg::ProcessModuleEvents()
{
    std::lock_guard lock(PrintLock);
    if (!m_bPduConstructed || !m_hPduApiDll) return false;
    bool more = false;
    for (const PduModuleRec& module : m_pPduModules) {
        for (int count = 0;; ++count) {
            if (m_bEventThreadStop) return false;
            if (count == kMaxEventsPerRound) {
                Log("Warning: the event queue of module 0x%x still delivers after %d items; it is read on later.\n",
                    module.hMod, kMaxEventsPerRound);
                m_hModuleEventSem->Release();
                more = true;
                break;
            }
            PDU_EVENT_ITEM* item = nullptr;
            const T_PDU_ERROR rc = PduApi.PDUGetEventItem(module.hMod, PDU_HANDLE_UNDEF, &item);
            if (rc == PDU_ERR_EVENT_QUEUE_EMPTY || rc == PDU_ERR_INVALID_HANDLE || rc == PDU_ERR_MODULE_NOT_CONNECTED)
                break;
            // Any other answer counts as an item; without one there is nothing to read.
            if (!item) break;
            LogModuleEvent(*item, module);
            Destroy(item);
        }
    }
    return more;
}

// Runs inside a module round, under its PrintLock.
void CQuillonDlg::LogModuleEvent(const PDU_EVENT_ITEM& item, const PduModuleRec& module)
{
    Log("%s", kLongSeparator);
    Log("Received an module event item from the PDU-API:\n");
    switch (item.ItemType) {
    case PDU_IT_STATUS: {
        Log("ItemType=PDU_IT_STATUS: Status=");
        const T_PDU_STATUS status = item.pData ? *static_cast<const T_PDU_STATUS*>(item.pData) : 0;
        if (status == PDU_MODST_NOT_AVAIL) {
            Log("PDU_MODST_NOT_AVAIL.\n");
            Log("Module Short Name     : %s\n", module.displayName.c_str());
        } else {
            Log("%s", PduStatusLine(status));
        }
        break;
    }
    case PDU_IT_ERROR: {
        const auto* error = static_cast<const PDU_ERROR_DATA*>(item.pData);
        const T_PDU_ERR_EVT code = error ? error->ErrorCodeId : 0;
        Log("PDU_IT_ERROR\n");
        Log("Returned ErrorCodeId:0x%08x (%d): ", code, static_cast<int>(code));
        Log("%s", PduErrorEventLine(code));
        break;
    }
    case PDU_IT_INFO: {
        const auto* info = static_cast<const PDU_INFO_DATA*>(item.pData);
        Log("PDU_IT_INFO\n");
        Log("%s", PduInfoLine(info ? info->InfoCode : 0));
        Log("ExtraInfoData: %d\n", info ? static_cast<int>(info->ExtraInfoData) : 0);
        break;
    }
    default:
        break;
    }
}

bool CQuillonDlg::ProcessSystemEvents()
{
    std::lock_guard lock(PrintLock);
    if (!m_bPduConstructed || !m_hPduApiDll) return false;
    for (int count = 0;; ++count) {
        if (m_bEventThreadStop) return false;
        if (count == kMaxEventsPerRound) {
            Log("Warning: the system event queue still delivers after %d items; it is read on later.\n",
                kMaxEventsPerRound);
            m_hSystemEventSem->Release();
            return true;
        }
        PDU_EVENT_ITEM* item = nullptr;
        const T_PDU_ERROR rc = PduApi.PDUGetEventItem(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &item);
        if (rc == PDU_ERR_EVENT_QUEUE_EMPTY || rc == PDU_ERR_PDUAPI_NOT_CONSTRUCTED || !item) break;
        Log("%s", kLongSeparator);
        Log("Received an system event item from the PDU-API:\n");
        if (item->ItemType != PDU_IT_INFO) {
            Destroy(item);
            continue;
        }
        Log("ItemType = PDU_IT_INFO\n");
        const auto* info = static_cast<const PDU_INFO_DATA*>(item->pData);
        if (info && info->InfoCode == PDU_INFO_MODULE_LIST_CHG) {
            Log("InfoCode = PDU_INFO_MODULE_LIST_CHG\n");
            RebuildModuleTable();
        }
        Destroy(item);
    }
    return false;
}

// Runs under PrintLock on the event thread.
void CQuillonDlg::RebuildModuleTable()
{
    while (m_ModuleCombo.GetCount() > 0) m_ModuleCombo.DeleteString(0);
    PDU_MODULE_ITEM* list = CallGetModuleIds();
    if (!ModuleListUsable(list)) return;
    LogModuleList(*list, false);
    // The selection points into the old array; the user selects a module anew.
    m_pSelectedModule = nullptr;
    m_nPduModules = static_cast<int>(list->NumEntries);
    m_pPduModules.assign(list->NumEntries, PduModuleRec{});
    for (UNUM32 i = 0; i < list->NumEntries; ++i) {
        PduModuleRec& rec = m_pPduModules[i];
        if (!FillModuleRecord(list->pModuleData[i], rec)) continue;
        int index = m_ModuleCombo.FindStringExact(-1, rec.displayName);
        if (index < 0) index = m_ModuleCombo.AddString(rec.displayName);
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        m_LastPduStatus = PduApi.PDUGetStatus(rec.hMod, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra);
        m_ModuleCombo.SetCheck(index, m_LastPduStatus == PDU_STATUS_NOERROR && status == PDU_MODST_READY);
    }
    m_ModuleCombo.SetWindowText("");
    Destroy(list);
}

// ---------------------------------------------------------------- the main dialog's IOCTLs

bool CQuillonDlg::ResolveIoCtl(const char* name, uint32_t& id)
{
    id = PDU_ID_UNDEF;
    std::string shortName = name;
    m_LastPduStatus = PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, shortName.data(), &id);
    return m_LastPduStatus == PDU_STATUS_NOERROR;
}

int CQuillonDlg::SelectCableIndex(const PduModuleRec& module)
{
    uint32_t cableId = DefaultCableId(module.ModuleTypeId);
    uint32_t ioctl = 0;
    if (ResolveIoCtl("PDU_IOCTL_GET_CABLE_ID", ioctl)) {
        PDU_DATA_ITEM* out = nullptr;
        m_LastPduStatus = PduApi.PDUIoCtl(module.hMod, PDU_HANDLE_UNDEF, ioctl, nullptr, &out);
        if (m_LastPduStatus != PDU_STATUS_NOERROR) {
            Log("%s", kLongSeparator);
            Log("Return of PDUIoCtl:\n%s\n", PduStatusText(m_LastPduStatus));
            Log("PDUIoCtl failed for PDU_IOCTL_GET_CABLE_ID\n");
        } else if (out) {
            const uint32_t value = out->pData ? *static_cast<const UNUM32*>(out->pData) : 0;
            if (out->ItemType == PDU_IT_IO_UNUM32) {
                Log("PDU_IOCTL_GET_CABLE_ID delivers Cable-ID: %d\n", static_cast<int>(value));
            } else {
                Log("PDUIoCtl failed for PDU_IOCTL_READ_VBATT:\n");
                Log("   resulting item type was not PDU_IT_IO_UNUM32\n");
            }
            cableId = value;
        }
        Destroy(out);
    }
    for (int i = 0; i < m_CableCombo.GetCount(); ++i) {
        if (static_cast<uint32_t>(std::atoi(m_CableCombo.GetLBText(i).c_str())) == cableId) return i;
    }
    return 0;
}

const PduModuleRec* CQuillonDlg::SelectedModuleRecord()
{
    const int sel = m_ModuleCombo.GetCurSel();
    return sel >= 0 ? FindModule(m_ModuleCombo.GetLBText(sel)) : nullptr;
}

// A module IOCTL with an optional UNUM32 input whose UNUM32 answer goes into the log.
void CQuillonDlg::ReadModuleValue(const ModuleValueRead& read, const UNUM32* input)
{
    if (!m_bPduConstructed) return;
    uint32_t ioctl = 0;
    if (!ResolveIoCtl(read.ioctl, ioctl)) {
        m_ui.MessageBox(read.idFailure, "", ui::MB_OK);
        return;
    }
    // The module records may be rebuilt by the event thread; no box is shown while holding the lock.
    std::unique_lock lock(PrintLock);
    const PduModuleRec* module = SelectedModuleRecord();
    if (!module) {
        lock.unlock();
        m_ui.MessageBox("No Module selected! Function aborting!", "", ui::MB_OK);
        return;
    }
    UNUM32 value = input ? *input : 0;
    PDU_DATA_ITEM in{PDU_IT_IO_UNUM32, &value};
    PDU_DATA_ITEM* out = nullptr;
    m_LastPduStatus = PduApi.PDUIoCtl(module->hMod, PDU_HANDLE_UNDEF, ioctl, input ? &in : nullptr, &out);
    if (m_LastPduStatus != PDU_STATUS_NOERROR) {
        Log("%s", kLongSeparator);
        Log("Return of PDUIoCtl:\n%s\n", PduStatusText(m_LastPduStatus));
        Log("PDUIoCtl failed for %s\n", read.ioctl);
    }
    if (out && out->ItemType == PDU_IT_IO_UNUM32 && out->pData) {
        Log("%s: %d\n", read.valueName, static_cast<int>(*static_cast<const UNUM32*>(out->pData)));
    } else {
        Log("PDUIoCtl failed for %s:\n", read.ioctl);
        Log("   resulting item type was not PDU_IT_IO_UNUM32\n");
    }
    Destroy(out);
}

void CQuillonDlg::OnBnClickedGetVBatt()
{
    ReadModuleValue({"PDU_IOCTL_READ_VBATT", "PDUGetObjectId failed for PDU_IOCTL_READ_VBATT", "Voltage"}, nullptr);
}

void CQuillonDlg::OnBnClickedGetIgnitionState()
{
    // The DLC pin from the edit beside the button; text that is no number sends 0.
    const UNUM32 pin = static_cast<UNUM32>(std::atoi(m_IgnitionEdit.GetWindowText().c_str()));
    ReadModuleValue({"PDU_IOCTL_READ_IGNITION_SENSE_STATE",
                     "PDUGetObjectId failed for PDU_IOCTL_READ_IGNITION_SENESE_STATE", "IgnitionState"},
                    &pin);
}

void CQuillonDlg::OnBnClickedBusMonitoring()
{
    if (!m_bPduConstructed) return;
    m_BusMonitoringDlg.ResetEnd();
    if (m_ui.RunModal(m_BusMonitoringDlg) != ui::IDOK) return;

    auto request = std::make_unique<BusTraceRequest>();
    const CBusMonitoringDlg& d = m_BusMonitoringDlg;
    if (const BusTypeInfo* b = RowByName(m_BusTypes, d.m_BusTypeName)) request->config.BusTypeId = b->id;
    request->pins[0].DLCPinNumber = static_cast<UNUM32>(std::atoi(d.m_Pin1.c_str()));
    request->pins[1].DLCPinNumber = static_cast<UNUM32>(std::atoi(d.m_Pin2.c_str()));
    request->config.NumPins = (!d.m_Pin1.empty() && !d.m_Pin2.empty()) ? 2 : 1;
    request->config.Activate = d.m_Activate;
    request->config.MaxTraceFileSize = d.m_MaxTraceFileSize;
    request->traceFilePath = d.m_TraceFilePath;
    request->traceFile = d.m_TraceFile;

    uint32_t ioctl = 0;
    if (!ResolveIoCtl("PDU_IOCTL_BUS_TRACE", ioctl))
        m_ui.MessageBox("PDUGetObjectId failed for PDU_IOCTL_BUS_TRACE", "", ui::MB_OK);
    PDU_DATA_ITEM* item = request->Item();
    m_BusTraceRequests.push_back(std::move(request));

    std::unique_lock lock(PrintLock);  // the module records may be rebuilt by the event thread
    const PduModuleRec* module = SelectedModuleRecord();
    if (!module) {
        lock.unlock();
        m_ui.MessageBox("PDUIoCtl failed. No module selected!", "", ui::MB_OK);
        return;
    }
    const T_PDU_ERROR result = PduApi.PDUIoCtl(module->hMod, 0, ioctl, item, nullptr);
    m_LastPduStatus = result;
    lock.unlock();
    if (result != PDU_STATUS_NOERROR) m_ui.MessageBox("PDUIoCtl failed for PDU_IOCTL_CLEAR_TX_QUEUE", "", ui::MB_OK);
}
