// The maker's monitor service of the simulated library, driven through its object interfaces as
// the bench drives them after dlopen: hardware, links, items, parameters and injected throws.
#include <atomic>
#include <cstdlib>
#include <functional>
#include <set>
#include <thread>

#include "SimApi.h"

namespace {

constexpr uint32_t kZentaStick = 518;
constexpr const char* kHardware = "ZentaStick#ZS-100231";
constexpr const char* kCanBus = "ISO_11898_2_DWCAN";

// Objects the test holds, given back whatever way a case ends.
struct Held {
    KdMonitorService* service = nullptr;
    KdMonitorLink* link = nullptr;
    KdObject* item = nullptr;
    bool hardwareOpen = false;
    ~Held()
    {
        if (item) item->Release();
        if (link) {
            try {
                link->Close(0);
            } catch (const KdException&) {
            }
            link->Release();
        }
        if (hardwareOpen) {
            try {
                service->CloseHardware(kZentaStick, kHardware);
            } catch (const KdException&) {
            }
        }
    }
};

class SimMonitorServiceTest : public SimFixture {
protected:
    void TearDown() override
    {
        unsetenv("PDUSIM_FAULTS");
        SimFixture::TearDown();
    }
    // Constructs the library again with the given faults.
    void Restart(const std::string& faults)
    {
        api.PDUDestruct();
        setenv("PDUSIM_FAULTS", faults.c_str(), 1);
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), this), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUModuleConnect(kModule), PDU_STATUS_NOERROR);
    }
    void OpenLink(Held& held, const char* traffic)
    {
        held.service = api.MonitorService(kModule);
        ASSERT_NE(held.service, nullptr);
        held.service->OpenHardware(kZentaStick, kHardware, -1);
        held.hardwareOpen = true;
        held.link = held.service->GetMonitorLink(held.service->CreateMonitorLink(kZentaStick, kHardware, kCanBus, -1));
        held.link->SetTextValue(traffic, "Traffic");
    }
    // The first object of an opened canned link.
    void FirstItem(Held& held)
    {
        OpenLink(held, "canned");
        held.link->Open();
        const uint32_t handle = 0x100 + 1;
        for (int i = 0; i < 5000 && held.item == nullptr; ++i) {
            held.item = held.link->GetItem(handle);
            if (held.item == nullptr) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_NE(held.item, nullptr);
    }
    static KdMonitorItem& Item(Held& held) { return static_cast<KdMonitorItem&>(*held.item); }
};

TEST_F(SimMonitorServiceTest, HardwareAndBusesOfTheModulesOnly)
{
    KdMonitorService* service = api.MonitorService(kModule);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->GetType(), uint32_t{KD_OBJT_SERVICE});
    EXPECT_EQ(api.MonitorService(3), nullptr) << "the DoIP entity has no monitor service";
    struct Case {
        uint32_t type;
        const char* name;
        int32_t code;  // 0: opens
    };
    const Case cases[] = {
        {kZentaStick, kHardware, 0},
        {569, "BrontoMax#BM-200417", 0},
        {569, kHardware, 0x301},
        {541, "Virtual DoIP Entity", 0x301},
        {527, "VSI-2534", 0x301},
    };
    for (const Case& c : cases) {
        try {
            service->OpenHardware(c.type, c.name, -1);
            EXPECT_EQ(c.code, 0) << c.name;
            service->CloseHardware(c.type, c.name);
        } catch (const KdException& e) {
            EXPECT_EQ(e.GetCode(), c.code) << c.name;
            EXPECT_STREQ(e.GetWhere(), "OpenHardware");
        }
    }
    EXPECT_THROW(service->CreateMonitorLink(kZentaStick, kHardware, kCanBus, -1), KdException) << "not opened";
    service->OpenHardware(kZentaStick, kHardware, -1);
    EXPECT_THROW(service->CreateMonitorLink(kZentaStick, kHardware, "IEEE_802_3", -1), KdException);
    EXPECT_NE(service->CreateMonitorLink(kZentaStick, kHardware, "ISO_9141_2_UART", -1), 0u);
    service->CloseHardware(kZentaStick, kHardware);
    EXPECT_THROW(service->CloseHardware(kZentaStick, kHardware), KdException);
}

