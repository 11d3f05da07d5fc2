// Service ids and negative response codes shared by the UDS and KWP servers.
#pragma once

#include <cstdint>

#include "EcuAnswer.h"

namespace pdusim {

namespace sid {
constexpr uint8_t kSessionControl = 0x10;
constexpr uint8_t kEcuReset = 0x11;
constexpr uint8_t kClearDtc = 0x14;
constexpr uint8_t kReadDtcByStatus = 0x18;  // KWP
constexpr uint8_t kReadDtcInfo = 0x19;
constexpr uint8_t kReadEcuId = 0x1A;         // KWP
constexpr uint8_t kReadLocalId = 0x21;       // KWP
constexpr uint8_t kReadDid = 0x22;
constexpr uint8_t kSecurityAccess = 0x27;
constexpr uint8_t kWriteDid = 0x2E;
constexpr uint8_t kRoutineControl = 0x31;
constexpr uint8_t kTesterPresent = 0x3E;
constexpr uint8_t kStartCommunication = 0x81;  // KWP
constexpr uint8_t kStopCommunication = 0x82;   // KWP
constexpr uint8_t kControlDtcSetting = 0x85;
constexpr uint8_t kNegative = 0x7F;
constexpr uint8_t kPositiveOffset = 0x40;
}  // namespace sid

namespace nrc {
constexpr uint8_t kServiceNotSupported = 0x11;
constexpr uint8_t kSubFunctionNotSupported = 0x12;  // KWP: also "invalid format"
constexpr uint8_t kIncorrectLength = 0x13;
constexpr uint8_t kConditionsNotCorrect = 0x22;
constexpr uint8_t kRequestSequenceError = 0x24;
constexpr uint8_t kRequestOutOfRange = 0x31;
constexpr uint8_t kSecurityAccessDenied = 0x33;
constexpr uint8_t kInvalidKey = 0x35;
constexpr uint8_t kExceededAttempts = 0x36;
constexpr uint8_t kRequiredTimeDelay = 0x37;
constexpr uint8_t kResponsePending = 0x78;
constexpr uint8_t kSubFunctionNotInSession = 0x7E;
constexpr uint8_t kServiceNotInSession = 0x7F;
}  // namespace nrc

inline Bytes NegativeResponse(uint8_t service, uint8_t code) {
    return {sid::kNegative, service, code};
}

inline bool IsNegative(const Bytes& message, uint8_t code) {
    return message.size() == 3 && message[0] == sid::kNegative && message[2] == code;
}

inline void AppendU16(Bytes& out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

inline void AppendU32(Bytes& out, uint32_t value) {
    AppendU16(out, static_cast<uint16_t>(value >> 16));
    AppendU16(out, static_cast<uint16_t>(value));
}

}  // namespace pdusim
