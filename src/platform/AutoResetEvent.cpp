#include "platform/AutoResetEvent.h"

#include <chrono>
#include <map>

namespace platform {

AutoResetEvent::AutoResetEvent(bool initiallySet) : m_set(initiallySet) {}

void AutoResetEvent::Set()
{
    std::lock_guard lock(m_mutex);
    m_set = true;
    // Under the lock: the waiter let through may destroy the event as soon as we release it.
    m_cv.notify_one();
}

void AutoResetEvent::Reset()
{
    std::lock_guard lock(m_mutex);
    m_set = false;
}

bool AutoResetEvent::Wait(uint32_t timeoutMs)
{
    std::unique_lock lock(m_mutex);
    const auto isSet = [this] { return m_set; };
    if (timeoutMs == kInfinite)
        m_cv.wait(lock, isSet);
    else if (!m_cv.wait_for(lock, std::chrono::milliseconds(timeoutMs), isSet))
        return false;
    m_set = false;
    return true;
}

std::shared_ptr<AutoResetEvent> NamedEvent(const std::string& name)
{
    // Never destroyed: a detached worker may still ask for its event while the process exits.
    static auto* const mutex = new std::mutex;
    static auto* const events = new std::map<std::string, std::shared_ptr<AutoResetEvent>>;
    std::lock_guard lock(*mutex);
    auto& event = (*events)[name];
    if (!event)
        event = std::make_shared<AutoResetEvent>(false);
    return event;
}

}  // namespace platform
