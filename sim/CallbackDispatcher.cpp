#include "CallbackDispatcher.h"

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

void CallbackDispatcher::Post(const CallbackCall& call) {
    if (call.callback == nullptr) return;
    {
        std::lock_guard<std::mutex> lock(m_state->mutex);
        if (m_state->stop) return;
        m_state->calls.push_back(call);
    }
    m_state->wake.notify_one();
}

void CallbackDispatcher::Run(std::shared_ptr<State> state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->wake.wait(lock, [&] { return state->stop || !state->calls.empty(); });
        if (state->stop) return;
        const CallbackCall call = state->calls.front();
        state->calls.pop_front();
        lock.unlock();
        call.callback(call.eventType, call.hMod, call.hCLL, call.cllTag, call.apiTag);
        lock.lock();
    }
}

}  // namespace pdusim
