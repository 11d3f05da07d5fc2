// The logical link window of the default mode: the same job as the full window with a simpler
// build: one receive thread, starts on the dialog's own thread, one lock for everything.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "description/LoLiValueFamily.h"
#include "logical_link/CLinkBaseDlg.h"
#include "logical_link/LinkComParams.h"
#include "logical_link/LinkEventDecoder.h"
#include "logical_link/WorkerThread.h"
#include "platform/Semaphore.h"

class LoLiDialog : public CLinkBaseDlg, private LinkEventSink {
public:
    explicit LoLiDialog(ui::Ui& ui);
    ~LoLiDialog() override;

    bool OnInitDialog() override;
    void OnTimer(unsigned id) override;
    // The close box leaves as "Exit" does.
    void OnClose() override { OnBnClickedExit(); }
    controls::PrintListCtrl* LogList() override { return &m_log; }

    static void PDU_CALL OnPduEvent(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL, void* pCllTag, void* pAPITag);

    void OnBnClickedConnect();
    void OnBnClickedDisconnect();
    void OnBnClickedStartComm() { StartComPrimitive(PDU_COPT_STARTCOMM); }
    void OnBnClickedStopComm() { StartComPrimitive(PDU_COPT_STOPCOMM); }
    void OnBnClickedSendRecv() { StartComPrimitive(PDU_COPT_SENDRECV); }
    void OnBnClickedUpdateParam();
    void OnBnClickedRestoreParam();
    void OnBnClickedDelay();
    void OnBnClickedCancelPrimitive();
    void OnBnClickedTxFlags();
    void OnBnClickedEditParams();
    void OnBnClickedEditUrid();
    const ComParamValueFamily& ValueFamily() const override { return m_values; }
    void OnBnClickedDetailedErrorText();
    void OnBnClickedClearLog();
    void OnBnClickedExit();

    uint32_t StartComPrimitive(T_PDU_COPT type);
    bool IsReady() const { return m_hTimer != 0; }

    controls::Button m_ExitButton;
    controls::Button m_ConnectButton;
    controls::Button m_DisconnectButton;
    controls::ComboBox m_PduCombo;
    controls::Edit m_TxCountEdit;
    controls::Edit m_RxCountEdit;
    controls::Edit m_CycleTimeEdit;
    controls::CheckBox m_TempParamCheck;
    controls::Button m_TxFlagsButton;
    controls::Button m_StartCommButton;
    controls::Button m_StopCommButton;
    controls::Button m_SendRecvButton;
    controls::Button m_UpdateParamButton;
    controls::Button m_RestoreParamButton;
    controls::Button m_DelayButton;
    controls::ComboBox m_CancelCombo;
    controls::Button m_CancelPrimitiveButton;
    controls::Button m_EditParamsButton;
    controls::Button m_EditUridButton;
    controls::CheckBox m_DetailedErrorCheck;
    controls::Button m_ClearLogButton;
    controls::PrintListCtrl m_log;

    // One lock for the log, the list of running ComPrimitives and the API calls that start them.
    std::recursive_mutex LinkLock;
    std::atomic<uint32_t> m_detailedErrorText{0};
    WorkerThread m_rxThread;
    std::unique_ptr<platform::Semaphore> m_rxSemaphore;
    std::atomic<T_PDU_ERROR> m_lastStatus{PDU_STATUS_NOERROR};
    std::vector<UNUM8> m_txFlagBytes;
    PDU_FLAG_DATA m_txFlags{0, nullptr};
    LoLiValueFamily m_values;
    LinkComParams m_params;
    // Each a ComPrimitive handle in its low half.
    std::vector<uint64_t> m_activeCoPs;

private:
    void RegisterControls();
    void BindHandlers();
    void Log(const char* text);
    void LogFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void StartSimple(T_PDU_COPT type, const char* returnText);
    void AddActiveCoP(uint32_t handle);
    void ReceiveLoop();
    std::shared_ptr<LoLiDialog> Self();

    bool TimestampEnabled() override { return false; }
    bool ScreenDisabled() override { return false; }
    bool DetailedErrorText() override { return m_detailedErrorText != 0; }
    void CountEvent() override {}
    void CoPEnded(uint32_t hCop, LogLines& out) override;
    void LinkOffline() override;
    void LinkOnline() override;
    std::vector<ErrorCodeInfo> VendorErrors() override;

    std::atomic<bool> m_semaphoreOpen{false};
};
