// A tester on real loopback sockets against the library's DoIP entities. Each address is this
// test's own; it broadcasts, so its ctest entry holds the DoIP broadcast lock.
#include "DoIpFrame.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "SimApi.h"
#include "../support/ScopedEnvironment.h"

using pdusim::DoIpFrame;
using Bytes = std::vector<uint8_t>;

namespace {

constexpr char kEntity[] = "127.41.0.2";
constexpr char kDuplicate[] = "127.41.0.3";
constexpr char kSilent[] = "127.41.0.4";
constexpr char kBroadcast[] = "127.255.255.255";
constexpr UNUM32 kDoIpModule = 3;
constexpr uint16_t kPort = 13400;
constexpr int kBoundMs = 5000;  // upper bound of every wait for the network
constexpr char kVin[] = "WQU0SIMULATOR0001";

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const Bytes kVinBytes(kVin, kVin + 17);
const Bytes kEid = {0x00, 0x1A, 0x37, 0x00, 0x00, 0x01};

Bytes Frame(uint16_t type, const Bytes& payload) { return DoIpFrame(type, payload).Encode(); }

sockaddr_in Address(const char* ip, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, ip, &address.sin_addr);
    return address;
}

std::string Text(const sockaddr_in& address) {
    char ip[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address.sin_addr, ip, sizeof ip);
    return std::string(ip) + ":" + std::to_string(ntohs(address.sin_port));
}

bool Readable(int fd) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, kBoundMs) == 1;
}

struct Answer {
    std::string from;
    DoIpFrame frame;
};

