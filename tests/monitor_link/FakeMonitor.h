// Stand-ins for the library's monitor link and items, with reference counts the tests check.
#pragma once

#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "MonitorItem.h"
#include "pdu/KdMonitorService.h"

// The fields are the simulator's own item record, so its canned sequence feeds the tests too.
struct FakeItem final : KdMonitorItem, pdusim::MonitorItemContent {
    FakeItem() = default;
    explicit FakeItem(const pdusim::MonitorItemContent& content) : pdusim::MonitorItemContent(content) {}

    uint32_t claimedLength = UINT32_MAX;  // what GetDataLength says, when not the data's size
    uint32_t objectType = KD_OBJT_ITEM;
    int* live = nullptr;  // counts the items not yet released

    void Reserved0() override {}
    uint32_t GetType() override { return objectType; }
    void Release() override
    {
        if (--refs == 0) {
            if (live) --*live;
            delete this;
        }
    }
    void AddRef() override { ++refs; }
    uint32_t GetDataLength() override { return claimedLength != UINT32_MAX ? claimedLength : static_cast<uint32_t>(data.size()); }
    uint32_t GetTimestamp() override { return timestamp; }
    uint32_t GetId() override { return id; }
    bool IsExtendedId() override { return extended; }
    bool HasId() override { return hasId; }
    bool HasTimestamp() override { return hasTimestamp; }
    bool IsFd() override { return fd; }
    bool IsBrs() override { return brs; }
    uint32_t GetItemType() override { return type; }
    const uint8_t* GetData() override { return data.empty() ? nullptr : data.data(); }
    void ItemReserved10() override {}
    void GetClampState(uint8_t* c15, uint8_t* c30) override
    {
        *c15 = clamp15;
        *c30 = clamp30;
    }
    void ItemReserved12() override {}
    void ItemReserved13() override {}
    void ItemReserved14() override {}
    uint32_t GetSubType() override { return subType; }

private:
    int refs = 1;
};

struct FakeLink final : KdMonitorLink {
    std::deque<FakeItem*> items;
    std::map<std::string, uint32_t> u32 = {{"Baudrate", 500000}, {"CANFDBaudrate", 2000000}};
    int live = 0;

    ~FakeLink()
    {
        for (FakeItem* item : items) item->Release();
    }
    FakeItem& Add(FakeItem item)
    {
        auto* copy = new FakeItem(item);
        copy->live = &live;
        ++live;
        items.push_back(copy);
        return *copy;
    }

    void Reserved0() override {}
    uint32_t GetType() override { return KD_OBJT_LINK; }
    void Release() override {}
    void AddRef() override {}
    void Close(uint32_t) override {}
    void LinkReserved1() override {}
    KdObject* GetItem(uint32_t) override
    {
        if (items.empty()) return nullptr;
        FakeItem* item = items.front();
        items.pop_front();
        return item;
    }
    void Open() override {}
    void ApplyParams() override {}
    void LinkReserved5() override {}
    void LinkReserved6() override {}
    void LinkReserved7() override {}
    void LinkReserved8() override {}
    void SetEventCallback(KdMonitorEventCallback) override {}

    uint32_t GetArraySize(const char*) override { return 0; }
    uint32_t GetCount() override { return static_cast<uint32_t>(u32.size()); }
    uint32_t GetType(const char*) override { return KDT_PAR_TYPE_U32; }
    const char* GetName(uint32_t) override { return ""; }
    int32_t GetS32(const char*) override { return 0; }
    void GetU32Array(uint32_t, uint32_t*, const char*) override {}
    void GetU8Array(uint32_t, uint8_t*, const char*) override {}
    uint32_t GetU32(const char* name) override
    {
        const auto it = u32.find(name);
        if (it == u32.end()) throw KdException(5, "no such parameter", name);
        return it->second;
    }
    void SetS32(int32_t, const char*) override {}
    void SetU8Array(uint32_t, const uint8_t*, const char*) override {}
    void SetU32(uint32_t value, const char* name) override { u32[name] = value; }
    void SetU32Array(uint32_t, const uint32_t*, const char*) override {}
    const char* GetTextValue(const char*) override { return ""; }
    void SetTextValue(const char*, const char*) override {}
};
