// The full link window: its controls, its creation and its close.
#include "logical_link/LoLiDialogKeldaPDUAPI.h"

#include <cstdarg>
#include <cstdio>

#include "logical_link/LinkHost.h"
#include "logical_link/LinkResource.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/ProfileFile.h"

using controls::Notification;

namespace {

constexpr uint32_t kWorkerWaitMs = 1000;
constexpr const char* kSeparator = LinkEventDecoder::kSeparator;

}  // namespace

LoLiDialogKeldaPDUAPI::LoLiDialogKeldaPDUAPI(ui::Ui& ui)
    : CLinkBaseDlg(ui, IDD_LOLI_KELDA),
      m_CloseWindowButton(ui::IDOK, "Close Window"),
      m_CancelButton(ui::IDCANCEL, "Cancel"),
      m_OpenButton(IDC_KD_OPEN, "Open"),
      m_CloseButton(IDC_KD_CLOSE, "Close"),
      m_PduCheck(IDC_KD_PDU_CHECK, "PDU"),
      m_StartComButton(IDC_KD_STARTCOM, "StartCom"),
      m_StopComButton(IDC_KD_STOPCOM, "StopCom"),
      m_KdServiceButton(IDC_KD_SERVICE, "KdService"),
      m_KdDelayButton(IDC_KD_DELAY, "KdDelay"),
      m_UpdateLinkButton(IDC_KD_UPDATELINK, "UpdateLink"),
      m_RestoreButton(IDC_KD_RESTORE, "Restore"),
      m_PduCombo(IDC_KD_PDU_COMBO, "PDU / CAN Frame", true, true),
      m_SendCountEdit(IDC_KD_SENDCOUNT, "SendCount"),
      m_RecCountEdit(IDC_KD_RECCOUNT, "RecCount"),
      m_CycleTimeEdit(IDC_KD_CYCLETIME, "Cycle Time"),
      m_DelayEdit(IDC_KD_DELAY_VALUE, "delay"),
      m_RepeatEdit(IDC_KD_REPEAT, "repeat"),
      m_TxFlagsButton(IDC_KD_TXFLAGS, "Tx_Flags"),
      m_ExpRespButton(IDC_KD_EXPRESP, "ExpResp"),
      m_SyncCheck(IDC_KD_SYNC, "Sync"),
      m_TempParCheck(IDC_KD_TEMPPAR, "TempPar"),
      m_NoExpRespCheck(IDC_KD_NOEXPRESP, "NoExpResp"),
      m_CancelCombo(IDC_KD_CANCEL_COMBO, "cancel combo box", false, true),
      m_CancelCurrButton(IDC_KD_CANCELCURR, "CancelCurr"),
      m_GoButton(IDC_KD_GO, "Go"),
      m_CancelAllButton(IDC_KD_CANCELALL, "CancelAll"),
      m_SuspendButton(IDC_KD_SUSPEND, "Suspend"),
      m_ResumeButton(IDC_KD_RESUME, "Resume"),
      m_ClearQueueButton(IDC_KD_CLEARQUEUE, "ClearQueue"),
      m_OnChangeButton(IDC_KD_ONCHANGE, "On Change"),
      m_ExplicitButton(IDC_KD_EXPLICIT, "Explicit"),
      m_SetVoltageButton(IDC_KD_SET_VOLTAGE, "Set"),
      m_GetVoltageButton(IDC_KD_GET_VOLTAGE, "Get"),
      m_BusMonitoringButton(IDC_KD_BUSMONITORING, "BusMonitoring"),
      m_IoCtlFiltersButton(IDC_KD_IOCTL_FILTERS, "IOCTL Filters"),
      m_ResetTimestampButton(IDC_KD_RESET_TIMESTAMP, "ResetTmStamp"),
      m_ReqProxyCPButton(IDC_KD_REQ_PROXY_CP, "ReqProxyCP"),
      m_PinEdit(IDC_KD_PIN, "PIN"),
      m_VoltEdit(IDC_KD_VOLT, "Volt"),
      m_ReqChipStateButton(IDC_KD_REQ_CHIP_STATE, "ReqChipState"),
      m_EditParamButton(IDC_KD_EDIT_PARAM, "Edit Param"),
      m_EditUridButton(IDC_KD_EDIT_URID, "Edit URID"),
      m_log(IDC_KD_LOG, "Log"),
      m_RecvCountEdit(IDC_KD_RECVCOUNT, "RecvCount"),
      m_RecvCountResetButton(IDC_KD_RECVCOUNT_RESET, "X"),
      m_ClearScreenButton(IDC_KD_CLEAR_SCREEN, "Clear Screen"),
      m_DisableScreenCheck(IDC_KD_DISABLE_SCREEN, "Disable Screen"),
      m_DetailedErrorCheck(IDC_KD_DETAILED_ERRORS, "Enable detailed error text"),
      m_EnableTimestampCheck(IDC_KD_ENABLE_TIMESTAMP, "Enable Timestamp"),
      m_ClampStateGroup(IDC_KD_GROUP_CLAMP, "ClampState"),
      m_ComPrimitivesGroup(IDC_KD_GROUP_COMPRIMITIVES, "ComPrimitives"),
      m_ParamsGroup(IDC_KD_GROUP_PARAMS, "Params"),
      m_SeCanGroup(IDC_KD_GROUP_SECAN, "SE CAN"),
      m_SodGroup(IDC_KD_GROUP_SOD, "Porsche SOD"),
      m_CancelGroup(IDC_KD_GROUP_CANCEL, "Cancel"),
      m_ActiveCoPsEdit(IDC_KD_ACTIVE_COPS, "Active CoPs"),
      m_rxSemaphore(std::make_unique<platform::Semaphore>(0, 65535)),
      m_seEvent(std::make_unique<platform::NotificationEvent>()),
      m_txSemaphore(std::make_unique<platform::Semaphore>(0, 65535)),
      m_syncEvent(platform::OpenSystemEvent("SyncEvent")),
      m_params(LinkComParams::Variant::Full, m_values, [this](const std::string& text) { Log(text.c_str()); })
{
    RegisterControls();
    BindHandlers();
}

