// Calls the host's event callbacks on a thread of the library, one after another, with no
// lock of the library held, so a callback may call back into the API (even PDUDestruct).
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "pdu/PduTypes.h"

namespace pdusim {

struct CallbackCall {
    CALLBACKFNC callback = nullptr;
    T_PDU_EVT_DATA eventType = PDU_EVT_DATA_AVAILABLE;
    uint32_t hMod = PDU_HANDLE_UNDEF;
    uint32_t hCLL = PDU_HANDLE_UNDEF;
    void* cllTag = nullptr;
    void* apiTag = nullptr;
    std::chrono::steady_clock::time_point due{};  // set by Post
};

class CallbackDispatcher {
    struct State;

public:
    // Matches every link of a module in Forget.
    static constexpr uint32_t kAnyLink = PDU_ID_UNDEF;
    // A host hears of an event a little after it happened, as over a VCI's USB link: never inside,
    // or right behind, the call that caused it.
    static constexpr std::chrono::microseconds kLatency{1000};

    // Lets a caller wait, with the library's lock released, until no callback of a queue runs.
    class Fence {
    public:
        Fence() = default;
        // Returns at once on the dispatcher's own thread: a callback may end its own link.
        void Wait() const;

    private:
        friend class CallbackDispatcher;
        std::shared_ptr<State> m_state;
        uint32_t m_hMod = PDU_HANDLE_UNDEF;
        uint32_t m_hCLL = PDU_HANDLE_UNDEF;
    };

    CallbackDispatcher();
    ~CallbackDispatcher();  // stops; detaches instead of joining when called from a callback
    CallbackDispatcher(const CallbackDispatcher&) = delete;
    CallbackDispatcher& operator=(const CallbackDispatcher&) = delete;

    // A call equal to one still waiting is left out: the waiting one tells the host the same.
    void Post(const CallbackCall& call);
    // Drops the waiting calls of a queue (a destroyed link, a callback replaced).
    Fence Forget(uint32_t hMod, uint32_t hCLL);

private:
    struct State {
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable idle;
        std::deque<CallbackCall> calls;
        bool stop = false;
        bool running = false;
        CallbackCall current;
        std::thread::id thread;
    };
    static bool Matches(const CallbackCall& call, uint32_t hMod, uint32_t hCLL);
    static void Run(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

}  // namespace pdusim
