// The monitor window: listens to a bus through the library's monitor service and shows every item
// as a row. The service's callback carries no context, so the window that initialised last takes
// all notices.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "controls/RadioButton.h"
#include "logical_link/CLinkBaseDlg.h"
#include "logical_link/PDUObjectQueue.h"
#include "logical_link/WorkerThread.h"
#include "monitor_link/MonitorLineDecoder.h"
#include "monitor_link/TraceStore.h"
#include "monitor_link/TraceWriter.h"
#include "pdu/KdMonitorService.h"
#include "platform/Semaphore.h"

class CMoLiDlg : public CLinkBaseDlg {
public:
    static constexpr uint32_t kPassThruHardwareType = 527;
    enum HotKey : int { HOTKEY_SAVE = 1, HOTKEY_LOAD = 2, HOTKEY_FILL = 3 };

    explicit CMoLiDlg(ui::Ui& ui);
    ~CMoLiDlg() override;

    bool OnInitDialog() override;
    void OnTimer(unsigned id) override;
    void OnHotKey(int id) override;
    // The close box asks as "Close Window" does.
    void OnClose() override { OnBnClickedCloseWindow(); }
    controls::PrintListCtrl* LogList() override { return &m_List; }

    static void OnMonitorEvent(uint32_t handle, KdObject* object);

    virtual void OnBnClickedOpen();
    virtual void OnBnClickedClose();
    virtual void OnBnClickedCloseWindow();
    void OnBnClickedClearScreen();
    virtual void OnBnClickedMlParam();
    void OnBnClickedDisableScreen();
    void OnBnClickedLargeFont();
    void OnBnClickedResetCounters();
    void OnBnClickedFilterPositive() { SetIdFilter(MonitorLineDecoder::FILTER_POSITIVE); }
    void OnBnClickedFilterNegative() { SetIdFilter(MonitorLineDecoder::FILTER_NEGATIVE); }
    void OnBnClickedFilterOff();
    // The list's context menu: the received frames as a file for CAN tools.
    void OnSaveTrace(TraceWriter::Format format);
    bool SaveTrace(const std::string& path, TraceWriter::Format format);
    const TraceStore& Trace() const { return m_trace; }

    // The library is about to go: the window lets go of the service and stays with its rows.
    virtual void DetachService();

    // Filled by the launcher before OnInitDialog.
    uint32_t m_hardwareType = 0;
    char m_hardwareName[100] = {};
    char m_busName[20] = {};
    KdMonitorService* m_pMonitorService = nullptr;
    // How long Close Window lets the hardware settle after CloseHardware; tests of many cycles
    // shorten it.
    unsigned m_closeSettleMs = 1000;

    controls::Button m_OpenButton;
    controls::Button m_CloseButton;
    controls::Button m_CloseWindowButton;
    controls::Button m_ClearScreenButton;
    controls::Button m_MlParamButton;
    controls::RadioButton m_OnChangeRadio;
    controls::RadioButton m_ExplicitRadio;
    controls::CheckBox m_DisableScreenCheck;
    controls::CheckBox m_SuppressLeCheck;
    controls::CheckBox m_LargeFontCheck;
    controls::CheckBox m_NoMultiLineCheck;
    controls::Button m_ResetCountersButton;
    controls::RadioButton m_FilterPositiveRadio;
    controls::RadioButton m_FilterNegativeRadio;
    controls::RadioButton m_FilterOffRadio;
    controls::Edit m_FilterEdit;
    controls::Edit m_MonCountEdit;
    controls::Edit m_ItemsPerSecondEdit;
    controls::Edit m_BusLoadEdit;
    controls::PrintListCtrl m_List;

    bool IsLinkOpen() const { return m_bLinkOpen; }
    const MonitorLineDecoder& Decoder() const { return m_decoder; }

protected:
    // What every monitor window does first in OnInitDialog: fonts, columns, counters, title.
    void PrepareWindow();
    // And last: the hot keys and the 50 ms timer.
    void StartHotKeysAndTimer();
    virtual void InsertColumns();
    void OnOK();
    void EndWindow(int code);
    void UnregisterHotKeys();
    void StopTimer();
    void ShowException(const KdException& e);

    bool m_bLinkOpen = false;
    MonitorLineDecoder m_decoder;
    std::mutex m_threadLock;

private:
    void RegisterControls();
    void BindHandlers();
    void StartReceiveThread();
    void StopReceiveThread();
    void ReceiveThread();
    void OnCancel();
    void ForgetAsMonitorWindow();
    void SetIdFilter(uint32_t mode);
    void RegisterHotKeys();
    void ReleaseLink();
    std::string IniPath() const;

    std::shared_ptr<CMoLiDlg> Self();

    KdMonitorLink* m_pMoLi = nullptr;  // written by the UI thread under m_threadLock
    bool m_bHotKeysRegistered = false;
    std::string m_filterText;
    TraceStore m_trace;
    WorkerThread m_rxThread;
    std::atomic<int> m_threadEnded{0};
    PDUObjectQueue m_itemQueue;
    const std::unique_ptr<platform::Semaphore> m_itemSemaphore;
};
