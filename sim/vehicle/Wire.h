// What a message looks like on its bus and how long it occupies it: CAN frame times and ISO-TP
// segmentation (ISO 15765-2), K-Line message frames (ISO 14230-2, ISO 9141-2), DoIP on Ethernet.
// The library uses it for timestamps, extra info and the frames a monitor link sees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "EcuAnswer.h"

namespace pdusim {

// Time one classic CAN frame takes: frame bits and interframe space, bit stuffing left out.
// 0 for a baud rate of 0 (an ideal bus).
uint32_t CanFrameUs(bool extendedId, size_t dataBytes, uint32_t baud);
// Time bytes take on a UART line: start bit, 8 data bits, stop bit each.
uint32_t UartUs(size_t bytes, uint32_t baud);
// Time a DoIP diagnostic message with this many user data bytes takes on 100 Mbit/s Ethernet.
uint32_t EthernetUs(size_t userBytes);
// The separation time a flow control frame asks for; reserved values count as 127 ms.
uint32_t StMinUs(uint8_t stMin);

struct IsoTpFrame {
    bool fromSender = true;  // false: the receiver's flow control
    Bytes data;              // CAN data bytes
    uint32_t startUs = 0;    // after the start of the transfer's first frame
};

struct IsoTpTransfer {
    std::vector<IsoTpFrame> frames;
    uint32_t durationUs = 0;  // start of the first frame to the end of the last
};

struct IsoTpChannel {
    bool extendedId = false;
    uint32_t baud = 500000;
    uint8_t senderFiller = 0x55;    // frames are padded to 8 bytes
    uint8_t receiverFiller = 0x55;
    uint8_t blockSize = 0;          // of the receiver's flow control: 0 sends all in one block
    uint8_t stMin = 0;
};

// The frames of one message, flow control included. An empty message puts nothing on the bus.
IsoTpTransfer SegmentIsoTp(const Bytes& message, const IsoTpChannel& channel);

enum class KLineFormat { Kwp2000, Iso9141 };

struct KLineFrame {
    Bytes header;          // format or priority byte, target, source (KWP 2000: + length byte above 63)
    uint8_t checksum = 0;  // sum of header and data bytes, modulo 256
};

KLineFrame FrameKLine(const Bytes& data, KLineFormat format, bool fromEcu, bool functional, uint8_t target,
                      uint8_t source);

// The padding simulated ECUs put into their CAN frames.
constexpr uint8_t kEcuFillerByte = 0xAA;

}  // namespace pdusim
