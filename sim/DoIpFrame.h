// One ISO 13400-2 (DoIP) message: the 8-byte generic header and its payload, with the header
// checks of the standard in the order it prescribes. Parse is pure and reads only the bytes it
// is given, so garbage from a socket cannot make it read beyond them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pdusim {

class DoIpFrame {
public:
    static constexpr size_t kHeaderSize = 8;
    static constexpr uint8_t kVersion = 0x02;         // ISO 13400-2:2012
    static constexpr uint8_t kDefaultVersion = 0xFF;  // allowed in vehicle identification requests only

    // Payload types.
    static constexpr uint16_t kGenericNack = 0x0000;
    static constexpr uint16_t kVehicleIdRequest = 0x0001;
    static constexpr uint16_t kVehicleIdRequestEid = 0x0002;
    static constexpr uint16_t kVehicleIdRequestVin = 0x0003;
    static constexpr uint16_t kVehicleIdResponse = 0x0004;
    static constexpr uint16_t kRoutingActivationRequest = 0x0005;
    static constexpr uint16_t kRoutingActivationResponse = 0x0006;
    static constexpr uint16_t kAliveCheckRequest = 0x0007;
    static constexpr uint16_t kAliveCheckResponse = 0x0008;
    static constexpr uint16_t kEntityStatusRequest = 0x4001;
    static constexpr uint16_t kEntityStatusResponse = 0x4002;
    static constexpr uint16_t kPowerModeRequest = 0x4003;
    static constexpr uint16_t kPowerModeResponse = 0x4004;
    static constexpr uint16_t kDiagnosticMessage = 0x8001;
    static constexpr uint16_t kDiagnosticAck = 0x8002;
    static constexpr uint16_t kDiagnosticNack = 0x8003;

    // Generic header negative acknowledge codes.
    static constexpr uint8_t kNackIncorrectPattern = 0x00;
    static constexpr uint8_t kNackUnknownPayloadType = 0x01;
    static constexpr uint8_t kNackMessageTooLarge = 0x02;
    static constexpr uint8_t kNackOutOfMemory = 0x03;
    static constexpr uint8_t kNackInvalidPayloadLength = 0x04;

    // Which side reads: each knows only the payload types sent to it.
    enum class Receiver { Entity, Tester };

    enum class Outcome {
        Complete,    // frame holds the message; `consumed` bytes belong to it
        Incomplete,  // a stream needs more bytes; a datagram this short has a wrong length
        Nack,        // answer with `nackCode`; drop `consumed` bytes (more than given: skip the rest
                     // as it arrives), and close a TCP connection when `closeConnection` says so
    };

    struct Parsed {
        Outcome outcome = Outcome::Incomplete;
        uint8_t nackCode = 0;
        bool closeConnection = false;
        uint64_t consumed = 0;
        uint16_t payloadType = 0;  // also set for a NACK, once the header could be read
    };

    DoIpFrame() = default;
    DoIpFrame(uint16_t type, std::vector<uint8_t> payload, uint8_t version = kVersion);

    // The first message of `bytes`; `frame` is set only when the outcome is Complete.
    static Parsed Parse(const uint8_t* bytes, size_t size, Receiver receiver, uint32_t maxPayload,
                        DoIpFrame* frame);

    std::vector<uint8_t> Encode() const;

    uint8_t Version() const { return m_version; }
    uint16_t Type() const { return m_type; }
    const std::vector<uint8_t>& Payload() const { return m_payload; }
    // Big-endian payload fields; 0 where the payload is too short for them.
    uint16_t U16At(size_t offset) const;
    uint32_t U32At(size_t offset) const;

private:
    uint8_t m_version = kVersion;
    uint16_t m_type = 0;
    std::vector<uint8_t> m_payload;
};

}  // namespace pdusim
