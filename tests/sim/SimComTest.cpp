// Communication start and stop, Tx flags, expected responses, message filters, resource locks,
// event queue limits and tester present, all through the C functions.
#include <functional>
#include <thread>

#include "SimApi.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr UNUM32 kKwpResource = 1008;
constexpr UNUM32 kUdsOtherPinsResource = 1006;
const Bytes kNone{};

Bytes FirstResult(const std::vector<SeenEvent>& events) {
    const auto results = Results(events);
    return results.empty() ? Bytes{} : results.front().data;
}

Bytes WithVin(Bytes head) {
    const char* vin = "WQU0SIMULATOR0001";
    head.insert(head.end(), vin, vin + std::strlen(vin));
    return head;
}

using SimComTest = SimFixture;

TEST_F(SimComTest, KLineNeedsStartCommunicationAndAnswersKwp) {
    const UNUM32 hCLL = OpenLink(kKwpResource);
    T_PDU_ERROR refused = PDU_STATUS_NOERROR;
    StartWith(hCLL, PDU_COPT_SENDRECV, {0x1A, 0x90}, Bytes(4, 0), {}, &refused);
    EXPECT_EQ(refused, PDU_ERR_CLL_NOT_STARTED);
    StartWith(hCLL, PDU_COPT_STOPCOMM, {0x82}, Bytes(4, 0), {}, &refused);
    EXPECT_EQ(refused, PDU_ERR_CLL_NOT_STARTED);

    // A request queued right behind the StartCommunication is taken.
    const UNUM32 start = StartWith(hCLL, PDU_COPT_STARTCOMM, {0x81});
    const UNUM32 read = StartWith(hCLL, PDU_COPT_SENDRECV, {0x1A, 0x90});
    const auto startEvents = Collect(hCLL, start);
    ASSERT_EQ(Results(startEvents).size(), 1u);
    EXPECT_EQ(Results(startEvents)[0].data, (Bytes{0xC1, 0xEF, 0x8F}));
    EXPECT_TRUE(std::any_of(startEvents.begin(), startEvents.end(), [](const SeenEvent& e) {
        return e.type == PDU_IT_STATUS && e.hCop == PDU_HANDLE_UNDEF && e.status == PDU_CLLST_COMM_STARTED;
    }));
    const auto readEvents = Results(Collect(hCLL, read));
    ASSERT_EQ(readEvents.size(), 1u);
    EXPECT_EQ(readEvents[0].data, WithVin({0x5A, 0x90}));

    // The ECU itself tells whether the StartCommunication reached it: 21 02 gives session and started.
    EXPECT_EQ(FirstResult(Run(hCLL, PDU_COPT_SENDRECV, {0x21, 0x02})), (Bytes{0x61, 0x02, 0x81, 0x01}));
    const auto stop = Results(Run(hCLL, PDU_COPT_STOPCOMM, {0x82}));
    ASSERT_EQ(stop.size(), 1u);
    EXPECT_EQ(stop[0].data, Bytes{0xC2});
    EXPECT_EQ(LinkState(hCLL), PDU_CLLST_ONLINE);
    StartWith(hCLL, PDU_COPT_SENDRECV, {0x21, 0x02}, Bytes(4, 0), {}, &refused);
    EXPECT_EQ(refused, PDU_ERR_CLL_NOT_STARTED);
}