LoLiDialogKeldaPDUAPI::~LoLiDialogKeldaPDUAPI()
{
    // Workers hold the dialog while they run, so none runs here; a window whose creation
    // stopped half-way may still have a loop to end.
    m_pUIThread.reset();
}

void LoLiDialogKeldaPDUAPI::RegisterControls()
{
    controls::Control* table[] = {
        &m_CloseWindowButton, &m_CancelButton, &m_OpenButton, &m_CloseButton, &m_PduCheck, &m_StartComButton,
        &m_StopComButton, &m_KdServiceButton, &m_KdDelayButton, &m_UpdateLinkButton, &m_RestoreButton, &m_PduCombo,
        &m_SendCountEdit, &m_RecCountEdit, &m_CycleTimeEdit, &m_DelayEdit, &m_RepeatEdit, &m_TxFlagsButton,
        &m_ExpRespButton, &m_SyncCheck, &m_TempParCheck, &m_NoExpRespCheck, &m_CancelCombo, &m_CancelCurrButton,
        &m_GoButton, &m_CancelAllButton, &m_SuspendButton, &m_ResumeButton, &m_ClearQueueButton, &m_OnChangeButton,
        &m_ExplicitButton, &m_SetVoltageButton, &m_GetVoltageButton, &m_BusMonitoringButton, &m_IoCtlFiltersButton,
        &m_ResetTimestampButton, &m_ReqProxyCPButton, &m_PinEdit, &m_VoltEdit, &m_ReqChipStateButton,
        &m_EditParamButton, &m_EditUridButton, &m_log, &m_RecvCountEdit, &m_RecvCountResetButton,
        &m_ClearScreenButton, &m_DisableScreenCheck, &m_DetailedErrorCheck, &m_EnableTimestampCheck,
        &m_ClampStateGroup, &m_ComPrimitivesGroup, &m_ParamsGroup, &m_SeCanGroup, &m_SodGroup, &m_CancelGroup,
        &m_ActiveCoPsEdit,
    };
    for (controls::Control* c : table) AddControl(*c);
    // Disabled, so the window's close box does nothing either.
    m_CancelButton.EnableWindow(false);
    m_PduCheck.ShowWindow(false);
    m_RecvCountEdit.SetReadOnly(true);
    m_ActiveCoPsEdit.SetReadOnly(true);
}

