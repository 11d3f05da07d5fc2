#include "platform/SystemEvent.h"

#include <fcntl.h>
#include <semaphore.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <map>
#include <mutex>

#include "platform/AutoResetEvent.h"

namespace platform {
namespace {

// Slices short enough that a cancelled waiter leaves promptly.
constexpr uint32_t kSliceMs = 50;

bool Cancelled(bool (*cancelled)(void*), void* context)
{
    return cancelled && cancelled(context);
}

class SemaphoreEvent final : public SystemEvent {
public:
    explicit SemaphoreEvent(sem_t* sem) : m_sem(sem) {}
    ~SemaphoreEvent() override { sem_close(m_sem); }

    void Set() override
    {
        // A second Set on a set event changes nothing; the check and the post are not atomic,
        // so two processes setting at once may let two waiters through, as two Sets would.
        int value = 0;
        if (sem_getvalue(m_sem, &value) == 0 && value > 0) return;
        sem_post(m_sem);
    }

    bool Wait(uint32_t timeoutMs, bool (*cancelled)(void*), void* context) override
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            if (Cancelled(cancelled, context)) return false;
            uint32_t slice = kSliceMs;
            if (timeoutMs != kInfinite) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
                if (left <= 0) return sem_trywait(m_sem) == 0;
                slice = static_cast<uint32_t>(std::min<long long>(left, kSliceMs));
            }
            timespec until{};
            clock_gettime(CLOCK_REALTIME, &until);
            until.tv_nsec += static_cast<long>(slice) * 1000000L;
            until.tv_sec += until.tv_nsec / 1000000000L;
            until.tv_nsec %= 1000000000L;
            if (sem_timedwait(m_sem, &until) == 0) return true;
            if (errno != ETIMEDOUT && errno != EINTR) return false;
        }
    }

private:
    sem_t* m_sem;
};

class ProcessEvent final : public SystemEvent {
public:
    void Set() override { m_event.Set(); }
    bool Wait(uint32_t timeoutMs, bool (*cancelled)(void*), void* context) override
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            if (Cancelled(cancelled, context)) return false;
            uint32_t slice = kSliceMs;
            if (timeoutMs != kInfinite) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
                if (left <= 0) return m_event.Wait(0);
                slice = static_cast<uint32_t>(std::min<long long>(left, kSliceMs));
            }
            if (m_event.Wait(slice)) return true;
        }
    }

private:
    AutoResetEvent m_event;
};

std::string SemaphoreName(const std::string& name)
{
    // One name space per user, as the platform's session-wide events have it.
    std::string full = "/quillon.";
    if (const char* space = std::getenv("QUILLON_EVENT_NAMESPACE")) full += std::string(space) + ".";
    full += std::to_string(getuid()) + "." + name;
    for (size_t i = 1; i < full.size(); ++i)
        if (full[i] == '/') full[i] = '_';
    return full;
}

// A named event of the platform lives while some process has it open and starts unset again
// after the last one closed it. A named semaphore outlives its processes, so each process holds a
// shared lock on a file beside it; the first to find no holder clears what a gone one left set.
void ForgetLeftovers(const std::string& semaphoreName, sem_t* sem)
{
    const std::string lockPath = "/dev/shm" + semaphoreName + ".users";
    const int fd = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
        while (sem_trywait(sem) == 0) {
        }
    }
    flock(fd, LOCK_SH);  // kept, with the descriptor, until the process ends
}

std::shared_ptr<SystemEvent> Create(const std::string& name)
{
    const std::string semaphoreName = SemaphoreName(name);
    sem_t* sem = sem_open(semaphoreName.c_str(), O_CREAT, 0600, 0);
    if (sem == SEM_FAILED) return std::make_shared<ProcessEvent>();
    ForgetLeftovers(semaphoreName, sem);
    return std::make_shared<SemaphoreEvent>(sem);
}

}  // namespace

std::shared_ptr<SystemEvent> OpenSystemEvent(const std::string& name)
{
    // Never destroyed: a detached worker may still wait on its event while the process exits.
    static auto* const mutex = new std::mutex;
    static auto* const events = new std::map<std::string, std::shared_ptr<SystemEvent>>;
    std::lock_guard lock(*mutex);
    auto& event = (*events)[name];
    if (!event) event = Create(name);
    return event;
}

}  // namespace platform
