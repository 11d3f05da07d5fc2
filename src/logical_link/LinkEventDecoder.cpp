#include "logical_link/LinkEventDecoder.h"

#include "pdu/PduEventText.h"

#include <cstring>
#include <iterator>

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// " 0x%02x " without the cost of a format call: result data is the hot path of a busy link.
void HexByte(LogLines& out, std::string_view before, uint8_t value, std::string_view after)
{
    out.Add(before);
    const char digits[2] = {kHexDigits[value >> 4], kHexDigits[value & 0xF]};
    out.Add(std::string_view(digits, 2));
    out.Add(after);
}

// A flag byte that the item doesn't have reads as 0.
uint8_t FlagByte(const PDU_FLAG_DATA& flags, uint32_t index)
{
    return flags.pFlagData && index < flags.NumFlagBytes ? flags.pFlagData[index] : 0;
}

uint8_t DataByte(const PDU_RESULT_DATA& result, uint32_t index)
{
    return result.pDataBytes && index < result.NumDataBytes ? result.pDataBytes[index] : 0;
}

uint32_t DataLong(const PDU_RESULT_DATA& result, uint32_t index)
{
    uint32_t value = 0;
    if (result.pDataBytes && (index + 1) * 4 <= result.NumDataBytes)
        std::memcpy(&value, result.pDataBytes + index * 4, sizeof value);
    return value;
}

struct FlagLine {
    uint32_t byte;
    uint32_t bit;
    const char* text;
    bool timestampsOnly;
};

constexpr FlagLine kFullFlagLines[] = {
    {0, 7, " - Remote Frame Received\n", false},
    {1, 2, " - New speed rate transition\n", false},
    {1, 1, " - Timing ComParams values modified\n", true},
    {1, 0, " - SWCAN High-Voltage Message\n", false},
    {2, 0, " - Extended 29-bit CAN ID\n", false},
    {2, 1, " - CAN-FD frame\n", false},
    {2, 2, " - CAN-FD Baudrate Switch\n", false},
    {3, 7, " - CAN Extended Addressing is used\n", false},
    {3, 6, " - Segmented CAN message received\n", false},
    {3, 4, " - CAN message Padding Error\n", false},
    {3, 3, " -  TxDone\n", false},
    {3, 2, " -  Break indication received\n", false},
    {3, 1, " -  First frame received\n", false},
    {3, 0, " -  Transmitted\n", false},
};

constexpr FlagLine kPlainFlagLines[] = {
    {3, 7, " - CAN Extended Addressing is used\n", false},
    {3, 6, " - ISO15765 Segmented CAN messages received\n", false},
    {3, 4, " - ISO15765 CAN message Padding Error\n", false},
    {3, 3, " - TxDone\n", false},
    {3, 2, " - Break indication received\n", false},
    {3, 1, " - Start of Message received\n", false},
    {3, 0, " - TX Loopback message\n", false},
    {2, 0, " - Extended 29-bit CAN ID\n", false},
    {1, 2, " - New speed rate transition\n", false},
    {1, 1, " - Timing ComParams values modified\n", false},
    {1, 0, " - SWCAN High-Voltage Message\n", false},
    {0, 7, " - Remote Frame Received\n", false},
};

// The texts print 32-bit numbers with "%ld", where long has 32 bits: they read as signed.
long Signed(uint32_t value)
{
    return static_cast<int32_t>(value);
}

}  // namespace

LinkEventDecoder::LinkEventDecoder(Variant variant, const uint8_t createFlags[4])
    : m_variant(variant), m_monitor(createFlags[3] == 1), m_raw(createFlags[0] == 0x80)
{
}

void LinkEventDecoder::DataLostLines(LogLines& out)
{
    out.Add(kSeparator);
    out.Add("Received an event item from the PDU-API:\n");
    out.Add("T_PDU_EVT_DATA EventType =\n");
}

