#include "DoIpEntity.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "DoIpTraffic.h"
#include "vehicle/Vehicle.h"

namespace pdusim {
namespace {

using std::chrono::microseconds;

constexpr char kDoIpProtocol[] = "ISO_14229_5_on_ISO_13400_2";
constexpr uint16_t kFirstTesterAddress = 0x0E00;
constexpr uint16_t kLastTesterAddress = 0x0FFF;
constexpr uint8_t kActivationDefault = 0x00;
constexpr uint8_t kActivationWwhObd = 0x01;
constexpr uint8_t kRoutingUnknownSource = 0x00;
constexpr uint8_t kRoutingNoSocketFree = 0x01;
constexpr uint8_t kRoutingOtherSourceOnSocket = 0x02;
constexpr uint8_t kRoutingSourceActiveElsewhere = 0x03;
constexpr uint8_t kRoutingUnsupportedType = 0x06;
constexpr uint8_t kDiagAckOk = 0x00;
constexpr uint8_t kDiagNackInvalidSource = 0x02;
constexpr uint8_t kDiagNackUnknownTarget = 0x03;
constexpr uint8_t kFurtherActionNone = 0x00;
// Connections beyond the registered ones may wait for their routing activation; past this many
// a new one is closed at once.
constexpr size_t kMaxConnections = 2 * DoIpEntity::kMaxRegisteredSockets;
// A tester that stops reading cannot make the entity hold its answers without end.
constexpr size_t kMaxUnsent = 1 << 20;
// After our closing message the tester gets this long to read it and close its side.
constexpr auto kLinger = std::chrono::seconds(1);
constexpr size_t kReadChunk = 4096;
// Datagrams taken from one socket in one turn, so a flood cannot starve the others.
constexpr int kDatagramsPerTurn = 64;

void PutU16(std::vector<uint8_t>& bytes, uint16_t value) {
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

void PutU32(std::vector<uint8_t>& bytes, uint32_t value) {
    PutU16(bytes, static_cast<uint16_t>(value >> 16));
    PutU16(bytes, static_cast<uint16_t>(value));
}

void CloseFd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

std::string Describe(const char* what, const std::string& address, const char* kind) {
    return std::string(what) + " " + address + ":" + std::to_string(DoIpEntity::kPort) + "/" + kind + ": " +
           std::strerror(errno);
}

// A socket of the entity bound to `address`: -1 and `error` set when that fails.
int BoundSocket(int type, const in_addr& address, const std::string& text, std::string& error) {
    const char* kind = type == SOCK_STREAM ? "tcp" : "udp";
    const int fd = ::socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = Describe("socket", text, kind);
        return -1;
    }
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(DoIpEntity::kPort);
    local.sin_addr = address;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
        (type == SOCK_STREAM && ::listen(fd, static_cast<int>(kMaxConnections)) != 0)) {
        error = Describe("bind", text, kind);
        ::close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

DoIpEntity::DoIpEntity(Config config, Vehicle& vehicle) : m_config(std::move(config)), m_vehicle(vehicle) {}

DoIpEntity::~DoIpEntity() { Stop(); }

bool DoIpEntity::Start(std::string& error) {
    if (Running()) return true;
    // The entity never serves beyond this machine: loopback unicast addresses only.
    if (::inet_pton(AF_INET, m_config.address.c_str(), &m_address) != 1 ||
        (ntohl(m_address.s_addr) >> 24) != 127 || m_config.address == kBroadcastAddress ||
        (ntohl(m_address.s_addr) & 0x00FFFFFF) == 0) {
        error = "not a loopback unicast address: " + m_config.address;
        return false;
    }
    in_addr broadcast{};
    ::inet_pton(AF_INET, kBroadcastAddress, &broadcast);
    // TCP first: unlike UDP, a second listener on the same address is refused.
    m_listenFd = BoundSocket(SOCK_STREAM, m_address, m_config.address, error);
    if (m_listenFd >= 0) m_udpFd = BoundSocket(SOCK_DGRAM, m_address, m_config.address, error);
    if (m_udpFd >= 0) m_broadcastFd = BoundSocket(SOCK_DGRAM, broadcast, kBroadcastAddress, error);
    if (m_broadcastFd >= 0) {
        m_wakeFd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        if (m_wakeFd < 0) error = std::string("eventfd: ") + std::strerror(errno);
    }
    if (m_wakeFd < 0) {
        CloseSockets();
        return false;
    }
    m_thread = std::thread(&DoIpEntity::Run, this);
    return true;
}

void DoIpEntity::Stop() {
    if (!m_thread.joinable()) return;
    const uint64_t one = 1;
    while (::write(m_wakeFd, &one, sizeof one) < 0 && errno == EINTR) {
    }
    m_thread.join();
    CloseSockets();
}

void DoIpEntity::CloseSockets() {
    for (auto& [id, connection] : m_connections) CloseFd(connection.fd);
    m_connections.clear();
    m_scheduled.clear();
    CloseFd(m_listenFd);
    CloseFd(m_udpFd);
    CloseFd(m_broadcastFd);
    CloseFd(m_wakeFd);
}

void DoIpEntity::Run() {
    std::vector<pollfd> fds;
    std::vector<uint64_t> ids;
    for (;;) {
        fds.clear();
        ids.clear();
        for (const int fd : {m_wakeFd, m_udpFd, m_broadcastFd, m_listenFd}) fds.push_back({fd, POLLIN, 0});
        for (const auto& [id, connection] : m_connections) {
            const short events = static_cast<short>(POLLIN | (connection.out.empty() ? 0 : POLLOUT));
            fds.push_back({connection.fd, events, 0});
            ids.push_back(id);
        }
        const int ready = ::poll(fds.data(), fds.size(), PollTimeoutMs());
        if (ready < 0 && errno != EINTR) break;
        if (ready > 0) {
            if (fds[0].revents != 0) break;
            if (fds[1].revents != 0) ReadDatagrams(m_udpFd);
            if (fds[2].revents != 0) ReadDatagrams(m_broadcastFd);
            for (size_t i = 0; i < ids.size(); ++i) {
                if (fds[4 + i].revents == 0) continue;
                const auto it = m_connections.find(ids[i]);
                if (it == m_connections.end()) continue;
                if ((fds[4 + i].revents & POLLOUT) != 0) Flush(it->second);
                if ((fds[4 + i].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
                    ReadConnection(it->second);
                    HandleStream(it->first, it->second);
                    Flush(it->second);  // also ends our side once a refusal is sent
                }
            }
            if (fds[3].revents != 0) AcceptConnections();
        }
        SendDue();
        ReapConnections();
    }
}

int DoIpEntity::PollTimeoutMs() const {
    std::optional<Clock::time_point> next;
    const auto earlier = [&](Clock::time_point t) { next = next ? std::min(*next, t) : t; };
    for (const Scheduled& item : m_scheduled) earlier(item.due);
    for (const auto& [id, connection] : m_connections)
        if (connection.shutDown) earlier(connection.lingerUntil);
    if (!next) return -1;  // the eventfd wakes us for Stop
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(wait)>(wait, 0, 60000));
}

void DoIpEntity::ReadDatagrams(int fd) {
    std::vector<uint8_t> buffer(65536);  // more than any IPv4 datagram carries
    for (int n = 0; n < kDatagramsPerTurn; ++n) {
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        const ssize_t got = ::recvfrom(fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (got < 0) return;  // EAGAIN: all read
        if (from.sin_family == AF_INET) OnDatagram(buffer.data(), static_cast<size_t>(got), from, fd == m_broadcastFd);
    }
}

void DoIpEntity::Capture(const sockaddr_in& peer, bool tcp, bool toTester, bool broadcast,
                         const std::vector<uint8_t>& bytes) const {
    DoIpTraffic& traffic = DoIpTraffic::Instance();
    if (!traffic.Listening() || traffic.IsOwnPort(tcp, ntohs(peer.sin_port))) return;
    DoIpCapture capture;
    capture.time = Clock::now();
    capture.testerAddress = peer.sin_addr.s_addr;
    capture.testerPort = ntohs(peer.sin_port);
    in_addr other = m_address;
    if (broadcast) ::inet_pton(AF_INET, kBroadcastAddress, &other);
    capture.otherAddress = other.s_addr;
    capture.otherPort = kPort;
    capture.tcp = tcp;
    capture.toTester = toTester;
    capture.broadcast = broadcast;
    capture.frame = bytes;
    traffic.Record(std::move(capture));
}

void DoIpEntity::OnDatagram(const uint8_t* data, size_t size, const sockaddr_in& from, bool broadcast) {
    const bool full = m_config.behaviour == Behaviour::Full;
    DoIpFrame frame;
    const DoIpFrame::Parsed parsed = DoIpFrame::Parse(data, size, DoIpFrame::Receiver::Entity, kMaxDataSize, &frame);
    if (parsed.outcome == DoIpFrame::Outcome::Nack) {
        // A message too large or of an unknown type is refused even when the datagram lies about its length.
        if (full) Reply(from, DoIpFrame::kGenericNack, {parsed.nackCode});
        return;
    }
    if (parsed.outcome == DoIpFrame::Outcome::Incomplete || parsed.consumed != size) {
        const uint8_t code = size < DoIpFrame::kHeaderSize ? DoIpFrame::kNackIncorrectPattern
                                                           : DoIpFrame::kNackInvalidPayloadLength;
        if (full) Reply(from, DoIpFrame::kGenericNack, {code});
        return;
    }
    if (!broadcast || m_reportsBroadcasts) Capture(from, false, false, broadcast, std::vector<uint8_t>(data, data + size));
    const std::vector<uint8_t>& payload = frame.Payload();
    switch (frame.Type()) {
        case DoIpFrame::kVehicleIdRequest: Reply(from, DoIpFrame::kVehicleIdResponse, IdentificationPayload()); return;
        case DoIpFrame::kVehicleIdRequestEid:
            if (std::equal(payload.begin(), payload.end(), m_config.eid.begin(), m_config.eid.end()))
                Reply(from, DoIpFrame::kVehicleIdResponse, IdentificationPayload());
            return;
        case DoIpFrame::kVehicleIdRequestVin:
            if (std::string(payload.begin(), payload.end()) == Vehicle::kVin)
                Reply(from, DoIpFrame::kVehicleIdResponse, IdentificationPayload());
            return;
        default: break;
    }
    if (!full) return;
    if (frame.Type() == DoIpFrame::kEntityStatusRequest) {
        std::vector<uint8_t> status = {kNodeTypeGateway, kMaxRegisteredSockets,
                                       static_cast<uint8_t>(std::min<size_t>(m_connections.size(), 0xFF))};
        PutU32(status, kMaxDataSize);
        Reply(from, DoIpFrame::kEntityStatusResponse, std::move(status));
    } else if (frame.Type() == DoIpFrame::kPowerModeRequest) {
        Reply(from, DoIpFrame::kPowerModeResponse, {kPowerModeReady});
    } else {
        Reply(from, DoIpFrame::kGenericNack, {DoIpFrame::kNackUnknownPayloadType});  // a TCP message
    }
}

// Answers go out of the unicast socket, so a tester that broadcast sees which entity answered.
void DoIpEntity::Reply(const sockaddr_in& to, uint16_t type, std::vector<uint8_t> payload) {
    const std::vector<uint8_t> bytes = DoIpFrame(type, std::move(payload)).Encode();
    Capture(to, false, true, false, bytes);
    ::sendto(m_udpFd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to),
             sizeof to);
}

std::vector<uint8_t> DoIpEntity::IdentificationPayload() const {
    std::vector<uint8_t> payload(Vehicle::kVin, Vehicle::kVin + 17);
    PutU16(payload, m_config.logicalAddress);
    payload.insert(payload.end(), m_config.eid.begin(), m_config.eid.end());
    payload.insert(payload.end(), m_config.eid.begin(), m_config.eid.end());  // no group: GID = EID
    payload.push_back(kFurtherActionNone);
    return payload;
}

void DoIpEntity::AcceptConnections() {
    for (;;) {
        sockaddr_in peer{};
        socklen_t peerSize = sizeof peer;
        const int fd = ::accept4(m_listenFd, reinterpret_cast<sockaddr*>(&peer), &peerSize, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) return;
        if (m_connections.size() >= kMaxConnections) {
            ::close(fd);
            continue;
        }
        Connection connection;
        connection.fd = fd;
        connection.peer = peer;
        m_connections.emplace(m_nextConnection++, std::move(connection));
    }
}

void DoIpEntity::ReadConnection(Connection& connection) {
    uint8_t chunk[kReadChunk];
    for (;;) {
        const ssize_t got = ::recv(connection.fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (got == 0 || (got < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            connection.dead = true;
            return;
        }
        if (got < 0) return;
        // A closing connection reads only to see the tester's end.
        if (!connection.closing) connection.in.insert(connection.in.end(), chunk, chunk + got);
    }
}

void DoIpEntity::HandleStream(uint64_t id, Connection& connection) {
    while (!connection.closing && !connection.dead) {
        if (connection.skip > 0) {
            const size_t dropped = static_cast<size_t>(std::min<uint64_t>(connection.skip, connection.in.size()));
            connection.in.erase(connection.in.begin(), connection.in.begin() + static_cast<std::ptrdiff_t>(dropped));
            connection.skip -= dropped;
            if (connection.skip > 0) return;
        }
        if (m_config.behaviour != Behaviour::Full) {
            connection.in.clear();  // it listens and says nothing
            return;
        }
        DoIpFrame frame;
        const DoIpFrame::Parsed parsed = DoIpFrame::Parse(connection.in.data(), connection.in.size(),
                                                          DoIpFrame::Receiver::Entity, kMaxDataSize, &frame);
        if (parsed.outcome == DoIpFrame::Outcome::Incomplete) return;
        if (parsed.outcome == DoIpFrame::Outcome::Nack) {
            Queue(connection, DoIpFrame::kGenericNack, {parsed.nackCode});
            connection.closing = parsed.closeConnection;
            if (parsed.consumed >= connection.in.size()) {
                connection.skip = parsed.consumed - connection.in.size();
                connection.in.clear();
            } else {
                connection.in.erase(connection.in.begin(), connection.in.begin() + static_cast<std::ptrdiff_t>(parsed.consumed));
            }
            continue;
        }
        Capture(connection.peer, true, false, false,
                std::vector<uint8_t>(connection.in.begin(), connection.in.begin() + static_cast<std::ptrdiff_t>(parsed.consumed)));
        connection.in.erase(connection.in.begin(), connection.in.begin() + static_cast<std::ptrdiff_t>(parsed.consumed));
        OnTcpMessage(id, connection, frame);
    }
    if (connection.closing) connection.in.clear();
}

void DoIpEntity::OnTcpMessage(uint64_t id, Connection& connection, const DoIpFrame& frame) {
    switch (frame.Type()) {
        case DoIpFrame::kRoutingActivationRequest: ActivateRouting(connection, frame); break;
        case DoIpFrame::kDiagnosticMessage: ForwardDiagnostic(id, connection, frame); break;
        case DoIpFrame::kAliveCheckResponse: break;  // we never ask, so nothing waits for it
        default: Queue(connection, DoIpFrame::kGenericNack, {DoIpFrame::kNackUnknownPayloadType}); break;  // a UDP message
    }
}

void DoIpEntity::ActivateRouting(Connection& connection, const DoIpFrame& frame) {
    const uint16_t source = frame.U16At(0);
    const uint8_t type = frame.Payload()[2];
    const bool elsewhere = std::any_of(m_connections.begin(), m_connections.end(), [&](const auto& entry) {
        return &entry.second != &connection && entry.second.tester == source && !entry.second.dead;
    });
    const auto registered = std::count_if(m_connections.begin(), m_connections.end(),
                                          [](const auto& entry) { return entry.second.tester.has_value(); });
    uint8_t code = kRoutingSuccess;
    if (source < kFirstTesterAddress || source > kLastTesterAddress) code = kRoutingUnknownSource;
    else if (type != kActivationDefault && type != kActivationWwhObd) code = kRoutingUnsupportedType;
    else if (connection.tester && *connection.tester != source) code = kRoutingOtherSourceOnSocket;
    else if (elsewhere) code = kRoutingSourceActiveElsewhere;
    else if (!connection.tester && registered >= kMaxRegisteredSockets) code = kRoutingNoSocketFree;
    std::vector<uint8_t> payload;
    PutU16(payload, source);
    PutU16(payload, m_config.logicalAddress);
    payload.push_back(code);
    PutU32(payload, 0);  // reserved by ISO 13400
    Queue(connection, DoIpFrame::kRoutingActivationResponse, std::move(payload));
    if (code == kRoutingSuccess) connection.tester = source;
    else connection.closing = true;  // every refusal of ours ends the connection
}

void DoIpEntity::ForwardDiagnostic(uint64_t id, Connection& connection, const DoIpFrame& frame) {
    const uint16_t source = frame.U16At(0);
    const uint16_t target = frame.U16At(2);
    const auto acknowledge = [&](uint16_t type, uint8_t code) {
        std::vector<uint8_t> payload;
        PutU16(payload, target);
        PutU16(payload, source);
        payload.push_back(code);
        Queue(connection, type, std::move(payload));
    };
    if (connection.tester != source) {
        acknowledge(DoIpFrame::kDiagnosticNack, kDiagNackInvalidSource);
        connection.closing = true;
        return;
    }
    const uint16_t ecu = target == m_config.logicalAddress ? kOwnEcuAddress : target;
    if (!m_vehicle.ListensOnDoIp(ecu)) {
        acknowledge(DoIpFrame::kDiagnosticNack, kDiagNackUnknownTarget);
        return;
    }
    acknowledge(DoIpFrame::kDiagnosticAck, kDiagAckOk);
    VehicleRequest request;
    request.bus = VehicleBus::Ethernet;
    request.protocol = kDoIpProtocol;
    request.targetAddress = ecu;
    request.data.assign(frame.Payload().begin() + 4, frame.Payload().end());
    // Each answer goes out when the ECU would have sent it.
    Clock::time_point due = Clock::now();
    for (VehicleResponse& response : m_vehicle.Request(request)) {
        due += microseconds(response.delayUs);
        const uint16_t answerer =
            response.sourceAddress == kOwnEcuAddress ? m_config.logicalAddress : static_cast<uint16_t>(response.sourceAddress);
        std::vector<uint8_t> payload;
        PutU16(payload, answerer);
        PutU16(payload, source);
        payload.insert(payload.end(), response.data.begin(), response.data.end());
        m_scheduled.push_back({due, id, DoIpFrame(DoIpFrame::kDiagnosticMessage, std::move(payload)).Encode()});
    }
}

void DoIpEntity::Queue(Connection& connection, uint16_t type, std::vector<uint8_t> payload) {
    const std::vector<uint8_t> bytes = DoIpFrame(type, std::move(payload)).Encode();
    Capture(connection.peer, true, true, false, bytes);
    connection.out.insert(connection.out.end(), bytes.begin(), bytes.end());
    Flush(connection);
}

void DoIpEntity::Flush(Connection& connection) {
    while (!connection.out.empty() && !connection.dead) {
        const ssize_t sent = ::send(connection.fd, connection.out.data(), connection.out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR) continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK) connection.dead = true;
            break;
        }
        connection.out.erase(connection.out.begin(), connection.out.begin() + sent);
    }
    if (connection.out.size() > kMaxUnsent) connection.dead = true;
    if (connection.closing && connection.out.empty() && !connection.shutDown && !connection.dead) {
        // Our side ends here; closing at once could reset the connection before the tester has read.
        ::shutdown(connection.fd, SHUT_WR);
        connection.shutDown = true;
        connection.lingerUntil = Clock::now() + kLinger;
    }
}

void DoIpEntity::SendDue() {
    const Clock::time_point now = Clock::now();
    // Those of one request stay in order: they were scheduled in order with rising times.
    std::vector<Scheduled> later;
    for (Scheduled& item : m_scheduled) {
        if (item.due > now) {
            later.push_back(std::move(item));
            continue;
        }
        const auto it = m_connections.find(item.connection);
        if (it == m_connections.end() || it->second.closing || it->second.dead) continue;
        Capture(it->second.peer, true, true, false, item.bytes);
        it->second.out.insert(it->second.out.end(), item.bytes.begin(), item.bytes.end());
        Flush(it->second);
    }
    m_scheduled = std::move(later);
}

void DoIpEntity::ReapConnections() {
    const Clock::time_point now = Clock::now();
    for (auto it = m_connections.begin(); it != m_connections.end();) {
        Connection& connection = it->second;
        if (connection.shutDown && now >= connection.lingerUntil) connection.dead = true;
        if (!connection.dead) {
            ++it;
            continue;
        }
        CloseFd(connection.fd);
        const uint64_t id = it->first;
        m_scheduled.erase(std::remove_if(m_scheduled.begin(), m_scheduled.end(),
                                         [id](const Scheduled& item) { return item.connection == id; }),
                          m_scheduled.end());
        it = m_connections.erase(it);
    }
}

}  // namespace pdusim
