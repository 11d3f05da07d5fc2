// The DoIP monitor link: created without resource data or id, it shows every DoIP frame of the
// simulator's sockets with the addresses and ports of both sides. The entity's address is this
// test's own.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "DoIpFrame.h"
#include "SimApi.h"
#include "../support/ScopedEnvironment.h"

using pdusim::DoIpFrame;
using Bytes = std::vector<uint8_t>;

namespace {

constexpr UNUM32 kDoIpModule = 3;
constexpr UNUM32 kCanModule = 1;
constexpr UNUM32 kDoIpResource = 1010;
constexpr char kEntity[] = "127.43.0.2";
constexpr char kDuplicate[] = "127.43.0.3";
constexpr uint16_t kPort = 13400;

uint32_t Ip(const char* text) {
    in_addr address{};
    inet_pton(AF_INET, text, &address);
    return address.s_addr;
}

// A tester of another program: its frames cross the entity's sockets only.
// Binds the socket to 127.0.0.1 on a port of the system's choice, which it returns.
uint16_t BindLoopback(int fd) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = Ip("127.0.0.1");
    bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local);
    socklen_t size = sizeof local;
    getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin_port);
}

class TcpTester {
public:
    TcpTester() {
        m_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        port = BindLoopback(m_fd);
    }
    ~TcpTester() { close(m_fd); }
    bool Connect() {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(kPort);
        to.sin_addr.s_addr = Ip(kEntity);
        return connect(m_fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
    }
    void Send(const Bytes& bytes) { ASSERT_EQ(send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size())); }
    // Reads until `count` messages came, or a generous bound passed.
    size_t Read(size_t count) {
        size_t messages = 0;
        Bytes buffer;
        while (messages < count) {
            pollfd p{m_fd, POLLIN, 0};
            if (poll(&p, 1, 5000) != 1) break;
            uint8_t chunk[4096];
            const ssize_t got = recv(m_fd, chunk, sizeof chunk, 0);
            if (got <= 0) break;
            buffer.insert(buffer.end(), chunk, chunk + got);
            for (;;) {
                const auto parsed = DoIpFrame::Parse(buffer.data(), buffer.size(), DoIpFrame::Receiver::Tester, 65536, nullptr);
                if (parsed.outcome != DoIpFrame::Outcome::Complete) break;
                buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(parsed.consumed));
                ++messages;
            }
        }
        return messages;
    }
    uint16_t port = 0;

private:
    int m_fd = -1;
};

// What a monitor result says, read as the bench reads it.
struct Seen {
    uint16_t payloadType = 0;
    uint8_t frameType = 0;
    uint8_t flags = 0;
    uint32_t tester = 0;
    uint32_t other = 0;
    uint16_t testerPort = 0;
    uint16_t otherPort = 0;
    UNUM32 hCop = 0;
    Bytes data;
};

std::optional<Seen> Decode(const SeenEvent& e) {
    if (e.type != PDU_IT_RESULT || e.header.size() != 40 || e.data.size() < 8) return std::nullopt;
    Seen seen;
    seen.payloadType = static_cast<uint16_t>((e.data[2] << 8) | e.data[3]);
    seen.frameType = e.header[1];
    seen.flags = e.header[2];
    std::memcpy(&seen.tester, &e.header[4], 4);
    std::memcpy(&seen.other, &e.header[20], 4);
    seen.testerPort = static_cast<uint16_t>((e.header[36] << 8) | e.header[37]);
    seen.otherPort = static_cast<uint16_t>((e.header[38] << 8) | e.header[39]);
    seen.hCop = e.hCop;
    seen.data = e.data;
    return seen;
}

class DoIpMonitorLinkTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(api.library, nullptr);
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);
    }
    void TearDown() override { api.PDUDestruct(); }

    T_PDU_ERROR Create(UNUM32 hMod, UNUM32& hCLL, PDU_RSC_DATA* data = nullptr) {
        uint8_t flags[4] = {0x40, 0x00, 0x00, 0x02};
        PDU_FLAG_DATA create{4, flags};
        return api.PDUCreateComLogicalLink(hMod, data, PDU_ID_UNDEF, this, &hCLL, &create);
    }

    // Results of this test's own traffic (other programs may use the loopback network too), until `count` of them came or a generous bound passed.
    std::vector<Seen> Frames(UNUM32 hMod, UNUM32 hCLL, size_t count, const std::function<bool(const Seen&)>& ours) {
        std::vector<Seen> frames;
        while (frames.size() < count) {
            const unsigned long calls = CallbackCounter::Instance().Count();
            PDU_EVENT_ITEM* item = nullptr;
            bool any = false;
            while (api.PDUGetEventItem(hMod, hCLL, &item) == PDU_STATUS_NOERROR) {
                const std::optional<Seen> seen = Decode(Copy(*item));
                api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
                any = true;
                if (seen && ours(*seen)) frames.push_back(*seen);
            }
            if (!any && !CallbackCounter::Instance().WaitBeyond(calls)) break;
        }
        return frames;
    }

    // Routing activation, a diagnostic request for the engine's VIN and its acknowledgement and answer.
    static void ExpectDiagnosticExchange(const std::vector<Seen>& frames, uint16_t tester) {
        const uint8_t hi = static_cast<uint8_t>(tester >> 8), lo = static_cast<uint8_t>(tester);
        const struct {
            uint16_t payloadType;
            uint8_t flags;
            Bytes payloadStart;
        } exchange[] = {
            {0x0005, 0x12, {hi, lo, 0x00}},
            {0x0006, 0x16, {hi, lo, 0x10, 0x01, 0x10}},
            {0x8001, 0x12, {hi, lo, 0x10, 0x01, 0x22, 0xF1, 0x90}},
            {0x8002, 0x16, {0x10, 0x01, hi, lo, 0x00}},
            {0x8001, 0x16, {0x10, 0x01, hi, lo, 0x62, 0xF1, 0x90, 'W', 'Q', 'U'}},
        };
        ASSERT_EQ(frames.size(), std::size(exchange));
        for (size_t i = 0; i < frames.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(frames[i].payloadType, exchange[i].payloadType);
            EXPECT_EQ(frames[i].frameType, 0x03);
            EXPECT_EQ(frames[i].flags, exchange[i].flags);
            EXPECT_EQ(frames[i].tester, Ip("127.0.0.1"));
            EXPECT_EQ(frames[i].testerPort, frames[0].testerPort);
            EXPECT_EQ(frames[i].other, Ip(kEntity));
            EXPECT_EQ(frames[i].otherPort, kPort);
            const Bytes payload(frames[i].data.begin() + 8, frames[i].data.end());
            const size_t n = std::min(payload.size(), exchange[i].payloadStart.size());
            EXPECT_EQ(Bytes(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(n)), exchange[i].payloadStart);
        }
    }

    // The data of each result of a ComPrimitive, until it ends (or a generous bound passes).
    std::vector<Bytes> Answers(UNUM32 hCLL, UNUM32 hCop) {
        std::vector<Bytes> answers;
        for (;;) {
            const unsigned long calls = CallbackCounter::Instance().Count();
            PDU_EVENT_ITEM* item = nullptr;
            while (api.PDUGetEventItem(kDoIpModule, hCLL, &item) == PDU_STATUS_NOERROR) {
                const SeenEvent e = Copy(*item);
                api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
                if (e.type == PDU_IT_RESULT && e.hCop == hCop) answers.push_back(e.data);
                EXPECT_FALSE(e.type == PDU_IT_ERROR) << std::hex << e.status;
                if (e.type == PDU_IT_STATUS && e.hCop == hCop && e.status == PDU_COPST_FINISHED) return answers;
            }
            if (!CallbackCounter::Instance().WaitBeyond(calls)) return answers;
        }
    }

    const ScopedEnvironments env{{{"PDUSIM_DOIP_ADDR", kEntity}, {"PDUSIM_DOIP_DUPLICATE_ADDR", kDuplicate}}};
    SimApi api;
};

