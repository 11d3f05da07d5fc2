// Logical links on the DoIP resource send their requests over TCP to the entity of their module.
#include <arpa/inet.h>

#include <string>
#include <vector>

#include "SimApi.h"
#include "../support/ScopedEnvironment.h"

namespace {

constexpr UNUM32 kDoIpModule = 3;
constexpr UNUM32 kDoIpResource = 1010;

class DoIpLinkTest : public SimFixture {
protected:
    void SetUp() override {
        SimFixture::SetUp();
        module = kDoIpModule;
        ASSERT_EQ(api.PDUModuleConnect(kDoIpModule), PDU_STATUS_NOERROR);
    }
    // The module of the entity found at this address.
    UNUM32 Discover(const char* ip) {
        std::vector<uint8_t> address(4);
        inet_pton(AF_INET, ip, address.data());
        PDU_IP_ADDR_INFO destination{4, address.data()};
        PDU_IO_VEHICLE_ID_REQUEST request{0, nullptr, 0, 5000, 1, &destination};
        PDU_DATA_ITEM item{PDU_IT_IO_VEHICLE_ID_REQUEST, &request};
        EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_VEHICLE_ID_REQUEST"), &item, nullptr),
                  PDU_STATUS_NOERROR);
        PDU_MODULE_ITEM* list = nullptr;
        EXPECT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
        UNUM32 found = PDU_HANDLE_UNDEF;
        for (UNUM32 i = 0; list != nullptr && i < list->NumEntries; ++i)
            if (std::string(list->pModuleData[i].pVendorAdditionalInfo).find(std::string("'") + ip + "'") != std::string::npos)
                found = list->pModuleData[i].hMod;
        if (list != nullptr) api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
        return found;
    }

    const ScopedEnvironments env{{{"PDUSIM_DOIP_ADDR", "127.44.0.2"}, {"PDUSIM_DOIP_SILENT_ADDR", "127.44.0.4"}}};
};

TEST_F(DoIpLinkTest, RequestsGoToTheEntityOfTheModule) {
    const UNUM32 silent = Discover("127.44.0.4");
    ASSERT_NE(silent, PDU_HANDLE_UNDEF);
    ASSERT_EQ(api.PDUModuleConnect(silent), PDU_STATUS_NOERROR);
    const std::vector<uint8_t> vin = {0x62, 0xF1, 0x90, 'W', 'Q', 'U', '0', 'S', 'I', 'M', 'U',
                                      'L',  'A',  'T',  'O', 'R', '0', '0', '0', '1'};
    const struct {
        const char* what;
        UNUM32 hMod;
        std::vector<uint8_t> request;
        std::vector<std::vector<uint8_t>> answers;
        size_t timeouts;
    } cases[] = {
        {"the vehicle's entity", kDoIpModule, {0x22, 0xF1, 0x90}, {vin}, 0},
        {"again on the same connection", kDoIpModule, {0x3E, 0x00}, {{0x7E, 0x00}}, 0},
        {"a negative answer", kDoIpModule, {0x22, 0x12, 0x34}, {{0x7F, 0x22, 0x31}}, 0},
        {"an entity that never activates routing", silent, {0x22, 0xF1, 0x90}, {}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        module = c.hMod;
        const UNUM32 hCLL = OpenLink(kDoIpResource);
        SetUnum32(hCLL, "CP_P2Max", 300000);  // the silent entity's time-out need not take the default's 2 s
        Activate(hCLL);
        const std::vector<SeenEvent> events = Run(hCLL, PDU_COPT_SENDRECV, c.request);
        std::vector<std::vector<uint8_t>> answers;
        for (const SeenEvent& e : Results(events)) answers.push_back(e.data);
        EXPECT_EQ(answers, c.answers);
        EXPECT_EQ(Errors(events, PDU_ERR_EVT_RX_TIMEOUT), c.timeouts);
    }
}

}  // namespace
