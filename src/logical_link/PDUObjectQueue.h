// A locked FIFO of the monitor service's reference-counted objects, each with a tag.
#pragma once

#include <cstdint>
#include <mutex>

#include "pdu/KdObject.h"

class PDUObjectQueue {
public:
    PDUObjectQueue() = default;
    ~PDUObjectQueue();
    PDUObjectQueue(const PDUObjectQueue&) = delete;
    PDUObjectQueue& operator=(const PDUObjectQueue&) = delete;

    // Takes a reference on the object; 1 when the queue was empty before, else 0.
    int Put(KdObject* object, uint32_t tag);
    // The oldest object with the queue's reference, or null (tag 0) when empty.
    KdObject* Get(uint32_t* tag);
    uint32_t GetCount();
    // Releases every object; returns how many there were.
    uint32_t Clear();

private:
    struct Node {
        KdObject* object;
        uint32_t tag;
        Node* next;
    };
    std::mutex m_lock;
    Node* m_head = nullptr;
    Node* m_tail = nullptr;
    uint32_t m_count = 0;
};
