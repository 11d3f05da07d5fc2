#include "platform/Semaphore.h"

#include <algorithm>
#include <chrono>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point Deadline(uint32_t timeoutMs)
{
    return Clock::now() + std::chrono::milliseconds(timeoutMs);
}

}  // namespace

void Semaphore::Signal(const std::vector<std::shared_ptr<Waiter>>& waiters)
{
    for (const auto& waiter : waiters) {
        {
            std::lock_guard lock(waiter->mutex);
            waiter->signalled = true;
        }
        waiter->cv.notify_all();
    }
}

Semaphore::Semaphore(long initialCount, long maximumCount)
    : m_count(0), m_maximum(std::max(1L, maximumCount))
{
    m_count = std::clamp(initialCount, 0L, m_maximum);
}

bool Semaphore::Release(long count)
{
    std::vector<std::shared_ptr<Waiter>> waiters;
    {
        std::lock_guard lock(m_mutex);
        if (count <= 0 || count > m_maximum - m_count)
            return false;
        m_count += count;
        waiters = m_waiters;
        // Under the lock: a waiter that takes the count may destroy us as soon as we release it.
        if (count == 1)
            m_cv.notify_one();
        else
            m_cv.notify_all();
    }
    // Outside our own lock: a multi-waiter never holds its lock while taking ours. The waiters
    // are shared, so they outlive a destroyed semaphore.
    Signal(waiters);
    return true;
}

bool Semaphore::TryWait()
{
    std::lock_guard lock(m_mutex);
    if (m_count == 0)
        return false;
    --m_count;
    return true;
}

bool Semaphore::Wait(uint32_t timeoutMs)
{
    std::unique_lock lock(m_mutex);
    const auto available = [this] { return m_count > 0; };
    if (timeoutMs == kInfinite)
        m_cv.wait(lock, available);
    else if (!m_cv.wait_until(lock, Deadline(timeoutMs), available))
        return false;
    --m_count;
    return true;
}

void Semaphore::AddWaiter(const std::shared_ptr<Waiter>& waiter)
{
    std::lock_guard lock(m_mutex);
    m_waiters.push_back(waiter);
}

void Semaphore::RemoveWaiter(const std::shared_ptr<Waiter>& waiter)
{
    std::lock_guard lock(m_mutex);
    m_waiters.erase(std::remove(m_waiters.begin(), m_waiters.end(), waiter), m_waiters.end());
}

int WaitAny(Semaphore& first, Semaphore& second, uint32_t timeoutMs)
{
    if (first.TryWait())
        return 0;
    if (second.TryWait())
        return 1;
    if (timeoutMs == 0)
        return -1;

    const auto waiter = std::make_shared<Semaphore::Waiter>();
    const auto deadline = Deadline(timeoutMs == Semaphore::kInfinite ? 0 : timeoutMs);
    // Registered before every check, so a release between the check and the wait is not lost.
    first.AddWaiter(waiter);
    second.AddWaiter(waiter);
    int taken = -1;
    for (;;) {
        if (first.TryWait()) {
            taken = 0;
            break;
        }
        if (second.TryWait()) {
            taken = 1;
            break;
        }
        std::unique_lock lock(waiter->mutex);
        const auto signalled = [&] { return waiter->signalled; };
        if (timeoutMs == Semaphore::kInfinite)
            waiter->cv.wait(lock, signalled);
        else if (!waiter->cv.wait_until(lock, deadline, signalled))
            break;
        waiter->signalled = false;
    }
    first.RemoveWaiter(waiter);
    second.RemoveWaiter(waiter);
    return taken;
}

}  // namespace platform
