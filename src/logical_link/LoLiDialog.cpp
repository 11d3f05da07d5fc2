#include "logical_link/LoLiDialog.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <cstdarg>
#include <cstdio>

#include "description/NumberText.h"
#include "logical_link/ComPrimitiveRequest.h"
#include "logical_link/LinkHost.h"
#include "logical_link/LinkResource.h"
#include "logical_link/TxFlagsDlg.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/ProfileFile.h"

using controls::Notification;

namespace {

constexpr uint32_t kWorkerWaitMs = 1000;
constexpr const char* kSeparator = LinkEventDecoder::kSeparator;

std::string CoPText(uint32_t handle)
{
    char text[32];
    std::snprintf(text, sizeof text, "%u(0x%x)", handle, handle);
    return text;
}

}  // namespace

LoLiDialog::LoLiDialog(ui::Ui& ui)
    : CLinkBaseDlg(ui, IDD_LOLI_PLAIN),
      m_ExitButton(ui::IDOK, "Exit"),
      m_ConnectButton(IDC_LL_CONNECT, "PDUConnect"),
      m_DisconnectButton(IDC_LL_DISCONNECT, "PDUDisconnect"),
      m_PduCombo(IDC_LL_PDU_COMBO, "PDU combo box", true, true),
      m_TxCountEdit(IDC_LL_TXCOUNT, "TX Count"),
      m_RxCountEdit(IDC_LL_RXCOUNT, "RX Count"),
      m_CycleTimeEdit(IDC_LL_CYCLETIME, "Cycle Time"),
      m_TempParamCheck(IDC_LL_TEMPPARAM, "TempParamUpdate"),
      m_TxFlagsButton(IDC_LL_TXFLAGS, "Edit Tx Flags"),
      m_StartCommButton(IDC_LL_STARTCOMM, "STARTCOMM"),
      m_StopCommButton(IDC_LL_STOPCOMM, "STOPCOMM"),
      m_SendRecvButton(IDC_LL_SENDRECV, "SENDRECV"),
      m_UpdateParamButton(IDC_LL_UPDATEPARAM, "UPDATEPARAM"),
      m_RestoreParamButton(IDC_LL_RESTOREPARAM, "RESTOREPARAM"),
      m_DelayButton(IDC_LL_DELAY, "DELAY"),
      m_CancelCombo(IDC_LL_CANCEL_COMBO, "cancel combo box", false, true),
      m_CancelPrimitiveButton(IDC_LL_CANCEL_PRIMITIVE, "Cancel Primitive"),
      m_EditParamsButton(IDC_LL_EDIT_PARAMS, "Edit LoLi Params"),
      m_EditUridButton(IDC_LL_EDIT_URID, "Edit URID Table"),
      m_DetailedErrorCheck(IDC_LL_DETAILED_ERRORS, "Enable detailed error text"),
      m_ClearLogButton(IDC_LL_CLEAR_LOG, "Clear Log"),
      m_log(IDC_LL_LOG, "Log"),
      m_rxSemaphore(std::make_unique<platform::Semaphore>(0, 65535)),
      m_params(LinkComParams::Variant::Plain, m_values, [this](const std::string& text) { Log(text.c_str()); })
{
    RegisterControls();
    BindHandlers();
}

LoLiDialog::~LoLiDialog() = default;

void LoLiDialog::RegisterControls()
{
    controls::Control* table[] = {
        &m_ExitButton, &m_ConnectButton, &m_DisconnectButton, &m_PduCombo, &m_TxCountEdit, &m_RxCountEdit,
        &m_CycleTimeEdit, &m_TempParamCheck, &m_TxFlagsButton, &m_StartCommButton, &m_StopCommButton,
        &m_SendRecvButton, &m_UpdateParamButton, &m_RestoreParamButton, &m_DelayButton, &m_CancelCombo,
        &m_CancelPrimitiveButton, &m_EditParamsButton, &m_EditUridButton, &m_DetailedErrorCheck,
        &m_ClearLogButton, &m_log,
    };
    for (controls::Control* c : table) AddControl(*c);
}

