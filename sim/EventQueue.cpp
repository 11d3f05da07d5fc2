#include "EventQueue.h"

#include <algorithm>

#include "ItemStore.h"

namespace pdusim {

EventQueue::PushResult EventQueue::Push(PDU_EVENT_ITEM* item) {
    if (item == nullptr) return PushResult::Kept;
    if (m_items.size() < m_limit) {
        m_items.push_back(item);
        return PushResult::Kept;
    }
    if (m_mode == kQueueLimited) {
        ItemStore::Release(item);
        return PushResult::DroppedNew;
    }
    while (m_items.size() >= m_limit) {  // a smaller limit set on a full queue shrinks it here
        ItemStore::Release(m_items.front());
        m_items.pop_front();
    }
    m_items.push_back(item);
    return PushResult::DroppedOldest;
}

PDU_EVENT_ITEM* EventQueue::Pop() {
    if (m_items.empty()) return nullptr;
    PDU_EVENT_ITEM* item = m_items.front();
    m_items.pop_front();
    return item;
}

void EventQueue::Clear() {
    for (PDU_EVENT_ITEM* item : m_items) ItemStore::Release(item);
    m_items.clear();
}

bool EventQueue::SetProperties(uint32_t size, T_PDU_QUEUE_MODE mode) {
    if (mode == kQueueUnlimited) {
        m_mode = mode;
        m_limit = kCapacity;
        return true;
    }
    if ((mode != kQueueLimited && mode != kQueueCircular) || size == 0) return false;
    m_mode = mode;
    m_limit = std::min<size_t>(size, kCapacity);
    return true;
}

}  // namespace pdusim
