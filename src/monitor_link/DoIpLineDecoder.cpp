#include "monitor_link/DoIpLineDecoder.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// The cells of one item, written to the list under one lock.
class Cells {
public:
    void Add(int col, const char* format, ...) __attribute__((format(printf, 3, 4)))
    {
        char text[256];
        va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        m_cells.push_back({col, text});
    }
    void WriteTo(controls::PrintListCtrl& list) const
    {
        std::vector<controls::PrintListCtrl::CellWrite> writes;
        writes.reserve(m_cells.size());
        for (const auto& [col, text] : m_cells) writes.push_back({col, text.c_str()});
        list.PrintCells(writes.data(), writes.size());
    }

private:
    std::vector<std::pair<int, std::string>> m_cells;
};

uint16_t Port(const uint8_t* header, int at) { return static_cast<uint16_t>(header[at] << 8 | header[at + 1]); }

void AddressRows(const uint8_t* header, Cells& cells)
{
    const uint8_t flags = header[2];
    const bool received = flags & DoIpLineDecoder::FLAG_RCV;
    // The sender first: the other side for a frame the tester received.
    const uint8_t* from = header + (received ? 20 : 4);
    const uint8_t* to = header + (received ? 4 : 20);
    cells.Add(2, "Type/Ip/TCP/Rcv/TLS/H");
    cells.Add(1, "%3d:%3d:%3d:%3d -> %3d:%3d:%3d:%3d\n", from[0], from[1], from[2], from[3], to[0], to[1], to[2], to[3]);
    cells.Add(2, "0x%02x  %d  %d   %d   %d  %d", header[1], flags & 1, (flags >> 1) & 1, (flags >> 2) & 1, (flags >> 3) & 1,
              (flags >> 4) & 1);
    cells.Add(1, "%15d %8d\n", received ? Port(header, 38) : Port(header, 36), received ? Port(header, 36) : Port(header, 38));
}

void FrameRows(const uint8_t* data, uint32_t size, Cells& cells)
{
    // Short frames read as if padded with zeros; the payload is printed as far as it came.
    const auto at = [&](uint32_t i) -> uint32_t { return i < size ? data[i] : 0; };
    const uint32_t type = at(2) << 8 | at(3);
    const uint32_t length = at(4) << 24 | at(5) << 16 | at(6) << 8 | at(7);
    cells.Add(2, "%s ", DoIpLineDecoder::PayloadTypeText(type));
    cells.Add(1, "ProtVer:   0x%x    PayloadType: 0x%x\n", at(0), type);
    if (length != 0) {
        cells.Add(1, "Data:      ");
        // The count starts at 1: payload byte 0 is not printed.
        for (uint32_t i = 1; i < length && 8 + i < size; ++i) {
            const uint32_t byte = data[8 + i];
            if (i % 6 == 0)
                cells.Add(1, byte < 16 ? "0x0%x \n           " : "0x%x \n           ", byte);
            else
                cells.Add(1, byte < 16 ? "0x0%x " : "0x%x ", byte);
        }
    }
    cells.Add(1, "\n");
}

}  // namespace

const char* DoIpLineDecoder::PayloadTypeText(uint32_t type)
{
    switch (type) {
    case 0x0000: return "Generic DoIP header negative acknowledge";
    case 0x0001: return "Vehicle ID request message";
    case 0x0002: return "Vehicle ID request message with EID";
    case 0x0003: return "Vehicle ID request message with VIN";
    case 0x0004: return "Vehicle announcement message / Vehicle ID response message";
    case 0x0005: return "Routing activation request";
    case 0x0006: return "Routing activation response";
    case 0x0007: return "Alive check request";
    case 0x0008: return "Alive check response";
    case 0x4001: return "DoIP entity status request";
    case 0x4002: return "DoIP entity status response";
    case 0x4003: return "Diagnostic power mode information request";
    case 0x4004: return "Diagnostic power mode information response";
    case 0x8001: return "Diagnostic message";
    case 0x8002: return "Diagnostic message positive acknowledgement";
    case 0x8003: return "Diagnostic message negative acknowledgement";
    default: break;
    }
    if (type <= 0xefff) return "Reserved by ISO 13400";
    if (type <= 0xffff) return "Reserved for manufacturer-specific use";
    return "Unknown PayloadType";
}

void DoIpLineDecoder::Decode(const PDU_EVENT_ITEM& item, controls::PrintListCtrl& list)
{
    if (item.ItemType != PDU_IT_RESULT) return;
    Cells cells;
    cells.Add(0, "%d", static_cast<int>(item.Timestamp / 1000));
    const auto* result = static_cast<const PDU_RESULT_DATA*>(item.pData);
    const PDU_EXTRA_INFO* extra = result ? result->pExtraInfo : nullptr;
    // Without a whole header there is nothing to place the frame by: the row keeps its time.
    if (extra && extra->pHeaderBytes && extra->NumHeaderBytes >= kHeaderSize) {
        const uint8_t* header = extra->pHeaderBytes;
        // With flag Ip the addresses are not IPv4, and none are shown.
        if (!(header[2] & FLAG_IP)) AddressRows(header, cells);
        if ((header[2] & FLAG_H) && result->NumDataBytes != 0 && result->pDataBytes)
            FrameRows(result->pDataBytes, result->NumDataBytes, cells);
    }
    cells.Add(1, "\n");
    cells.WriteTo(list);
}