TEST_F(DoIpMonitorLinkTest, ShowsEveryFrameWithBothSides) {
    for (const UNUM32 owner : {PDU_HANDLE_UNDEF, kDoIpModule}) {
        SCOPED_TRACE(owner);
        UNUM32 hCLL = 0;
        ASSERT_EQ(Create(owner, hCLL), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDURegisterEventCallback(owner, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUConnect(owner, hCLL), PDU_STATUS_NOERROR);
        uint8_t txFlags[4] = {};
        PDU_COP_CTRL_DATA control{0, 0, -1, 0, {4, txFlags}, 0, nullptr};
        UNUM32 hCop = 0;
        ASSERT_EQ(api.PDUStartComPrimitive(owner, hCLL, PDU_COPT_SENDRECV, 0, nullptr, &control, nullptr, &hCop),
                  PDU_STATUS_NOERROR);

        // The library's own vehicle identification: request and answer, seen from its tester's side.
        const uint32_t entity = Ip(kEntity);
        std::vector<uint8_t> address(4);
        std::memcpy(address.data(), &entity, 4);
        PDU_IP_ADDR_INFO destination{4, address.data()};
        PDU_IO_VEHICLE_ID_REQUEST request{0, nullptr, 0, 5000, 1, &destination};
        PDU_DATA_ITEM item{PDU_IT_IO_VEHICLE_ID_REQUEST, &request};
        ASSERT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST"), &item,
                               nullptr),
                  PDU_STATUS_NOERROR);
        // The library's tester port is not known beforehand: take the datagrams of the entity.
        const std::vector<Seen> udp =
            Frames(owner, hCLL, 2, [&](const Seen& seen) { return seen.frameType == 0x01 && seen.other == entity; });
        ASSERT_EQ(udp.size(), 2u);
        const struct {
            uint16_t payloadType;
            uint8_t flags;
        } identification[] = {{0x0001, 0x10}, {0x0004, 0x14}};
        for (size_t i = 0; i < 2; ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(udp[i].payloadType, identification[i].payloadType);
            EXPECT_EQ(udp[i].flags, identification[i].flags);
            EXPECT_EQ(udp[i].tester, Ip("127.0.0.1"));
            EXPECT_EQ(udp[i].testerPort, udp[0].testerPort);
            EXPECT_NE(udp[i].testerPort, 0);
            EXPECT_EQ(udp[i].otherPort, kPort);
            EXPECT_EQ(udp[i].hCop, hCop);
        }
        EXPECT_EQ(udp[0].data, DoIpFrame(0x0001, {}).Encode());
        EXPECT_EQ(udp[1].data.size(), 8u + 33u - 1u);

        // Another program's diagnostic request over TCP: each frame as the entity's sockets carry it.
        TcpTester tcp;
        ASSERT_TRUE(tcp.Connect());
        tcp.Send(DoIpFrame(0x0005, {0x0E, 0x80, 0x00, 0, 0, 0, 0}).Encode());
        tcp.Send(DoIpFrame(0x8001, {0x0E, 0x80, 0x10, 0x01, 0x22, 0xF1, 0x90}).Encode());
        ASSERT_EQ(tcp.Read(3), 3u);
        ExpectDiagnosticExchange(
            Frames(owner, hCLL, 5, [&](const Seen& seen) { return seen.frameType == 0x03 && seen.testerPort == tcp.port; }),
            0x0E80);

        // The library's own logical link on the DoIP resource takes the same way, as tester 0x0E00.
        UNUM32 hUds = 0;
        ASSERT_EQ(api.PDUCreateComLogicalLink(kDoIpModule, nullptr, kDoIpResource, nullptr, &hUds, nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDURegisterEventCallback(kDoIpModule, hUds, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUConnect(kDoIpModule, hUds), PDU_STATUS_NOERROR);
        Bytes pdu = {0x22, 0xF1, 0x90};
        PDU_COP_CTRL_DATA once{0, 1, 1, 0, {4, txFlags}, 0, nullptr};
        UNUM32 hUdsCop = 0;
        ASSERT_EQ(api.PDUStartComPrimitive(kDoIpModule, hUds, PDU_COPT_SENDRECV, 3, pdu.data(), &once, nullptr, &hUdsCop),
                  PDU_STATUS_NOERROR);
        EXPECT_EQ(Answers(hUds, hUdsCop), (std::vector<Bytes>{Bytes{0x62, 0xF1, 0x90, 'W', 'Q', 'U', '0', 'S', 'I', 'M',
                                                                    'U', 'L', 'A', 'T', 'O', 'R', '0', '0', '0', '1'}}));
        ExpectDiagnosticExchange(Frames(owner, hCLL, 5,
                                        [&](const Seen& seen) {
                                            return seen.frameType == 0x03 && seen.other == entity && seen.testerPort != tcp.port;
                                        }),
                                 0x0E00);
        EXPECT_EQ(api.PDUDisconnect(kDoIpModule, hUds), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDUDestroyComLogicalLink(kDoIpModule, hUds), PDU_STATUS_NOERROR);

        EXPECT_EQ(api.PDUCancelComPrimitive(owner, hCLL, hCop), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDUDisconnect(owner, hCLL), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDUDestroyComLogicalLink(owner, hCLL), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDUConnect(owner, hCLL), PDU_ERR_INVALID_HANDLE);
    }
}

TEST_F(DoIpMonitorLinkTest, ABroadcastShowsOnceAndEachAnswer) {
    UNUM32 hCLL = 0;
    ASSERT_EQ(Create(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDURegisterEventCallback(PDU_HANDLE_UNDEF, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDUConnect(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
    const uint32_t broadcast = Ip("127.255.255.255");
    const std::set<uint32_t> entities = {Ip(kEntity), Ip(kDuplicate)};

    // Another program's broadcast reaches both entities, the library's own goes out of its tester.
    const int other = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(other, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    const uint16_t otherPort = BindLoopback(other);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kPort);
    to.sin_addr.s_addr = broadcast;
    const Bytes request = DoIpFrame(0x0001, {}).Encode();
    ASSERT_EQ(sendto(other, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to), 8);
    PDU_IO_VEHICLE_ID_REQUEST identification{0, nullptr, 0, 1000, 0, nullptr};
    PDU_DATA_ITEM item{PDU_IT_IO_VEHICLE_ID_REQUEST, &identification};
    ASSERT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST"), &item, nullptr),
              PDU_STATUS_NOERROR);

    // Per tester: its broadcast once, and an answer of each entity. An entity may answer before
    // the one that tells of the broadcast has read it: the order is the network's.
    const std::vector<Seen> frames = Frames(PDU_HANDLE_UNDEF, hCLL, 6, [&](const Seen& seen) {
        return (seen.frameType == 0x02 && seen.other == broadcast) ||
               (seen.frameType == 0x01 && entities.count(seen.other) != 0 && (seen.flags & 0x04) != 0);
    });
    close(other);
    ASSERT_EQ(frames.size(), 6u);
    std::map<uint16_t, std::vector<Seen>> byTester;
    for (const Seen& seen : frames) byTester[seen.testerPort].push_back(seen);
    ASSERT_EQ(byTester.size(), 2u);
    EXPECT_EQ(byTester.count(otherPort), 1u);
    for (const auto& [port, seen] : byTester) {
        SCOPED_TRACE(port);
        std::set<uint32_t> answered;
        size_t broadcasts = 0;
        for (const Seen& frame : seen) {
            EXPECT_EQ(frame.otherPort, kPort);
            if (frame.frameType == 0x02) {
                ++broadcasts;
                EXPECT_EQ(frame.flags, 0x10);
                EXPECT_EQ(frame.payloadType, 0x0001);
            } else {
                EXPECT_EQ(frame.flags, 0x14);
                EXPECT_EQ(frame.payloadType, 0x0004);
                answered.insert(frame.other);
            }
        }
        EXPECT_EQ(broadcasts, 1u);
        EXPECT_EQ(answered, entities);
    }
    EXPECT_EQ(api.PDUDisconnect(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
    EXPECT_EQ(api.PDUDestroyComLogicalLink(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
}

TEST_F(DoIpMonitorLinkTest, OnlyWithoutResourceOnDoIpOrNoModule) {
    ASSERT_EQ(api.PDUModuleConnect(kCanModule), PDU_STATUS_NOERROR);
    PDU_RSC_DATA doIpResource{0, 0, 0, nullptr};
    UNUM32 hCLL = 0;
    EXPECT_EQ(Create(kCanModule, hCLL), PDU_ERR_INVALID_PARAMETERS) << "as before on a module without DoIP";
    EXPECT_EQ(Create(PDU_HANDLE_UNDEF, hCLL, &doIpResource), PDU_ERR_INVALID_HANDLE);
    EXPECT_EQ(Create(kDoIpModule, hCLL, &doIpResource), PDU_ERR_RESOURCE_ERROR);
    // A monitor link without a module lives until it is destroyed; it asks no module to be connected.
    ASSERT_EQ(Create(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
    T_PDU_STATUS status = 0;
    UNUM32 timestamp = 0, extra = 0;
    EXPECT_EQ(api.PDUGetStatus(PDU_HANDLE_UNDEF, hCLL, PDU_HANDLE_UNDEF, &status, &timestamp, &extra), PDU_STATUS_NOERROR);
    EXPECT_EQ(status, static_cast<T_PDU_STATUS>(PDU_CLLST_OFFLINE));
    EXPECT_EQ(api.PDUDestroyComLogicalLink(PDU_HANDLE_UNDEF, hCLL), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDUModuleDisconnect(kDoIpModule), PDU_STATUS_NOERROR);
    EXPECT_EQ(Create(kDoIpModule, hCLL), PDU_ERR_MODULE_NOT_CONNECTED);
}

}  // namespace
