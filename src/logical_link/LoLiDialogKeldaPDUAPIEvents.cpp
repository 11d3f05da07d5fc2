// The full link window's events: the callback, the receive thread, and what decoding reads and
// changes in the window.
#include <chrono>
#include <cstdio>
#include <thread>

#include "description/NumberText.h"
#include "logical_link/LinkHost.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "pdu/PduApi.h"

void PDU_CALL LoLiDialogKeldaPDUAPI::OnPduEvent(T_PDU_EVT_DATA eventType, UNUM32, UNUM32, void* pCllTag, void* pAPITag)
{
    // The tag is the dialog; one that has gone meanwhile is not called.
    const std::shared_ptr<CLinkBaseDlg> link = CLinkBaseDlg::FromLinkTag(pCllTag);
    auto* dialog = dynamic_cast<LoLiDialogKeldaPDUAPI*>(link.get());
    if (dialog && eventType == PDU_EVT_DATA_LOST && dialog->m_pUIThread) {
        LogLines lines;
        LinkEventDecoder::DataLostLines(lines);
        dialog->m_pUIThread->PrintBatch(dialog->m_log, 0, lines.Text());
    }
    if (dialog) {
        if (dialog->m_semaphoresOpen) dialog->m_rxSemaphore->Release();
    } else if (!pCllTag) {
        CLinkBaseDlg::RaiseForApiTag(pAPITag);
    }
}

void LoLiDialogKeldaPDUAPI::QUILLON_LoLi_RxThread(std::shared_ptr<LoLiDialogKeldaPDUAPI> self)
{
    self->ReceiveLoop();
}

void LoLiDialogKeldaPDUAPI::ReceiveLoop()
{
    WorkerThread& worker = m_rxThread;
    worker.running = 1;
    const std::shared_ptr<UIThread> uiThread = m_pUIThread;  // held: the close may give up on us
    // Monitor and raw mode are read once, as the thread starts.
    const LinkEventDecoder decoder(LinkEventDecoder::Variant::Full, m_createFlags);
    m_rxSemaphore->Wait();
    bool unknownItem = false;
    while (!worker.killed && !worker.stop && !unknownItem) {
        LogLines lines;
        const EventRound round = ReadEventRound(worker, [&](const PDU_EVENT_ITEM& item) {
            // An item the program doesn't know ends the thread; it isn't returned.
            unknownItem = ProcessEventItem(decoder, item, lines) == LinkEventDecoder::Result::UnknownItem;
            return !unknownItem;
        }, [this](const std::string& text) {
            if (m_pUIThread) m_pUIThread->PrintBatch(m_log, 0, text);
        });
        if (worker.killed || unknownItem) break;
        if (round == EventRound::Capped)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        else
            m_rxSemaphore->Wait();
    }
    if (worker.killed) return;
    worker.running = 0;
    if (uiThread) uiThread->PostThreadMessage(UIThread::kQuitMessage, 1);
}

LinkEventDecoder::Result LoLiDialogKeldaPDUAPI::ProcessEventItem(const LinkEventDecoder& decoder,
                                                                 const PDU_EVENT_ITEM& item, LogLines& lines)
{
    lines.Clear();
    const LinkEventDecoder::Result result = decoder.Decode(item, *this, lines);
    if (m_pUIThread) m_pUIThread->PrintBatch(m_log, 0, lines.Text());
    return result;
}

bool LoLiDialogKeldaPDUAPI::TimestampEnabled()
{
    return (m_EnableTimestampCheck.GetCheck() & 1) != 0;
}

bool LoLiDialogKeldaPDUAPI::ScreenDisabled()
{
    return m_screenDisabled;
}

bool LoLiDialogKeldaPDUAPI::DetailedErrorText()
{
    return m_detailedErrorText != 0;
}

void LoLiDialogKeldaPDUAPI::CountEvent()
{
    // Through the control's text on every event: part of the load the bench puts on a link.
    const uint32_t count = static_cast<uint32_t>(ParseLong32(m_RecvCountEdit.GetWindowText(), 10)) + 1;
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int32_t>(count));
    m_RecvCountEdit.SetWindowText(text);
}

void LoLiDialogKeldaPDUAPI::CoPEnded(uint32_t hCop, LogLines&)
{
    if (m_pUIThread) m_pUIThread->RemoveActiveCoP(*this, hCop);
}

void LoLiDialogKeldaPDUAPI::LinkOffline()
{
    if (m_pUIThread) m_pUIThread->ClearActiveCoPs(*this);
}

void LoLiDialogKeldaPDUAPI::LinkOnline()
{
    // The one repaint a worker makes: the link's coming online shows at once.
    m_ui.RedrawNow(*this);
}

std::vector<ErrorCodeInfo> LoLiDialogKeldaPDUAPI::VendorErrors()
{
    return m_pMainDlg ? m_pMainDlg->CopyVendorErrors() : std::vector<ErrorCodeInfo>{};
}
