// Turns the event items of one logical link into the lines of its log. The full and the plain
// link dialog share it; they differ in a few texts and in what the user can switch off.
#pragma once

#include <cstdint>
#include <vector>

#include "description/DescriptionTables.h"
#include "logical_link/LogLines.h"
#include "pdu/PduTypes.h"

// What the decoder reads of its dialog while it decodes, and what it changes there.
class LinkEventSink {
public:
    virtual ~LinkEventSink() = default;
    // "Enable Timestamp"; read once per item.
    virtual bool TimestampEnabled() = 0;
    // "Disable Screen" and "Enable detailed error text"; read line by line.
    virtual bool ScreenDisabled() = 0;
    virtual bool DetailedErrorText() = 0;
    // "RecvCount" + 1.
    virtual void CountEvent() = 0;
    // A ComPrimitive reached FINISHED or CANCELLED; lines it adds follow the status line.
    virtual void CoPEnded(uint32_t hCop, LogLines& out) = 0;
    virtual void LinkOffline() = 0;
    virtual void LinkOnline() = 0;
    // A copy of the module's vendor error table.
    virtual std::vector<ErrorCodeInfo> VendorErrors() = 0;
};

class LinkEventDecoder {
public:
    enum class Variant { Full, Plain };
    enum class Result { Decoded, UnknownItem };

    static constexpr const char* kSeparator = "-------------------------------------------------------\n";

    // Monitor and raw mode come from the link's create flags (byte 3 == 1, byte 0 == 0x80).
    LinkEventDecoder(Variant variant, const uint8_t createFlags[4]);

    bool MonitorMode() const { return m_monitor; }
    bool RawMode() const { return m_raw; }

    // Lines of one item into `out`. An item type outside the four gives UnknownItem and no line.
    Result Decode(const PDU_EVENT_ITEM& item, LinkEventSink& sink, LogLines& out) const;

    // The callback's line for PDU_EVT_DATA_LOST.
    static void DataLostLines(LogLines& out);

private:
    // Beyond these a count is taken for garbage: a frame of ISO 15765 or DoIP a tester reads at
    // once stays below the first, and no library has more flag bytes than the second.
    static constexpr UNUM32 kMaxDataBytes = 65536;
    static constexpr UNUM32 kMaxFlagBytes = 64;
    PDU_RESULT_DATA Bounded(const PDU_RESULT_DATA& result, LinkEventSink& sink, LogLines& out) const;
    void Header(const PDU_EVENT_ITEM& item, bool quiet, bool timestamps, LinkEventSink& sink, LogLines& out) const;
    void ResultItem(const PDU_RESULT_DATA& result, bool timestamps, LinkEventSink& sink, LogLines& out) const;
    void MonitorResult(const PDU_RESULT_DATA& result, LogLines& out) const;
    void RxFlags(const PDU_FLAG_DATA& flags, bool timestamps, LinkEventSink& sink, LogLines& out) const;
    void ExtraInfo(const PDU_EXTRA_INFO* extra, LinkEventSink& sink, LogLines& out) const;
    void Timestamps(const PDU_RESULT_DATA& result, LogLines& out) const;
    void ResultData(const PDU_RESULT_DATA& result, LinkEventSink& sink, LogLines& out) const;
    void StatusItem(const PDU_EVENT_ITEM& item, T_PDU_STATUS status, LinkEventSink& sink, LogLines& out) const;
    void ErrorItem(const PDU_ERROR_DATA& error, LinkEventSink& sink, LogLines& out) const;
    void InfoItem(const PDU_INFO_DATA& info, LinkEventSink& sink, LogLines& out) const;
    // Whether a line that "Disable Screen" hides is shown; the plain dialog has no such box.
    bool Shown(LinkEventSink& sink) const { return m_variant == Variant::Plain || !sink.ScreenDisabled(); }

    Variant m_variant;
    bool m_monitor;
    bool m_raw;
};
