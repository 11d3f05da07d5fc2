// What the items of a link tell: ComPrimitive states in their order, result timestamps, flags and
// extra info, vendor error ids, and the infos other links cause.
#include <fstream>
#include <sstream>

#include "SimApi.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Item = std::pair<T_PDU_IT, UNUM32>;  // item type, status (0 for a result)
using Seq = std::vector<Item>;

constexpr UNUM32 kKwpResource = 1008;
constexpr UNUM32 kObdKLineResource = 1009;
constexpr UNUM32 kDoIpResource = 1010;
constexpr UNUM32 kUdsOtherPinsResource = 1006;
constexpr UNUM32 kCanModule2 = 2;
constexpr UNUM32 kDoIpModule = 3;

Seq Of(const std::vector<SeenEvent>& events, UNUM32 hCop) {
    Seq seq;
    for (const SeenEvent& e : events)
        if (e.hCop == hCop) seq.push_back({e.type, e.type == PDU_IT_RESULT ? 0 : e.status});
    return seq;
}

size_t IndexOf(const std::vector<SeenEvent>& events, UNUM32 hCop, UNUM32 status) {
    for (size_t i = 0; i < events.size(); ++i)
        if (events[i].hCop == hCop && events[i].type == PDU_IT_STATUS && events[i].status == status) return i;
    return SIZE_MAX;
}

// The id the description file gives a vendor error, read the way a host reads it.
UNUM32 MdfErrorId(const std::string& name) {
    std::ifstream file(QUILLON_SOURCE_DIR "/data/pdusim_mdf.xml");
    std::stringstream text;
    text << file.rdbuf();
    const std::string mdf = text.str();
    const size_t at = mdf.find("<SHORT_NAME>" + name + "</SHORT_NAME>");
    const size_t id = at == std::string::npos ? std::string::npos : mdf.rfind("<ID>", at);
    return id == std::string::npos ? 0 : static_cast<UNUM32>(std::strtoul(mdf.c_str() + id + 4, nullptr, 0));
}

const Item kExec{PDU_IT_STATUS, PDU_COPST_EXECUTING};
const Item kWait{PDU_IT_STATUS, PDU_COPST_WAITING};
const Item kIdle{PDU_IT_STATUS, PDU_COPST_IDLE};
const Item kDone{PDU_IT_STATUS, PDU_COPST_FINISHED};
const Item kCancelled{PDU_IT_STATUS, PDU_COPST_CANCELLED};
const Item kResult{PDU_IT_RESULT, 0};

class SimEventTest : public SimFixture {
protected:
    UNUM32 QuickLink(UNUM32 resource = kUdsResource) {
        const UNUM32 hCLL = OpenLink(resource);
        SetUnum32(hCLL, "CP_P2Max", 20000);
        Activate(hCLL);
        return hCLL;
    }
    T_PDU_ERROR IoCtlUnum32(UNUM32 hCLL, const char* name, UNUM32 value) {
        PDU_DATA_ITEM item{PDU_IT_IO_UNUM32, &value};
        return IoCtl(hCLL, name, &item);
    }
    std::vector<SeenEvent> RunCop(UNUM32 hCLL, T_PDU_COPT type, Bytes pdu, CopOptions options = {}) {
        const UNUM32 hCop = StartCop(hCLL, type, std::move(pdu), std::move(options));
        return hCop != 0 ? Collect(hCLL, hCop) : std::vector<SeenEvent>{};
    }
};