LinkEventDecoder::Result LinkEventDecoder::Decode(const PDU_EVENT_ITEM& item, LinkEventSink& sink, LogLines& out) const
{
    const bool known = item.ItemType == PDU_IT_RESULT || item.ItemType == PDU_IT_STATUS ||
                       item.ItemType == PDU_IT_ERROR || item.ItemType == PDU_IT_INFO;
    const bool full = m_variant == Variant::Full;
    const bool timestamps = full && sink.TimestampEnabled();
    // A status item without its value can't be read; it counts as an unknown value.
    const T_PDU_STATUS status =
        item.ItemType == PDU_IT_STATUS && item.pData ? *static_cast<const T_PDU_STATUS*>(item.pData) : 0;
    const bool quiet = full && !timestamps && item.ItemType == PDU_IT_STATUS && item.hCop != PDU_HANDLE_UNDEF &&
                       (status == PDU_COPST_IDLE || status == PDU_COPST_EXECUTING);
    if (full && !quiet) sink.CountEvent();
    if (!m_monitor) Header(item, quiet, timestamps, sink, out);
    if (!known) return Result::UnknownItem;
    if (!item.pData) {
        if (Shown(sink)) out.Format("Error: event item of type 0x%x without its data (pData is NULL).\n", item.ItemType);
        return Result::Decoded;
    }

    switch (item.ItemType) {
    case PDU_IT_RESULT: {
        const PDU_RESULT_DATA result = Bounded(*static_cast<const PDU_RESULT_DATA*>(item.pData), sink, out);
        if (m_monitor)
            MonitorResult(result, out);
        else
            ResultItem(result, timestamps, sink, out);
        break;
    }
    case PDU_IT_STATUS:
        if ((full && sink.ScreenDisabled()) || quiet) break;
        StatusItem(item, status, sink, out);
        break;
    case PDU_IT_ERROR: {
        PDU_ERROR_DATA empty{};
        ErrorItem(item.pData ? *static_cast<const PDU_ERROR_DATA*>(item.pData) : empty, sink, out);
        break;
    }
    case PDU_IT_INFO: {
        PDU_INFO_DATA empty{};
        InfoItem(item.pData ? *static_cast<const PDU_INFO_DATA*>(item.pData) : empty, sink, out);
        break;
    }
    }
    return Result::Decoded;
}

void LinkEventDecoder::Header(const PDU_EVENT_ITEM& item, bool quiet, bool timestamps, LinkEventSink& sink,
                              LogLines& out) const
{
    if (m_variant == Variant::Plain) {
        out.Add(kSeparator);
        out.Add("Received an event item from the PDU-API:\n");
        if (item.hCop >= PDU_ID_UNDEF)
            out.Add("hCoP=PDU_HANDLE_UNDEF\n");
        else
            out.Format("hCoP=%u \n", item.hCop);
        return;
    }
    if (!quiet && !sink.ScreenDisabled()) {
        out.Add(kSeparator);
        out.Add("Received an event item from the PDU-API:\n");
    }
    if (item.hCop == PDU_HANDLE_UNDEF) {
        out.Add("hCoP=PDU_HANDLE_UNDEF\n");  // also with the screen disabled
        return;
    }
    if (quiet || sink.ScreenDisabled()) return;
    out.Format("hCoP=%u \n", item.hCop);
    if (timestamps) out.Format("Timestamp=%lu \n", static_cast<unsigned long>(item.Timestamp));
}

void LinkEventDecoder::MonitorResult(const PDU_RESULT_DATA& result, LogLines& out) const
{
    const uint8_t flag2 = FlagByte(result.RxFlag, 2);
    char mark[4] = {(FlagByte(result.RxFlag, 3) & 0x01) ? 'T' : 'R', 0, 0, 0};
    if (flag2 & 0x06) {
        mark[1] = (flag2 & 0x02) ? 'F' : ' ';
        mark[2] = (flag2 & 0x04) ? 'B' : ' ';
    }
    if (!m_raw) {
        out.Add("Monitoring in non-raw mode not supported by QUILLON.\n");
        return;
    }
    const long count = static_cast<int32_t>(result.NumDataBytes - 4);
    if (flag2 & 0x01)
        out.Format("%s %02x%02x%02x%02xx %7ld  ", mark, DataByte(result, 0), DataByte(result, 1), DataByte(result, 2),
                   DataByte(result, 3), count);
    else
        out.Format("%s     %02x%02x  %7ld  ", mark, DataByte(result, 2), DataByte(result, 3), count);
    for (uint32_t i = 4; result.pDataBytes && i < result.NumDataBytes; ++i)
        HexByte(out, " ", result.pDataBytes[i], (i - 4) % 8 == 7 ? "\n                       " : "");
    out.Add("\n");
}

// A result's counts are read no further than a library can mean them; more is said and cut.
PDU_RESULT_DATA LinkEventDecoder::Bounded(const PDU_RESULT_DATA& result, LinkEventSink& sink, LogLines& out) const
{
    PDU_RESULT_DATA bounded = result;
    const auto cut = [&](UNUM32& count, UNUM32 limit, const char* name) {
        if (count <= limit) return;
        if (Shown(sink)) out.Format("Warning: %s of %u is more than %u; it is read that far.\n", name, count, limit);
        count = limit;
    };
    cut(bounded.NumDataBytes, kMaxDataBytes, "NumDataBytes");
    cut(bounded.RxFlag.NumFlagBytes, kMaxFlagBytes, "RxFlag.NumFlagBytes");
    cut(bounded.TimestampFlags.NumFlagBytes, kMaxFlagBytes, "TimestampFlags.NumFlagBytes");
    return bounded;
}

