// Links under load: back-to-back cyclic sends on an ideal bus, queues that overflow, links that
// end while their callbacks run, callbacks replaced.
#include <atomic>
#include <thread>

#include "SimApi.h"

namespace {

using Bytes = std::vector<uint8_t>;

// slow:0: the vehicle answers at once and the bus takes no time, so only the host sets the pace.
class SimSpeedTest : public SimFixture {
protected:
    void SetUp() override {
        setenv("PDUSIM_FAULTS", "slow:0", 1);
        SimFixture::SetUp();
        unsetenv("PDUSIM_FAULTS");
    }
    // Keeps reading until `enough` holds; a bound keeps a broken library from hanging the test.
    std::vector<SeenEvent> ReadUntil(UNUM32 hCLL, const std::function<bool(const SeenEvent&)>& enough) {
        std::vector<SeenEvent> events;
        for (int rounds = 0; rounds < 100000; ++rounds) {
            const unsigned long seen = CallbackCounter::Instance().Count();
            PDU_EVENT_ITEM* item = nullptr;
            while (api.PDUGetEventItem(module, hCLL, &item) == PDU_STATUS_NOERROR) {
                events.push_back(Copy(*item));
                api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
                if (enough(events.back())) return events;
            }
            if (!CallbackCounter::Instance().WaitBeyond(seen)) break;
        }
        ADD_FAILURE() << "the link went quiet";
        return events;
    }
};

TEST_F(SimSpeedTest, BackToBackCyclicSendGoesAsFastAsTheHostReads) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    const UNUM32 hCop = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 0));
    // Another host thread calls all the while: the running link must not keep it out.
    std::atomic<bool> stop{false};
    std::atomic<unsigned long> calls{0};
    std::thread caller([&] {
        while (!stop.load()) {
            T_PDU_STATUS status = 0;
            UNUM32 timestamp = 0, extra = 0;
            EXPECT_EQ(api.PDUGetStatus(module, hCLL, hCop, &status, &timestamp, &extra), PDU_STATUS_NOERROR);
            calls.fetch_add(1);
        }
    });
    size_t results = 0;
    const auto events = ReadUntil(hCLL, [&](const SeenEvent& e) { return e.type == PDU_IT_RESULT && ++results >= 5000; });
    const unsigned long callsWhileRunning = calls.load();
    stop.store(true);
    caller.join();
    EXPECT_GT(callsWhileRunning, 0u);
    for (const SeenEvent& e : Results(events)) {
        ASSERT_EQ(e.data, (Bytes{0x7E, 0x00}));
        ASSERT_EQ(e.txDone, e.startMsg);  // an ideal bus takes no time
        ASSERT_EQ(e.startMsg, e.timestamp);
    }
    EXPECT_EQ(std::count_if(events.begin(), events.end(), [](const SeenEvent& e) { return e.type == PDU_IT_STATUS; }),
              2);  // ONLINE and EXECUTING: back to back never waits

    // A cancel is not held up, and nothing of the ComPrimitive follows its end.
    ASSERT_EQ(api.PDUCancelComPrimitive(module, hCLL, hCop), PDU_STATUS_NOERROR);
    const auto rest = Drain(hCLL);
    ASSERT_FALSE(rest.empty());
    EXPECT_EQ(rest.back().type, PDU_IT_STATUS);
    EXPECT_EQ(rest.back().status, PDU_COPST_CANCELLED);
}

TEST_F(SimSpeedTest, QueueNobodyReadsStopsAtItsCapacityAndSaysDataLost) {
    const struct {
        const char* what;
        UNUM32 size;
        T_PDU_QUEUE_MODE mode;  // 3: leave the default
        size_t kept;
        bool endKept;  // the CANCELLED status is the last item
    } cases[] = {
        {"default capacity drops the oldest", 0, 3, 100000, true},
        {"limited drops what comes", 50, 1, 50, false},
        {"circular drops the oldest", 50, 2, 50, true},
    };
    for (const auto& c : cases) {
        const UNUM32 hCLL = OpenLink(kUdsResource, false);
        ASSERT_EQ(api.PDURegisterEventCallback(module, hCLL, &LostCounter::Callback), PDU_STATUS_NOERROR);
        if (c.mode != 3) {
            PDU_IO_EVENT_QUEUE_PROPERTY_DATA properties{c.size, c.mode};
            PDU_DATA_ITEM item{PDU_IT_IO_EVENT_QUEUE_PROPERTY, &properties};
            ASSERT_EQ(IoCtl(hCLL, "PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", &item), PDU_STATUS_NOERROR);
        }
        ASSERT_EQ(api.PDUConnect(module, hCLL), PDU_STATUS_NOERROR);
        const unsigned long lostBefore = LostCounter::Lost(hCLL);
        const UNUM32 hCop = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 0));
        for (int i = 0; i < 60000 && LostCounter::Lost(hCLL) == lostBefore; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_GT(LostCounter::Lost(hCLL), lostBefore) << c.what;
        ASSERT_EQ(api.PDUCancelComPrimitive(module, hCLL, hCop), PDU_STATUS_NOERROR);
        const auto events = Drain(hCLL);
        EXPECT_EQ(events.size(), c.kept) << c.what;
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back().type == PDU_IT_STATUS && events.back().status == PDU_COPST_CANCELLED, c.endKept) << c.what;
        api.PDUDisconnect(module, hCLL);
    }
}

