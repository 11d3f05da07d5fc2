// Plain CAN frames (ISO 11898, no transport layer): an echo node and periodic background traffic.
// A frame is 4 bytes big-endian id + up to 8 data bytes; bit 31 of the id marks a 29-bit id
// (ids above 0x7FF count as 29-bit even without it).
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "EcuAnswer.h"

namespace pdusim {

class RawCanNode {
public:
    static constexpr uint32_t kExtendedFlag = 0x80000000;
    static constexpr uint32_t kIdMask = 0x1FFFFFFF;
    static constexpr uint32_t kEchoRequestId = 0x100;        // answered from 0x101
    static constexpr uint32_t kEchoRequestIdExt = 0x18FF0100; // answered from 0x18FF0101
    static constexpr uint32_t kResponseDelayUs = 1000;

    struct Frame {
        uint32_t id = 0;  // as written on the wire, including the 29-bit mark if given
        Bytes data;
    };

    static std::optional<Frame> Parse(const Bytes& raw);
    static Bytes Encode(const Frame& frame);

    // The echo node's answer: same length, every byte + 1, from request id + 1.
    static std::optional<Frame> Answer(const Frame& request);

    // Frames on the bus in one period (the library plays one every 100 ms): a deterministic mix with
    // changing counters.
    static std::vector<Bytes> Traffic(uint32_t periodIndex);
};

}  // namespace pdusim