void LoLiDialog::BindHandlers()
{
    const auto click = [this](controls::Control& c, void (LoLiDialog::*handler)()) {
        On(c, Notification::Clicked, [this, handler] { (this->*handler)(); });
    };
    using D = LoLiDialog;
    click(m_ExitButton, &D::OnBnClickedExit);
    click(m_ConnectButton, &D::OnBnClickedConnect);
    click(m_DisconnectButton, &D::OnBnClickedDisconnect);
    click(m_TxFlagsButton, &D::OnBnClickedTxFlags);
    click(m_StartCommButton, &D::OnBnClickedStartComm);
    click(m_StopCommButton, &D::OnBnClickedStopComm);
    click(m_SendRecvButton, &D::OnBnClickedSendRecv);
    click(m_UpdateParamButton, &D::OnBnClickedUpdateParam);
    click(m_RestoreParamButton, &D::OnBnClickedRestoreParam);
    click(m_DelayButton, &D::OnBnClickedDelay);
    click(m_CancelPrimitiveButton, &D::OnBnClickedCancelPrimitive);
    click(m_EditParamsButton, &D::OnBnClickedEditParams);
    click(m_EditUridButton, &D::OnBnClickedEditUrid);
    click(m_DetailedErrorCheck, &D::OnBnClickedDetailedErrorText);
    click(m_ClearLogButton, &D::OnBnClickedClearLog);
}

std::shared_ptr<LoLiDialog> LoLiDialog::Self()
{
    return std::static_pointer_cast<LoLiDialog>(weak_from_this().lock());
}

void LoLiDialog::Log(const char* text)
{
    std::lock_guard lock(LinkLock);
    m_log.PrintText(0, text);
}

void LoLiDialog::LogFormat(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    {
        std::lock_guard lock(LinkLock);
        m_log.PrintV(0, format, args);
    }
    va_end(args);
}

void LoLiDialog::OnTimer(unsigned id)
{
    if (id == m_timerId) m_log.Flush();
}

// ---------------------------------------------------------------- creation

bool LoLiDialog::OnInitDialog()
{
    m_detailedErrorText = 0;
    m_params.FreeAll();
    m_params.m_uridTexts.clear();
    m_activeCoPs.clear();
    m_log.Prepare();
    SetWindowText(m_title);
    m_TxCountEdit.SetWindowText("1");
    m_RxCountEdit.SetWindowText("1");
    m_CycleTimeEdit.SetWindowText("1000");
    if (!m_pMainDlg) return false;

    Log("********** Logical-Link successfully created ************\n");
    Log(kSeparator);
    LogFormat("Used Resource ID: %d\n", static_cast<int>(m_resourceId));
    LogFormat("LogicalLink handler: %d\n", static_cast<int>(m_hCLL));
    Log(kSeparator);
    Log("Building the ProtocolComParams array ...\n");
    const bool allowed = m_pMainDlg->LinkWithoutComParamsAllowed();
    if (!m_params.Build(m_pMainDlg->GetDescriptionModel(), m_busTypeId, m_protocolId)) {
        Log("Error: ProtocolComParams array could not be created.\n");
        if (!allowed) return false;
    }
    if (!m_params.ProtocolComParams.empty()) {
        LogFormat("ProtocolComParams[%d] array successfully created.\n", static_cast<int>(m_params.ProtocolComParams.size()));
    } else {
        Log("Error: The current protocol ComParams not found.\n");
        if (!allowed) return false;
    }

    m_lastStatus = PduApi.PDURegisterEventCallback(m_hMod, m_hCLL, &LoLiDialog::OnPduEvent);
    Log(kSeparator);
    LogFormat("Return of PDURegisterEventCallback:\n%s\n", PduStatusText(m_lastStatus));
    m_semaphoreOpen = true;

    const std::string ini = m_pMainDlg->GetIniPath();
    LoadPduHistory(m_PduCombo);
    T_PDU_ERROR status = m_lastStatus;
    const bool loaded = m_params.LoadAndSetValues(ini, m_protocolName, m_hMod, m_hCLL, status);
    m_lastStatus = status;
    if (!loaded) return false;
    m_params.LoadAndSetUridTable(ini, m_protocolName, m_hMod, m_hCLL);

    m_txFlagBytes.assign(4, 0);
    m_txFlags = PDU_FLAG_DATA{4, m_txFlagBytes.data()};

    auto self = Self();
    if (!self) return false;
    m_rxThread.stop = 0;
    m_rxThread.Start([self] { self->ReceiveLoop(); });
    m_rxThread.WaitStarted(UINT32_MAX);
    m_hTimer = m_ui.SetTimer(*this, m_timerId, kTimerPeriodMs) ? m_timerId : 0;
    return true;
}

// ---------------------------------------------------------------- buttons

// The call and its line under the lock the receive thread drains under: the line of the call
// comes before the state events it causes, however late this thread gets to write it.
void LoLiDialog::OnBnClickedConnect()
{
    std::lock_guard lock(LinkLock);
    const T_PDU_ERROR result = PduApi.PDUConnect(m_hMod, m_hCLL);
    Log(kSeparator);
    LogFormat("Return of PDUConnect:\n%s\n", PduStatusText(result));
}