// A link's tag as a host keeps it: freed right after PDUDestroyComLogicalLink returns.
struct LinkTag {
    std::atomic<unsigned long> calls{0};
};

SimApi* g_api = nullptr;

// Reads in the callback itself, as some hosts do, while the test thread ends the link.
void PDU_CALL DrainingCallback(T_PDU_EVT_DATA type, UNUM32 hMod, UNUM32 hCLL, void* cllTag, void* apiTag) {
    if (cllTag != nullptr) static_cast<LinkTag*>(cllTag)->calls.fetch_add(1);  // after its end: use after free
    PDU_EVENT_ITEM* item = nullptr;
    for (int i = 0; i < 64 && g_api->PDUGetEventItem(hMod, hCLL, &item) == PDU_STATUS_NOERROR; ++i)
        g_api->PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    CallbackCounter::Callback(type, hMod, hCLL, cllTag, apiTag);
}

TEST_F(SimSpeedTest, LinksEndCleanWhileCyclicSendsRunAndCallbacksFly) {
    g_api = &api;
    for (int cycle = 0; cycle < 200; ++cycle) {
        auto* tag = new LinkTag;
        UNUM32 hCLL = 0;
        ASSERT_EQ(api.PDUCreateComLogicalLink(module, nullptr, cycle % 2 == 0 ? kUdsResource : kRawResource, tag, &hCLL,
                                              nullptr),
                  PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDURegisterEventCallback(module, hCLL, &DrainingCallback), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUConnect(module, hCLL), PDU_STATUS_NOERROR);
        const Bytes pdu = cycle % 2 == 0 ? Bytes{0x3E, 0x00} : Bytes{0x00, 0x00, 0x01, 0x00, 0x01};
        StartCop(hCLL, PDU_COPT_SENDRECV, pdu, Cycles(-1, 1, 0));
        StartCop(hCLL, PDU_COPT_SENDRECV, pdu, Cycles(-1, 1, 1));
        StartCop(hCLL, PDU_COPT_SENDRECV, pdu, {});
        for (int i = 0; i < 5000 && tag->calls.load() < 3; ++i) std::this_thread::yield();
        ASSERT_EQ(api.PDUDisconnect(module, hCLL), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUDestroyComLogicalLink(module, hCLL), PDU_STATUS_NOERROR);
        delete tag;
        PDU_EVENT_ITEM* item = nullptr;
        ASSERT_EQ(api.PDUGetEventItem(module, hCLL, &item), PDU_ERR_INVALID_HANDLE);
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        ASSERT_EQ(api.PDUGetStatus(module, hCLL, PDU_HANDLE_UNDEF, &status, &timestamp, &extra), PDU_ERR_INVALID_HANDLE);
    }
    // A module disconnect ends its links the same way.
    auto* tag = new LinkTag;
    UNUM32 hCLL = 0;
    ASSERT_EQ(api.PDUCreateComLogicalLink(module, nullptr, kUdsResource, tag, &hCLL, nullptr), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDURegisterEventCallback(module, hCLL, &DrainingCallback), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDUConnect(module, hCLL), PDU_STATUS_NOERROR);
    StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 0));
    for (int i = 0; i < 5000 && tag->calls.load() < 3; ++i) std::this_thread::yield();
    ASSERT_EQ(api.PDUModuleDisconnect(module), PDU_STATUS_NOERROR);
    delete tag;
}

// Counts the calls of the callback a host replaced.
struct Replaced {
    static inline std::atomic<bool> gone{false};
    static inline std::atomic<unsigned long> callsAfter{0};
    static void PDU_CALL Old(T_PDU_EVT_DATA type, UNUM32 hMod, UNUM32 hCLL, void* tag, void* apiTag) {
        if (gone.load()) callsAfter.fetch_add(1);
        std::this_thread::yield();  // be in flight when the host replaces it
        CallbackCounter::Callback(type, hMod, hCLL, tag, apiTag);
    }
};

TEST_F(SimSpeedTest, ReplacedCallbackIsNotCalledAnyMore) {
    Replaced::gone.store(false);
    Replaced::callsAfter.store(0);
    const UNUM32 hCLL = OpenLink(kUdsResource);
    ASSERT_EQ(api.PDURegisterEventCallback(module, hCLL, &Replaced::Old), PDU_STATUS_NOERROR);
    const UNUM32 hCop = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 0));
    ReadUntil(hCLL, [n = 0](const SeenEvent&) mutable { return ++n >= 200; });
    ASSERT_EQ(api.PDURegisterEventCallback(module, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
    Replaced::gone.store(true);
    ReadUntil(hCLL, [n = 0](const SeenEvent&) mutable { return ++n >= 200; });
    EXPECT_EQ(Replaced::callsAfter.load(), 0u);
    api.PDUCancelComPrimitive(module, hCLL, hCop);
}

}  // namespace
