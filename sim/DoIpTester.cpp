#include "DoIpTester.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "DoIpEntity.h"
#include "DoIpTraffic.h"

namespace pdusim {
namespace {

constexpr size_t kDatagramBuffer = 65536;

constexpr uint8_t kRoutingSuccess = 0x10;
constexpr size_t kReadChunk = 4096;

DoIpCapture CaptureOf(uint32_t local, uint16_t localPort, uint32_t other, uint16_t otherPort, bool toTester,
                      const uint8_t* bytes, size_t size, bool tcp = false) {
    DoIpCapture capture;
    capture.tcp = tcp;
    capture.time = std::chrono::steady_clock::now();
    capture.testerAddress = local;
    capture.testerPort = localPort;
    capture.otherAddress = other;
    capture.otherPort = otherPort;
    capture.toTester = toTester;
    capture.broadcast = !tcp && !toTester && other == DoIpUdpTester::BroadcastAddress();
    capture.frame.assign(bytes, bytes + size);
    return capture;
}

}  // namespace

uint32_t DoIpUdpTester::BroadcastAddress() {
    in_addr address{};
    ::inet_pton(AF_INET, DoIpEntity::kBroadcastAddress, &address);
    return address.s_addr;
}

DoIpUdpTester::DoIpUdpTester() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return;
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    ::inet_pton(AF_INET, "127.0.0.1", &local.sin_addr);
    socklen_t size = sizeof local;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &size) != 0) {
        ::close(fd);
        return;
    }
    m_fd = fd;
    m_localAddress = local.sin_addr.s_addr;
    m_port = ntohs(local.sin_port);
    DoIpTraffic::Instance().AddOwnPort(false, m_port);
}

DoIpUdpTester::~DoIpUdpTester() {
    if (m_fd < 0) return;
    ::close(m_fd);
    DoIpTraffic::Instance().RemoveOwnPort(false, m_port);
}

bool DoIpUdpTester::Send(uint32_t address, const std::vector<uint8_t>& frame) {
    if (m_fd < 0) return false;
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(DoIpEntity::kPort);
    to.sin_addr.s_addr = address;
    DoIpTraffic::Instance().Record(
        CaptureOf(m_localAddress, m_port, address, DoIpEntity::kPort, false, frame.data(), frame.size()));
    return ::sendto(m_fd, frame.data(), frame.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to), sizeof to) ==
           static_cast<ssize_t>(frame.size());
}

std::optional<DoIpUdpTester::Answer> DoIpUdpTester::Receive(Clock::time_point deadline) {
    if (m_fd < 0) return std::nullopt;
    std::vector<uint8_t> buffer(kDatagramBuffer);
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) return std::nullopt;
        pollfd p{m_fd, POLLIN, 0};
        const int ready = ::poll(&p, 1, static_cast<int>(std::min<decltype(left)>(left, 60000)));
        if (ready < 0 && errno != EINTR) return std::nullopt;
        if (ready <= 0) continue;
        sockaddr_in from{};
        socklen_t size = sizeof from;
        const ssize_t got =
            ::recvfrom(m_fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
        if (got < 0 || from.sin_family != AF_INET) continue;
        Answer answer;
        const DoIpFrame::Parsed parsed = DoIpFrame::Parse(buffer.data(), static_cast<size_t>(got),
                                                          DoIpFrame::Receiver::Tester, DoIpEntity::kMaxDataSize, &answer.frame);
        if (parsed.outcome != DoIpFrame::Outcome::Complete || parsed.consumed != static_cast<uint64_t>(got)) continue;
        answer.address = from.sin_addr.s_addr;
        answer.port = ntohs(from.sin_port);
        DoIpTraffic::Instance().Record(CaptureOf(m_localAddress, m_port, answer.address, answer.port, true,
                                                 buffer.data(), static_cast<size_t>(got)));
        return answer;
    }
}

DoIpTcpTester::DoIpTcpTester(uint32_t entityAddress, uint16_t testerAddress)
    : m_entity(entityAddress), m_tester(testerAddress) {
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_fd < 0) {
        m_failed = true;
        return;
    }
    sockaddr_in local{};
    local.sin_family = AF_INET;
    ::inet_pton(AF_INET, "127.0.0.1", &local.sin_addr);
    socklen_t size = sizeof local;
    if (::bind(m_fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&local), &size) != 0) {
        Fail();
        return;
    }
    m_localAddress = local.sin_addr.s_addr;
    m_port = ntohs(local.sin_port);
    DoIpTraffic::Instance().AddOwnPort(true, m_port);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(DoIpEntity::kPort);
    to.sin_addr.s_addr = m_entity;
    if (::connect(m_fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0 && errno != EINPROGRESS) Fail();
}

