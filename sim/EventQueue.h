// The event queue of the system, of a module or of a link, with the callback registered for it.
#pragma once

#include <cstddef>
#include <deque>

#include "pdu/PduTypes.h"

namespace pdusim {

class EventQueue {
public:
    static constexpr size_t kCapacity = 100000;

    EventQueue() = default;
    ~EventQueue() { Clear(); }
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    // Takes the item. False when the oldest item had to be dropped to make room.
    bool Push(PDU_EVENT_ITEM* item);
    PDU_EVENT_ITEM* Pop();
    void Clear();
    size_t Size() const { return m_items.size(); }

    CALLBACKFNC callback = nullptr;

private:
    std::deque<PDU_EVENT_ITEM*> m_items;
};

}  // namespace pdusim
