// The full logical link window: one ComLogicalLink with its own log, ComParams and URID table,
// a receive and a transmit thread, the ComPrimitive buttons and the link's IOCTLs.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "controls/Static.h"
#include "description/KeldaValueFamily.h"
#include "logical_link/CLinkBaseDlg.h"
#include "logical_link/LinkComParams.h"
#include "logical_link/LinkEventDecoder.h"
#include "logical_link/ResponseMask.h"
#include "logical_link/UIThread.h"
#include "logical_link/WorkerThread.h"
#include "pdu/MorvaneExtensions.h"
#include "platform/NotificationEvent.h"
#include "platform/Semaphore.h"
#include "platform/SystemEvent.h"

class LoLiDialogKeldaPDUAPI : public CLinkBaseDlg, private LinkEventSink {
public:
    explicit LoLiDialogKeldaPDUAPI(ui::Ui& ui);
    ~LoLiDialogKeldaPDUAPI() override;

    bool OnInitDialog() override;
    void OnTimer(unsigned id) override;
    // The close box does nothing: "Cancel" is disabled, "Close Window" is the only way out.
    void OnClose() override {}
    controls::PrintListCtrl* LogList() override { return &m_log; }
    void CloseLink() override { OnBnClickedCloseWindow(); }

    // The link's event callback: raises the receive semaphore, nothing more.
    static void PDU_CALL OnPduEvent(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL, void* pCllTag, void* pAPITag);

    void OnBnClickedOpen();
    void OnBnClickedClose();
    void OnBnClickedCloseWindow();
    void OnBnClickedEditParam();
    void OnBnClickedEditUrid();
    const ComParamValueFamily& ValueFamily() const override { return m_values; }
    void OnBnClickedStartCom();
    void OnBnClickedStopCom();
    void OnBnClickedKdService();
    void OnBnClickedKdDelay();
    void OnBnClickedUpdateLink();
    void OnBnClickedRestore();
    void OnBnClickedCancelCurr();
    void OnBnClickedCancelGo();
    void OnBnClickedCancelAll() {}
    void OnBnClickedSync();
    void OnBnClickedTxFlags();
    void OnBnClickedExpResp();
    void OnBnClickedClearScreen();
    void OnBnClickedDisableScreen();
    void OnBnClickedDetailedErrorText();
    void OnBnClickedResetRecvCount();
    void OnBnClickedSuspend();
    void OnBnClickedResume();
    void OnBnClickedClearQueue();
    void OnBnClickedResetTimestamp();
    void OnBnClickedOnChange();
    void OnBnClickedExplicit();
    void OnBnClickedSetVoltage();
    void OnBnClickedGetVoltage();
    void OnBnClickedBusMonitoring();
    void OnBnClickedReqProxyCP();
    void OnBnClickedIoCtlFilters();
    void OnBnClickedReqChipState();
    // The cancel combo box: held while the user has it, so the timer doesn't rebuild it.
    void OnCancelComboFocus();
    void OnCancelComboCloseUp();

    // One item into the log, as the receive thread does it.
    LinkEventDecoder::Result ProcessEventItem(const LinkEventDecoder& decoder, const PDU_EVENT_ITEM& item, LogLines& lines);
    // One ComPrimitive from the fields; the handle, 0 when nothing was started.
    uint32_t StartComPrimitive(T_PDU_COPT type);
    void SignalSyncEvent();
    bool IsReady() const { return m_hTimer != 0; }
    bool WorkersRunning() const { return m_rxThread.running || m_txThread.running; }

    // Controls, in the order of the control table.
    controls::Button m_CloseWindowButton;
    controls::Button m_CancelButton;
    controls::Button m_OpenButton;
    controls::Button m_CloseButton;
    controls::CheckBox m_PduCheck;
    controls::Button m_StartComButton;
    controls::Button m_StopComButton;
    controls::Button m_KdServiceButton;
    controls::Button m_KdDelayButton;
    controls::Button m_UpdateLinkButton;
    controls::Button m_RestoreButton;
    controls::ComboBox m_PduCombo;
    controls::Edit m_SendCountEdit;
    controls::Edit m_RecCountEdit;
    controls::Edit m_CycleTimeEdit;
    controls::Edit m_DelayEdit;
    controls::Edit m_RepeatEdit;
    controls::Button m_TxFlagsButton;
    controls::Button m_ExpRespButton;
    controls::CheckBox m_SyncCheck;
    controls::CheckBox m_TempParCheck;
    controls::CheckBox m_NoExpRespCheck;
    controls::ComboBox m_CancelCombo;
    controls::Button m_CancelCurrButton;
    controls::Button m_GoButton;
    controls::Button m_CancelAllButton;
    controls::Button m_SuspendButton;
    controls::Button m_ResumeButton;
    controls::Button m_ClearQueueButton;
    controls::Button m_OnChangeButton;
    controls::Button m_ExplicitButton;
    controls::Button m_SetVoltageButton;
    controls::Button m_GetVoltageButton;
    controls::Button m_BusMonitoringButton;
    controls::Button m_IoCtlFiltersButton;
    controls::Button m_ResetTimestampButton;
    controls::Button m_ReqProxyCPButton;
    controls::Edit m_PinEdit;
    controls::Edit m_VoltEdit;
    controls::Button m_ReqChipStateButton;
    controls::Button m_EditParamButton;
    controls::Button m_EditUridButton;
    controls::PrintListCtrl m_log;
    controls::Edit m_RecvCountEdit;
    controls::Button m_RecvCountResetButton;
    controls::Button m_ClearScreenButton;
    controls::CheckBox m_DisableScreenCheck;
    controls::CheckBox m_DetailedErrorCheck;
    controls::CheckBox m_EnableTimestampCheck;
    controls::Static m_ClampStateGroup;
    controls::Static m_ComPrimitivesGroup;
    controls::Static m_ParamsGroup;
    controls::Static m_SeCanGroup;
    controls::Static m_SodGroup;
    controls::Static m_CancelGroup;
    controls::Edit m_ActiveCoPsEdit;

