#include "logical_link/WorkerThread.h"

#include <chrono>

namespace {

constexpr auto kPoll = std::chrono::milliseconds(2);

std::atomic<int> g_liveWorkers{0};

}  // namespace

WorkerThread::LiveGuard::LiveGuard()
{
    ++g_liveWorkers;
}

WorkerThread::LiveGuard::~LiveGuard()
{
    --g_liveWorkers;
}

bool WorkerThread::WaitAllEnded(uint32_t timeoutMs)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (g_liveWorkers > 0 && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPoll);
    return g_liveWorkers == 0;
}

bool WorkerThread::WaitStarted(uint32_t timeoutMs) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!running && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPoll);
    return running != 0;
}

bool WorkerThread::WaitOrTerminate(uint32_t timeoutMs)
{
    if (!m_thread.joinable()) return true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (running && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kPoll);
    if (running) {
        killed = true;
        m_thread.detach();
        return false;
    }
    // Its running flag is its last word: the thread is on its way out.
    Release();
    return true;
}

void WorkerThread::Release()
{
    if (!m_thread.joinable()) return;
    if (m_thread.get_id() == std::this_thread::get_id() || running)
        m_thread.detach();
    else
        m_thread.join();
}
