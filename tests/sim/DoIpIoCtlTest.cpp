// The DoIP IOCTLs through the API, against the library's own entities on loopback addresses of
// this test's own. Vehicle identification broadcasts, so the ctest entry holds the broadcast lock.
#include <arpa/inet.h>

#include <optional>
#include <set>
#include <thread>
#include <string>
#include <utility>
#include <vector>

#include "SimApi.h"
#include "../support/ScopedEnvironment.h"

namespace {

constexpr UNUM32 kDoIpModule = 3;
constexpr UNUM32 kCanModule = 1;
constexpr char kPrefix[] = "127.42.";

std::vector<uint8_t> Ipv4(const char* text) {
    std::vector<uint8_t> bytes(4);
    inet_pton(AF_INET, text, bytes.data());
    return bytes;
}

class DoIpIoCtlTest : public ::testing::Test {
protected:
    void Start(std::vector<std::pair<const char*, const char*>> env) {
        m_env.emplace(std::move(env));
        ASSERT_NE(api.library, nullptr);
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);
    }
    void TearDown() override {
        api.PDUDestruct();
        m_env.reset();
    }

    // A vehicle identification with one destination (none for an empty text).
    T_PDU_ERROR Identify(UNUM32 mode, const char* value, UNUM32 version, std::vector<uint8_t> address,
                         UNUM32 timeMs = 1000, T_PDU_IT type = PDU_IT_IO_VEHICLE_ID_REQUEST) {
        PDU_IP_ADDR_INFO destination{version, address.empty() ? nullptr : address.data()};
        PDU_IO_VEHICLE_ID_REQUEST request{mode, const_cast<char*>(value), 0, timeMs, version == 0 ? 0u : 1u,
                                          version == 0 ? nullptr : &destination};
        PDU_DATA_ITEM item{type, &request};
        return api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST"), &item,
                            nullptr);
    }

    T_PDU_ERROR Clear(UNUM32 hMod = PDU_HANDLE_UNDEF) {
        return api.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, api.IoCtlId(PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST), nullptr, nullptr);
    }

    // Addresses of this test's discovered entities, from the module list.
    std::set<std::string> Discovered() {
        std::set<std::string> found;
        PDU_MODULE_ITEM* list = nullptr;
        EXPECT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
        if (list == nullptr) return found;
        for (UNUM32 i = 0; i < list->NumEntries; ++i) {
            const std::string info = list->pModuleData[i].pVendorAdditionalInfo;
            const auto at = info.find("IPAddress='");
            if (list->pModuleData[i].hMod < 0x100 || at == std::string::npos) continue;
            const std::string ip = info.substr(at + 11, info.find('\'', at + 11) - at - 11);
            if (ip.rfind(kPrefix, 0) == 0) found.insert(ip);
        }
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
        return found;
    }

    // Module list changes on the system queue since the last look.
    size_t ListChanges() {
        size_t changes = 0;
        PDU_EVENT_ITEM* item = nullptr;
        while (api.PDUGetEventItem(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &item) == PDU_STATUS_NOERROR) {
            if (item->ItemType == PDU_IT_INFO && static_cast<PDU_INFO_DATA*>(item->pData)->InfoCode == PDU_INFO_MODULE_LIST_CHG)
                ++changes;
            api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
        }
        return changes;
    }

    T_PDU_ERROR AskEntity(const char* ioCtl, UNUM32 logical, UNUM32 timeoutMs, PDU_DATA_ITEM** out,
                          UNUM32 hMod = PDU_HANDLE_UNDEF, T_PDU_IT type = PDU_IT_IO_ENTITY_ADDRESS) {
        PDU_IO_ENTITY_ADDRESS_DATA address{logical, timeoutMs};
        PDU_DATA_ITEM item{type, &address};
        return api.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, api.IoCtlId(ioCtl), &item, out);
    }

    SimApi api;
    std::optional<ScopedEnvironments> m_env;
};