// The tester side binds 127.0.0.1, as a bench does.
class UdpTester {
public:
    UdpTester() {
        m_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        setsockopt(m_fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
        const sockaddr_in local = Address("127.0.0.1", 0);
        bind(m_fd, reinterpret_cast<const sockaddr*>(&local), sizeof local);
    }
    ~UdpTester() { close(m_fd); }

    void Send(const char* ip, const Bytes& bytes) {
        const sockaddr_in to = Address(ip, kPort);
        ASSERT_EQ(sendto(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
                  static_cast<ssize_t>(bytes.size()));
    }
    std::optional<Answer> Receive() {
        if (!Readable(m_fd)) return std::nullopt;
        Bytes buffer(65536);
        sockaddr_in from{};
        socklen_t size = sizeof from;
        const ssize_t got = recvfrom(m_fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
        if (got < 0) return std::nullopt;
        Answer answer{Text(from), {}};
        const auto parsed = DoIpFrame::Parse(buffer.data(), static_cast<size_t>(got), DoIpFrame::Receiver::Tester,
                                             65536, &answer.frame);
        EXPECT_EQ(parsed.outcome, DoIpFrame::Outcome::Complete) << "from " << answer.from;
        EXPECT_EQ(parsed.consumed, static_cast<uint64_t>(got));
        return answer;
    }

private:
    int m_fd = -1;
};

class TcpTester {
public:
    TcpTester() {
        m_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in local = Address("127.0.0.1", 0);
        bind(m_fd, reinterpret_cast<const sockaddr*>(&local), sizeof local);
    }
    ~TcpTester() { close(m_fd); }

    bool Connect(const char* ip) {
        const sockaddr_in to = Address(ip, kPort);
        return connect(m_fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
    }
    void Send(const Bytes& bytes) {
        ASSERT_EQ(send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    // The next message; none when the entity closed or said nothing in time.
    std::optional<DoIpFrame> Receive() {
        for (;;) {
            DoIpFrame frame;
            const auto parsed =
                DoIpFrame::Parse(m_buffer.data(), m_buffer.size(), DoIpFrame::Receiver::Tester, 65536, &frame);
            if (parsed.outcome == DoIpFrame::Outcome::Complete) {
                m_buffer.erase(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(parsed.consumed));
                return frame;
            }
            EXPECT_EQ(parsed.outcome, DoIpFrame::Outcome::Incomplete) << "the entity sent a bad frame";
            if (parsed.outcome != DoIpFrame::Outcome::Incomplete || !ReadMore()) return std::nullopt;
        }
    }
    // Nothing more comes, and the entity has closed its side.
    bool Closed() {
        while (ReadMore()) {
        }
        return m_buffer.empty() && m_ended;
    }

private:
    bool ReadMore() {
        if (!Readable(m_fd)) return false;
        uint8_t chunk[4096];
        const ssize_t got = recv(m_fd, chunk, sizeof chunk, 0);
        if (got <= 0) {
            m_ended = true;
            return false;
        }
        m_buffer.insert(m_buffer.end(), chunk, chunk + got);
        return true;
    }

    int m_fd = -1;
    Bytes m_buffer;
    bool m_ended = false;
};

void ExpectAnswer(const std::optional<Answer>& answer, const char* from, uint16_t type, const Bytes& payload) {
    ASSERT_TRUE(answer.has_value()) << "no answer from " << from;
    EXPECT_EQ(answer->from, std::string(from) + ":13400");
    EXPECT_EQ(answer->frame.Type(), type);
    EXPECT_EQ(answer->frame.Payload(), payload);
}

void ExpectMessage(const std::optional<DoIpFrame>& frame, uint16_t type, const Bytes& payload) {
    ASSERT_TRUE(frame.has_value()) << "no message of type " << type;
    EXPECT_EQ(frame->Version(), DoIpFrame::kVersion);
    EXPECT_EQ(frame->Type(), type);
    EXPECT_EQ(frame->Payload(), payload);
}

}  // namespace

TEST(DoIpEntityTest, TesterWalksThroughEveryMessage) {
    const ScopedEnvironments env({{"PDUSIM_DOIP_ADDR", kEntity},
                         {"PDUSIM_DOIP_DUPLICATE_ADDR", kDuplicate},
                         {"PDUSIM_DOIP_SILENT_ADDR", kSilent}});
    SimApi api;
    ASSERT_NE(api.library, nullptr);
    ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    EXPECT_FALSE(TcpTester().Connect(kEntity)) << "an entity before its module was connected";
    ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);

    UdpTester udp;
    const Bytes identification = kVinBytes + Bytes{0x10, 0x01} + kEid + kEid + Bytes{0x00};
    const Bytes status = {0x00, 0x04, 0x00, 0x00, 0x00, 0x10, 0x00};  // gateway, 4 sockets, none open, 4096
    for (const Bytes& request : {Frame(0x0001, {}), Bytes{0xFF, 0x00, 0x00, 0x01, 0, 0, 0, 0}, Frame(0x0002, kEid),
                                 Frame(0x0003, kVinBytes)}) {
        udp.Send(kEntity, request);
        ExpectAnswer(udp.Receive(), kEntity, 0x0004, identification);
    }
    // Requests for another entity go unanswered: the status request behind them is answered first.
    udp.Send(kEntity, Frame(0x0002, {0x00, 0x1A, 0x37, 0x00, 0x00, 0x09}));
    udp.Send(kEntity, Frame(0x0003, Bytes(17, 'X')));
    udp.Send(kEntity, Frame(0x4001, {}));
    ExpectAnswer(udp.Receive(), kEntity, 0x4002, status);
    udp.Send(kEntity, Frame(0x4003, {}));
    ExpectAnswer(udp.Receive(), kEntity, 0x4004, {0x01});

    const struct {
        const char* what;
        Bytes datagram;
        uint8_t code;
    } badHeaders[] = {
        {"inverse version wrong", {0x02, 0xFC, 0x00, 0x01, 0, 0, 0, 0}, 0x00},
        {"shorter than a header", {0x02, 0xFD, 0x00}, 0x00},
        {"unknown payload type", {0x02, 0xFD, 0x12, 0x34, 0, 0, 0, 0}, 0x01},
        {"routing activation over UDP", Frame(0x0005, {0x0E, 0x80, 0x00, 0, 0, 0, 0}), 0x01},
        {"too large", {0x02, 0xFD, 0x80, 0x01, 0x00, 0x00, 0x10, 0x01}, 0x02},
        {"length wrong for the type", {0x02, 0xFD, 0x00, 0x01, 0, 0, 0, 1, 0x00}, 0x04},
        {"datagram longer than its message", {0x02, 0xFD, 0x40, 0x01, 0, 0, 0, 0, 0xFF}, 0x04},
    };
    for (const auto& bad : badHeaders) {
        SCOPED_TRACE(bad.what);
        udp.Send(kEntity, bad.datagram);
        ExpectAnswer(udp.Receive(), kEntity, 0x0000, {bad.code});
    }

    // A broadcast finds all three: two of them with the same logical address. Entities of other
    // processes on the loopback network may answer as well: their answers stay on a socket of its own.
    UdpTester broadcaster;
    broadcaster.Send(kBroadcast, Frame(0x0001, {}));
    std::map<std::string, uint16_t> found;
    while (found.size() < 3) {
        const std::optional<Answer> answer = broadcaster.Receive();
        ASSERT_TRUE(answer.has_value()) << "entities that answered the broadcast: " << found.size();
        if (answer->from.rfind("127.41.0.", 0) == 0 && answer->frame.Type() == 0x0004)
            found[answer->from] = answer->frame.U16At(17);
    }
    EXPECT_EQ(found, (std::map<std::string, uint16_t>{
                         {"127.41.0.2:13400", 0x1001}, {"127.41.0.3:13400", 0x1001}, {"127.41.0.4:13400", 0x1003}}));
    // The silent one can be found, but says nothing to a status request.
    udp.Send(kSilent, Frame(0x4001, {}));
    udp.Send(kSilent, Frame(0x4003, {}));
    udp.Send(kSilent, Frame(0x0001, {}));
    const std::optional<Answer> silent = udp.Receive();
    ASSERT_TRUE(silent.has_value());
    EXPECT_EQ(silent->from, "127.41.0.4:13400");
    EXPECT_EQ(silent->frame.Type(), 0x0004);

    // Routing activation, then UDS over DoIP: the acknowledgement, then the ECU's answer with the
    // addresses swapped; through the gateway to the transmission as well.
    TcpTester tcp;
    ASSERT_TRUE(tcp.Connect(kEntity));
    tcp.Send(Frame(0x0005, {0x0E, 0x80, 0x00, 0, 0, 0, 0}));
    ExpectMessage(tcp.Receive(), 0x0006, {0x0E, 0x80, 0x10, 0x01, 0x10, 0, 0, 0, 0});
    for (const uint8_t ecu : {0x01, 0x02}) {
        tcp.Send(Frame(0x8001, {0x0E, 0x80, 0x10, ecu, 0x22, 0xF1, 0x90}));
        ExpectMessage(tcp.Receive(), 0x8002, {0x10, ecu, 0x0E, 0x80, 0x00});
        ExpectMessage(tcp.Receive(), 0x8001, Bytes{0x10, ecu, 0x0E, 0x80, 0x62, 0xF1, 0x90} + kVinBytes);
    }
    tcp.Send(Frame(0x8001, {0x0E, 0x80, 0x22, 0x22, 0x22, 0xF1, 0x90}));
    ExpectMessage(tcp.Receive(), 0x8003, {0x22, 0x22, 0x0E, 0x80, 0x03});
    // Refused messages are skipped whole, even when they come in pieces; the connection goes on.
    tcp.Send({0x02, 0xFD, 0x12, 0x34, 0, 0, 0, 3, 0xAA});
    ExpectMessage(tcp.Receive(), 0x0000, {0x01});
    tcp.Send({0xBB, 0xCC});
    tcp.Send({0x02, 0xFD, 0x80, 0x01, 0x00, 0x00, 0x13, 0x88});
    ExpectMessage(tcp.Receive(), 0x0000, {0x02});
    tcp.Send(Bytes(5000, 0x02));
    tcp.Send(Frame(0x4003, {}));
    ExpectMessage(tcp.Receive(), 0x0000, {0x01});  // a UDP message
    tcp.Send(Frame(0x8001, {0x0E, 0x80, 0x10, 0x01, 0x3E, 0x00}));
    ExpectMessage(tcp.Receive(), 0x8002, {0x10, 0x01, 0x0E, 0x80, 0x00});
    ExpectMessage(tcp.Receive(), 0x8001, {0x10, 0x01, 0x0E, 0x80, 0x7E, 0x00});
    udp.Send(kEntity, Frame(0x4001, {}));
    ExpectAnswer(udp.Receive(), kEntity, 0x4002, {0x00, 0x04, 0x01, 0x00, 0x00, 0x10, 0x00});

    // Each refusal ends its connection after its answer.
    const struct {
        const char* what;
        Bytes request;
        uint16_t type;
        Bytes payload;
    } refusals[] = {
        {"diagnostic message before routing activation", Frame(0x8001, {0x0E, 0x81, 0x10, 0x01, 0x3E, 0x00}), 0x8003,
         {0x10, 0x01, 0x0E, 0x81, 0x02}},
        {"source address of no tester", Frame(0x0005, {0x00, 0x01, 0x00, 0, 0, 0, 0}), 0x0006,
         {0x00, 0x01, 0x10, 0x01, 0x00, 0, 0, 0, 0}},
        {"source address active on another socket", Frame(0x0005, {0x0E, 0x80, 0x00, 0, 0, 0, 0}), 0x0006,
         {0x0E, 0x80, 0x10, 0x01, 0x03, 0, 0, 0, 0}},
        {"unsupported activation type", Frame(0x0005, {0x0E, 0x81, 0x42, 0, 0, 0, 0}), 0x0006,
         {0x0E, 0x81, 0x10, 0x01, 0x06, 0, 0, 0, 0}},
        {"inverse version wrong", {0x02, 0x02, 0x80, 0x01, 0, 0, 0, 5}, 0x0000, {0x00}},
        {"length wrong for the type", {0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 3, 0x0E, 0x81, 0x00}, 0x0000, {0x04}},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        TcpTester other;
        ASSERT_TRUE(other.Connect(kEntity));
        other.Send(refusal.request);
        ExpectMessage(other.Receive(), refusal.type, refusal.payload);
        EXPECT_TRUE(other.Closed());
    }

    // Disconnecting the module takes the entities off the network.
    ASSERT_EQ(api.PDUModuleDisconnect(kDoIpModule), PDU_STATUS_NOERROR);
    EXPECT_TRUE(tcp.Closed());
    EXPECT_FALSE(TcpTester().Connect(kEntity));
    EXPECT_FALSE(TcpTester().Connect(kDuplicate));
    ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);
    EXPECT_TRUE(TcpTester().Connect(kEntity)) << "again after a new connect";
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
    EXPECT_FALSE(TcpTester().Connect(kEntity));
}