TEST_F(SimComTest, StartCommunicationSendsItsPdu) {
    const struct {
        const char* what;
        UNUM32 resource;
        Bytes pdu;
        std::vector<Bytes> results;
        T_PDU_STATUS state;
    } cases[] = {
        {"K-Line StartCommunication", kKwpResource, {0x81}, {{0xC1, 0xEF, 0x8F}}, PDU_CLLST_COMM_STARTED},
        {"K-Line refused", kKwpResource, {0x81, 0x00}, {{0x7F, 0x81, 0x12}}, PDU_CLLST_ONLINE},
        {"K-Line without PDU", kKwpResource, {}, {}, PDU_CLLST_COMM_STARTED},
        {"CAN extended session", kUdsResource, {0x10, 0x03}, {{0x50, 0x03, 0x00, 0x32, 0x01, 0xF4}}, PDU_CLLST_COMM_STARTED},
        {"CAN without PDU", kUdsResource, {}, {}, PDU_CLLST_COMM_STARTED},
    };
    for (const auto& c : cases) {
        const UNUM32 hCLL = OpenLink(c.resource);
        std::vector<Bytes> results;
        for (const SeenEvent& e : Results(Run(hCLL, PDU_COPT_STARTCOMM, c.pdu))) results.push_back(e.data);
        EXPECT_EQ(results, c.results) << c.what;
        EXPECT_EQ(LinkState(hCLL), c.state) << c.what;
        api.PDUDisconnect(kModule, hCLL);
    }
    // The session the CAN StartCommunication asked for is what the ECU runs now.
    const UNUM32 hCLL = OpenLink(kUdsResource);
    Run(hCLL, PDU_COPT_STARTCOMM, {0x10, 0x03});
    EXPECT_EQ(FirstResult(Run(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x86})), (Bytes{0x62, 0xF1, 0x86, 0x03}));
}

TEST_F(SimComTest, TxFlagsSuppressPositiveResponseAnd29BitIds) {
    const UNUM32 hCLL = QuickUdsLink();
    const Bytes suppress{0x40, 0, 0, 0};
    const Bytes can29{0, 0, 0x01, 0};
    const struct {
        const char* what;
        Bytes pdu;
        Bytes flags;
        std::vector<Bytes> results;
        size_t timeouts;
    } cases[] = {
        {"positive answer suppressed, no time-out", {0x10, 0x03}, suppress, {}, 0},
        {"the request went out all the same", {0x22, 0xF1, 0x86}, Bytes(4, 0), {{0x62, 0xF1, 0x86, 0x03}}, 0},
        {"a negative answer comes through", {0x10, 0x02, 0x00}, suppress, {{0x7F, 0x10, 0x13}}, 0},
        {"11-bit id as a 29-bit frame reaches nobody", {0x3E, 0x00}, can29, {}, 1},
    };
    for (const auto& c : cases) {
        const auto events = Run(hCLL, PDU_COPT_SENDRECV, c.pdu, c.flags);
        std::vector<Bytes> results;
        for (const SeenEvent& e : Results(events)) results.push_back(e.data);
        EXPECT_EQ(results, c.results) << c.what;
        EXPECT_EQ(Errors(events, PDU_ERR_EVT_RX_TIMEOUT), c.timeouts) << c.what;
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back().status, PDU_COPST_FINISHED) << c.what;
    }
    // With the engine's 29-bit ids in the URID table the flag reaches it, and the answer says 29-bit.
    SetUrid(hCLL, 0x18DA10F1, 0x18DAF110);
    const auto results = Results(Run(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, can29));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].data, (Bytes{0x7E, 0x00}));
    EXPECT_EQ(results[0].urid, 7u);
    ASSERT_GE(results[0].rxFlags.size(), 3u);
    EXPECT_EQ(results[0].rxFlags[2] & 0x01, 0x01);
}