TEST_F(SimEventTest, ComPrimitiveStatesComeInTheirOrder) {
    const UNUM32 hCLL = QuickLink();
    const Bytes tp{0x3E, 0x00};
    const struct {
        const char* what;
        std::function<std::vector<UNUM32>()> start;  // the ComPrimitives; the last one ends the collection
        std::vector<Seq> expected;
    } cases[] = {
        {"queued behind a running one",
         [&] { return std::vector<UNUM32>{StartCop(hCLL, PDU_COPT_SENDRECV, tp, {}), StartCop(hCLL, PDU_COPT_SENDRECV, tp, {})}; },
         {{kExec, kResult, kDone}, {kIdle, kExec, kResult, kDone}}},
        {"cyclic with a period waits between its cycles",
         [&] { return std::vector<UNUM32>{StartCop(hCLL, PDU_COPT_SENDRECV, tp, Cycles(3, 1, 50))}; },
         {{kExec, kResult, kWait, kExec, kResult, kWait, kExec, kResult, kDone}}},
        {"back to back does not wait",
         [&] { return std::vector<UNUM32>{StartCop(hCLL, PDU_COPT_SENDRECV, tp, Cycles(3, 1, 0))}; },
         {{kExec, kResult, kResult, kResult, kDone}}},
        {"cancelled while it waited its turn",
         [&] {
             CopOptions delay;
             delay.timeMs = 50;
             const UNUM32 first = StartCop(hCLL, PDU_COPT_DELAY, {}, delay);
             const UNUM32 second = StartCop(hCLL, PDU_COPT_SENDRECV, tp, {});
             EXPECT_EQ(api.PDUCancelComPrimitive(module, hCLL, second), PDU_STATUS_NOERROR);
             return std::vector<UNUM32>{second, first};
         },
         {{kIdle, kCancelled}, {kExec, kDone}}},
    };
    for (const auto& c : cases) {
        const std::vector<UNUM32> cops = c.start();
        const auto events = Collect(hCLL, cops.back());
        for (size_t i = 0; i < cops.size(); ++i)
            EXPECT_EQ(Of(events, cops[i]), c.expected[i]) << c.what << ", ComPrimitive " << i;
        Drain(hCLL);
    }
    // A cyclic send runs beside the queue: neither waits for the other.
    const UNUM32 cyclic = StartCop(hCLL, PDU_COPT_SENDRECV, tp, Cycles(-1, 1, 30));
    const UNUM32 single = StartCop(hCLL, PDU_COPT_SENDRECV, tp, {});
    auto besides = Collect(hCLL, single);
    ASSERT_EQ(api.PDUCancelComPrimitive(module, hCLL, cyclic), PDU_STATUS_NOERROR);
    const auto rest = Collect(hCLL, cyclic);
    besides.insert(besides.end(), rest.begin(), rest.end());
    EXPECT_EQ(Of(besides, single), (Seq{kExec, kResult, kDone}));
    const Seq cycles = Of(besides, cyclic);
    ASSERT_FALSE(cycles.empty());
    EXPECT_EQ(cycles.front(), kExec);
    EXPECT_EQ(cycles.back(), kCancelled);

    // The queued one starts only once the first one has finished.
    const UNUM32 first = StartCop(hCLL, PDU_COPT_SENDRECV, tp, {});
    const UNUM32 second = StartCop(hCLL, PDU_COPT_SENDRECV, tp, {});
    const auto events = Collect(hCLL, second);
    EXPECT_LT(IndexOf(events, first, PDU_COPST_FINISHED), IndexOf(events, second, PDU_COPST_EXECUTING));
}

TEST_F(SimEventTest, SuspendedQueueHoldsNewComPrimitivesIdle) {
    const UNUM32 hCLL = QuickLink();
    ASSERT_EQ(IoCtl(hCLL, "PDU_IOCTL_SUSPEND_TX_QUEUE", nullptr), PDU_STATUS_NOERROR);
    const UNUM32 single = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, {});
    const UNUM32 cyclic = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 10));
    // A delay on the other link lets the scheduler run; nothing of the suspended link may start.
    const UNUM32 other = QuickLink();
    CopOptions delay;
    delay.timeMs = 30;
    Collect(other, StartCop(other, PDU_COPT_DELAY, {}, delay));
    for (UNUM32 hCop : {single, cyclic}) {
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        ASSERT_EQ(api.PDUGetStatus(module, hCLL, hCop, &status, &timestamp, &extra), PDU_STATUS_NOERROR);
        EXPECT_EQ(status, PDU_COPST_IDLE);
    }
    ASSERT_EQ(IoCtl(hCLL, "PDU_IOCTL_RESUME_TX_QUEUE", nullptr), PDU_STATUS_NOERROR);
    auto events = Collect(hCLL, single);
    EXPECT_EQ(Of(events, single), (Seq{kIdle, kExec, kResult, kDone}));
    ASSERT_EQ(api.PDUCancelComPrimitive(module, hCLL, cyclic), PDU_STATUS_NOERROR);
    const auto rest = Collect(hCLL, cyclic);
    events.insert(events.end(), rest.begin(), rest.end());
    const Seq seq = Of(events, cyclic);
    ASSERT_GE(seq.size(), 3u);
    EXPECT_EQ(seq.front(), kIdle);
    EXPECT_EQ(seq[1], kExec);
    EXPECT_EQ(seq.back(), kCancelled);
}

