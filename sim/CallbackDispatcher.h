// Calls the host's event callbacks on a thread of the library, one after another, with no
// lock of the library held, so a callback may call back into the API (even PDUDestruct).
#pragma once

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
};

class CallbackDispatcher {
public:
    CallbackDispatcher();
    ~CallbackDispatcher();  // stops; detaches instead of joining when called from a callback
    CallbackDispatcher(const CallbackDispatcher&) = delete;
    CallbackDispatcher& operator=(const CallbackDispatcher&) = delete;

    void Post(const CallbackCall& call);

private:
    struct State {
        std::mutex mutex;
        std::condition_variable wake;
        std::deque<CallbackCall> calls;
        bool stop = false;
    };
    static void Run(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

}  // namespace pdusim
