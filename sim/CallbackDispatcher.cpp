#include "CallbackDispatcher.h"

#include <algorithm>

namespace pdusim {

CallbackDispatcher::CallbackDispatcher() : m_state(std::make_shared<State>()) {
    m_thread = std::thread(&CallbackDispatcher::Run, m_state);
}

CallbackDispatcher::~CallbackDispatcher() {
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->stop = true;
        m_state->calls.clear();
    }
    m_state->wake.notify_all();
    if (m_thread.get_id() == std::this_thread::get_id()) m_thread.detach();
    else m_thread.join();
}

bool CallbackDispatcher::Matches(const CallbackCall& call, uint32_t hMod, uint32_t hCLL) {
    if (call.hMod != hMod) return false;
    return hCLL == kAnyLink ? call.hCLL != PDU_HANDLE_UNDEF : call.hCLL == hCLL;
}

void CallbackDispatcher::Post(const CallbackCall& call) {
    if (call.callback == nullptr) return;
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        if (m_state->stop) return;
        const bool waiting = std::any_of(m_state->calls.begin(), m_state->calls.end(), [&](const CallbackCall& c) {
            return c.callback == call.callback && c.eventType == call.eventType && c.hMod == call.hMod &&
                   c.hCLL == call.hCLL && c.cllTag == call.cllTag;
        });
        if (waiting) return;
        m_state->calls.push_back(call);
        m_state->calls.back().due = std::chrono::steady_clock::now() + kLatency;
    }
    m_state->wake.notify_one();
}

CallbackDispatcher::Fence CallbackDispatcher::Forget(uint32_t hMod, uint32_t hCLL) {
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        auto& calls = m_state->calls;
        calls.erase(std::remove_if(calls.begin(), calls.end(),
                                   [&](const CallbackCall& c) { return Matches(c, hMod, hCLL); }),
                    calls.end());
    }
    Fence fence;
    fence.m_state = m_state;
    fence.m_hMod = hMod;
    fence.m_hCLL = hCLL;
    return fence;
}

void CallbackDispatcher::Fence::Wait() const {
    if (m_state == nullptr) return;
    std::unique_lock<std::mutex> lock(m_state->mutex);
    if (m_state->thread == std::this_thread::get_id()) return;
    m_state->idle.wait(lock, [&] { return !m_state->running || !Matches(m_state->current, m_hMod, m_hCLL); });
}

void CallbackDispatcher::Run(std::shared_ptr<State> state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    state->thread = std::this_thread::get_id();
    for (;;) {
        state->wake.wait(lock, [&] { return state->stop || !state->calls.empty(); });
        if (state->stop) return;
        const auto due = state->calls.front().due;
        if (std::chrono::steady_clock::now() < due) {
            // A Forget may take the call away meanwhile: look again when it is due.
            state->wake.wait_until(lock, due, [&] { return state->stop; });
            continue;
        }
        state->current = state->calls.front();
        state->calls.pop_front();
        state->running = true;
        const CallbackCall call = state->current;
        lock.unlock();
        call.callback(call.eventType, call.hMod, call.hCLL, call.cllTag, call.apiTag);
        lock.lock();
        state->running = false;
        state->idle.notify_all();
    }
}

}  // namespace pdusim