void LinkEventDecoder::ResultItem(const PDU_RESULT_DATA& result, bool timestamps, LinkEventSink& sink,
                                  LogLines& out) const
{
    if (Shown(sink)) out.Add("ItemType=PDU_IT_RESULT.\n");
    RxFlags(result.RxFlag, timestamps, sink, out);
    if (Shown(sink)) out.Format(" UniqueRespIdentifier = %d.\n", static_cast<int32_t>(result.UniqueRespIdentifier));
    if (Shown(sink)) out.Format(" AcceptanceId         = 0x%x.\n", result.AcceptanceId);
    if (Shown(sink)) out.Add(" ExtraInfo            = ");
    ExtraInfo(result.pExtraInfo, sink, out);
    if (timestamps) Timestamps(result, out);
    if (Shown(sink)) out.Format(" NumDataBytes         = %d\n", static_cast<int32_t>(result.NumDataBytes));
    ResultData(result, sink, out);
    if (Shown(sink)) out.Add("\n");
}

void LinkEventDecoder::RxFlags(const PDU_FLAG_DATA& flags, bool timestamps, LinkEventSink& sink, LogLines& out) const
{
    if (!flags.pFlagData || flags.NumFlagBytes == 0) {
        if (Shown(sink)) {
            out.Add(kSeparator);
            out.Add("Error: Invalid RxFlags data found!\n");
        }
        return;
    }
    if (Shown(sink)) {
        out.Add(kSeparator);
        out.Add("******************* RxFlags Data *********************\n");
    }
    const bool plain = m_variant == Variant::Plain;
    if (plain) {
        out.Format(" Number of RxFlag bytes/RxFlag: %d, ", static_cast<int32_t>(flags.NumFlagBytes));
        out.Format("%02x %02x %02x %02x\n", FlagByte(flags, 0), FlagByte(flags, 1), FlagByte(flags, 2),
                   FlagByte(flags, 3));
    } else if (Shown(sink)) {
        out.Format(" Number of RxFlag bytes: %d", static_cast<int32_t>(flags.NumFlagBytes));
        if (timestamps) {
            out.Add(" (");
            for (uint32_t i = 0; i < flags.NumFlagBytes; ++i)
                out.Format(i + 1 < flags.NumFlagBytes ? "%02x " : "%02x)\n", flags.pFlagData[i]);
        } else {
            out.Add("\n");
        }
    }
    const FlagLine* begin = plain ? std::begin(kPlainFlagLines) : std::begin(kFullFlagLines);
    const FlagLine* end = plain ? std::end(kPlainFlagLines) : std::end(kFullFlagLines);
    for (const FlagLine* line = begin; line != end; ++line) {
        if (line->byte >= flags.NumFlagBytes || !(flags.pFlagData[line->byte] & (1u << line->bit))) continue;
        if (line->timestampsOnly && !timestamps) continue;
        if (Shown(sink)) out.Add(line->text);
    }
}

void LinkEventDecoder::ExtraInfo(const PDU_EXTRA_INFO* extra, LinkEventSink& sink, LogLines& out) const
{
    if (!Shown(sink)) return;
    if (!extra) {
        out.Add("0\n");
        return;
    }
    const bool plain = m_variant == Variant::Plain;
    if (plain) out.Add("true\n");
    out.Format("\n NumHeaderBytes       = %d.\n", static_cast<int32_t>(extra->NumHeaderBytes));
    if (plain) out.Add(" HeaderBytes          = ");
    for (uint32_t i = 0; extra->pHeaderBytes && i < extra->NumHeaderBytes; ++i) {
        if (plain)
            HexByte(out, "0x", extra->pHeaderBytes[i], " ");
        else
            HexByte(out, " 0x", extra->pHeaderBytes[i], i % 7 == 6 ? " \n" : " ");
    }
    out.Format("\n NumFooterBytes       = %d.\n", static_cast<int32_t>(extra->NumFooterBytes));
    if (plain) out.Add(" FooterBytes          = ");
    for (uint32_t i = 0; extra->pFooterBytes && i < extra->NumFooterBytes; ++i)
        HexByte(out, plain ? "0x" : " 0x", extra->pFooterBytes[i], " ");
    out.Add("\n");
}