TEST_F(SimComTest, ExpectedResponsesPickTheirAcceptanceId) {
    const UNUM32 hCLL = QuickUdsLink();
    const ExpectedEntry negative{1, 1, {0xFF}, {0x7F}, {}};
    const ExpectedEntry vin{0, 2, {0xFF, 0xFF, 0xFF}, {0x62, 0xF1, 0x90}, {}};
    const ExpectedEntry anyPositive{0, 3, {0xF0}, {0x60}, {}};
    const ExpectedEntry never{0, 1, {0x00, 0x00}, {0xFF, 0xFF}, {}};  // what "no expected response" sends
    const struct {
        const char* what;
        Bytes pdu;
        std::vector<ExpectedEntry> expected;
        std::vector<UNUM32> acceptanceIds;  // of the results; empty: nothing delivered, a time-out
    } cases[] = {
        {"second pattern", {0x22, 0xF1, 0x90}, {negative, vin}, {2}},
        {"first pattern", {0x22, 0x12, 0x34}, {negative, vin}, {1}},
        {"first match wins", {0x22, 0xF1, 0x90}, {anyPositive, vin}, {3}},
        {"matches none", {0x22, 0xF1, 0x8C}, {negative, vin}, {}},
        {"never matches", {0x22, 0xF1, 0x90}, {never}, {}},
        {"mask longer than the answer", {0x3E, 0x00}, {vin}, {}},
        {"URID that answered", {0x22, 0xF1, 0x90}, {{0, 4, {0xFF}, {0x62}, {1}}}, {4}},
        {"URID that did not", {0x22, 0xF1, 0x90}, {{0, 4, {0xFF}, {0x62}, {9}}}, {}},
        {"no entries take all", {0x22, 0xF1, 0x90}, {}, {0}},
    };
    for (const auto& c : cases) {
        const auto events = Run(hCLL, PDU_COPT_SENDRECV, c.pdu, Bytes(4, 0), c.expected);
        std::vector<UNUM32> ids;
        for (const SeenEvent& e : Results(events)) ids.push_back(e.acceptanceId);
        EXPECT_EQ(ids, c.acceptanceIds) << c.what;
        EXPECT_EQ(Errors(events, PDU_ERR_EVT_RX_TIMEOUT), c.acceptanceIds.empty() ? 1u : 0u) << c.what;
    }
}

TEST_F(SimComTest, MessageFiltersPassAndBlockByResponseId) {
    const UNUM32 hCLL = QuickUdsLink();
    const auto filter = [](UNUM32 type, UNUM32 number, Bytes pattern) {
        PDU_IO_FILTER_DATA f{type, number, static_cast<UNUM32>(pattern.size()), {}, {}};
        std::fill(std::begin(f.FilterMaskMessage), std::end(f.FilterMaskMessage), 0xFF);
        std::copy(pattern.begin(), pattern.end(), f.FilterPatternMessage);
        return f;
    };
    const auto start = [&](std::vector<PDU_IO_FILTER_DATA> filters) {
        PDU_IO_FILTER_LIST list{static_cast<UNUM32>(filters.size()), filters.data()};
        PDU_DATA_ITEM item{PDU_IT_IO_FILTER, &list};
        return IoCtl(hCLL, "PDU_IOCTL_START_MSG_FILTER", &item);
    };
    const auto stop = [&](UNUM32 number) {
        PDU_DATA_ITEM item{PDU_IT_IO_UNUM32, &number};
        return IoCtl(hCLL, "PDU_IOCTL_STOP_MSG_FILTER", &item);
    };
    const auto answered = [&] { return Results(Run(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90})).size() == 1; };

    const Bytes engineId{0x00, 0x00, 0x07, 0xE8};
    const struct {
        const char* what;
        std::function<T_PDU_ERROR()> action;
        T_PDU_ERROR result;
        bool answered;
    } steps[] = {
        {"block the engine's id", [&] { return start({filter(PDU_FLT_BLOCK, 1, engineId)}); }, PDU_STATUS_NOERROR, false},
        {"stop the block", [&] { return stop(1); }, PDU_STATUS_NOERROR, true},
        {"pass the transmission only", [&] { return start({filter(PDU_FLT_PASS, 2, {0x00, 0x00, 0x07, 0xE9})}); }, PDU_STATUS_NOERROR, false},
        {"and a pass on id and service", [&] { return start({filter(PDU_FLT_PASS, 3, {0x00, 0x00, 0x07, 0xE8, 0x62})}); }, PDU_STATUS_NOERROR, true},
        {"a block beats a pass", [&] { return start({filter(PDU_FLT_BLOCK, 4, {0x00, 0x00, 0x07, 0xE8, 0x62, 0xF1})}); }, PDU_STATUS_NOERROR, false},
        {"clear them all", [&] { return IoCtl(hCLL, "PDU_IOCTL_CLEAR_MSG_FILTER", nullptr); }, PDU_STATUS_NOERROR, true},
        {"UUDT filters leave USDT answers alone", [&] { return start({filter(PDU_FLT_BLOCK_UUDT, 5, engineId)}); }, PDU_STATUS_NOERROR, true},
        {"a number never started", [&] { return stop(77); }, PDU_ERR_INVALID_PARAMETERS, true},
        {"compare size over 12", [&] { auto f = filter(PDU_FLT_BLOCK, 6, engineId); f.FilterCompareSize = 13; return start({f}); },
         PDU_ERR_INVALID_PARAMETERS, true},
        {"unknown type", [&] { return start({filter(7, 6, engineId)}); }, PDU_ERR_INVALID_PARAMETERS, true},
        {"no data", [&] { return IoCtl(hCLL, "PDU_IOCTL_START_MSG_FILTER", nullptr); }, PDU_ERR_INVALID_PARAMETERS, true},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(step.action(), step.result) << step.what;
        EXPECT_EQ(answered(), step.answered) << step.what;
    }
}

