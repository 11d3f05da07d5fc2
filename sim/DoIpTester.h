// The library's own DoIP tester on the loopback network: a UDP socket on 127.0.0.1 for the DoIP
// IOCTLs. It is used without the library's lock; every wait ends at its deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "DoIpFrame.h"

namespace pdusim {

class DoIpUdpTester {
public:
    using Clock = std::chrono::steady_clock;

    struct Answer {
        uint32_t address = 0;  // IPv4, network order
        uint16_t port = 0;
        DoIpFrame frame;
    };

    DoIpUdpTester();
    ~DoIpUdpTester();
    DoIpUdpTester(const DoIpUdpTester&) = delete;
    DoIpUdpTester& operator=(const DoIpUdpTester&) = delete;

    bool Ok() const { return m_fd >= 0; }
    bool Send(uint32_t address, const std::vector<uint8_t>& frame);
    // The next well-formed message before the deadline; garbage is passed over.
    std::optional<Answer> Receive(Clock::time_point deadline);

    static uint32_t BroadcastAddress();

private:
    int m_fd = -1;
    uint32_t m_localAddress = 0;
    uint16_t m_port = 0;
};

}  // namespace pdusim