TEST_F(DoIpIoCtlTest, VehicleIdentificationFindsEntitiesAsModules) {
    Start({{"PDUSIM_DOIP_ADDR", "127.42.0.2"},
           {"PDUSIM_DOIP_DUPLICATE_ADDR", "127.42.0.3"},
           {"PDUSIM_DOIP_SILENT_ADDR", "127.42.0.4"},
           {"PDUSIM_DOIP_SILENT_LOGICAL", "0x1F42"}});
    const struct {
        const char* what;
        UNUM32 mode;
        const char* value;
        UNUM32 version;
        std::vector<uint8_t> address;
        T_PDU_IT type;
        T_PDU_ERROR result;
        std::set<std::string> found;
    } cases[] = {
        {"limited broadcast, rewritten", 0, nullptr, 4, Ipv4("255.255.255.255"), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_STATUS_NOERROR, {"127.42.0.2", "127.42.0.3", "127.42.0.4"}},
        {"no destination: the loopback broadcast", 0, nullptr, 0, {}, PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_STATUS_NOERROR,
         {"127.42.0.2", "127.42.0.3", "127.42.0.4"}},
        {"one entity", 0, "ignored without preselection", 4, Ipv4("127.42.0.3"), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_STATUS_NOERROR, {"127.42.0.3"}},
        {"by VIN", 1, "WQU0SIMULATOR0001", 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_STATUS_NOERROR,
         {"127.42.0.2"}},
        {"by EID", 2, "00:1A:37:00:00:03", 4, Ipv4("127.255.255.255"), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_STATUS_NOERROR, {"127.42.0.4"}},
        {"by another EID", 2, "001A37000009", 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_STATUS_NOERROR, {}},
        {"IPv6", 0, nullptr, 6, std::vector<uint8_t>(16, 0xFF), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED, {}},
        {"no address bytes", 0, nullptr, 4, {}, PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_ERR_INVALID_PARAMETERS, {}},
        {"IP version 5", 0, nullptr, 5, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_ERR_INVALID_PARAMETERS, {}},
        {"preselection mode 3", 3, "x", 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_ERR_INVALID_PARAMETERS, {}},
        {"VIN without a value", 1, nullptr, 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_ERR_INVALID_PARAMETERS, {}},
        {"VIN too short", 1, "WQU0SIM", 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST, PDU_ERR_INVALID_PARAMETERS, {}},
        {"EID that is no EID", 2, "00:1A:37:GG:00:01", 4, Ipv4("127.42.0.2"), PDU_IT_IO_VEHICLE_ID_REQUEST,
         PDU_ERR_INVALID_PARAMETERS, {}},
        {"another item type", 0, nullptr, 4, Ipv4("127.42.0.2"), PDU_IT_IO_ENTITY_ADDRESS, PDU_ERR_INVALID_PARAMETERS, {}},
    };
    ListChanges();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Identify(c.mode, c.value, c.version, c.address, 1000, c.type), c.result);
        EXPECT_EQ(Discovered(), c.found);
        const size_t changes = ListChanges();
        if (!c.found.empty()) {
            EXPECT_EQ(changes, 1u);
        } else if (c.version != 0 && c.address != Ipv4("127.255.255.255")) {
            EXPECT_EQ(changes, 0u);  // another process's entity may answer a broadcast
        }
        // A second request finds the same entities: the list does not change.
        if (c.address == Ipv4("127.42.0.3")) {
            EXPECT_EQ(Identify(c.mode, c.value, c.version, c.address), PDU_STATUS_NOERROR);
            EXPECT_EQ(ListChanges(), 0u);
        }
        EXPECT_EQ(Clear(), PDU_STATUS_NOERROR);
        EXPECT_EQ(Discovered(), std::set<std::string>{});
        if (!c.found.empty()) {
            EXPECT_EQ(ListChanges(), 1u);
        }
    }
    EXPECT_EQ(Clear(), PDU_STATUS_NOERROR);
    EXPECT_EQ(ListChanges(), 0u) << "an empty list did not change";
    EXPECT_EQ(Clear(kDoIpModule), PDU_STATUS_NOERROR) << "at module level as well";
}