TEST_F(SimEventTest, ResultTimestampsFollowTheBus) {
    const UNUM32 hCLL = QuickLink();
    // The VIN is a segmented answer: four frames (first, flow control, two consecutive) at 500 kbit/s.
    const auto vin = Results(RunCop(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90}));
    ASSERT_EQ(vin.size(), 1u);
    const SeenEvent& r = vin[0];
    ASSERT_EQ(r.timestampFlags.size(), 4u);
    EXPECT_EQ(r.timestampFlags[0], 0xC0);  // Tx done and start of message valid
    EXPECT_NEAR(static_cast<double>(r.startMsg) - r.txDone, 5000.0, 2.0);  // the engine answers after 5 ms
    EXPECT_NEAR(static_cast<double>(r.timestamp) - r.startMsg, 4 * 222.0, 2.0);
    ASSERT_EQ(r.rxFlags.size(), 4u);
    EXPECT_EQ(r.rxFlags[3], 0x40);  // segmented
    // A single frame answer takes one frame time.
    const auto single = Results(RunCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}));
    ASSERT_EQ(single.size(), 1u);
    EXPECT_NEAR(static_cast<double>(single[0].timestamp) - single[0].startMsg, 222.0, 2.0);
    EXPECT_EQ(single[0].rxFlags[3], 0x00);

    // A receive-only ComPrimitive sent nothing: only the start of the message is known.
    const UNUM32 raw = OpenLink(kRawResource);
    const UNUM32 hCop = StartCop(raw, PDU_COPT_SENDRECV, {}, Cycles(0, 1, 0));
    const auto heard = Results(Collect(raw, hCop));
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].timestampFlags, (Bytes{0x40, 0, 0, 0}));
}

TEST_F(SimEventTest, StartOfMessageIndicationPrecedesSegmentedAnswers) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    SetUnum32(hCLL, "CP_StartMsgIndEnable", 1);
    Activate(hCLL);
    const UNUM32 hCop = StartCop(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90}, {});
    const auto events = Collect(hCLL, hCop);
    EXPECT_EQ(Of(events, hCop), (Seq{kExec, kResult, kResult, kDone}));
    const auto results = Results(events);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_TRUE(results[0].data.empty());
    EXPECT_EQ(results[0].rxFlags[3], 0x02);  // start of message
    EXPECT_EQ(results[0].urid, 1u);
    EXPECT_EQ(results[0].timestamp, results[1].startMsg);
    EXPECT_EQ(results[1].data.size(), 20u);
    // A single frame answer has no start of its own to tell.
    EXPECT_EQ(Results(RunCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00})).size(), 1u);
}