TEST_F(SimComTest, ResourceLocksKeepOtherLinksOut) {
    const UNUM32 a = OpenLink(kUdsResource);
    const UNUM32 b = OpenLink(kUdsResource);
    const UNUM32 elsewhere = OpenLink(kUdsOtherPinsResource);
    const UNUM32 watcher = OpenLink(kUdsResource);  // never read until the end
    const auto startB = [&] {
        T_PDU_ERROR e = PDU_STATUS_NOERROR;
        if (const UNUM32 hCop = StartWith(b, PDU_COPT_SENDRECV, {0x3E, 0x00}, Bytes(4, 0), {}, &e)) Collect(b, hCop);
        return e;
    };
    const struct {
        const char* what;
        std::function<T_PDU_ERROR()> call;
        T_PDU_ERROR result;
    } steps[] = {
        {"A locks the transmit queue", [&] { return api.PDULockResource(kModule, a, 0x2); }, PDU_STATUS_NOERROR},
        {"A again", [&] { return api.PDULockResource(kModule, a, 0x2); }, PDU_STATUS_NOERROR},
        {"B wants it too", [&] { return api.PDULockResource(kModule, b, 0x2); }, PDU_ERR_RSC_LOCKED_BY_OTHER_CLL},
        {"B may not send", startB, PDU_ERR_RSC_LOCKED},
        {"another resource is free", [&] { return api.PDULockResource(kModule, elsewhere, 0x3); }, PDU_STATUS_NOERROR},
        {"B locks the physical ComParams", [&] { return api.PDULockResource(kModule, b, 0x1); }, PDU_STATUS_NOERROR},
        {"A wants both", [&] { return api.PDULockResource(kModule, a, 0x3); }, PDU_ERR_RSC_LOCKED_BY_OTHER_CLL},
        {"A unlocks what it does not hold", [&] { return api.PDUUnlockResource(kModule, a, 0x1); }, PDU_ERR_RSC_NOT_LOCKED},
        {"a mask of nothing", [&] { return api.PDULockResource(kModule, a, 0); }, PDU_ERR_INVALID_PARAMETERS},
        {"a mask of unknown bits", [&] { return api.PDUUnlockResource(kModule, a, 0x4); }, PDU_ERR_INVALID_PARAMETERS},
        {"A unlocks", [&] { return api.PDUUnlockResource(kModule, a, 0x2); }, PDU_STATUS_NOERROR},
        {"B sends again", startB, PDU_STATUS_NOERROR},
        {"B's disconnect ends its lock", [&] { return api.PDUDisconnect(kModule, b); }, PDU_STATUS_NOERROR},
        {"so A gets it", [&] { return api.PDULockResource(kModule, a, 0x1); }, PDU_STATUS_NOERROR},
    };
    for (const auto& step : steps) EXPECT_EQ(step.call(), step.result) << step.what;

    PDU_RSC_STATUS_DATA entry{kModule, kUdsResource, 0};
    PDU_RSC_STATUS_ITEM status{PDU_IT_RSC_STATUS, 1, &entry};
    ASSERT_EQ(api.PDUGetResourceStatus(&status), PDU_STATUS_NOERROR);
    EXPECT_EQ(entry.ResourceStatus & PDU_RSCST_LOCKED, PDU_RSCST_LOCKED);

    // Every change of the resource's locks was told to the other links, and only a change.
    std::vector<SeenEvent> events;
    PDU_EVENT_ITEM* item = nullptr;
    while (api.PDUGetEventItem(kModule, watcher, &item) == PDU_STATUS_NOERROR) {
        events.push_back(Copy(*item));
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    }
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [](const SeenEvent& e) { return e.type == PDU_IT_INFO && e.status == PDU_INFO_RSC_LOCK_CHG; }),
              5);

    // With A holding the physical ComParams, C cannot change the baud rate, but other ComParams.
    const UNUM32 c = OpenLink(kUdsResource);
    SetUnum32(c, "CP_P2Max", 30000);
    const auto update = Run(c, PDU_COPT_UPDATEPARAM, {});
    ASSERT_FALSE(update.empty());
    EXPECT_EQ(update.back().status, PDU_COPST_FINISHED);
    SetUnum32(c, "CP_Baudrate", 250000);
    T_PDU_ERROR refused = PDU_STATUS_NOERROR;
    StartWith(c, PDU_COPT_UPDATEPARAM, {}, Bytes(4, 0), {}, &refused);
    EXPECT_EQ(refused, PDU_ERR_RSC_LOCKED);
}

