// The objects a monitor link hands out: items of bus traffic, and the notices that tell the host
// a link holds items for a handle. Each carries its own reference count and frees itself.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "pdu/KdMonitorService.h"

namespace pdusim {

// The count every monitor object starts with: one reference, its creator's.
class RefCount {
public:
    void Add() { m_count.fetch_add(1, std::memory_order_relaxed); }
    // True when this was the last reference.
    bool Drop() { return m_count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    std::atomic<int> m_count{1};
};

struct MonitorItemContent {
    uint32_t type = KD_IT_CAN_RX;
    uint32_t subType = 0;
    uint32_t timestamp = 0;
    bool hasTimestamp = true;
    uint32_t id = 0;
    bool hasId = true;
    bool extended = false;
    bool fd = false;
    bool brs = false;
    uint8_t clamp15 = 0;
    uint8_t clamp30 = 0;
    std::vector<uint8_t> data;
};

class MonitorItem final : public KdMonitorItem {
public:
    explicit MonitorItem(MonitorItemContent content) : m_content(std::move(content)) {}

    void Reserved0() override;
    uint32_t GetType() override { return KD_OBJT_ITEM; }
    void Release() override;
    void AddRef() override { m_refs.Add(); }
    uint32_t GetDataLength() override;
    uint32_t GetTimestamp() override;
    uint32_t GetId() override;
    bool IsExtendedId() override;
    bool HasId() override;
    bool HasTimestamp() override;
    bool IsFd() override;
    bool IsBrs() override;
    uint32_t GetItemType() override;
    const uint8_t* GetData() override;
    void ItemReserved10() override;
    void GetClampState(uint8_t* c15, uint8_t* c30) override;
    void ItemReserved12() override;
    void ItemReserved13() override;
    void ItemReserved14() override;
    uint32_t GetSubType() override;

private:
    ~MonitorItem() = default;
    MonitorItemContent m_content;
    RefCount m_refs;
};

// An event notice, handed to the host's callback; also what a link's queue may hold that is no
// item.
class MonitorNotice final : public KdObject {
public:
    void Reserved0() override;
    uint32_t GetType() override { return KD_OBJT_EVENT; }
    void Release() override;
    void AddRef() override { m_refs.Add(); }

private:
    ~MonitorNotice() = default;
    RefCount m_refs;
};

// Throws the KdException that PDUSIM_FAULTS asks of this method ("throw:<method>=<code>").
void ThrowIfInjected(const char* method);

}  // namespace pdusim
