// An ISO 13400-2 DoIP entity of the simulated vehicle on real loopback sockets: UDP 13400 on its
// own address and on the loopback broadcast address, TCP 13400 on its own address. It answers
// vehicle identification, routing activation, entity status and power mode itself and hands
// diagnostic messages to the vehicle, so an ECU answers over DoIP as it does over CAN.
// All socket work happens on the entity's own thread; Stop wakes it through an eventfd.
#pragma once

#include <netinet/in.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "DoIpFrame.h"

namespace pdusim {

class Vehicle;

class DoIpEntity {
public:
    enum class Behaviour {
        Full,
        IdentificationOnly,  // can be found, then never answers: a tester's request times out
    };

    struct Config {
        std::string address = "127.0.0.2";
        uint16_t logicalAddress = 0x1001;
        std::array<uint8_t, 6> eid{};
        Behaviour behaviour = Behaviour::Full;
    };

    static constexpr uint16_t kPort = 13400;
    static constexpr char kBroadcastAddress[] = "127.255.255.255";
    static constexpr uint8_t kMaxRegisteredSockets = 4;
    static constexpr uint32_t kMaxDataSize = 4096;
    // The vehicle's ECU behind the entity's own logical address; others are reached through it.
    static constexpr uint16_t kOwnEcuAddress = 0x1001;
    static constexpr uint8_t kNodeTypeGateway = 0x00;
    static constexpr uint8_t kPowerModeReady = 0x01;
    static constexpr uint8_t kRoutingSuccess = 0x10;

    DoIpEntity(Config config, Vehicle& vehicle);
    ~DoIpEntity();
    DoIpEntity(const DoIpEntity&) = delete;
    DoIpEntity& operator=(const DoIpEntity&) = delete;

    // Binds every socket and starts the thread. False, with nothing left open, when the address is
    // no loopback unicast address or a port is taken; `error` says which.
    bool Start(std::string& error);
    void Stop();
    bool Running() const { return m_thread.joinable(); }
    // A broadcast reaches every entity: one of them tells the monitor links. Set before Start.
    void ReportBroadcasts(bool reports) { m_reportsBroadcasts = reports; }
    const Config& Settings() const { return m_config; }

private:
    using Clock = std::chrono::steady_clock;

    struct Connection {
        int fd = -1;
        sockaddr_in peer{};
        std::vector<uint8_t> in;
        uint64_t skip = 0;  // bytes of a refused message still to come
        std::vector<uint8_t> out;
        std::optional<uint16_t> tester;  // source address activated on this socket
        bool closing = false;            // answers no more; closes once `out` is sent
        bool shutDown = false;           // our side is closed; waits for the tester's
        bool dead = false;
        Clock::time_point lingerUntil{};
    };

    struct Scheduled {
        Clock::time_point due;
        uint64_t connection = 0;
        std::vector<uint8_t> bytes;
    };

    void Run();
    int PollTimeoutMs() const;
    void ReadDatagrams(int fd);
    void OnDatagram(const uint8_t* data, size_t size, const sockaddr_in& from, bool broadcast);
    // For the DoIP monitor links; frames of the library's own tester are its to tell.
    void Capture(const sockaddr_in& peer, bool tcp, bool toTester, bool broadcast, const std::vector<uint8_t>& bytes) const;
    void Reply(const sockaddr_in& to, uint16_t type, std::vector<uint8_t> payload);
    void AcceptConnections();
    void ReadConnection(Connection& connection);
    void HandleStream(uint64_t id, Connection& connection);
    void OnTcpMessage(uint64_t id, Connection& connection, const DoIpFrame& frame);
    void ActivateRouting(Connection& connection, const DoIpFrame& frame);
    void ForwardDiagnostic(uint64_t id, Connection& connection, const DoIpFrame& frame);
    void Queue(Connection& connection, uint16_t type, std::vector<uint8_t> payload);
    void Flush(Connection& connection);
    void SendDue();
    void ReapConnections();
    std::vector<uint8_t> IdentificationPayload() const;
    void CloseSockets();

    Config m_config;
    Vehicle& m_vehicle;
    in_addr m_address{};
    bool m_reportsBroadcasts = false;
    int m_wakeFd = -1;
    int m_udpFd = -1;
    int m_broadcastFd = -1;
    int m_listenFd = -1;
    std::thread m_thread;
    // Touched by the entity's thread only while it runs.
    std::map<uint64_t, Connection> m_connections;
    std::vector<Scheduled> m_scheduled;
    uint64_t m_nextConnection = 1;
};

}  // namespace pdusim
