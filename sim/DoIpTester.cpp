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

DoIpCapture CaptureOf(uint32_t local, uint16_t localPort, uint32_t other, uint16_t otherPort, bool toTester,
                      const uint8_t* bytes, size_t size) {
    DoIpCapture capture;
    capture.time = std::chrono::steady_clock::now();
    capture.testerAddress = local;
    capture.testerPort = localPort;
    capture.otherAddress = other;
    capture.otherPort = otherPort;
    capture.toTester = toTester;
    capture.broadcast = !toTester && other == DoIpUdpTester::BroadcastAddress();
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

}  // namespace pdusim