void LoLiDialogKeldaPDUAPI::BindHandlers()
{
    const auto click = [this](controls::Control& c, void (LoLiDialogKeldaPDUAPI::*handler)()) {
        On(c, Notification::Clicked, [this, handler] { (this->*handler)(); });
    };
    using D = LoLiDialogKeldaPDUAPI;
    click(m_CloseWindowButton, &D::OnBnClickedCloseWindow);
    click(m_OpenButton, &D::OnBnClickedOpen);
    click(m_CloseButton, &D::OnBnClickedClose);
    click(m_StartComButton, &D::OnBnClickedStartCom);
    click(m_StopComButton, &D::OnBnClickedStopCom);
    click(m_KdServiceButton, &D::OnBnClickedKdService);
    click(m_KdDelayButton, &D::OnBnClickedKdDelay);
    click(m_UpdateLinkButton, &D::OnBnClickedUpdateLink);
    click(m_RestoreButton, &D::OnBnClickedRestore);
    click(m_TxFlagsButton, &D::OnBnClickedTxFlags);
    click(m_ExpRespButton, &D::OnBnClickedExpResp);
    click(m_SyncCheck, &D::OnBnClickedSync);
    click(m_CancelCurrButton, &D::OnBnClickedCancelCurr);
    click(m_GoButton, &D::OnBnClickedCancelGo);
    click(m_CancelAllButton, &D::OnBnClickedCancelAll);
    click(m_EditParamButton, &D::OnBnClickedEditParam);
    click(m_EditUridButton, &D::OnBnClickedEditUrid);
    click(m_RecvCountResetButton, &D::OnBnClickedResetRecvCount);
    click(m_SuspendButton, &D::OnBnClickedSuspend);
    click(m_ResumeButton, &D::OnBnClickedResume);
    click(m_ClearQueueButton, &D::OnBnClickedClearQueue);
    click(m_ResetTimestampButton, &D::OnBnClickedResetTimestamp);
    click(m_OnChangeButton, &D::OnBnClickedOnChange);
    click(m_ExplicitButton, &D::OnBnClickedExplicit);
    click(m_SetVoltageButton, &D::OnBnClickedSetVoltage);
    click(m_GetVoltageButton, &D::OnBnClickedGetVoltage);
    click(m_BusMonitoringButton, &D::OnBnClickedBusMonitoring);
    click(m_ReqProxyCPButton, &D::OnBnClickedReqProxyCP);
    click(m_IoCtlFiltersButton, &D::OnBnClickedIoCtlFilters);
    click(m_ReqChipStateButton, &D::OnBnClickedReqChipState);
    click(m_ClearScreenButton, &D::OnBnClickedClearScreen);
    click(m_DisableScreenCheck, &D::OnBnClickedDisableScreen);
    click(m_DetailedErrorCheck, &D::OnBnClickedDetailedErrorText);
    On(m_CancelCombo, Notification::SetFocus, [this] { OnCancelComboFocus(); });
    On(m_CancelCombo, Notification::CloseUp, [this] { OnCancelComboCloseUp(); });
}

std::shared_ptr<LoLiDialogKeldaPDUAPI> LoLiDialogKeldaPDUAPI::Self()
{
    return std::static_pointer_cast<LoLiDialogKeldaPDUAPI>(weak_from_this().lock());
}

// ---------------------------------------------------------------- log

void LoLiDialogKeldaPDUAPI::Log(const char* text)
{
    if (m_screenDisabled || !m_pUIThread) return;
    m_pUIThread->Print(m_log, 0, text);
}

