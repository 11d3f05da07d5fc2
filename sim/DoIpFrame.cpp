#include "DoIpFrame.h"

#include <utility>

namespace pdusim {
namespace {

struct LengthRule {
    uint16_t type;
    uint32_t exact;      // the only length, or the shorter one
    uint32_t optional;   // the longer one with its optional field, 0 for none
    bool atLeast;        // `exact` is the least length
};

// Payload lengths of the types each side receives (ISO 13400-2).
constexpr LengthRule kEntityRules[] = {
    {DoIpFrame::kVehicleIdRequest, 0, 0, false},
    {DoIpFrame::kVehicleIdRequestEid, 6, 0, false},
    {DoIpFrame::kVehicleIdRequestVin, 17, 0, false},
    {DoIpFrame::kRoutingActivationRequest, 7, 11, false},
    {DoIpFrame::kAliveCheckResponse, 2, 0, false},
    {DoIpFrame::kEntityStatusRequest, 0, 0, false},
    {DoIpFrame::kPowerModeRequest, 0, 0, false},
    {DoIpFrame::kDiagnosticMessage, 5, 0, true},
};

constexpr LengthRule kTesterRules[] = {
    {DoIpFrame::kGenericNack, 1, 0, false},
    {DoIpFrame::kVehicleIdResponse, 32, 33, false},
    {DoIpFrame::kRoutingActivationResponse, 9, 13, false},
    {DoIpFrame::kAliveCheckRequest, 0, 0, false},
    {DoIpFrame::kEntityStatusResponse, 3, 7, false},
    {DoIpFrame::kPowerModeResponse, 1, 0, false},
    {DoIpFrame::kDiagnosticMessage, 5, 0, true},
    {DoIpFrame::kDiagnosticAck, 5, 0, true},
    {DoIpFrame::kDiagnosticNack, 5, 0, true},
};

template <size_t N>
const LengthRule* FindRule(const LengthRule (&rules)[N], uint16_t type) {
    for (const LengthRule& rule : rules)
        if (rule.type == type) return &rule;
    return nullptr;
}

bool LengthFits(const LengthRule& rule, uint32_t length) {
    if (rule.atLeast) return length >= rule.exact;
    return length == rule.exact || (rule.optional != 0 && length == rule.optional);
}

bool IsIdentificationRequest(uint16_t type) {
    return type == DoIpFrame::kVehicleIdRequest || type == DoIpFrame::kVehicleIdRequestEid ||
           type == DoIpFrame::kVehicleIdRequestVin;
}

}  // namespace

DoIpFrame::DoIpFrame(uint16_t type, std::vector<uint8_t> payload, uint8_t version)
    : m_version(version), m_type(type), m_payload(std::move(payload)) {}

DoIpFrame::Parsed DoIpFrame::Parse(const uint8_t* bytes, size_t size, Receiver receiver, uint32_t maxPayload,
                                   DoIpFrame* frame) {
    Parsed parsed;
    if (bytes == nullptr || size < kHeaderSize) return parsed;
    const uint8_t version = bytes[0];
    const uint16_t type = static_cast<uint16_t>((bytes[2] << 8) | bytes[3]);
    const uint32_t length = (uint32_t{bytes[4]} << 24) | (uint32_t{bytes[5]} << 16) | (uint32_t{bytes[6]} << 8) | bytes[7];
    parsed.payloadType = type;
    const auto nack = [&](uint8_t code, bool close, uint64_t consumed) {
        parsed.outcome = Outcome::Nack;
        parsed.nackCode = code;
        parsed.closeConnection = close;
        parsed.consumed = consumed;
        return parsed;
    };
    // Once the pattern is wrong nothing that follows can be trusted: the connection goes.
    const bool knownVersion = version >= 0x01 && version <= 0x03;
    const bool defaultVersion =
        version == kDefaultVersion && receiver == Receiver::Entity && IsIdentificationRequest(type);
    if (bytes[1] != static_cast<uint8_t>(~version) || !(knownVersion || defaultVersion))
        return nack(kNackIncorrectPattern, true, size);
    const LengthRule* rule =
        receiver == Receiver::Entity ? FindRule(kEntityRules, type) : FindRule(kTesterRules, type);
    const uint64_t whole = kHeaderSize + uint64_t{length};
    if (rule == nullptr) return nack(kNackUnknownPayloadType, false, whole);
    if (length > maxPayload) return nack(kNackMessageTooLarge, false, whole);
    if (!LengthFits(*rule, length)) return nack(kNackInvalidPayloadLength, true, size);
    if (size < whole) return parsed;
    parsed.outcome = Outcome::Complete;
    parsed.consumed = whole;
    if (frame != nullptr) *frame = DoIpFrame(type, std::vector<uint8_t>(bytes + kHeaderSize, bytes + whole), version);
    return parsed;
}

std::vector<uint8_t> DoIpFrame::Encode() const {
    const auto length = static_cast<uint32_t>(m_payload.size());
    std::vector<uint8_t> bytes = {m_version,
                                  static_cast<uint8_t>(~m_version),
                                  static_cast<uint8_t>(m_type >> 8),
                                  static_cast<uint8_t>(m_type),
                                  static_cast<uint8_t>(length >> 24),
                                  static_cast<uint8_t>(length >> 16),
                                  static_cast<uint8_t>(length >> 8),
                                  static_cast<uint8_t>(length)};
    bytes.insert(bytes.end(), m_payload.begin(), m_payload.end());
    return bytes;
}

uint16_t DoIpFrame::U16At(size_t offset) const {
    if (offset > m_payload.size() || m_payload.size() - offset < 2) return 0;
    return static_cast<uint16_t>((m_payload[offset] << 8) | m_payload[offset + 1]);
}

uint32_t DoIpFrame::U32At(size_t offset) const {
    if (offset > m_payload.size() || m_payload.size() - offset < 4) return 0;
    return (uint32_t{m_payload[offset]} << 24) | (uint32_t{m_payload[offset + 1]} << 16) |
           (uint32_t{m_payload[offset + 2]} << 8) | m_payload[offset + 3];
}

}  // namespace pdusim