void LinkEventDecoder::Timestamps(const PDU_RESULT_DATA& result, LogLines& out) const
{
    const PDU_FLAG_DATA& flags = result.TimestampFlags;
    if (flags.NumFlagBytes < 4 || !flags.pFlagData) {
        out.Format(" TimestampFlags.NumFlagBytes=%d.\n No extra timestamps will be evaluated.\n",
                   static_cast<int32_t>(flags.NumFlagBytes));
        return;
    }
    const uint8_t valid = flags.pFlagData[0];
    out.Add((valid & 0x80) ? " TxMsgDoneTimestampIndicator = Valid\n" : " TxMsgDoneTimestampIndicator = Not Valid\n");
    out.Add((valid & 0x40) ? " StartMsgTimestampIndicator  = Valid\n" : " StartMsgTimestampIndicator  = Not Valid\n");
    if (valid & 0x80) out.Format(" TxMsgDoneTimestamp          = %u\n", result.TxMsgDoneTimestamp);
    if (valid & 0x40) out.Format(" StartMsgTimestamp           = %u\n", result.StartMsgTimestamp);
}

void LinkEventDecoder::ResultData(const PDU_RESULT_DATA& result, LinkEventSink& sink, LogLines& out) const
{
    if (result.NumDataBytes == 0) return;
    if (Shown(sink)) out.Add(" Result Data:\n");
    if (result.RxFlag.NumFlagBytes != 0 && (FlagByte(result.RxFlag, 0) & 0x02)) {
        // Not a message but a notice of the VCI, in 32-bit values.
        const uint32_t kind = DataLong(result, 0);
        if (kind == 0x200 && Shown(sink)) {
            out.Format(" 0x%04x ", 512);
            out.Format(" Baudrate: 0x%04x ", DataLong(result, 1));
            out.Format(" Dataformat: 0x%04x ", DataLong(result, 2));
        } else if (kind == 0x201) {
            out.Format(" 0x%04x ", 513);
            out.Format(" SyncPatternByte: 0x%04x ", DataLong(result, 1));
        }
        return;
    }
    for (uint32_t i = 0; result.pDataBytes && i < result.NumDataBytes; ++i) {
        if (!Shown(sink)) continue;
        const bool lineEnd = sink.DetailedErrorText() ? i % 8 == 7 : i % 7 == 6;
        HexByte(out, " 0x", result.pDataBytes[i], lineEnd ? " \n" : " ");
    }
}

void LinkEventDecoder::StatusItem(const PDU_EVENT_ITEM& item, T_PDU_STATUS status, LinkEventSink& sink,
                                  LogLines& out) const
{
    out.Add("ItemType=PDU_IT_STATUS: Status=");
    if (item.pData) out.Add(PduStatusLine(status));
    if (!item.pData) return;
    switch (status) {
    case PDU_COPST_FINISHED:
    case PDU_COPST_CANCELLED: sink.CoPEnded(item.hCop, out); break;
    case PDU_CLLST_OFFLINE: sink.LinkOffline(); break;
    case PDU_CLLST_ONLINE: sink.LinkOnline(); break;
    default: break;
    }
}

void LinkEventDecoder::ErrorItem(const PDU_ERROR_DATA& error, LinkEventSink& sink, LogLines& out) const
{
    if (Shown(sink)) {
        out.Add("PDU_IT_ERROR\n");
        out.Format("Returned ErrorCodeId:0x%08lx (%ld): ", static_cast<unsigned long>(error.ErrorCodeId),
                   Signed(error.ErrorCodeId));
    }
    if (Shown(sink)) out.Add(PduErrorEventLine(error.ErrorCodeId));
    if (!sink.DetailedErrorText()) {
        if (Shown(sink))
            out.Format("ExtraErrorInfo = 0x%08lx (%ld) (see MDF.XML)\n", static_cast<unsigned long>(error.ExtraErrorInfoId),
                       Signed(error.ExtraErrorInfoId));
        return;
    }
    for (const ErrorCodeInfo& vendor : sink.VendorErrors()) {
        if (vendor.id != error.ExtraErrorInfoId || !Shown(sink)) continue;
        out.Format("  ExtraErrorInfoId  :0x%08lx (%ld) \n", static_cast<unsigned long>(vendor.id), Signed(vendor.id));
        out.Format("  ShortName         :%s\n", vendor.name.c_str());
        out.Format("  Description       :%s\n", vendor.description.c_str());
    }
}

void LinkEventDecoder::InfoItem(const PDU_INFO_DATA& info, LinkEventSink& sink, LogLines& out) const
{
    if (Shown(sink)) out.Add("PDU_IT_INFO\n");
    if (Shown(sink)) out.Add(PduInfoLine(info.InfoCode));
    if (Shown(sink)) out.Format("ExtraInfoData: %d\n", static_cast<int32_t>(info.ExtraInfoData));
}