void LoLiDialog::OnBnClickedDisconnect()
{
    std::lock_guard lock(LinkLock);
    m_lastStatus = PduApi.PDUDisconnect(m_hMod, m_hCLL);
    if (m_lastStatus == PDU_STATUS_NOERROR) LinkOffline();
    Log(kSeparator);
    LogFormat("Return of PDUDisconnect:\n%s\n", PduStatusText(m_lastStatus));
}

void LoLiDialog::AddActiveCoP(uint32_t handle)
{
    std::lock_guard lock(LinkLock);
    m_activeCoPs.push_back(handle);
    m_CancelCombo.AddString(CoPText(handle));
}

uint32_t LoLiDialog::StartComPrimitive(T_PDU_COPT type)
{
    ComPrimitiveRequest request;
    const std::string text = m_PduCombo.GetWindowText();
    if (!text.empty() && (m_PduCombo.GetCount() == 0 || m_PduCombo.FindString(-1, text) == controls::ComboBox::CB_ERR))
        m_PduCombo.AddString(text);
    if (!ParsePduBytes(text, request.pdu)) return 0;
    const ControlFields fields{m_RxCountEdit.GetWindowText(), m_TxCountEdit.GetWindowText(),
                               m_CycleTimeEdit.GetWindowText(), static_cast<uint32_t>(m_TempParamCheck.GetCheck())};
    if (!request.SetControl(fields, m_txFlags)) return 0;
    UNUM32 handle = 0;
    {
        std::lock_guard lock(LinkLock);
        m_lastStatus = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, type, static_cast<UNUM32>(request.pdu.size()),
                                                   request.pdu.empty() ? nullptr : request.pdu.data(),
                                                   request.Control(), nullptr, &handle);
    }
    if (m_lastStatus != PDU_STATUS_NOERROR) return 0;
    if (handle != 0) AddActiveCoP(handle);
    return handle;
}

void LoLiDialog::StartSimple(T_PDU_COPT type, const char* returnText)
{
    UNUM32 handle = 0;
    T_PDU_ERROR result;
    {
        std::lock_guard lock(LinkLock);
        result = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, type, 0, nullptr, nullptr, nullptr, &handle);
    }
    if (result == PDU_STATUS_NOERROR) AddActiveCoP(handle);
    Log(kSeparator);
    LogFormat(returnText, PduStatusText(result));
}

void LoLiDialog::OnBnClickedUpdateParam()
{
    StartSimple(PDU_COPT_UPDATEPARAM, "Return of PDU_COPT_UPDATEPARAM:\n%s\n");
}

void LoLiDialog::OnBnClickedRestoreParam()
{
    StartSimple(PDU_COPT_RESTORE_PARAM, "Return of PDU_COPT_RESTORE_PARAM:\n%s\n");
}

void LoLiDialog::OnBnClickedDelay()
{
    const std::string text = m_CycleTimeEdit.GetWindowText();
    if (ParseLong32(text, 0) == INT32_MAX) {
        m_ui.MessageBox("Incorrect cycle time value", "", ui::MB_OK);
        return;
    }
    PDU_COP_CTRL_DATA control{};
    control.Time = ParseULong32(text, 0);
    UNUM32 handle = 0;
    T_PDU_ERROR result;
    {
        std::lock_guard lock(LinkLock);
        result = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, PDU_COPT_DELAY, 0, nullptr, &control, nullptr, &handle);
    }
    Log(kSeparator);
    LogFormat("Return of PDU_COPT_DELAY:\n%s\n", PduStatusText(result));
    if (m_lastStatus == PDU_STATUS_NOERROR) AddActiveCoP(handle);
}

void LoLiDialog::OnBnClickedCancelPrimitive()
{
    const std::string text = m_CancelCombo.GetWindowText();
    if (text.empty()) {
        m_ui.MessageBox("No ComPrimitiveHandle found!", "", ui::MB_OK);
        return;
    }
    Log(kSeparator);
    LogFormat("Canceling ComPrimitive %s...\n", text.c_str());
    {
        // As with Connect: the call's line comes before the CANCELLED event it causes.
        std::lock_guard lock(LinkLock);
        m_lastStatus = PduApi.PDUCancelComPrimitive(m_hMod, m_hCLL, CancelHandleOf(text));
        LogFormat("Return of PDUCancelComPrimitive:\n%s\n", PduStatusText(m_lastStatus));
    }
    m_CancelCombo.SetWindowText("");
}

void LoLiDialog::OnBnClickedTxFlags()
{
    TxFlagsDlg dialog(m_ui, &m_txFlags);
    m_ui.RunModal(dialog);
}

void LoLiDialog::OnBnClickedEditParams()
{
    T_PDU_ERROR status = m_lastStatus;
    EditComParams(m_params, true, status);
    m_lastStatus = status;
}

