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

// A logical link's TCP connection to its entity: connect, routing activation, diagnostic messages.
// It never waits: the scheduler pumps it under the library's lock, as often as it needs.
class DoIpTcpTester {
public:
    using Clock = std::chrono::steady_clock;

    struct Message {
        Clock::time_point time;
        uint16_t source = 0;
        std::vector<uint8_t> data;
    };

    DoIpTcpTester(uint32_t entityAddress, uint16_t testerAddress);
    ~DoIpTcpTester();
    DoIpTcpTester(const DoIpTcpTester&) = delete;
    DoIpTcpTester& operator=(const DoIpTcpTester&) = delete;

    bool Failed() const { return m_failed; }
    // Routing was active once: what was sent may have reached the entity.
    bool WasReady() const { return m_wasReady; }
    uint16_t TesterAddress() const { return m_tester; }
    // Moves on as far as it can without waiting: connection, activation, what came, what is to go.
    void Pump();
    // Goes out once routing is active.
    void SendDiagnostic(uint16_t target, const std::vector<uint8_t>& data);
    // The diagnostic messages of the entity since the last call.
    std::vector<Message> TakeMessages();

private:
    enum class Stage { Connecting, Activating, Ready };
    void Write(const std::vector<uint8_t>& frame);
    void Fail();

    int m_fd = -1;
    uint32_t m_localAddress = 0;
    uint16_t m_port = 0;
    uint32_t m_entity = 0;
    uint16_t m_tester = 0;
    Stage m_stage = Stage::Connecting;
    bool m_failed = false;
    bool m_wasReady = false;
    std::vector<uint8_t> m_in;
    std::vector<uint8_t> m_out;
    std::vector<std::vector<uint8_t>> m_held;  // diagnostic messages before routing is active
    std::vector<Message> m_messages;
};

}  // namespace pdusim
