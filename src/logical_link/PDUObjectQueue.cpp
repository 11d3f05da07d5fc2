#include "logical_link/PDUObjectQueue.h"

#include <new>

PDUObjectQueue::~PDUObjectQueue()
{
    Clear();
}

int PDUObjectQueue::Put(KdObject* object, uint32_t tag)
{
    std::lock_guard lock(m_lock);
    Node* node = new (std::nothrow) Node{object, tag, nullptr};
    if (!node) return 0;
    const int wasEmpty = m_head == nullptr ? 1 : 0;
    if (m_tail)
        m_tail->next = node;
    else
        m_head = node;
    m_tail = node;
    ++m_count;
    if (object) object->AddRef();
    return wasEmpty;
}

KdObject* PDUObjectQueue::Get(uint32_t* tag)
{
    std::lock_guard lock(m_lock);
    Node* node = m_head;
    if (!node) {
        if (tag) *tag = 0;
        return nullptr;
    }
    m_head = node->next;
    if (!m_head) m_tail = nullptr;
    --m_count;
    KdObject* object = node->object;
    if (tag) *tag = node->tag;
    delete node;
    return object;
}

uint32_t PDUObjectQueue::GetCount()
{
    std::lock_guard lock(m_lock);
    return m_count;
}

uint32_t PDUObjectQueue::Clear()
{
    Node* list;
    uint32_t dropped;
    {
        std::lock_guard lock(m_lock);
        list = m_head;
        dropped = m_count;
        m_head = m_tail = nullptr;
        m_count = 0;
    }
    // Released outside the lock: a Release may run the library's own code.
    while (list) {
        Node* next = list->next;
        if (list->object) list->object->Release();
        delete list;
        list = next;
    }
    return dropped;
}
