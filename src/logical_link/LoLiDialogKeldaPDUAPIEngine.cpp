// The full link window's ComPrimitives: the transmit thread, the start routine, delay, update,
// restore, cancel, Sync mode, and the two small dialogs.
#include <cstdio>

#include "description/NumberText.h"
#include "logical_link/ComPrimitiveRequest.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "logical_link/MaskAndPatternDialog.h"
#include "logical_link/TxFlagsDlg.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

constexpr const char* kSeparator = LinkEventDecoder::kSeparator;

bool IsKilled(void* worker)
{
    return static_cast<WorkerThread*>(worker)->killed;
}

}  // namespace

void LoLiDialogKeldaPDUAPI::PressComPrimitive(T_PDU_COPT type)
{
    m_copType = type;
    m_txSemaphore->Release();
}

void LoLiDialogKeldaPDUAPI::OnBnClickedStartCom() { PressComPrimitive(PDU_COPT_STARTCOMM); }
void LoLiDialogKeldaPDUAPI::OnBnClickedStopCom() { PressComPrimitive(PDU_COPT_STOPCOMM); }
void LoLiDialogKeldaPDUAPI::OnBnClickedKdService()
{
    if (IsDirectCan())
        SendDirectCan();
    else
        PressComPrimitive(PDU_COPT_SENDRECV);
}

void LoLiDialogKeldaPDUAPI::QUILLON_LoLi_TxThread(std::shared_ptr<LoLiDialogKeldaPDUAPI> self)
{
    self->TransmitLoop();
}

void LoLiDialogKeldaPDUAPI::TransmitLoop()
{
    WorkerThread& worker = m_txThread;
    worker.running = 1;
    m_syncMode = 0;
    const std::shared_ptr<UIThread> uiThread = m_pUIThread;
    m_txSemaphore->Wait();
    while (!worker.killed && !worker.stop) {
        // One press: the edit beside "KdService" says how many starts, of whatever type is
        // current when each one begins.
        int32_t repeat = ParseLong32(m_RepeatEdit.GetWindowText(), 0);
        if (repeat == INT32_MAX || repeat == INT32_MIN) repeat = 1;
        for (int32_t i = 0; i < repeat && !worker.killed; ++i) {
            const uint32_t handle = StartComPrimitive(m_copType);
            if (worker.killed || handle == 0) continue;
            if (uiThread) uiThread->AddActiveCoP(*this, handle);
            if (m_syncMode) m_syncEvent->Wait(platform::SystemEvent::kInfinite, &IsKilled, &worker);
        }
        if (worker.killed) return;
        m_txSemaphore->Wait();
    }
    if (!worker.killed) worker.running = 0;
}

void LoLiDialogKeldaPDUAPI::AddToHistory(const std::string& text)
{
    // The toolkit's prefix search: a text of which an item is a longer form counts as known.
    if (m_PduCombo.GetCount() == 0 || m_PduCombo.FindString(-1, text) == controls::ComboBox::CB_ERR)
        m_PduCombo.AddString(text);
}

uint32_t LoLiDialogKeldaPDUAPI::StartComPrimitive(T_PDU_COPT type)
{
    ComPrimitiveRequest request;
    const std::string text = m_PduCombo.GetWindowText();
    if (!text.empty()) AddToHistory(text);
    bool fine = ParsePduBytes(text, request.pdu);
    if (!fine) return 0;
    ControlFields fields{m_RecCountEdit.GetWindowText(), m_SendCountEdit.GetWindowText(),
                         m_CycleTimeEdit.GetWindowText(), static_cast<uint32_t>(m_TempParCheck.GetCheck())};
    {
        std::lock_guard lock(m_txFlagsLock);
        fine = request.SetControl(fields, m_txFlags);
    }
    request.SetExpectedResponses((m_NoExpRespCheck.GetCheck() & 1) != 0, m_positiveResponse, m_negativeResponse);
    if (!fine) return 0;

    UNUM32 handle = 0;
    m_lastStatus = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, type, static_cast<UNUM32>(request.pdu.size()),
                                               request.pdu.empty() ? nullptr : request.pdu.data(), request.Control(),
                                               nullptr, &handle);
    if (m_lastStatus == PDU_STATUS_NOERROR) return handle;
    if (!m_screenDisabled) {
        LogFormat("%s", kSeparator);
        LogFormat("ComPrimitive could not be started: \n%s\n", PduStatusText(m_lastStatus));
    }
    // A failed start counts as an event, by design.
    CountEvent();
    return 0;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedKdDelay()
{
    const std::string text = m_DelayEdit.GetWindowText();
    if (ParseLong32(text, 0) == INT32_MAX) {
        m_ui.MessageBox("Incorrect cycle time value", "", ui::MB_OK);
        return;
    }
    PDU_COP_CTRL_DATA control{};
    control.Time = ParseULong32(text, 0);
    UNUM32 handle = 0;
    const T_PDU_ERROR result = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, PDU_COPT_DELAY, 0, nullptr, &control, nullptr, &handle);
    Log(kSeparator);
    LogFormat("Return of PDU_COPT_DELAY:\n%s\n", PduStatusText(result));
    // The status of an earlier call decides here, not this one's.
    if (m_lastStatus == PDU_STATUS_NOERROR && m_pUIThread) m_pUIThread->AddActiveCoP(*this, handle);
}

