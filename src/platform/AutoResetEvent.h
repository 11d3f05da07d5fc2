#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace platform {

// An event that lets exactly one waiter through per Set, then resets itself.
class AutoResetEvent {
public:
    static constexpr uint32_t kInfinite = 0xFFFFFFFF;

    explicit AutoResetEvent(bool initiallySet = false);
    AutoResetEvent(const AutoResetEvent&) = delete;
    AutoResetEvent& operator=(const AutoResetEvent&) = delete;

    void Set();
    void Reset();
    bool Wait(uint32_t timeoutMs = kInfinite);  // true when signalled

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_set;
};

// One event per name for the whole process, created unset on first use and kept until exit.
std::shared_ptr<AutoResetEvent> NamedEvent(const std::string& name);

}  // namespace platform
