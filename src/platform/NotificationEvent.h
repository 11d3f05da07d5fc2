// The auto-reset event a library signals from its own threads: an eventfd on POSIX, whose
// descriptor is the handle the library is given.
#pragma once

#include <cstdint>

namespace platform {

class NotificationEvent {
public:
    NotificationEvent();
    ~NotificationEvent();
    NotificationEvent(const NotificationEvent&) = delete;
    NotificationEvent& operator=(const NotificationEvent&) = delete;

    // The descriptor handed to the library; -1 when the system gave none.
    int Handle() const { return m_fd; }
    void Signal();
    // True when signalled within the time; the signal is taken (auto-reset).
    bool Wait(uint32_t timeoutMs);

private:
    int m_fd = -1;
};

}  // namespace platform
