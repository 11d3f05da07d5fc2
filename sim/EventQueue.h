// The event queue of the system, of a module or of a link, with the callback registered for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "pdu/PduTypes.h"

namespace pdusim {

// T_PDU_QUEUE_MODE of PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES.
constexpr T_PDU_QUEUE_MODE kQueueUnlimited = 0;
constexpr T_PDU_QUEUE_MODE kQueueLimited = 1;   // full: new items are dropped
constexpr T_PDU_QUEUE_MODE kQueueCircular = 2;  // full: the oldest item is dropped

class EventQueue {
public:
    // Even an "unlimited" queue ends somewhere; a host that never reads must not eat the machine.
    static constexpr size_t kCapacity = 100000;

    enum class PushResult { Kept, DroppedOldest, DroppedNew };

    EventQueue() = default;
    ~EventQueue() { Clear(); }
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    // Takes the item, also when it is dropped.
    PushResult Push(PDU_EVENT_ITEM* item);
    PDU_EVENT_ITEM* Pop();
    void Clear();
    size_t Size() const { return m_items.size(); }
    // The next push drops an item.
    bool AtLimit() const { return m_items.size() >= m_limit; }
    // False for an unknown mode or a limited size of 0. Items already queued stay.
    bool SetProperties(uint32_t size, T_PDU_QUEUE_MODE mode);

    CALLBACKFNC callback = nullptr;

private:
    std::deque<PDU_EVENT_ITEM*> m_items;
    T_PDU_QUEUE_MODE m_mode = kQueueUnlimited;
    size_t m_limit = kCapacity;
};

}  // namespace pdusim
