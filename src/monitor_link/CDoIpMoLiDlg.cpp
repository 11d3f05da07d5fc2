#include "monitor_link/CDoIpMoLiDlg.h"

#include <thread>

#include "monitor_link/DoIpLineDecoder.h"
#include "pdu/PduApi.h"

CDoIpMoLiDlg::CDoIpMoLiDlg(ui::Ui& ui)
    : CMoLiDlg(ui), m_semaphore(std::make_unique<platform::Semaphore>(0, 65535))
{
}

CDoIpMoLiDlg::~CDoIpMoLiDlg()
{
    StopThread();
}

void CDoIpMoLiDlg::InsertColumns()
{
    m_List.InsertColumn(0, "Time", CListCtrlEx::LVCFMT_LEFT, 40);
    m_List.InsertColumn(1, "Communication", CListCtrlEx::LVCFMT_LEFT, 220);
    m_List.InsertColumn(2, "Payload Type", CListCtrlEx::LVCFMT_LEFT, 300);
}

bool CDoIpMoLiDlg::OnInitDialog()
{
    PrepareWindow();
    StartThread();
    UNUM8 flagBytes[4] = {0x40, 0x00, 0x00, 0x02};
    PDU_FLAG_DATA flags{4, flagBytes};
    // Neither result is looked at: a link that failed shows nothing, as the window has no log.
    PduApi.PDUCreateComLogicalLink(m_hMod, nullptr, PDU_ID_UNDEF, LinkTag(), &m_hCLL, &flags);
    PduApi.PDURegisterEventCallback(m_hMod, m_hCLL, &CDoIpMoLiDlg::OnPduEvent);
    StartHotKeysAndTimer();
    return true;
}

void CDoIpMoLiDlg::OnTimer(unsigned id)
{
    CMoLiDlg::OnTimer(id);
    if (id != m_timerId) return;
    m_ItemsPerSecondEdit.SetWindowText("0");
    m_BusLoadEdit.SetWindowText("0.00");
}

void PDU_CALL CDoIpMoLiDlg::OnPduEvent(T_PDU_EVT_DATA, UNUM32, UNUM32, void* pCllTag, void* pAPITag)
{
    if (!pCllTag) {
        if (pAPITag) CLinkBaseDlg::RaiseForApiTag(pAPITag);
        return;
    }
    const std::shared_ptr<CLinkBaseDlg> link = CLinkBaseDlg::FromLinkTag(pCllTag);
    if (auto* dialog = dynamic_cast<CDoIpMoLiDlg*>(link.get())) dialog->m_semaphore->Release();
}

void CDoIpMoLiDlg::StartThread()
{
    if (m_thread.Exists()) return;
    m_thread.running = 1;
    m_thread.Start([this] { ReceiveLoop(); });
}

// The thread is ours to join: it waits on our semaphore only, which the stop releases.
void CDoIpMoLiDlg::StopThread()
{
    if (!m_thread.Exists()) return;
    m_thread.running = 0;
    m_semaphore->Release();
    m_thread.Release();
}

// The link handle is read under the thread lock, which the window holds when it lets the link go.
void CDoIpMoLiDlg::ReceiveLoop()
{
    while (m_thread.running == 1) {
        m_semaphore->Wait();
        for (;;) {
            std::lock_guard lock(m_threadLock);
            PDU_EVENT_ITEM* item = nullptr;
            if (m_thread.running != 1 || m_hCLL == PDU_HANDLE_UNDEF ||
                PduApi.PDUGetEventItem(m_hMod, m_hCLL, &item) != PDU_STATUS_NOERROR)
                break;
            if (item) {
                DoIpLineDecoder::Decode(*item, m_List);
                PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
            }
        }
        std::this_thread::yield();
    }
}

void CDoIpMoLiDlg::OnBnClickedOpen()
{
    if (m_bLinkOpen) {
        m_ui.MessageBox("MoLi is already opened", "Error", ui::MB_OK);
        return;
    }
    PDU_COP_CTRL_DATA control{};
    control.NumSendCycles = 0;
    control.NumReceiveCycles = -1;  // endless
    UNUM8 txFlags[4] = {};
    control.TxFlag = {4, txFlags};
    PduApi.PDUConnect(m_hMod, m_hCLL);
    PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, PDU_COPT_SENDRECV, 0, nullptr, &control, nullptr, &m_hCoP);
    m_bLinkOpen = true;
}

void CDoIpMoLiDlg::OnBnClickedClose()
{
    if (!m_bLinkOpen) {
        m_ui.MessageBox("MoLi is already closed", "Error", ui::MB_OK);
        return;
    }
    if (m_decoder.GetFilterMode() != MonitorLineDecoder::FILTER_OFF)
        m_decoder.SetFilter(MonitorLineDecoder::FILTER_OFF, {});
    PduApi.PDUCancelComPrimitive(m_hMod, m_hCLL, m_hCoP);
    PduApi.PDUDisconnect(m_hMod, m_hCLL);
    m_bLinkOpen = false;
}

// The thread reads the link handle: it goes under the thread lock, before the link does.
void CDoIpMoLiDlg::DestroyLink()
{
    UNUM32 link;
    {
        std::lock_guard lock(m_threadLock);
        link = m_hCLL;
        m_hCLL = PDU_HANDLE_UNDEF;
    }
    if (link != PDU_HANDLE_UNDEF) PduApi.PDUDestroyComLogicalLink(m_hMod, link);
}

void CDoIpMoLiDlg::OnBnClickedCloseWindow()
{
    if (m_bLinkOpen) {
        m_ui.MessageBox("MoLi is not closed", "Error", ui::MB_OK);
        return;
    }
    DestroyLink();
    StopThread();
    UnregisterHotKeys();
    StopTimer();
    OnOK();
}

void CDoIpMoLiDlg::DetachService()
{
    if (m_hCLL == PDU_HANDLE_UNDEF) return;
    if (m_bLinkOpen) {
        PduApi.PDUCancelComPrimitive(m_hMod, m_hCLL, m_hCoP);
        PduApi.PDUDisconnect(m_hMod, m_hCLL);
        m_bLinkOpen = false;
    }
    StopThread();
    DestroyLink();
}
