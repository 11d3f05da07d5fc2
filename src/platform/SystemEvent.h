#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

// An auto-reset event that every process of the user on this machine opens by the same name:
// a POSIX named semaphore held at 0 or 1. Where the system refuses named semaphores the event is
// shared within the process only.
class SystemEvent {
public:
    static constexpr uint32_t kInfinite = 0xFFFFFFFF;

    virtual ~SystemEvent() = default;
    virtual void Set() = 0;
    // True when signalled. `cancelled` is asked between slices of the wait: a waiter whose owner
    // gave up on it returns false as soon as it says so.
    virtual bool Wait(uint32_t timeoutMs, bool (*cancelled)(void*) = nullptr, void* context = nullptr) = 0;
};

// The one event of this name for the whole process. The environment variable
// QUILLON_EVENT_NAMESPACE, when set, is put in front of the system-wide name, so that test runs
// side by side keep to themselves.
std::shared_ptr<SystemEvent> OpenSystemEvent(const std::string& name);

}  // namespace platform
