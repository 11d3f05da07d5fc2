// Loads libpdusim.so with dlopen and drives it through its C functions only, as a host would.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "pdu/KdMonitorService.h"
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
    // The monitor service as the module hands it out: its address in an 8-byte array.
    KdMonitorService* MonitorService(UNUM32 hMod) {
        PDU_DATA_ITEM* out = nullptr;
        const UNUM32 id = IoCtlId(PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE);
        if (PDUIoCtl(hMod, PDU_HANDLE_UNDEF, id, nullptr, &out) != PDU_STATUS_NOERROR || out == nullptr) return nullptr;
        KdMonitorService* service = nullptr;
        const auto* array = static_cast<PDU_IO_BYTEARRAY_DATA*>(out->pData);
        if (out->ItemType == PDU_IT_IO_BYTEARRAY && array != nullptr && array->DataSize >= 8)
            std::memcpy(&service, array->pData, sizeof service);
        PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
        return service;
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
    UNUM32 timestamp = 0;
    UNUM32 status = 0;  // status, error code or info code
    UNUM32 extra = 0;   // extra error id or extra info data
    UNUM32 urid = 0;
    UNUM32 acceptanceId = 0;
    std::vector<uint8_t> data;
    std::vector<uint8_t> rxFlags;
    std::vector<uint8_t> timestampFlags;
    UNUM32 txDone = 0;
    UNUM32 startMsg = 0;
    bool extraInfo = false;
    std::vector<uint8_t> header;
    std::vector<uint8_t> footer;
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

// Counts DATA_LOST callbacks, and counts every call as CallbackCounter does.
struct LostCounter {
    static inline std::mutex mutex;
    static inline std::map<UNUM32, unsigned long> lost;  // by link
    static void PDU_CALL Callback(T_PDU_EVT_DATA type, UNUM32 hMod, UNUM32 hCLL, void* tag, void* apiTag) {
        if (type == PDU_EVT_DATA_LOST) {
            std::lock_guard<std::mutex> lock(mutex);
            ++lost[hCLL];
        }
        CallbackCounter::Callback(type, hMod, hCLL, tag, apiTag);
    }
    static unsigned long Lost(UNUM32 hCLL) {
        std::lock_guard<std::mutex> lock(mutex);
        return lost[hCLL];
    }
};

inline SeenEvent Copy(const PDU_EVENT_ITEM& item) {
    const auto bytes = [](const UNUM8* p, UNUM32 n) {
        return p != nullptr ? std::vector<uint8_t>(p, p + n) : std::vector<uint8_t>{};
    };
    SeenEvent e;
    e.type = item.ItemType;
    e.hCop = item.hCop;
    e.timestamp = item.Timestamp;
    if (item.ItemType == PDU_IT_STATUS) e.status = *static_cast<UNUM32*>(item.pData);
    if (item.ItemType == PDU_IT_ERROR) {
        e.status = static_cast<PDU_ERROR_DATA*>(item.pData)->ErrorCodeId;
        e.extra = static_cast<PDU_ERROR_DATA*>(item.pData)->ExtraErrorInfoId;
    }
    if (item.ItemType == PDU_IT_INFO) {
        e.status = static_cast<PDU_INFO_DATA*>(item.pData)->InfoCode;
        e.extra = static_cast<PDU_INFO_DATA*>(item.pData)->ExtraInfoData;
    }
    if (item.ItemType == PDU_IT_RESULT) {
        const auto* r = static_cast<PDU_RESULT_DATA*>(item.pData);
        e.data = bytes(r->pDataBytes, r->NumDataBytes);
        e.urid = r->UniqueRespIdentifier;
        e.acceptanceId = r->AcceptanceId;
        e.rxFlags = bytes(r->RxFlag.pFlagData, r->RxFlag.NumFlagBytes);
        e.timestampFlags = bytes(r->TimestampFlags.pFlagData, r->TimestampFlags.NumFlagBytes);
        e.txDone = r->TxMsgDoneTimestamp;
        e.startMsg = r->StartMsgTimestamp;
        if (r->pExtraInfo != nullptr) {
            e.extraInfo = true;
            e.header = bytes(r->pExtraInfo->pHeaderBytes, r->pExtraInfo->NumHeaderBytes);
            e.footer = bytes(r->pExtraInfo->pFooterBytes, r->pExtraInfo->NumFooterBytes);
        }
    }
    return e;
}

inline bool IsResult(const SeenEvent& e) { return e.type == PDU_IT_RESULT; }
inline bool IsError(const SeenEvent& e, T_PDU_ERR_EVT code) { return e.type == PDU_IT_ERROR && e.status == code; }

inline std::vector<SeenEvent> Results(const std::vector<SeenEvent>& events) {
    std::vector<SeenEvent> out;
    std::copy_if(events.begin(), events.end(), std::back_inserter(out), IsResult);
    return out;
}

inline size_t Errors(const std::vector<SeenEvent>& events, T_PDU_ERR_EVT code) {
    return static_cast<size_t>(std::count_if(events.begin(), events.end(), [&](const SeenEvent& e) { return IsError(e, code); }));
}

// One entry of PDU_EXP_RESP_DATA.
struct ExpectedEntry {
    UNUM32 type;
    UNUM32 acceptanceId;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> pattern;
    std::vector<UNUM32> urids;
};

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
        EXPECT_EQ(api.PDUCreateComLogicalLink(module, nullptr, resourceId, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDURegisterEventCallback(module, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
        if (connect) {
            EXPECT_EQ(api.PDUConnect(module, hCLL), PDU_STATUS_NOERROR);
        }
        return hCLL;
    }

    UNUM32 Start(UNUM32 hCLL, std::vector<uint8_t> pdu, SNUM32 sends = 1, SNUM32 receives = 1, UNUM32 timeMs = 0,
                 T_PDU_COPT type = PDU_COPT_SENDRECV) {
        uint8_t flags[4] = {};
        PDU_COP_CTRL_DATA control{timeMs, sends, receives, 0, {4, flags}, 0, nullptr};
        UNUM32 hCop = 0;
        EXPECT_EQ(api.PDUStartComPrimitive(module, hCLL, type, static_cast<UNUM32>(pdu.size()), pdu.data(), &control,
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
            while (api.PDUGetEventItem(module, hCLL, &item) == PDU_STATUS_NOERROR) {
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

    struct CopOptions {
        SNUM32 sends = 1;
        SNUM32 receives = 1;
        UNUM32 timeMs = 0;
        std::vector<uint8_t> flags = std::vector<uint8_t>(4, 0);
        std::vector<ExpectedEntry> expected;
    };
    static CopOptions Cycles(SNUM32 sends, SNUM32 receives, UNUM32 timeMs) {
        CopOptions options;
        options.sends = sends;
        options.receives = receives;
        options.timeMs = timeMs;
        return options;
    }

    // Starts with all of the control data; 0 when the start failed.
    UNUM32 StartCop(UNUM32 hCLL, T_PDU_COPT type, std::vector<uint8_t> pdu, CopOptions options,
                    T_PDU_ERROR* result = nullptr) {
        std::vector<PDU_EXP_RESP_DATA> entries;
        for (ExpectedEntry& e : options.expected)
            entries.push_back({e.type, e.acceptanceId, static_cast<UNUM32>(e.mask.size()), e.mask.data(), e.pattern.data(),
                               static_cast<UNUM32>(e.urids.size()), e.urids.data()});
        PDU_COP_CTRL_DATA control{options.timeMs, options.sends, options.receives, 0,
                                  {static_cast<UNUM32>(options.flags.size()), options.flags.data()},
                                  static_cast<UNUM32>(entries.size()), entries.empty() ? nullptr : entries.data()};
        UNUM32 hCop = 0;
        const T_PDU_ERROR e = api.PDUStartComPrimitive(module, hCLL, type, static_cast<UNUM32>(pdu.size()),
                                                       pdu.empty() ? nullptr : pdu.data(), &control, nullptr, &hCop);
        if (result != nullptr) *result = e;
        else EXPECT_EQ(e, PDU_STATUS_NOERROR);
        return e == PDU_STATUS_NOERROR ? hCop : 0;
    }

    // Takes what the link's queue holds now.
    std::vector<SeenEvent> Drain(UNUM32 hCLL) {
        std::vector<SeenEvent> events;
        PDU_EVENT_ITEM* item = nullptr;
        while (api.PDUGetEventItem(module, hCLL, &item) == PDU_STATUS_NOERROR) {
            events.push_back(Copy(*item));
            api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
        }
        return events;
    }

    // Starts with the given flag bytes and expected responses; 0 when the start failed.
    UNUM32 StartWith(UNUM32 hCLL, T_PDU_COPT type, std::vector<uint8_t> pdu, std::vector<uint8_t> flags = std::vector<uint8_t>(4, 0),
                     const std::vector<ExpectedEntry>& expected = {}, T_PDU_ERROR* result = nullptr) {
        std::vector<PDU_EXP_RESP_DATA> entries;
        for (const ExpectedEntry& e : expected)
            entries.push_back({e.type, e.acceptanceId, static_cast<UNUM32>(e.mask.size()), const_cast<uint8_t*>(e.mask.data()),
                               const_cast<uint8_t*>(e.pattern.data()), static_cast<UNUM32>(e.urids.size()),
                               const_cast<UNUM32*>(e.urids.data())});
        PDU_COP_CTRL_DATA control{0, 1, 1, 0, {static_cast<UNUM32>(flags.size()), flags.data()},
                                  static_cast<UNUM32>(entries.size()), entries.empty() ? nullptr : entries.data()};
        UNUM32 hCop = 0;
        const T_PDU_ERROR e = api.PDUStartComPrimitive(module, hCLL, type, static_cast<UNUM32>(pdu.size()),
                                                       pdu.empty() ? nullptr : pdu.data(), &control, nullptr, &hCop);
        if (result != nullptr) *result = e;
        else EXPECT_EQ(e, PDU_STATUS_NOERROR);
        return e == PDU_STATUS_NOERROR ? hCop : 0;
    }

    std::vector<SeenEvent> Run(UNUM32 hCLL, T_PDU_COPT type, std::vector<uint8_t> pdu, std::vector<uint8_t> flags = std::vector<uint8_t>(4, 0),
                               const std::vector<ExpectedEntry>& expected = {}) {
        const UNUM32 hCop = StartWith(hCLL, type, std::move(pdu), std::move(flags), expected);
        return hCop != 0 ? Collect(hCLL, hCop) : std::vector<SeenEvent>{};
    }

    T_PDU_STATUS LinkState(UNUM32 hCLL) {
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        EXPECT_EQ(api.PDUGetStatus(module, hCLL, PDU_HANDLE_UNDEF, &status, &timestamp, &extra), PDU_STATUS_NOERROR);
        return status;
    }

    void SetUnum32(UNUM32 hCLL, const char* name, UNUM32 value) {
        PDU_PARAM_ITEM item{PDU_IT_PARAM, api.ComParamId(name), PDU_PT_UNUM32, 0, &value};
        ASSERT_EQ(api.PDUSetComParam(module, hCLL, &item), PDU_STATUS_NOERROR) << name;
    }

    void SetBytes(UNUM32 hCLL, const char* name, std::vector<uint8_t> value) {
        PDU_PARAM_BYTEFIELD_DATA field{12, static_cast<UNUM32>(value.size()), value.data()};
        PDU_PARAM_ITEM item{PDU_IT_PARAM, api.ComParamId(name), PDU_PT_BYTEFIELD, 0, &field};
        ASSERT_EQ(api.PDUSetComParam(module, hCLL, &item), PDU_STATUS_NOERROR) << name;
    }

    void Activate(UNUM32 hCLL) { Run(hCLL, PDU_COPT_UPDATEPARAM, {}); }

    // A UDS link that gives up waiting after 20 ms.
    UNUM32 QuickUdsLink(UNUM32 resource = kUdsResource) {
        const UNUM32 hCLL = OpenLink(resource);
        SetUnum32(hCLL, "CP_P2Max", 20000);
        Activate(hCLL);
        return hCLL;
    }

    void SetUrid(UNUM32 hCLL, UNUM32 request, UNUM32 response) {
        PDU_PARAM_ITEM params[2] = {
            {PDU_IT_PARAM, api.ComParamId("CP_CanPhysReqId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &request},
            {PDU_IT_PARAM, api.ComParamId("CP_CanRespUSDTId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &response}};
        PDU_ECU_UNIQUE_RESP_DATA entry{7, 2, params};
        PDU_UNIQUE_RESP_ID_TABLE_ITEM table{PDU_IT_UNIQUE_RESP_ID_TABLE, 1, &entry};
        ASSERT_EQ(api.PDUSetUniqueRespIdTable(module, hCLL, &table), PDU_STATUS_NOERROR);
    }

    // Drains the link's queue until `done` holds for what came so far, or a generous bound passes.
    std::vector<SeenEvent> CollectUntil(UNUM32 hCLL, const std::function<bool(const std::vector<SeenEvent>&)>& done) {
        std::vector<SeenEvent> events;
        while (!done(events)) {
            const unsigned long seen = CallbackCounter::Instance().Count();
            PDU_EVENT_ITEM* item = nullptr;
            bool any = false;
            while (api.PDUGetEventItem(module, hCLL, &item) == PDU_STATUS_NOERROR) {
                events.push_back(Copy(*item));
                api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
                any = true;
            }
            if (!any && !CallbackCounter::Instance().WaitBeyond(seen)) break;
        }
        return events;
    }

    T_PDU_ERROR IoCtl(UNUM32 hCLL, const char* name, PDU_DATA_ITEM* input) {
        return api.PDUIoCtl(module, hCLL, api.IoCtlId(name), input, nullptr);
    }

    static constexpr UNUM32 kModule = 1;
    static constexpr UNUM32 kUdsResource = 1001;
    static constexpr UNUM32 kRawResource = 1004;
    static constexpr UNUM32 kDirectCanResource = 1005;
    SimApi api;
    UNUM32 module = kModule;  // the module the helpers work on
};