void LoLiDialog::OnBnClickedEditUrid()
{
    EditUridTable(m_params, true);
}

void LoLiDialog::OnBnClickedDetailedErrorText()
{
    m_detailedErrorText = (m_DetailedErrorCheck.GetCheck() & 1) ? 1 : 0;
}

void LoLiDialog::OnBnClickedClearLog()
{
    std::lock_guard lock(LinkLock);
    m_log.Clear();
}

// ---------------------------------------------------------------- close

void LoLiDialog::OnBnClickedExit()
{
    if (EditorRefusesClose()) return;
    T_PDU_ERROR status = m_lastStatus;
    const bool destroyed = DestroyLinkForClose(status);
    m_lastStatus = status;
    if (!destroyed) return;
    m_txFlags = PDU_FLAG_DATA{0, nullptr};
    m_txFlagBytes.clear();
    SaveAndFreeLinkSettings(m_PduCombo, m_params);
    m_rxThread.stop = 1;
    m_rxSemaphore->Release();
    m_rxThread.WaitOrTerminate(kWorkerWaitMs);
    m_semaphoreOpen = false;
    if (m_hTimer) {
        m_ui.KillTimer(*this, m_timerId);
        m_hTimer = 0;
    }
    EndDialog(ui::IDOK);
    if (m_pMainDlg) m_pMainDlg->OnLinkClosed(this);
}

// ---------------------------------------------------------------- events

void PDU_CALL LoLiDialog::OnPduEvent(T_PDU_EVT_DATA eventType, UNUM32, UNUM32, void* pCllTag, void* pAPITag)
{
    const std::shared_ptr<CLinkBaseDlg> link = CLinkBaseDlg::FromLinkTag(pCllTag);
    auto* dialog = dynamic_cast<LoLiDialog*>(link.get());
    if (dialog && eventType == PDU_EVT_DATA_LOST) {
        LogLines lines;
        LinkEventDecoder::DataLostLines(lines);
        std::lock_guard lock(dialog->LinkLock);
        dialog->m_log.PrintBatch(0, lines.Text());
    }
    if (dialog) {
        if (dialog->m_semaphoreOpen) dialog->m_rxSemaphore->Release();
    } else if (!pCllTag) {
        CLinkBaseDlg::RaiseForApiTag(pAPITag);
    }
}

void LoLiDialog::ReceiveLoop()
{
    WorkerThread& worker = m_rxThread;
    worker.running = 1;
    const LinkEventDecoder decoder(LinkEventDecoder::Variant::Plain, m_createFlags);
    m_rxSemaphore->Wait();
    bool unknownItem = false;
    LogLines lines;
    while (!worker.killed && !worker.stop && !unknownItem) {
        EventRound round = EventRound::Drained;
        {
            std::lock_guard lock(LinkLock);
            round = ReadEventRound(worker, [&](const PDU_EVENT_ITEM& item) {
                lines.Clear();
                unknownItem = decoder.Decode(item, *this, lines) == LinkEventDecoder::Result::UnknownItem;
                m_log.PrintBatch(0, lines.Text());
                return !unknownItem;
            }, [this](const std::string& text) { m_log.PrintBatch(0, text); });
        }
        if (worker.killed || unknownItem) break;
        // A queue that never runs dry is read on after a pause in which the window gets LinkLock.
        if (round == EventRound::Capped)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        else
            m_rxSemaphore->Wait();
    }
    if (!worker.killed) worker.running = 0;
}

void LoLiDialog::CoPEnded(uint32_t hCop, LogLines& out)
{
    std::lock_guard lock(LinkLock);
    const auto it = std::find_if(m_activeCoPs.begin(), m_activeCoPs.end(),
                                 [hCop](uint64_t entry) { return static_cast<uint32_t>(entry) == hCop; });
    if (it == m_activeCoPs.end()) return;
    m_activeCoPs.erase(it);
    const int index = m_CancelCombo.FindStringExact(-1, CoPText(hCop));
    if (index != controls::ComboBox::CB_ERR) m_CancelCombo.DeleteString(index);
    m_CancelCombo.SetWindowText("");
    out.Format("ComPrimitive: %u(0x%x) finished.\n", hCop, hCop);
}

void LoLiDialog::LinkOffline()
{
    std::lock_guard lock(LinkLock);
    m_activeCoPs.clear();
    m_CancelCombo.ResetContent();
}

void LoLiDialog::LinkOnline()
{
    m_ui.RedrawNow(*this);
}

std::vector<ErrorCodeInfo> LoLiDialog::VendorErrors()
{
    return m_pMainDlg ? m_pMainDlg->CopyVendorErrors() : std::vector<ErrorCodeInfo>{};
}
