// One worker of a link dialog: its thread handle, its running and stop flags, and the bounded
// end that a close gives it. A worker that doesn't end in time is given up: it is marked as
// terminated and left to run out on its own; it must then touch nothing but what it owns.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <utility>

class WorkerThread {
public:
    WorkerThread() = default;
    ~WorkerThread() { Release(); }
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    template <typename Function>
    void Start(Function&& function)
    {
        Release();
        killed = false;
        m_thread = std::thread([function = std::forward<Function>(function)]() mutable {
            const LiveGuard live;
            function();
        });
    }
    // Every worker of every window, given up or not, until its function has returned. Such a
    // thread may be inside the library: it must stay loaded until the last one has left it.
    // True when none runs any more, false when `timeoutMs` passed first.
    static bool WaitAllEnded(uint32_t timeoutMs);
    // A handle exists from the start until the close has dealt with the thread.
    bool Exists() const { return m_thread.joinable(); }
    // True once the thread set its running flag, or when `timeoutMs` passed first.
    bool WaitStarted(uint32_t timeoutMs) const;
    // Waits up to `timeoutMs` for the thread to leave; one that doesn't is terminated by force:
    // marked as such and detached. Returns false in that case.
    bool WaitOrTerminate(uint32_t timeoutMs);
    // Forgets the handle: joins a thread that has ended, detaches one that runs on.
    void Release();

    std::atomic<uint32_t> running{0};
    std::atomic<uint32_t> stop{0};
    // Set when the close gave up on the thread; every wake-up of the thread checks it first.
    std::atomic<bool> killed{false};

private:
    struct LiveGuard {
        LiveGuard();
        ~LiveGuard();
        LiveGuard(const LiveGuard&) = delete;
        LiveGuard& operator=(const LiveGuard&) = delete;
    };
    std::thread m_thread;
};
