#include "Wire.h"

#include <algorithm>

#include "UdsCodes.h"

namespace pdusim {
namespace {

constexpr uint32_t kStandardFrameBits = 47;  // 11-bit id frame without data, interframe space included
constexpr uint32_t kExtendedFrameBits = 67;
constexpr uint32_t kUartBitsPerByte = 10;
constexpr uint64_t kEthernetBitsPerUs = 100;
constexpr size_t kDoIpOverheadBytes = 90;  // DoIP header, addresses, TCP, IP, Ethernet, preamble, gap
constexpr size_t kCanData = 8;
constexpr size_t kSingleFrameMax = 7;
constexpr size_t kShortLengthMax = 4095;   // first frame with a 12-bit length
constexpr uint32_t kReservedStMinUs = 127000;

uint32_t CeilDiv(uint64_t a, uint64_t b) { return static_cast<uint32_t>(std::min<uint64_t>((a + b - 1) / b, UINT32_MAX)); }

}  // namespace

uint32_t CanFrameUs(bool extendedId, size_t dataBytes, uint32_t baud) {
    if (baud == 0) return 0;
    const uint64_t bits = (extendedId ? kExtendedFrameBits : kStandardFrameBits) + 8 * std::min(dataBytes, kCanData);
    return CeilDiv(bits * 1000000, baud);
}

uint32_t UartUs(size_t bytes, uint32_t baud) {
    if (baud == 0) return 0;
    return CeilDiv(uint64_t{bytes} * kUartBitsPerByte * 1000000, baud);
}

uint32_t EthernetUs(size_t userBytes) { return CeilDiv((uint64_t{userBytes} + kDoIpOverheadBytes) * 8, kEthernetBitsPerUs); }

uint32_t StMinUs(uint8_t stMin) {
    if (stMin <= 0x7F) return stMin * 1000u;
    if (stMin >= 0xF1 && stMin <= 0xF9) return (stMin - 0xF0) * 100u;
    return kReservedStMinUs;
}

IsoTpTransfer SegmentIsoTp(const Bytes& message, const IsoTpChannel& channel) {
    IsoTpTransfer transfer;
    if (message.empty()) return transfer;
    const uint32_t frameUs = CanFrameUs(channel.extendedId, kCanData, channel.baud);
    uint32_t at = 0;
    const auto add = [&](bool fromSender, Bytes data) {
        data.resize(kCanData, fromSender ? channel.senderFiller : channel.receiverFiller);
        transfer.frames.push_back({fromSender, std::move(data), at});
        at += frameUs;
    };
    const auto flowControl = [&] { add(false, {0x30, channel.blockSize, channel.stMin}); };

    const size_t size = message.size();
    if (size <= kSingleFrameMax) {
        Bytes single{static_cast<uint8_t>(size)};
        single.insert(single.end(), message.begin(), message.end());
        add(true, std::move(single));
        transfer.durationUs = at;
        return transfer;
    }
    Bytes first;
    if (size <= kShortLengthMax) {
        first = {static_cast<uint8_t>(0x10 | (size >> 8)), static_cast<uint8_t>(size)};
    } else {  // the escape form carries a 32-bit length
        first = {0x10, 0x00};
        AppendU32(first, static_cast<uint32_t>(size));
    }
    size_t offset = kCanData - first.size();
    first.insert(first.end(), message.begin(), message.begin() + offset);
    add(true, std::move(first));
    flowControl();
    const uint32_t separation = StMinUs(channel.stMin);
    uint8_t sequence = 1;
    uint32_t inBlock = 0;
    while (offset < size) {
        const size_t n = std::min(kCanData - 1, size - offset);
        Bytes consecutive{static_cast<uint8_t>(0x20 | (sequence & 0x0F))};
        consecutive.insert(consecutive.end(), message.begin() + offset, message.begin() + offset + n);
        offset += n;
        sequence = static_cast<uint8_t>(sequence + 1);
        add(true, std::move(consecutive));
        if (offset >= size) break;
        if (channel.blockSize != 0 && ++inBlock == channel.blockSize) {
            inBlock = 0;
            flowControl();
        } else {
            at += separation;
        }
    }
    transfer.durationUs = at;
    return transfer;
}

KLineFrame FrameKLine(const Bytes& data, KLineFormat format, bool fromEcu, bool functional, uint8_t target,
                      uint8_t source) {
    KLineFrame frame;
    if (format == KLineFormat::Iso9141) {
        frame.header = {static_cast<uint8_t>(fromEcu ? 0x48 : 0x68), static_cast<uint8_t>(fromEcu ? 0x6B : 0x6A), source};
    } else {
        const uint8_t mode = functional ? 0xC0 : 0x80;
        if (data.size() <= 63) {
            frame.header = {static_cast<uint8_t>(mode | data.size()), target, source};
        } else {  // a length byte of its own; a message cannot carry more than 255 bytes
            frame.header = {mode, target, source, static_cast<uint8_t>(std::min<size_t>(data.size(), 255))};
        }
    }
    unsigned sum = 0;
    for (uint8_t byte : frame.header) sum += byte;
    for (uint8_t byte : data) sum += byte;
    frame.checksum = static_cast<uint8_t>(sum);
    return frame;
}

}  // namespace pdusim