void LoLiDialogKeldaPDUAPI::LogFormat(const char* format, ...)
{
    if (m_screenDisabled || !m_pUIThread) return;
    char buffer[PrintListCtrl::MAX_WRITE + 1];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    m_pUIThread->Print(m_log, 0, buffer);
}

void LoLiDialogKeldaPDUAPI::OnTimer(unsigned id)
{
    if (id != m_timerId || !m_pUIThread) return;
    if (!m_cancelComboHeld) m_pUIThread->RefreshActiveCoPCombo(*this);
    m_pUIThread->FlushLog(m_log);
}

// ---------------------------------------------------------------- creation

bool LoLiDialogKeldaPDUAPI::OnInitDialog()
{
    m_detailedErrorText = 0;
    m_params.FreeAll();
    m_params.m_uridTexts.clear();
    m_activeCoPs.clear();
    m_log.Prepare();
    SetWindowText(m_title);
    m_SendCountEdit.SetWindowText("1");
    m_RecCountEdit.SetWindowText("1");
    m_CycleTimeEdit.SetWindowText("1000");
    m_RepeatEdit.SetWindowText("1");
    m_PinEdit.SetWindowText("PIN");
    m_VoltEdit.SetWindowText("Volt");
    m_RecvCountEdit.SetWindowText("0");
    if (!m_pMainDlg) return false;

    m_pUIThread = std::make_shared<UIThread>(m_pMainDlg->GetPrintLock());
    m_pUIThread->CreateThread();
    Log("********** Logical-Link successfully created ************\n");
    Log(kSeparator);
    LogFormat("Used Resource ID: %d\n", static_cast<int>(m_resourceId));
    LogFormat("LogicalLink handler: %d\n", static_cast<int>(m_hCLL));
    Log(kSeparator);
    Log("Building the ProtocolComParams array ...\n");
    if (!BuildComParams()) return false;

    m_lastStatus = PduApi.PDURegisterEventCallback(m_hMod, m_hCLL, &LoLiDialogKeldaPDUAPI::OnPduEvent);
    Log(kSeparator);
    LogFormat("Return of PDURegisterEventCallback:\n%s\n", PduStatusText(m_lastStatus));
    // After the registration on purpose: an event in the gap finds no semaphore and is picked up
    // with the next one.
    m_semaphoresOpen = true;
    if (IsDirectCan()) RegisterDirectCan();

    LoadPduHistory(m_PduCombo);
    T_PDU_ERROR status = m_lastStatus;
    const bool loaded = m_params.LoadAndSetValues(m_pMainDlg->GetIniPath(), m_protocolName, m_hMod, m_hCLL, status);
    m_lastStatus = status;
    if (!loaded) return false;
    m_params.LoadAndSetUridTable(m_pMainDlg->GetIniPath(), m_protocolName, m_hMod, m_hCLL);

    {
        std::lock_guard lock(m_txFlagsLock);
        m_txFlagBytes.assign(4, 0);
        m_txFlags = PDU_FLAG_DATA{4, m_txFlagBytes.data()};
    }
    m_positiveResponse = ResponseMask{1, {0x00}, {0x00}, "00", "00"};
    m_negativeResponse = ResponseMask{0, {0xFF}, {0x7F}, "FF", "7F"};

    if (!StartWorkers()) return false;
    m_hTimer = m_ui.SetTimer(*this, m_timerId, kTimerPeriodMs) ? m_timerId : 0;
    return true;
}

bool LoLiDialogKeldaPDUAPI::BuildComParams()
{
    const bool built = m_params.Build(m_pMainDlg->GetDescriptionModel(), m_busTypeId, m_protocolId);
    const bool allowed = m_pMainDlg->LinkWithoutComParamsAllowed();
    if (!built) {
        Log("Error: ProtocolComParams array could not be created.\n");
        if (!allowed) return false;
    }
    if (!m_params.ProtocolComParams.empty())
        LogFormat("ProtocolComParams[%d] array successfully created.\n", static_cast<int>(m_params.ProtocolComParams.size()));
    else if (!allowed)
        return false;
    return true;
}

