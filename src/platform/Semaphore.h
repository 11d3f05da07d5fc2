#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

// Counting semaphore with the Win32 rules: a release that would pass the maximum fails and
// changes nothing.
class Semaphore {
public:
    static constexpr uint32_t kInfinite = 0xFFFFFFFF;

    Semaphore(long initialCount, long maximumCount);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    bool Release(long count = 1);
    bool Wait(uint32_t timeoutMs = kInfinite);  // true when acquired
    bool TryWait();

private:
    friend int WaitAny(Semaphore& first, Semaphore& second, uint32_t timeoutMs);

    // A waiter on several semaphores at once; woken by any release of them.
    struct Waiter {
        std::mutex mutex;
        std::condition_variable cv;
        bool signalled = false;
    };
    void AddWaiter(const std::shared_ptr<Waiter>& waiter);
    void RemoveWaiter(const std::shared_ptr<Waiter>& waiter);
    static void Signal(const std::vector<std::shared_ptr<Waiter>>& waiters);

    std::mutex m_mutex;
    std::condition_variable m_cv;
    long m_count;
    long m_maximum;
    std::vector<std::shared_ptr<Waiter>> m_waiters;
};

// Waits on two semaphores; when both are signalled the first wins. Returns the index of the
// semaphore taken, -1 on time-out.
int WaitAny(Semaphore& first, Semaphore& second, uint32_t timeoutMs);
inline int WaitAny(Semaphore& first, Semaphore& second)
{
    return WaitAny(first, second, Semaphore::kInfinite);
}

}  // namespace platform
