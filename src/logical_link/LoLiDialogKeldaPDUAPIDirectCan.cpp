// Direct CAN mode: frames written and read past the ComPrimitive layer, on the maker's protocol.
#include <algorithm>

#include "description/NumberText.h"
#include "logical_link/ComPrimitiveRequest.h"
#include "logical_link/LogLines.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

constexpr const char* kSeparator = LinkEventDecoder::kSeparator;

constexpr uint32_t kReadCapacity = 100;
constexpr uint32_t kMaxFrames = 10000000;
constexpr uint32_t kWaitMs = 100;
constexpr uint32_t kIdMask = 0x1FFFFFFF;

const char* ChipStateName(uint32_t state)
{
    static const char* const names[] = {"BUS_OFF", "ERROR_ACTIVE", "ERROR_PASSIVE", "WARNING_96"};
    return state < 4 ? names[state] : "UNKNOWN CHIP_STATE";
}

void AddFlags(LogLines& lines, UNUM16 flags)
{
    static const std::pair<UNUM16, const char*> order[] = {
        {SE_FLAG_RECEIVE_FRAME, " | RECEIVE_FRAME |"}, {SE_FLAG_TX_FRAME, " | TX_FRAME |"},
        {SE_FLAG_ERROR_FRAME, " | ERROR_FRAME |"},     {SE_FLAG_EXTENDED_ID, " | EXTENDED_ID |"},
        {SE_FLAG_REMOTE_FRAME, " | REMOTE_FRAME |"},   {SE_FLAG_BUFFER_OVERRUN, " | BUFFER_OVERRUN |"}};
    lines.Add(" Flags: ");
    for (const auto& [bit, text] : order)
        if (flags & bit) lines.Add(text);
    lines.Add("\n");
}

}  // namespace

// The text of one record as the log shows it.
void AddSeCanMessage(LogLines& lines, const SeCanMessage& message)
{
    switch (message.msgType) {
    case SE_RECEIVE_MSG:
        lines.Format(" MessageType: %s\n TimeStamp: %u\n CAN ID: 0x%x\n DLC: %d\n", "SE_RECEIVE_MSG", message.timestamp,
                     message.canId, message.dlc);
        AddFlags(lines, message.flags);
        lines.Add(" Data: ");
        // Never past the record's eight bytes, whatever the length says.
        for (int i = 0; i < std::min<int>(message.dlc, 8); ++i) lines.Format("0x%x ", message.data[i]);
        if (message.dlc != 0) lines.Add("\n");
        break;
    case SE_CHIP_STATE_MSG:
        // The two error counters stand where the flags do.
        lines.Format("MessageType: %s \nChip State: %s TxErrCnt: %02x RxErrCnt: %02x \n", "SE_CHIP_STATE_MSG",
                     ChipStateName(message.canId), message.flags & 0xFF, message.flags >> 8);
        break;
    case SE_TRANSMIT_MSG: lines.Format("MessageType: %s\n", "SE_TRANSMIT_MSG"); break;
    default: lines.Format("MessageType: %s\n", "UNKNOWN"); break;
    }
}

bool LoLiDialogKeldaPDUAPI::IsDirectCan() const
{
    return m_protocolName == "MSP_MRVNE_CAN";
}

void LoLiDialogKeldaPDUAPI::RegisterDirectCan()
{
    SE_EVENT_HANDLE handle = m_seEvent->Handle();
    // A library without the maker's functions answers as any missing function does.
    m_lastStatus = PduApi.PDUSESetEventNotification ? PduApi.PDUSESetEventNotification(m_hCLL, &handle)
                                                    : PDU_ERR_FCT_FAILED;
    Log(kSeparator);
    LogFormat("Return of PDUSESetEventNotification:\n%s\n", PduStatusText(m_lastStatus));
}

void LoLiDialogKeldaPDUAPI::QUILLON_LoLi_RxThreadSE(std::shared_ptr<LoLiDialogKeldaPDUAPI> self)
{
    self->DirectCanLoop();
}

void LoLiDialogKeldaPDUAPI::DirectCanLoop()
{
    WorkerThread& worker = m_seThread;
    worker.running = 1;
    const std::shared_ptr<UIThread> uiThread = m_pUIThread;
    std::vector<SeCanMessage> records(kReadCapacity);
    for (;;) {
        const bool signalled = m_seEvent->Wait(kWaitMs);
        if (worker.stop || worker.killed) break;
        if (!signalled || !PduApi.PDUSECanRead) continue;
        for (;;) {
            UNUM32 count = kReadCapacity;
            if (PduApi.PDUSECanRead(m_hCLL, &count, records.data()) != PDU_STATUS_NOERROR) count = 0;
            count = std::min(count, kReadCapacity);  // a library that claims more than the array holds
            if (count == 0 || worker.stop) break;
            LogLines lines;
            const bool shown = !m_screenDisabled;
            if (shown) {
                lines.Add(kSeparator);
                lines.Add("Received event items from the PDU-API:\n");
            }
            for (UNUM32 i = 0; i < count; ++i) {
                if (shown) {
                    lines.Add(kSeparator);
                    AddSeCanMessage(lines, records[i]);
                }
                CountEvent();
            }
            if (uiThread && !lines.Empty()) uiThread->PrintBatch(m_log, 0, lines.Text());
        }
    }
    worker.running = 0;
}

void LoLiDialogKeldaPDUAPI::SendDirectCan()
{
    const uint32_t count = std::min<uint32_t>(ParseULong32(m_RepeatEdit.GetWindowText(), 0), kMaxFrames);
    const std::string text = m_PduCombo.GetWindowText();
    if (!text.empty()) AddToHistory(text);
    std::vector<uint8_t> bytes;
    if (!ParsePduBytes(text, bytes, true) || bytes.size() <= 6) return;
    // Bytes 0 and 1 are not read; 2 to 5 the id, big-endian; 6 the length; 7 on the data.
    const uint32_t raw = (uint32_t{bytes[2]} << 24) | (uint32_t{bytes[3]} << 16) | (uint32_t{bytes[4]} << 8) | bytes[5];
    SeCanMessage frame{};
    frame.msgType = SE_TRANSMIT_MSG;
    frame.canId = raw & kIdMask;
    frame.flags = (bytes[2] & 0x80) ? SE_FLAG_EXTENDED_ID : 0;
    frame.dlc = bytes[6];
    std::copy(bytes.begin() + 7, bytes.begin() + std::min<size_t>(bytes.size(), 15), frame.data);
    std::vector<SeCanMessage> frames(count, frame);
    // The third data byte numbers the frames of a burst.
    for (uint32_t i = 0; i < count; ++i) frames[i].data[2] = static_cast<UNUM8>(i);
    if (PduApi.PDUSECanWrite) PduApi.PDUSECanWrite(m_hCLL, count, frames.empty() ? nullptr : frames.data());
}

void LoLiDialogKeldaPDUAPI::OnBnClickedReqChipState()
{
    if (!PduApi.PDUSECanRequestChipState || !IsDirectCan()) return;
    PduApi.PDUSECanRequestChipState(m_hCLL);
}