    // What the dialog adds to its base, in declaration order.
    std::atomic<uint32_t> m_detailedErrorText{0};
    std::shared_ptr<UIThread> m_pUIThread;
    WorkerThread m_rxThread;
    WorkerThread m_seThread;
    WorkerThread m_txThread;
    std::unique_ptr<platform::Semaphore> m_rxSemaphore;
    std::unique_ptr<platform::NotificationEvent> m_seEvent;
    std::unique_ptr<platform::Semaphore> m_txSemaphore;
    std::shared_ptr<platform::SystemEvent> m_syncEvent;
    std::atomic<T_PDU_COPT> m_copType{PDU_COPT_SENDRECV};
    std::atomic<T_PDU_ERROR> m_lastStatus{PDU_STATUS_NOERROR};
    std::mutex CoPLock;
    // The transmit thread copies the flags while the dialog edits or frees them.
    std::mutex m_txFlagsLock;
    std::vector<UNUM8> m_txFlagBytes;
    PDU_FLAG_DATA m_txFlags{0, nullptr};
    std::mutex CoPComboLock;
    KeldaValueFamily m_values;
    LinkComParams m_params;
    std::vector<std::string> m_activeCoPs;
    std::atomic<bool> m_cancelComboHeld{false};
    std::atomic<uint32_t> m_syncMode{0};
    ResponseMask m_positiveResponse;
    ResponseMask m_negativeResponse;
    uint32_t m_filterData = 0;
    // A filter editor left by Cancel: the link keeps it, and its pointer, for good.
    std::unique_ptr<Dialog> m_cancelledFilterDialog;

private:
    using ValueText = std::function<std::string(UNUM32)>;
    // A line the disabled screen does not hide.
    void LogAlways(const std::string& text);
    bool FindIoCtl(const char* name, UNUM32& id);
    void QueueIoCtl(const char* name);
    void ReadModuleValue(const char* name, PDU_DATA_ITEM* input, bool needsId, const ValueText& text);
    void ShowProxyComParams(const PDU_IO_PROXY_COM_PARAM_DATA& data);
    void RegisterControls();
    void BindHandlers();
    void Log(const char* text);
    void LogFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    bool BuildComParams();
    bool StartWorkers();
    void StopWorkers();
    void PressComPrimitive(T_PDU_COPT type);
    // UPDATEPARAM and RESTORE_PARAM: no data, no control data, the call's return in the log.
    void StartWithoutData(T_PDU_COPT type, const char* returnText);
    void AddToHistory(const std::string& text);
    static void QUILLON_LoLi_RxThread(std::shared_ptr<LoLiDialogKeldaPDUAPI> self);
    static void QUILLON_LoLi_TxThread(std::shared_ptr<LoLiDialogKeldaPDUAPI> self);
    // Direct CAN mode, on the maker's CAN protocol only.
    bool IsDirectCan() const;
    void RegisterDirectCan();
    void SendDirectCan();
    void DirectCanLoop();
    static void QUILLON_LoLi_RxThreadSE(std::shared_ptr<LoLiDialogKeldaPDUAPI> self);
    void ReceiveLoop();
    void TransmitLoop();
    void DrainEvents(const LinkEventDecoder& decoder);
    std::shared_ptr<LoLiDialogKeldaPDUAPI> Self();

    // What the decoder reads and changes.
    bool TimestampEnabled() override;
    bool ScreenDisabled() override;
    bool DetailedErrorText() override;
    void CountEvent() override;
    void CoPEnded(uint32_t hCop, LogLines& out) override;
    void LinkOffline() override;
    void LinkOnline() override;
    std::vector<ErrorCodeInfo> VendorErrors() override;

    std::atomic<bool> m_semaphoresOpen{false};
};

// One direct CAN record as the log shows it.
void AddSeCanMessage(LogLines& lines, const SeCanMessage& message);
// The proxy's address as "ReqProxyCP" shows it.
std::string ProxyAddressText(const PDU_IO_PROXY_COM_PARAM_DATA& data);
