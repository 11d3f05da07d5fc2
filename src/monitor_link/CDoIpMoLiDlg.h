// The monitor window of a DoIP resource: the monitor window's controls and keys, but an ordinary
// logical link of the published API underneath, one endless ComPrimitive on it, and every
// result shown as a DoIP frame with its addresses and ports.
#pragma once

#include <memory>

#include "monitor_link/CMoLiDlg.h"
#include "pdu/PduTypes.h"

class CDoIpMoLiDlg : public CMoLiDlg {
public:
    explicit CDoIpMoLiDlg(ui::Ui& ui);
    ~CDoIpMoLiDlg() override;

    bool OnInitDialog() override;
    // No decoder counts here: the figures stay at 0, written every tick all the same.
    void OnTimer(unsigned id) override;
    void OnBnClickedOpen() override;
    void OnBnClickedClose() override;
    void OnBnClickedCloseWindow() override;
    void OnBnClickedMlParam() override {}
    // The library is about to go: the link goes first, the rows stay.
    void DetachService() override;

    static void PDU_CALL OnPduEvent(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL, void* pCllTag, void* pAPITag);

    UNUM32 m_hCoP = PDU_HANDLE_UNDEF;

protected:
    void InsertColumns() override;

private:
    void StartThread();
    void StopThread();
    void ReceiveLoop();
    void DestroyLink();

    WorkerThread m_thread;
    const std::unique_ptr<platform::Semaphore> m_semaphore;
};
