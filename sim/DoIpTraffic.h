// Every DoIP frame that crosses the simulator's sockets, kept for the DoIP monitor links. The
// entities' threads and the library's own tester write here without the library's lock: a Stop of
// the entities holds that lock while it joins their threads. The scheduler takes the frames.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace pdusim {

struct DoIpCapture {
    std::chrono::steady_clock::time_point time;
    uint32_t testerAddress = 0;  // IPv4, network order
    uint16_t testerPort = 0;     // host order
    uint32_t otherAddress = 0;
    uint16_t otherPort = 0;
    bool tcp = false;
    bool toTester = false;   // the tester received it
    bool broadcast = false;  // sent to the loopback broadcast address
    std::vector<uint8_t> frame;  // header and payload
};

class DoIpTraffic {
public:
    static constexpr size_t kHeaderSize = 40;
    static constexpr uint8_t kFrameUdp = 0x01;
    static constexpr uint8_t kFrameUdpBroadcast = 0x02;
    static constexpr uint8_t kFrameTcp = 0x03;

    static DoIpTraffic& Instance();

    // Frames are kept only while a DoIP monitor link is online.
    void SetListening(bool listening);
    bool Listening() const { return m_listening.load(std::memory_order_relaxed); }
    void Record(DoIpCapture capture);
    std::vector<DoIpCapture> Take();
    void Clear();

    // The library's own tester sockets: an entity leaves their frames to the tester's side, so
    // that each frame is seen once.
    void AddOwnPort(bool tcp, uint16_t port);
    void RemoveOwnPort(bool tcp, uint16_t port);
    bool IsOwnPort(bool tcp, uint16_t port) const;

    // The 40-byte header of a monitor result: frame type, flags, both addresses and ports.
    static std::vector<uint8_t> Header(const DoIpCapture& capture);

private:
    static constexpr size_t kMaxKept = 100000;

    std::atomic<bool> m_listening{false};
    mutable std::mutex m_mutex;
    std::deque<DoIpCapture> m_captures;
    std::set<std::pair<bool, uint16_t>> m_ownPorts;
};

}  // namespace pdusim