void LoLiDialogKeldaPDUAPI::StartWithoutData(T_PDU_COPT type, const char* returnText)
{
    UNUM32 handle = 0;
    const T_PDU_ERROR result = PduApi.PDUStartComPrimitive(m_hMod, m_hCLL, type, 0, nullptr, nullptr, nullptr, &handle);
    if (result == PDU_STATUS_NOERROR && m_pUIThread) m_pUIThread->AddActiveCoP(*this, handle);
    Log(kSeparator);
    LogFormat(returnText, PduStatusText(result));
}

void LoLiDialogKeldaPDUAPI::OnBnClickedUpdateLink()
{
    StartWithoutData(PDU_COPT_UPDATEPARAM, "Return of PDU_COPT_UPDATEPARAM:\n%s\n");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedRestore()
{
    StartWithoutData(PDU_COPT_RESTORE_PARAM, "Return of PDU_COPT_RESTORE_PARAM:\n%s\n");
}

void LoLiDialogKeldaPDUAPI::OnBnClickedCancelCurr()
{
    const std::string text = m_CancelCombo.GetWindowText();
    if (text.empty()) {
        m_ui.MessageBox("No ComPrimitiveHandle found!", "", ui::MB_OK);
        return;
    }
    Log(kSeparator);
    LogFormat("Canceling ComPrimitive %s...\n", text.c_str());
    m_lastStatus = PduApi.PDUCancelComPrimitive(m_hMod, m_hCLL, CancelHandleOf(text));
    LogFormat("Return of PDUCancelComPrimitive:\n%s\n", PduStatusText(m_lastStatus));
    m_cancelComboHeld = false;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedCancelGo()
{
    OnBnClickedCancelCurr();
}

void LoLiDialogKeldaPDUAPI::OnCancelComboFocus()
{
    m_cancelComboHeld = true;
}

void LoLiDialogKeldaPDUAPI::OnCancelComboCloseUp()
{
    if (m_CancelCombo.GetCurSel() == controls::ComboBox::CB_ERR) m_cancelComboHeld = false;
}

void LoLiDialogKeldaPDUAPI::OnBnClickedSync()
{
    m_syncMode = static_cast<uint32_t>(m_SyncCheck.GetCheck());
}

void LoLiDialogKeldaPDUAPI::SignalSyncEvent()
{
    m_syncEvent->Set();
}

void LoLiDialogKeldaPDUAPI::OnBnClickedTxFlags()
{
    // The dialog edits a copy; the transmit thread may read the flags meanwhile.
    std::vector<UNUM8> bytes;
    PDU_FLAG_DATA flags;
    {
        std::lock_guard lock(m_txFlagsLock);
        bytes = m_txFlagBytes;
        flags = PDU_FLAG_DATA{m_txFlags.NumFlagBytes, m_txFlags.pFlagData ? bytes.data() : nullptr};
    }
    TxFlagsDlg dialog(m_ui, &flags);
    m_ui.RunModal(dialog);
    std::lock_guard lock(m_txFlagsLock);
    if (!m_txFlags.pFlagData || !flags.pFlagData) return;  // freed by a close meanwhile
    m_txFlagBytes = bytes;
    m_txFlags = PDU_FLAG_DATA{flags.NumFlagBytes, m_txFlagBytes.data()};
}

void LoLiDialogKeldaPDUAPI::OnBnClickedExpResp()
{
    MaskAndPatternDialog dialog(m_ui);
    dialog.m_positiveMask = m_positiveResponse.maskText;
    dialog.m_positivePattern = m_positiveResponse.patternText;
    dialog.m_negativeMask = m_negativeResponse.maskText;
    dialog.m_negativePattern = m_negativeResponse.patternText;
    m_ui.RunModal(dialog);
    // Taken back however the dialog ended: the default negative texts become live at once.
    m_positiveResponse.maskText = dialog.m_positiveMask;
    m_positiveResponse.patternText = dialog.m_positivePattern;
    m_negativeResponse.maskText = dialog.m_negativeMask;
    m_negativeResponse.patternText = dialog.m_negativePattern;
    m_positiveResponse.FromTexts();
    m_negativeResponse.FromTexts();
}