TEST_F(SimEventTest, ExtraInfoShowsWhatTheBusCarried) {
    ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);
    const Bytes localId{0x21, 0x01};
    const struct {
        const char* what;
        UNUM32 module;
        UNUM32 resource;
        Bytes pdu;
        bool startComm;
        Bytes header;
        Bytes footer;
    } cases[] = {
        {"CAN: the response id", kModule, kUdsResource, {0x22, 0xF1, 0x90}, false, {0x00, 0x00, 0x07, 0xE8}, {}},
        {"KWP 2000: format, target, source; checksum", kModule, kKwpResource, localId, true, {0x86, 0xF1, 0x10}, {0x7A}},
        {"ISO 9141: priority, target, source; checksum", kModule, kObdKLineResource, localId, true, {0x48, 0x6B, 0x10}, {0xB6}},
        {"DoIP: source and target address", kDoIpModule, kDoIpResource, {0x22, 0xF1, 0x90}, false, {0x10, 0x01, 0x0E, 0x00}, {}},
    };
    for (const auto& c : cases) {
        module = c.module;
        const UNUM32 hCLL = OpenLink(c.resource);
        if (c.startComm) RunCop(hCLL, PDU_COPT_STARTCOMM, {0x81});
        CopOptions options;
        options.flags = {0x20, 0, 0, 0};
        const auto with = Results(RunCop(hCLL, PDU_COPT_SENDRECV, c.pdu, options));
        ASSERT_EQ(with.size(), 1u) << c.what;
        EXPECT_TRUE(with[0].extraInfo) << c.what;
        EXPECT_EQ(with[0].header, c.header) << c.what;
        EXPECT_EQ(with[0].footer, c.footer) << c.what;
        const auto without = Results(RunCop(hCLL, PDU_COPT_SENDRECV, c.pdu));
        ASSERT_EQ(without.size(), 1u) << c.what;
        EXPECT_FALSE(without[0].extraInfo) << c.what;
    }
}

TEST_F(SimEventTest, ErrorsCarryTheVendorIdsOfTheDescriptionFile) {
    const ExpectedEntry never{0, 1, {0x00, 0x00}, {0xFF, 0xFF}, {}};
    const struct {
        const char* what;
        std::function<std::vector<SeenEvent>(UNUM32& hCLL)> run;
        T_PDU_ERR_EVT code;
        const char* vendorError;  // null: no extra id
    } cases[] = {
        {"nobody answers",
         [&](UNUM32& hCLL) {
             hCLL = QuickLink();
             SetUrid(hCLL, 0x7E5, 0x7ED);
             return RunCop(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90});
         },
         PDU_ERR_EVT_RX_TIMEOUT, "MRVNE_ERR_NO_ECU_RESPONSE"},
        {"the answer fits no expected response",
         [&](UNUM32& hCLL) {
             hCLL = QuickLink();
             CopOptions options;
             options.expected = {never};
             return RunCop(hCLL, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90}, options);
         },
         PDU_ERR_EVT_RX_TIMEOUT, "MRVNE_ERR_UNEXPECTED_FRAME"},
        {"a K-Line ECU that does not wake up",
         [&](UNUM32& hCLL) {
             hCLL = OpenLink(kKwpResource);
             UNUM32 address = 0x20;  // no ECU there
             PDU_PARAM_ITEM param{PDU_IT_PARAM, api.ComParamId("CP_EcuRespSourceAddress"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &address};
             PDU_ECU_UNIQUE_RESP_DATA entry{1, 1, &param};
             PDU_UNIQUE_RESP_ID_TABLE_ITEM table{PDU_IT_UNIQUE_RESP_ID_TABLE, 1, &entry};
             EXPECT_EQ(api.PDUSetUniqueRespIdTable(module, hCLL, &table), PDU_STATUS_NOERROR);
             auto events = RunCop(hCLL, PDU_COPT_STARTCOMM, {0x81});
             EXPECT_EQ(LinkState(hCLL), PDU_CLLST_ONLINE);
             return events;
         },
         PDU_ERR_EVT_INIT_ERROR, "MRVNE_ERR_KLINE_INIT_FAILED"},
        {"a raw frame no CAN bus can carry",
         [&](UNUM32& hCLL) {
             hCLL = OpenLink(kRawResource);
             return RunCop(hCLL, PDU_COPT_SENDRECV, {0x00, 0x01, 0x00});
         },
         PDU_ERR_EVT_TX_ERROR, nullptr},
        {"the VCI is gone",
         [&](UNUM32& hCLL) {
             module = kCanModule2;
             EXPECT_EQ(api.PDUModuleConnect(module), PDU_STATUS_NOERROR);
             hCLL = OpenLink(kUdsResource);
             const UNUM32 hCop = StartCop(hCLL, PDU_COPT_SENDRECV, {0x3E, 0x00}, Cycles(-1, 1, 10));
             UNUM32 number = kCanModule2;
             PDU_DATA_ITEM input{PDU_IT_IO_UNUM32, &number};
             EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId(PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE), &input,
                                    nullptr),
                       PDU_STATUS_NOERROR);
             // Its handle is gone until it is back; the link's queue waits.
             PDU_EVENT_ITEM* item = nullptr;
             EXPECT_EQ(api.PDUGetEventItem(module, hCLL, &item), PDU_ERR_INVALID_HANDLE);
             EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId(PDU_IOCTL_MRVNE_SIM_PLUG_MODULE), &input,
                                    nullptr),
                       PDU_STATUS_NOERROR);
             const std::vector<SeenEvent> events = Drain(hCLL);
             EXPECT_EQ(Of(events, hCop).back(), kCancelled);
             return events;
         },
         PDU_ERR_EVT_LOST_COMM_TO_VCI, "MRVNE_ERR_VCI_LOST"},
    };
    for (const auto& c : cases) {
        module = kModule;
        UNUM32 hCLL = 0;
        const auto events = c.run(hCLL);
        const auto error = std::find_if(events.begin(), events.end(), [&](const SeenEvent& e) { return IsError(e, c.code); });
        ASSERT_NE(error, events.end()) << c.what;
        const UNUM32 extra = c.vendorError != nullptr ? MdfErrorId(c.vendorError) : 0;
        if (c.vendorError != nullptr) {
            EXPECT_NE(extra, 0u) << c.vendorError << " is missing in the description file";
        }
        EXPECT_EQ(error->extra, extra) << c.what;
        T_PDU_ERR_EVT code = 0;
        UNUM32 hCop = 0, timestamp = 0, lastExtra = 0;
        ASSERT_EQ(api.PDUGetLastError(module, hCLL, &code, &hCop, &timestamp, &lastExtra), PDU_STATUS_NOERROR) << c.what;
        EXPECT_EQ(code, c.code) << c.what;
        EXPECT_EQ(lastExtra, extra) << c.what;
    }
}