TEST_F(SimComTest, EventQueuePropertiesLimitTheLinkQueue) {
    const struct {
        const char* what;
        T_PDU_QUEUE_MODE mode;
        std::vector<std::pair<T_PDU_IT, UNUM32>> kept;  // type, status (0 for a result)
    } cases[] = {
        {"limited keeps the oldest", 1, {{PDU_IT_STATUS, PDU_CLLST_ONLINE}, {PDU_IT_STATUS, PDU_COPST_EXECUTING}}},
        {"circular keeps the newest", 2, {{PDU_IT_RESULT, 0}, {PDU_IT_STATUS, PDU_COPST_FINISHED}}},
    };
    for (const auto& c : cases) {
        const UNUM32 hCLL = OpenLink(kUdsResource, false);
        ASSERT_EQ(api.PDURegisterEventCallback(kModule, hCLL, &LostCounter::Callback), PDU_STATUS_NOERROR);
        PDU_IO_EVENT_QUEUE_PROPERTY_DATA properties{2, c.mode};
        PDU_DATA_ITEM item{PDU_IT_IO_EVENT_QUEUE_PROPERTY, &properties};
        ASSERT_EQ(IoCtl(hCLL, "PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", &item), PDU_STATUS_NOERROR) << c.what;
        ASSERT_EQ(api.PDUConnect(kModule, hCLL), PDU_STATUS_NOERROR);
        const unsigned long lostBefore = LostCounter::Lost(hCLL);
        const UNUM32 hCop = StartWith(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00});
        // Nobody reads until the ComPrimitive has ended; the bound only keeps a broken build from hanging.
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        for (int i = 0; i < 10000; ++i) {
            ASSERT_EQ(api.PDUGetStatus(kModule, hCLL, hCop, &status, &timestamp, &extra), PDU_STATUS_NOERROR);
            if (status == PDU_COPST_FINISHED && LostCounter::Lost(hCLL) > lostBefore) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(status, PDU_COPST_FINISHED) << c.what;
        EXPECT_GT(LostCounter::Lost(hCLL), lostBefore) << c.what;
        std::vector<std::pair<T_PDU_IT, UNUM32>> kept;
        PDU_EVENT_ITEM* event = nullptr;
        while (api.PDUGetEventItem(kModule, hCLL, &event) == PDU_STATUS_NOERROR) {
            const SeenEvent e = Copy(*event);
            kept.push_back({e.type, e.type == PDU_IT_RESULT ? 0 : e.status});
            api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(event));
        }
        EXPECT_EQ(kept, c.kept) << c.what;
    }
    const UNUM32 hCLL = OpenLink(kUdsResource, false);
    const struct { UNUM32 size; T_PDU_QUEUE_MODE mode; T_PDU_ERROR result; } bad[] = {
        {0, 1, PDU_ERR_INVALID_PARAMETERS}, {5, 7, PDU_ERR_INVALID_PARAMETERS}, {0, 0, PDU_STATUS_NOERROR}};
    for (const auto& b : bad) {
        PDU_IO_EVENT_QUEUE_PROPERTY_DATA properties{b.size, b.mode};
        PDU_DATA_ITEM item{PDU_IT_IO_EVENT_QUEUE_PROPERTY, &properties};
        EXPECT_EQ(IoCtl(hCLL, "PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", &item), b.result) << b.size << " " << b.mode;
    }
    EXPECT_EQ(IoCtl(hCLL, "PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", nullptr), PDU_ERR_INVALID_PARAMETERS);
}