TEST_F(SimMonitorServiceTest, ParameterSetHasEveryTypeTheEditorShows)
{
    Held held;
    OpenLink(held, "bus");
    KdParamSet& set = *held.link;
    std::map<std::string, uint32_t> types;
    for (uint32_t i = 0; i < set.GetCount(); ++i) types[set.GetName(i)] = set.GetType(set.GetName(i));
    EXPECT_EQ(types.at("Baudrate"), uint32_t{KDT_PAR_TYPE_U32});
    EXPECT_EQ(types.at("CANFDBaudrate"), uint32_t{KDT_PAR_TYPE_U32});
    EXPECT_EQ(types.at("SamplePointOffset"), uint32_t{KDT_PAR_TYPE_S32});
    EXPECT_EQ(types.at("AcceptanceMask"), uint32_t{KDT_PAR_TYPE_U8_ARRAY});
    EXPECT_EQ(types.at("ListenIds"), uint32_t{KDT_PAR_TYPE_U32_ARRAY});
    EXPECT_EQ(types.at("Traffic"), uint32_t{KDT_PAR_TYPE_TCHAR});
    EXPECT_EQ(std::count_if(types.begin(), types.end(), [](const auto& t) {
                  return t.second != KDT_PAR_TYPE_U32 && t.second != KDT_PAR_TYPE_S32 && t.second != KDT_PAR_TYPE_U8_ARRAY &&
                         t.second != KDT_PAR_TYPE_U32_ARRAY && t.second != KDT_PAR_TYPE_TCHAR;
              }),
              1);
    set.SetS32(-7, "SamplePointOffset");
    EXPECT_EQ(set.GetS32("SamplePointOffset"), -7);
    const uint8_t mask[2] = {0x12, 0x34};
    set.SetU8Array(2, mask, "AcceptanceMask");
    uint8_t back[4] = {};
    ASSERT_EQ(set.GetArraySize("AcceptanceMask"), 2u);
    set.GetU8Array(4, back, "AcceptanceMask");
    EXPECT_EQ(back[1], 0x34);
    EXPECT_THROW(set.GetU32("NoSuchParameter"), KdException);
    EXPECT_THROW(set.GetU32("Traffic"), KdException) << "a text is no number";
}