TEST_F(DoIpIoCtlTest, DiscoveredEntitiesAreModulesOfTheirOwn) {
    Start({{"PDUSIM_DOIP_ADDR", "127.42.2.2"}});
    ASSERT_EQ(Identify(0, nullptr, 4, Ipv4("127.42.2.2")), PDU_STATUS_NOERROR);
    PDU_MODULE_ITEM* list = nullptr;
    ASSERT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
    const PDU_MODULE_DATA& entity = list->pModuleData[list->NumEntries - 1];
    const UNUM32 hMod = entity.hMod;
    EXPECT_EQ(entity.ModuleTypeId, 541u);
    EXPECT_STREQ(entity.pVendorModuleName, "Type='MVCI_ISO_13400_DoIP_Entity'");
    EXPECT_STREQ(entity.pVendorAdditionalInfo,
                 "VendorName='Morvane AG' EID='00:1A:37:00:00:01' LogicalAddress='0x1001' IPAddress='127.42.2.2'");
    EXPECT_EQ(entity.ModuleStatus, static_cast<UNUM32>(PDU_MODST_AVAIL));
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    // It connects and carries links as any module; clearing the list takes them along.
    ASSERT_EQ(api.PDUModuleConnect(hMod), PDU_STATUS_NOERROR);
    UNUM32 hCLL = 0;
    ASSERT_EQ(api.PDUCreateComLogicalLink(hMod, nullptr, 1010, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
    PDU_DATA_ITEM* out = nullptr;
    EXPECT_EQ(AskEntity("PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE", 0x1001, 1000, &out, hMod), PDU_STATUS_NOERROR);
    if (out != nullptr) api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
    ASSERT_EQ(Clear(), PDU_STATUS_NOERROR);
    EXPECT_EQ(api.PDUConnect(hMod, hCLL), PDU_ERR_INVALID_HANDLE);
    EXPECT_EQ(api.PDUModuleDisconnect(hMod), PDU_ERR_INVALID_HANDLE);
}

TEST_F(DoIpIoCtlTest, EntityStatusAndPowerModeAskTheEntity) {
    Start({{"PDUSIM_DOIP_ADDR", "127.42.1.2"},
           {"PDUSIM_DOIP_DUPLICATE_ADDR", "127.42.1.3"},
           {"PDUSIM_DOIP_SILENT_ADDR", "127.42.1.4"},
           {"PDUSIM_DOIP_SILENT_LOGICAL", "0x1F43"}});
    const char* const kStatus = "PDU_IOCTL_GET_ENTITY_STATUS";
    const char* const kPower = "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE";
    PDU_DATA_ITEM* out = nullptr;
    EXPECT_EQ(AskEntity(kStatus, 0x1001, 100, &out), PDU_ERR_INVALID_PARAMETERS) << "nothing discovered yet";
    for (const char* address : {"127.42.1.2", "127.42.1.3", "127.42.1.4"})
        ASSERT_EQ(Identify(0, nullptr, 4, Ipv4(address)), PDU_STATUS_NOERROR);
    const struct {
        const char* what;
        const char* ioCtl;
        UNUM32 logical;
        T_PDU_ERROR result;
    } cases[] = {
        {"two entities with one address", kStatus, 0x1001, PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS},
        {"two entities with one address", kPower, 0x1001, PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS},
        {"an entity that does not answer", kStatus, 0x1F43, PDU_ERR_DOIP_RESPONSE_TIMEOUT},
        {"an entity that does not answer", kPower, 0x1F43, PDU_ERR_DOIP_RESPONSE_TIMEOUT},
        {"no entity with that address", kStatus, 0x2222, PDU_ERR_INVALID_PARAMETERS},
        {"0 while several are known", kPower, 0, PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.what) + " " + c.ioCtl);
        out = reinterpret_cast<PDU_DATA_ITEM*>(1);
        EXPECT_EQ(AskEntity(c.ioCtl, c.logical, 200, &out), c.result);
        EXPECT_EQ(out, nullptr);
    }
    ASSERT_EQ(Clear(), PDU_STATUS_NOERROR);
    ASSERT_EQ(Identify(0, nullptr, 4, Ipv4("127.42.1.2")), PDU_STATUS_NOERROR);
    for (const UNUM32 logical : {0x1001u, 0u}) {
        SCOPED_TRACE(logical);
        ASSERT_EQ(AskEntity(kStatus, logical, 5000, &out), PDU_STATUS_NOERROR);
        ASSERT_EQ(out->ItemType, static_cast<T_PDU_IT>(PDU_IT_IO_ENTITY_STATUS));
        const auto* status = static_cast<PDU_IO_ENTITY_STATUS_DATA*>(out->pData);
        EXPECT_EQ(status->EntityType, 0u);  // gateway
        EXPECT_EQ(status->TcpClientsMax, 4u);
        EXPECT_EQ(status->TcpClients, 0u);
        EXPECT_EQ(status->MaxDataSize, 4096u);
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
        ASSERT_EQ(AskEntity(kPower, logical, 0, &out, kDoIpModule), PDU_STATUS_NOERROR);
        ASSERT_EQ(out->ItemType, static_cast<T_PDU_IT>(PDU_IT_IO_UNUM32));
        EXPECT_EQ(*static_cast<UNUM32*>(out->pData), 1u);  // ready
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
    }
    EXPECT_EQ(AskEntity(kStatus, 0x1001, 100, nullptr), PDU_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(AskEntity(kStatus, 0x1001, 100, &out, PDU_HANDLE_UNDEF, PDU_IT_IO_UNUM32), PDU_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(AskEntity(kPower, 0x1001, 100, &out, kCanModule), PDU_ERR_ID_NOT_SUPPORTED);
    EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId(kPower), nullptr, &out),
              PDU_ERR_INVALID_PARAMETERS);
}

TEST_F(DoIpIoCtlTest, EthernetActivationLine) {
    Start({{"PDUSIM_DOIP_ADDR", "127.42.3.2"}});
    const auto set = [&](UNUM32 hMod, UNUM32 pin, UNUM32 state) {
        PDU_IO_ETH_SWITCH_STATE data{state, pin};
        PDU_DATA_ITEM item{PDU_IT_IO_ETH_SWITCH_STATE, &data};
        return api.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_SET_ETH_SWITCH_STATE"), &item, nullptr);
    };
    const auto get = [&](const char* ioCtl, UNUM32 hMod, UNUM32 pin, UNUM32& value) {
        PDU_DATA_ITEM item{PDU_IT_IO_UNUM32, &pin};
        PDU_DATA_ITEM* out = nullptr;
        const T_PDU_ERROR result = api.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, api.IoCtlId(ioCtl), &item, &out);
        value = out != nullptr && out->ItemType == PDU_IT_IO_UNUM32 ? *static_cast<UNUM32*>(out->pData) : 0xDEAD;
        if (out != nullptr) api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
        return result;
    };
    const char* const kState = "PDU_IOCTL_GET_ETH_SWITCH_STATE";
    const char* const kOption = "PDU_IOCTL_GET_ETH_PIN_OPTION";
    UNUM32 value = 0;
    EXPECT_EQ(get(kState, kDoIpModule, 8, value), PDU_STATUS_NOERROR);
    EXPECT_EQ(value, 1u) << "the line is active from the start";
    for (const UNUM32 state : {0u, 1u}) {
        EXPECT_EQ(set(kDoIpModule, 8, state), PDU_STATUS_NOERROR);
        EXPECT_EQ(get(kState, kDoIpModule, 8, value), PDU_STATUS_NOERROR);
        EXPECT_EQ(value, state);
    }
    const struct {
        UNUM32 pin;
        T_PDU_ERROR result;
        UNUM32 option;
    } options[] = {{8, PDU_STATUS_NOERROR, 1}, {3, PDU_STATUS_NOERROR, 1},   {12, PDU_STATUS_NOERROR, 1},
                   {6, PDU_STATUS_NOERROR, 0}, {0, PDU_ERR_INVALID_PARAMETERS, 0xDEAD}, {17, PDU_ERR_INVALID_PARAMETERS, 0xDEAD}};
    for (const auto& o : options) {
        SCOPED_TRACE(o.pin);
        EXPECT_EQ(get(kOption, kDoIpModule, o.pin, value), o.result);
        EXPECT_EQ(value, o.option);
    }
    const struct {
        const char* what;
        T_PDU_ERROR result;
    } refusals[] = {
        {"another pin", set(kDoIpModule, 3, 1)},
        {"a state beyond on", set(kDoIpModule, 8, 2)},
        {"state of another pin", get(kState, kDoIpModule, 9, value)},
        {"no module", set(PDU_HANDLE_UNDEF, 8, 1)},
        {"a module without DoIP", set(kCanModule, 8, 1)},
    };
    const T_PDU_ERROR expected[] = {PDU_ERR_INVALID_PARAMETERS, PDU_ERR_INVALID_PARAMETERS, PDU_ERR_INVALID_PARAMETERS,
                                    PDU_ERR_INVALID_HANDLE, PDU_ERR_ID_NOT_SUPPORTED};
    for (size_t i = 0; i < std::size(refusals); ++i) EXPECT_EQ(refusals[i].result, expected[i]) << refusals[i].what;
    ASSERT_EQ(api.PDUModuleDisconnect(kDoIpModule), PDU_STATUS_NOERROR);
    EXPECT_EQ(set(kDoIpModule, 8, 1), PDU_ERR_MODULE_NOT_CONNECTED);
    EXPECT_EQ(Identify(0, nullptr, 4, Ipv4("127.42.3.2"), 100), PDU_STATUS_NOERROR) << "at system level, finding nothing";
    EXPECT_EQ(Discovered(), std::set<std::string>{});
}

}  // namespace

namespace {

// The library's lock is free while a vehicle identification waits: PDUDestruct may come between,
// and the request then ends without touching what is gone.
TEST_F(DoIpIoCtlTest, DestructWhileAnIdentificationWaits) {
    Start({{"PDUSIM_DOIP_ADDR", "127.42.4.2"}});
    const UNUM32 id = api.IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST");
    std::vector<uint8_t> address = Ipv4("127.42.4.9");  // nobody answers: it waits its whole time
    PDU_IP_ADDR_INFO destination{4, address.data()};
    PDU_IO_VEHICLE_ID_REQUEST request{0, nullptr, 0, 300, 1, &destination};
    PDU_DATA_ITEM item{PDU_IT_IO_VEHICLE_ID_REQUEST, &request};
    T_PDU_ERROR result = PDU_STATUS_NOERROR;
    std::thread identification([&] { result = api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, id, &item, nullptr); });
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
    identification.join();
    EXPECT_TRUE(result == PDU_STATUS_NOERROR || result == PDU_ERR_PDUAPI_NOT_CONSTRUCTED) << result;
    ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    EXPECT_EQ(Discovered(), std::set<std::string>{});
}

}  // namespace