DoIpTcpTester::~DoIpTcpTester() {
    if (m_fd >= 0) ::close(m_fd);
    if (m_port != 0) DoIpTraffic::Instance().RemoveOwnPort(true, m_port);
}

void DoIpTcpTester::Fail() {
    m_failed = true;
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
}

void DoIpTcpTester::Write(const std::vector<uint8_t>& frame) {
    DoIpTraffic::Instance().Record(
        CaptureOf(m_localAddress, m_port, m_entity, DoIpEntity::kPort, false, frame.data(), frame.size(), true));
    m_out.insert(m_out.end(), frame.begin(), frame.end());
}

void DoIpTcpTester::SendDiagnostic(uint16_t target, const std::vector<uint8_t>& data) {
    std::vector<uint8_t> payload = {static_cast<uint8_t>(m_tester >> 8), static_cast<uint8_t>(m_tester),
                                    static_cast<uint8_t>(target >> 8), static_cast<uint8_t>(target)};
    payload.insert(payload.end(), data.begin(), data.end());
    const std::vector<uint8_t> frame = DoIpFrame(DoIpFrame::kDiagnosticMessage, std::move(payload)).Encode();
    if (m_stage == Stage::Ready) Write(frame);
    else m_held.push_back(frame);
    Pump();
}

std::vector<DoIpTcpTester::Message> DoIpTcpTester::TakeMessages() {
    std::vector<Message> taken;
    taken.swap(m_messages);
    return taken;
}

void DoIpTcpTester::Pump() {
    if (m_failed) return;
    if (m_stage == Stage::Connecting) {
        pollfd p{m_fd, POLLOUT, 0};
        if (::poll(&p, 1, 0) != 1) return;
        int error = 0;
        socklen_t size = sizeof error;
        if (::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) return Fail();
        m_stage = Stage::Activating;
        Write(DoIpFrame(DoIpFrame::kRoutingActivationRequest,
                        {static_cast<uint8_t>(m_tester >> 8), static_cast<uint8_t>(m_tester), 0x00, 0, 0, 0, 0})
                  .Encode());
    }
    while (!m_out.empty()) {
        const ssize_t sent = ::send(m_fd, m_out.data(), m_out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (sent <= 0) return Fail();
        m_out.erase(m_out.begin(), m_out.begin() + sent);
    }
    uint8_t chunk[kReadChunk];
    for (;;) {
        const ssize_t got = ::recv(m_fd, chunk, sizeof chunk, MSG_DONTWAIT);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (got <= 0) return Fail();  // the entity closed the connection
        m_in.insert(m_in.end(), chunk, chunk + got);
    }
    for (;;) {
        DoIpFrame frame;
        const DoIpFrame::Parsed parsed =
            DoIpFrame::Parse(m_in.data(), m_in.size(), DoIpFrame::Receiver::Tester, DoIpEntity::kMaxDataSize, &frame);
        if (parsed.outcome == DoIpFrame::Outcome::Incomplete) return;
        if (parsed.outcome == DoIpFrame::Outcome::Nack) return Fail();  // nothing after it can be trusted
        DoIpTraffic::Instance().Record(CaptureOf(m_localAddress, m_port, m_entity, DoIpEntity::kPort, true, m_in.data(),
                                                 static_cast<size_t>(parsed.consumed), true));
        m_in.erase(m_in.begin(), m_in.begin() + static_cast<std::ptrdiff_t>(parsed.consumed));
        const std::vector<uint8_t>& payload = frame.Payload();
        if (frame.Type() == DoIpFrame::kRoutingActivationResponse && m_stage == Stage::Activating) {
            if (payload[4] != kRoutingSuccess) return Fail();
            m_stage = Stage::Ready;
            m_wasReady = true;
            for (const std::vector<uint8_t>& held : m_held) Write(held);
            m_held.clear();
            Pump();  // what was held goes out now
            return;
        }
        if (frame.Type() == DoIpFrame::kDiagnosticMessage)
            m_messages.push_back({Clock::now(), frame.U16At(0), std::vector<uint8_t>(payload.begin() + 4, payload.end())});
    }
}

}  // namespace pdusim