TEST_F(SimMonitorServiceTest, BackgroundTrafficComesInNoticesOfSeveralItemsAsItsBusCarriesThem)
{
    static std::atomic<int> notices{0};
    static std::atomic<uint32_t> handle{0};
    struct Case {
        const char* bus;
        std::set<uint32_t> kinds;
    };
    const Case cases[] = {
        {kCanBus, {KD_IT_CAN_RX, KD_IT_CAN_TX, KD_IT_CANFD_RX, KD_IT_CHIP_STATE}},
        {"ISO_14230_1_UART", {KD_IT_KLINE_RX, KD_IT_KLINE_TX}},
    };
    for (const Case& c : cases) {
        notices = 0;
        KdMonitorService* service = api.MonitorService(kModule);
        service->OpenHardware(kZentaStick, kHardware, -1);
        KdMonitorLink* link = service->GetMonitorLink(service->CreateMonitorLink(kZentaStick, kHardware, c.bus, -1));
        link->SetU32(20000, "TrafficRate");
        link->SetEventCallback([](uint32_t h, KdObject* notice) {
            handle = h;
            if (notice->GetType() == KD_OBJT_EVENT) ++notices;
        });
        link->Open();
        EXPECT_THROW(link->Open(), KdException);
        size_t items = 0;
        std::set<uint32_t> kinds;
        for (int i = 0; i < 5000 && items < 400; ++i) {
            while (KdObject* object = link->GetItem(handle)) {
                kinds.insert(static_cast<KdMonitorItem*>(object)->GetItemType());
                object->Release();
                ++items;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        link->Close(0);
        EXPECT_THROW(link->Close(0), KdException);
        link->Release();
        service->CloseHardware(kZentaStick, kHardware);
        EXPECT_GE(items, 400u) << c.bus;
        EXPECT_LT(notices.load(), static_cast<int>(items)) << "several items a notice";
        EXPECT_EQ(kinds, c.kinds) << c.bus;
    }
}

TEST_F(SimMonitorServiceTest, FramesOfTheModulesLogicalLinksAreMirrored)
{
    Held held;
    OpenLink(held, "bus");
    held.link->SetU32(0, "TrafficRate");
    held.link->Open();
    const UNUM32 hCLL = QuickUdsLink();
    Run(hCLL, PDU_COPT_SENDRECV, {0x22, 0xf1, 0x90});
    std::vector<std::pair<uint32_t, uint32_t>> seen;  // type, id
    for (int i = 0; i < 2000 && seen.size() < 4; ++i) {
        while (KdObject* object = held.link->GetItem(0x101)) {
            auto* item = static_cast<KdMonitorItem*>(object);
            seen.emplace_back(item->GetItemType(), item->GetId());
            object->Release();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_GE(seen.size(), 2u);
    EXPECT_EQ(seen[0], std::make_pair(uint32_t{KD_IT_CAN_TX}, 0x7e0u)) << "the request, as transmitted";
    EXPECT_EQ(seen[1], std::make_pair(uint32_t{KD_IT_CAN_RX}, 0x7e8u)) << "the answer's first frame";
}

TEST_F(SimMonitorServiceTest, AnUnloadLeavesTheCodeOfLiveObjectsMapped)
{
    Held held;
    FirstItem(held);
    void* second = dlopen(QUILLON_RUNTIME_DIR "/libpdusim.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(second, nullptr);
    dlclose(second);
    dlclose(api.library);
    EXPECT_NE(dlopen(QUILLON_RUNTIME_DIR "/libpdusim.so", RTLD_NOW | RTLD_NOLOAD), nullptr);
    // The objects still answer after the host let go of the library.
    EXPECT_EQ(Item(held).GetItemType(), uint32_t{KD_IT_CAN_RX});
    api.library = dlopen(QUILLON_RUNTIME_DIR "/libpdusim.so", RTLD_NOW | RTLD_LOCAL);
}

// Every slot of every interface, thrown from by PDUSIM_FAULTS and caught here.
TEST_F(SimMonitorServiceTest, AThrowFromEveryMethodIsCaughtByTheBench)
{
    using Call = std::function<void(Held&)>;
    struct Case {
        const char* method;
        int level;  // 0 service, 1 link, 2 item
        Call call;
    };
    const auto svc = [](Held& h) -> KdMonitorService& { return *h.service; };
    const auto link = [](Held& h) -> KdMonitorLink& { return *h.link; };
    const auto item = [](Held& h) -> KdMonitorItem& { return Item(h); };
    uint8_t c15, c30;
    uint32_t u32s[4];
    uint8_t u8s[4];
    const std::vector<Case> cases = {
        {"ServiceReserved0", 0, [&](Held& h) { svc(h).ServiceReserved0(); }},
        {"OpenHardware", 0, [&](Held& h) { svc(h).OpenHardware(kZentaStick, kHardware, -1); }},
        {"GetMonitorLink", 1, nullptr},
        {"CreateMonitorLink", 1, nullptr},
        {"CloseHardware", 0, [&](Held& h) {
             svc(h).OpenHardware(kZentaStick, kHardware, -1);
             svc(h).CloseHardware(kZentaStick, kHardware);
         }},
        {"ServiceReserved15", 0, [&](Held& h) { svc(h).ServiceReserved15(); }},
        {"Open", 1, [&](Held& h) { link(h).Open(); }},
        {"Close", 1, [&](Held& h) {
             link(h).Open();
             link(h).Close(0);
         }},
        {"GetItem", 1, [&](Held& h) { link(h).GetItem(0x101); }},
        {"ApplyParams", 1, [&](Held& h) { link(h).ApplyParams(); }},
        {"SetEventCallback", 1, [&](Held& h) { link(h).SetEventCallback(nullptr); }},
        {"LinkReserved8", 1, [&](Held& h) { link(h).LinkReserved8(); }},
        {"GetCount", 1, [&](Held& h) { link(h).GetCount(); }},
        {"GetName", 1, [&](Held& h) { link(h).GetName(0); }},
        {"GetType", 1, [&](Held& h) { static_cast<KdParamSet&>(link(h)).GetType("Baudrate"); }},
        {"GetArraySize", 1, [&](Held& h) { link(h).GetArraySize("ListenIds"); }},
        {"GetU32", 1, [&](Held& h) { link(h).GetU32("Baudrate"); }},
        {"SetU32", 1, [&](Held& h) { link(h).SetU32(1, "Baudrate"); }},
        {"GetS32", 1, [&](Held& h) { link(h).GetS32("SamplePointOffset"); }},
        {"SetS32", 1, [&](Held& h) { link(h).SetS32(1, "SamplePointOffset"); }},
        {"GetU8Array", 1, [&](Held& h) { link(h).GetU8Array(4, u8s, "AcceptanceMask"); }},
        {"SetU8Array", 1, [&](Held& h) { link(h).SetU8Array(4, u8s, "AcceptanceMask"); }},
        {"GetU32Array", 1, [&](Held& h) { link(h).GetU32Array(4, u32s, "ListenIds"); }},
        {"SetU32Array", 1, [&](Held& h) { link(h).SetU32Array(4, u32s, "ListenIds"); }},
        {"GetTextValue", 1, [&](Held& h) { link(h).GetTextValue("Traffic"); }},
        {"GetDataLength", 2, [&](Held& h) { item(h).GetDataLength(); }},
        {"GetTimestamp", 2, [&](Held& h) { item(h).GetTimestamp(); }},
        {"GetId", 2, [&](Held& h) { item(h).GetId(); }},
        {"GetItemType", 2, [&](Held& h) { item(h).GetItemType(); }},
        {"GetData", 2, [&](Held& h) { item(h).GetData(); }},
        {"GetClampState", 2, [&](Held& h) { item(h).GetClampState(&c15, &c30); }},
        {"GetSubType", 2, [&](Held& h) { item(h).GetSubType(); }},
        {"ItemReserved14", 2, [&](Held& h) { item(h).ItemReserved14(); }},
    };
    for (const Case& c : cases) {
        Restart(std::string("throw:") + c.method + "=0x77");
        Held held;
        try {
            held.service = api.MonitorService(kModule);
            ASSERT_NE(held.service, nullptr);
            if (c.level == 1) OpenLink(held, "bus");
            if (c.level == 2) FirstItem(held);
            if (c.call) c.call(held);
            ADD_FAILURE() << c.method << " did not throw";
        } catch (const KdException& e) {
            EXPECT_EQ(e.GetCode(), 0x77) << c.method;
            EXPECT_STREQ(e.GetText(), "Injected fault");
            EXPECT_STREQ(e.GetWhere(), c.method);
        }
    }
}

}  // namespace
