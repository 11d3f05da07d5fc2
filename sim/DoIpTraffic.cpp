#include "DoIpTraffic.h"

namespace pdusim {
namespace {

constexpr uint8_t kFlagTcp = 0x02;
constexpr uint8_t kFlagReceived = 0x04;
constexpr uint8_t kFlagDoIpFrame = 0x10;  // the data is a whole DoIP frame; IPv4 leaves bit 0 clear

void PutAddress(std::vector<uint8_t>& header, size_t at, uint32_t networkOrder) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&networkOrder);
    for (size_t i = 0; i < 4; ++i) header[at + i] = bytes[i];
}

void PutPort(std::vector<uint8_t>& header, size_t at, uint16_t port) {
    header[at] = static_cast<uint8_t>(port >> 8);
    header[at + 1] = static_cast<uint8_t>(port);
}

}  // namespace

DoIpTraffic& DoIpTraffic::Instance() {
    static DoIpTraffic traffic;
    return traffic;
}

void DoIpTraffic::SetListening(bool listening) {
    if (m_listening.exchange(listening) && !listening) Clear();
}

void DoIpTraffic::Record(DoIpCapture capture) {
    if (!Listening()) return;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_captures.size() >= kMaxKept) m_captures.pop_front();
    m_captures.push_back(std::move(capture));
}

std::vector<DoIpCapture> DoIpTraffic::Take() {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<DoIpCapture> taken(std::make_move_iterator(m_captures.begin()), std::make_move_iterator(m_captures.end()));
    m_captures.clear();
    return taken;
}

void DoIpTraffic::Clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_captures.clear();
}

void DoIpTraffic::AddOwnPort(bool tcp, uint16_t port) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ownPorts.insert({tcp, port});
}

void DoIpTraffic::RemoveOwnPort(bool tcp, uint16_t port) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ownPorts.erase({tcp, port});
}

bool DoIpTraffic::IsOwnPort(bool tcp, uint16_t port) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ownPorts.count({tcp, port}) != 0;
}

std::vector<uint8_t> DoIpTraffic::Header(const DoIpCapture& capture) {
    std::vector<uint8_t> header(kHeaderSize, 0);
    header[1] = capture.tcp ? kFrameTcp : capture.broadcast ? kFrameUdpBroadcast : kFrameUdp;
    header[2] = static_cast<uint8_t>(kFlagDoIpFrame | (capture.tcp ? kFlagTcp : 0) | (capture.toTester ? kFlagReceived : 0));
    PutAddress(header, 4, capture.testerAddress);
    PutAddress(header, 20, capture.otherAddress);
    PutPort(header, 36, capture.testerPort);
    PutPort(header, 38, capture.otherPort);
    return header;
}

}  // namespace pdusim