bool LoLiDialogKeldaPDUAPI::StartWorkers()
{
    auto self = Self();
    if (!self) return false;  // only a shared dialog can outlive a worker that won't end
    m_rxThread.stop = 0;
    m_txThread.stop = 0;
    m_rxThread.Start([self] { QUILLON_LoLi_RxThread(self); });
    m_txThread.Start([self] { QUILLON_LoLi_TxThread(self); });
    // Not waited for: it sets its flag when it gets there.
    if (IsDirectCan()) {
        m_seThread.stop = 0;
        m_seThread.Start([self] { QUILLON_LoLi_RxThreadSE(self); });
    }
    m_rxThread.WaitStarted(UINT32_MAX);
    m_txThread.WaitStarted(UINT32_MAX);
    return true;
}

// ---------------------------------------------------------------- the link's own buttons

void LoLiDialogKeldaPDUAPI::OnBnClickedOpen()
{
    if (!m_rxThread.Exists()) StartWorkers();
    const T_PDU_ERROR result = PduApi.PDUConnect(m_hMod, m_hCLL);
    Log(kSeparator);
    LogFormat("Return of PDUConnect:\n%s\n", PduStatusText(result));
}

void LoLiDialogKeldaPDUAPI::OnBnClickedClose()
{
    m_lastStatus = PduApi.PDUDisconnect(m_hMod, m_hCLL);
    if (m_lastStatus == PDU_STATUS_NOERROR && m_pUIThread) m_pUIThread->ClearActiveCoPs(*this);
    Log(kSeparator);
    LogFormat("Return of PDUDisconnect:\n%s\n", PduStatusText(m_lastStatus));
}

void LoLiDialogKeldaPDUAPI::OnBnClickedEditParam()
{
    T_PDU_ERROR status = m_lastStatus;
    EditComParams(m_params, false, status);
    m_lastStatus = status;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedEditUrid()
{
    EditUridTable(m_params, false);
}

void LoLiDialogKeldaPDUAPI::OnBnClickedClearScreen()
{
    if (m_pUIThread) m_pUIThread->ClearLog(m_log);
}

void LoLiDialogKeldaPDUAPI::OnBnClickedDisableScreen()
{
    m_screenDisabled = (m_DisableScreenCheck.GetCheck() & 1) != 0;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedDetailedErrorText()
{
    m_detailedErrorText = (m_DetailedErrorCheck.GetCheck() & 1) ? 1 : 0;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedResetRecvCount()
{
    m_RecvCountEdit.SetWindowText("0");
}

// ---------------------------------------------------------------- close

void LoLiDialogKeldaPDUAPI::OnBnClickedCloseWindow()
{
    if (EditorRefusesClose()) return;
    T_PDU_ERROR status = m_lastStatus;
    const bool destroyed = DestroyLinkForClose(status);
    m_lastStatus = status;
    if (!destroyed) return;
    {
        std::lock_guard lock(m_txFlagsLock);
        m_txFlags = PDU_FLAG_DATA{0, nullptr};
        m_txFlagBytes.clear();
    }
    SaveAndFreeLinkSettings(m_PduCombo, m_params);
    StopWorkers();
    m_semaphoresOpen = false;
    if (m_hTimer) {
        m_ui.KillTimer(*this, m_timerId);
        m_hTimer = 0;
    }
    // The object stays until the dialog goes: a worker that was given up may still hold it.
    if (m_pUIThread) m_pUIThread->ExitThread();
    EndDialog(ui::IDOK);
    if (m_pMainDlg) m_pMainDlg->OnLinkClosed(this);
}

void LoLiDialogKeldaPDUAPI::StopWorkers()
{
    m_txThread.stop = 1;
    m_txSemaphore->Release();
    m_txThread.WaitOrTerminate(kWorkerWaitMs);
    m_rxThread.stop = 1;
    m_seThread.stop = 1;
    m_rxSemaphore->Release();
    m_seEvent->Signal();
    m_rxThread.WaitOrTerminate(kWorkerWaitMs);
    // The direct CAN thread ends by its flag and its own time-out; nobody waits for it.
    m_seThread.Release();
}
