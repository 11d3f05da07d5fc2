#include "EventQueue.h"

#include "ItemStore.h"

namespace pdusim {

bool EventQueue::Push(PDU_EVENT_ITEM* item) {
    if (item == nullptr) return true;
    bool kept = true;
    if (m_items.size() >= kCapacity) {
        ItemStore::Release(m_items.front());
        m_items.pop_front();
        kept = false;
    }
    m_items.push_back(item);
    return kept;
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

}  // namespace pdusim
