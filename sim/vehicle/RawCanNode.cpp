#include "RawCanNode.h"

#include "UdsCodes.h"

namespace pdusim {
namespace {

constexpr size_t kIdBytes = 4;
constexpr size_t kMaxData = 8;

bool IsExtended(uint32_t id) { return (id & RawCanNode::kExtendedFlag) != 0 || (id & RawCanNode::kIdMask) > 0x7FF; }

uint8_t Low(uint32_t value) { return static_cast<uint8_t>(value); }
uint8_t High(uint32_t value) { return static_cast<uint8_t>(value >> 8); }

}  // namespace

std::optional<RawCanNode::Frame> RawCanNode::Parse(const Bytes& raw) {
    if (raw.size() < kIdBytes || raw.size() > kIdBytes + kMaxData) return std::nullopt;
    Frame frame;
    frame.id = (uint32_t{raw[0]} << 24) | (uint32_t{raw[1]} << 16) | (uint32_t{raw[2]} << 8) | raw[3];
    // Bits 29 and 30 are never part of an id: such a frame cannot be on the bus.
    if ((frame.id & ~(kIdMask | kExtendedFlag)) != 0) return std::nullopt;
    frame.data.assign(raw.begin() + kIdBytes, raw.end());
    return frame;
}

Bytes RawCanNode::Encode(const Frame& frame) {
    Bytes out;
    AppendU32(out, frame.id);
    out.insert(out.end(), frame.data.begin(), frame.data.end());
    return out;
}

std::optional<RawCanNode::Frame> RawCanNode::Answer(const Frame& request) {
    const uint32_t id = request.id & kIdMask;
    const bool extended = IsExtended(request.id);
    const bool echoed = extended ? id == kEchoRequestIdExt : id == kEchoRequestId;
    if (!echoed) return std::nullopt;
    Frame answer{request.id + 1, request.data};
    for (uint8_t& byte : answer.data) byte = static_cast<uint8_t>(byte + 1);
    return answer;
}

std::vector<Bytes> RawCanNode::Traffic(uint32_t p) {
    std::vector<Bytes> frames;
    const uint32_t rpm = 3200 + (p * 37) % 8000;  // 800..2800 rpm in 0.25 steps
    frames.push_back(Encode({0x0C8, {Low(p), High(rpm), Low(rpm), 0x7B, 0x00, 0x00, 0x00, Low(p * 3)}}));
    frames.push_back(Encode({kExtendedFlag | 0x0CF00400, {0xF0, 0x7D, 0x7D, Low(rpm), High(rpm), 0x00, 0xF0, 0xFF}}));
    if (p % 2 == 0) frames.push_back(Encode({0x1A0, {Low(p / 2), Low(p % 120), 0x00, 0x01}}));
    if (p % 5 == 0) {
        const uint32_t speed = (p / 5 % 100) * 256;
        frames.push_back(Encode({kExtendedFlag | 0x18FEF100, {0xFF, Low(speed), High(speed), 0x00, 0x00, 0x00, 0x00, Low(p / 5)}}));
    }
    if (p % 10 == 0) frames.push_back(Encode({0x3E0, {0x01, Low(p / 10), 0x00, 0x00, 0x5A, 0xA5, 0x00, 0x00}}));
    return frames;
}

}  // namespace pdusim
