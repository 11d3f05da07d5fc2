#include "platform/NotificationEvent.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace platform {

NotificationEvent::NotificationEvent() : m_fd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

NotificationEvent::~NotificationEvent()
{
    if (m_fd >= 0) close(m_fd);
}

void NotificationEvent::Signal()
{
    if (m_fd < 0) return;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_fd, &one, sizeof one);
}

bool NotificationEvent::Wait(uint32_t timeoutMs)
{
    if (m_fd < 0) {
        // Without a descriptor the waiter still keeps its pace.
        std::this_thread::sleep_for(std::chrono::milliseconds(timeoutMs));
        return false;
    }
    pollfd watched{m_fd, POLLIN, 0};
    if (poll(&watched, 1, static_cast<int>(timeoutMs)) <= 0) return false;
    uint64_t count = 0;
    return read(m_fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count);
}

}  // namespace platform