TEST_F(SimEventTest, PhysicalComParamChangeTellsTheOtherLinksOfTheResource) {
    const UNUM32 changer = OpenLink(kUdsResource);
    const UNUM32 neighbour = OpenLink(kUdsResource);
    const UNUM32 pending = OpenLink(kUdsResource);  // has a baud rate of its own waiting for UPDATEPARAM
    const UNUM32 elsewhere = OpenLink(kUdsOtherPinsResource);
    SetUnum32(pending, "CP_Baudrate", 125000);
    for (UNUM32 hCLL : {neighbour, pending, elsewhere}) Drain(hCLL);

    SetUnum32(changer, "CP_P2Max", 30000);  // no physical ComParam: nobody hears of it
    Activate(changer);
    SetUnum32(changer, "CP_Baudrate", 250000);
    Activate(changer);

    const UNUM32 baudId = api.ComParamId("CP_Baudrate");
    const auto infos = [&](UNUM32 hCLL) {
        std::vector<UNUM32> extras;
        for (const SeenEvent& e : Drain(hCLL))
            if (e.type == PDU_IT_INFO && e.status == PDU_INFO_PHYS_COMPARAM_CHG) extras.push_back(e.extra);
        return extras;
    };
    const auto baud = [&](UNUM32 hCLL) {
        PDU_PARAM_ITEM* item = nullptr;
        EXPECT_EQ(api.PDUGetComParam(module, hCLL, baudId, &item), PDU_STATUS_NOERROR);
        const UNUM32 value = item != nullptr ? *static_cast<UNUM32*>(item->pComParamData) : 0;
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
        return value;
    };
    EXPECT_EQ(infos(neighbour), std::vector<UNUM32>{baudId});
    EXPECT_EQ(baud(neighbour), 250000u);
    EXPECT_EQ(infos(pending), std::vector<UNUM32>{baudId});
    EXPECT_EQ(baud(pending), 125000u);  // what the host set and did not activate yet stays
    EXPECT_TRUE(infos(elsewhere).empty());
    EXPECT_TRUE(infos(changer).empty());
}

}  // namespace
