// Loads libpdusim.so with dlopen and drives it through its C functions only, as a host would.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "pdu/MorvaneExtensions.h"

struct SimApi {
#define QUILLON_SIM_SLOT(name, params) PFN_##name name = nullptr;
    QUILLON_PDU_FUNCTIONS(QUILLON_SIM_SLOT)
    QUILLON_PDUSE_FUNCTIONS(QUILLON_SIM_SLOT)
#undef QUILLON_SIM_SLOT
    void* library = nullptr;

    SimApi() {
        library = dlopen(QUILLON_RUNTIME_DIR "/libpdusim.so", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return;
#define QUILLON_SIM_BIND(name, params) name = reinterpret_cast<PFN_##name>(dlsym(library, #name));
        QUILLON_PDU_FUNCTIONS(QUILLON_SIM_BIND)
        QUILLON_PDUSE_FUNCTIONS(QUILLON_SIM_BIND)
#undef QUILLON_SIM_BIND
    }
    ~SimApi() {
        if (library != nullptr) dlclose(library);
    }

    UNUM32 IoCtlId(const char* name) {
        UNUM32 id = PDU_ID_UNDEF;
        EXPECT_EQ(PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<char*>(name), &id), PDU_STATUS_NOERROR) << name;
        return id;
    }
    UNUM32 ComParamId(const char* name) {
        UNUM32 id = PDU_ID_UNDEF;
        EXPECT_EQ(PDUGetObjectId(PDU_OBJT_COMPARAM, const_cast<char*>(name), &id), PDU_STATUS_NOERROR) << name;
        return id;
    }
};

// One event copied out of its item, which is destroyed at once.
struct SeenEvent {
    T_PDU_IT type = 0;
    UNUM32 hCop = 0;
    UNUM32 status = 0;  // status, error code or info code
    UNUM32 urid = 0;
    UNUM32 acceptanceId = 0;
    std::vector<uint8_t> data;
    std::vector<uint8_t> rxFlags;
};

// Callback sink: the library's threads only count here; tests wait on it with a generous bound.
class CallbackCounter {
public:
    static CallbackCounter& Instance() {
        static CallbackCounter counter;
        return counter;
    }
    static void PDU_CALL Callback(T_PDU_EVT_DATA, UNUM32, UNUM32, void*, void*) {
        CallbackCounter& c = Instance();
        std::lock_guard<std::mutex> lock(c.m_mutex);
        ++c.m_count;
        c.m_wake.notify_all();
    }
    bool WaitBeyond(unsigned long seen, std::chrono::milliseconds bound = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_wake.wait_for(lock, bound, [&] { return m_count > seen; });
    }
    unsigned long Count() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    unsigned long m_count = 0;
};

inline SeenEvent Copy(const PDU_EVENT_ITEM& item) {
    SeenEvent e;
    e.type = item.ItemType;
    e.hCop = item.hCop;
    if (item.ItemType == PDU_IT_STATUS) e.status = *static_cast<UNUM32*>(item.pData);
    if (item.ItemType == PDU_IT_ERROR) e.status = static_cast<PDU_ERROR_DATA*>(item.pData)->ErrorCodeId;
    if (item.ItemType == PDU_IT_INFO) e.status = static_cast<PDU_INFO_DATA*>(item.pData)->InfoCode;
    if (item.ItemType == PDU_IT_RESULT) {
        const auto* r = static_cast<PDU_RESULT_DATA*>(item.pData);
        e.data.assign(r->pDataBytes, r->pDataBytes + r->NumDataBytes);
        e.urid = r->UniqueRespIdentifier;
        e.acceptanceId = r->AcceptanceId;
        if (r->RxFlag.pFlagData != nullptr)
            e.rxFlags.assign(r->RxFlag.pFlagData, r->RxFlag.pFlagData + r->RxFlag.NumFlagBytes);
    }
    return e;
}

// Fixture: a constructed API with module 1 (the CAN/K-Line VCI) connected.
class SimFixture : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(api.library, nullptr) << dlerror();
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), this), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDURegisterEventCallback(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &CallbackCounter::Callback),
                  PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUModuleConnect(kModule), PDU_STATUS_NOERROR);
    }
    void TearDown() override { api.PDUDestruct(); }

    UNUM32 OpenLink(UNUM32 resourceId, bool connect = true) {
        UNUM32 hCLL = 0;
        EXPECT_EQ(api.PDUCreateComLogicalLink(kModule, nullptr, resourceId, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDURegisterEventCallback(kModule, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
        if (connect) {
            EXPECT_EQ(api.PDUConnect(kModule, hCLL), PDU_STATUS_NOERROR);
        }
        return hCLL;
    }

    UNUM32 Start(UNUM32 hCLL, std::vector<uint8_t> pdu, SNUM32 sends = 1, SNUM32 receives = 1, UNUM32 timeMs = 0,
                 T_PDU_COPT type = PDU_COPT_SENDRECV) {
        uint8_t flags[4] = {};
        PDU_COP_CTRL_DATA control{timeMs, sends, receives, 0, {4, flags}, 0, nullptr};
        UNUM32 hCop = 0;
        EXPECT_EQ(api.PDUStartComPrimitive(kModule, hCLL, type, static_cast<UNUM32>(pdu.size()), pdu.data(), &control,
                                           nullptr, &hCop),
                  PDU_STATUS_NOERROR);
        return hCop;
    }

    // Drains the link's queue after each callback until the ComPrimitive ends (or `until` events).
    std::vector<SeenEvent> Collect(UNUM32 hCLL, UNUM32 hCop, size_t until = SIZE_MAX) {
        std::vector<SeenEvent> events;
        for (;;) {
            const unsigned long seen = CallbackCounter::Instance().Count();
            PDU_EVENT_ITEM* item = nullptr;
            while (api.PDUGetEventItem(kModule, hCLL, &item) == PDU_STATUS_NOERROR) {
                events.push_back(Copy(*item));
                api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
                const SeenEvent& e = events.back();
                const bool final = e.type == PDU_IT_STATUS && e.hCop == hCop &&
                                   (e.status == PDU_COPST_FINISHED || e.status == PDU_COPST_CANCELLED);
                if (final || events.size() >= until) return events;
            }
            if (!CallbackCounter::Instance().WaitBeyond(seen)) return events;  // a broken library must not hang us
        }
    }

    static constexpr UNUM32 kModule = 1;
    static constexpr UNUM32 kUdsResource = 1001;
    static constexpr UNUM32 kRawResource = 1004;
    static constexpr UNUM32 kDirectCanResource = 1005;
    SimApi api;
};