TEST_F(SimComTest, TesterPresentRunsWhileCommunicationIsStarted) {
    const struct {
        const char* what;
        Bytes message;
        UNUM32 responseRequired;
        bool errors;
    } cases[] = {
        {"negative answer", {0x3E, 0x05}, 0, true},
        {"no answer where one is required", {0x3E, 0x80}, 1, true},
        {"positive answer", {0x3E, 0x00}, 0, false},
        {"suppressed answer", {0x3E, 0x80}, 0, false},
    };
    for (const auto& c : cases) {
        const UNUM32 hCLL = OpenLink(kUdsResource);
        SetUnum32(hCLL, "CP_TesterPresentHandling", 1);
        SetUnum32(hCLL, "CP_TesterPresentTime", 5000);
        SetUnum32(hCLL, "CP_TesterPresentReqRsp", c.responseRequired);
        SetUnum32(hCLL, "CP_P2Max", 10000);
        SetBytes(hCLL, "CP_TesterPresentMessage", c.message);
        Activate(hCLL);
        Run(hCLL, PDU_COPT_STARTCOMM, {});
        if (c.errors) {
            const auto events = CollectUntil(hCLL, [](const std::vector<SeenEvent>& seen) {
                return Errors(seen, PDU_ERR_EVT_TESTER_PRESENT_ERROR) >= 2;
            });
            EXPECT_GE(Errors(events, PDU_ERR_EVT_TESTER_PRESENT_ERROR), 2u) << c.what;
            for (const SeenEvent& e : events) {
                if (IsError(e, PDU_ERR_EVT_TESTER_PRESENT_ERROR)) {
                    EXPECT_EQ(e.hCop, PDU_HANDLE_UNDEF) << c.what;
                }
            }
            T_PDU_ERR_EVT code = 0;
            UNUM32 cop = 0, ts = 0, extra = 0;
            ASSERT_EQ(api.PDUGetLastError(kModule, hCLL, &code, &cop, &ts, &extra), PDU_STATUS_NOERROR);
            EXPECT_EQ(code, PDU_ERR_EVT_TESTER_PRESENT_ERROR) << c.what;
            Run(hCLL, PDU_COPT_STOPCOMM, {});
        }
        // Several periods pass during the delay: stopped (or quiet), nothing shows.
        PDU_COP_CTRL_DATA control{40, 0, 0, 0, {0, nullptr}, 0, nullptr};
        UNUM32 hDelay = 0;
        ASSERT_EQ(api.PDUStartComPrimitive(kModule, hCLL, PDU_COPT_DELAY, 0, nullptr, &control, nullptr, &hDelay),
                  PDU_STATUS_NOERROR);
        const auto quiet = Collect(hCLL, hDelay);
        EXPECT_EQ(Errors(quiet, PDU_ERR_EVT_TESTER_PRESENT_ERROR), 0u) << c.what;
        EXPECT_TRUE(Results(quiet).empty()) << c.what;
        api.PDUDisconnect(kModule, hCLL);
    }
}

}  // namespace
