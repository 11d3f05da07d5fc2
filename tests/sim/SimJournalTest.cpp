// The journal of what a host sent, fault injection per IOCTL and per object name, and the WLAN
// answer set from the environment.
#include <cstdio>
#include <fstream>
#include <sstream>

#include "SimApi.h"

namespace {

// Sets the library's variables for one PDUConstruct and takes them away again.
class SimEnvironment {
public:
    SimEnvironment(std::initializer_list<std::pair<const char*, std::string>> values) {
        for (const auto& [name, value] : values) {
            setenv(name, value.c_str(), 1);
            m_names.push_back(name);
        }
    }
    ~SimEnvironment() {
        for (const char* name : m_names) unsetenv(name);
    }

private:
    std::vector<const char*> m_names;
};

std::vector<std::string> Lines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST(SimJournalTest, ComParamUridFilterAndVendorIoCtlsOneLineEach) {
    const std::string journal = ::testing::TempDir() + "sim_journal.txt";
    std::remove(journal.c_str());
    SimApi api;
    {
        SimEnvironment env{{"PDUSIM_JOURNAL", journal},
                           {"PDUSIM_FAULTS", "fail:PDUIoCtl:PDU_IOCTL_SET_BROKER_ADDR=0x11;"
                                             "fail:PDUGetObjectId:PDU_IOCTL_RESET=0x50"}};
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    }
    ASSERT_EQ(api.PDUModuleConnect(1), PDU_STATUS_NOERROR);
    UNUM32 hCLL = 0;
    ASSERT_EQ(api.PDUCreateComLogicalLink(1, nullptr, 1001, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDUConnect(1, hCLL), PDU_STATUS_NOERROR);

    UNUM32 p2 = 20000;
    PDU_PARAM_ITEM param{PDU_IT_PARAM, api.ComParamId("CP_P2Max"), PDU_PT_UNUM32, PDU_PC_TIMING, &p2};
    EXPECT_EQ(api.PDUSetComParam(1, hCLL, &param), PDU_STATUS_NOERROR);
    UNUM32 req = 0x7E5, resp = 0x7ED;
    PDU_PARAM_ITEM ids[2] = {{PDU_IT_PARAM, api.ComParamId("CP_CanPhysReqId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &req},
                             {PDU_IT_PARAM, api.ComParamId("CP_CanRespUSDTId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &resp}};
    PDU_ECU_UNIQUE_RESP_DATA entry{5, 2, ids};
    PDU_UNIQUE_RESP_ID_TABLE_ITEM table{PDU_IT_UNIQUE_RESP_ID_TABLE, 1, &entry};
    EXPECT_EQ(api.PDUSetUniqueRespIdTable(1, hCLL, &table), PDU_STATUS_NOERROR);
    PDU_IO_FILTER_DATA filter{PDU_FLT_BLOCK, 1, 4, {0xFF, 0xFF, 0xFF, 0xFF}, {0x00, 0x00, 0x07, 0xE8}};
    PDU_IO_FILTER_LIST filters{1, &filter};
    PDU_DATA_ITEM filterItem{PDU_IT_IO_FILTER, &filters};
    EXPECT_EQ(api.PDUIoCtl(1, hCLL, api.IoCtlId("PDU_IOCTL_START_MSG_FILTER"), &filterItem, nullptr),
              PDU_STATUS_NOERROR);
    // A standard IOCTL that answers for itself leaves no line.
    EXPECT_EQ(api.PDUIoCtl(1, hCLL, api.IoCtlId("PDU_IOCTL_SUSPEND_TX_QUEUE"), nullptr, nullptr), PDU_STATUS_NOERROR);
    char url[] = "mqtt://10.0.0.9";
    PDU_DATA_ITEM broker{PDU_IT_IO_BROKER_ADDR, url};
    EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_SET_BROKER_ADDR"), &broker,
                           nullptr),
              PDU_ERR_COMM_PC_TO_VCI_FAILED);
    UNUM32 id = 0;
    EXPECT_EQ(api.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<char*>("PDU_IOCTL_RESET"), &id),
              PDU_ERR_INVALID_PARAMETERS);
    EXPECT_EQ(id, PDU_ID_UNDEF);
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);

    char handles[64];
    std::snprintf(handles, sizeof handles, "hMod=0x1 hCLL=0x%x ", hCLL);
    const std::vector<std::string> expected = {
        std::string("PDUSetComParam ") + handles + "CP_P2Max=20000 -> 0x0",
        std::string("PDUSetUniqueRespIdTable ") + handles +
            "entries=1 URID 5 {CP_CanPhysReqId=2021, CP_CanRespUSDTId=2029} -> 0x0",
        std::string("PDUIoCtl ") + handles +
            "PDU_IOCTL_START_MSG_FILTER filters=1 {type=2 number=1 size=4 mask=ff ff ff ff pattern=00 00 07 e8} -> 0x0",
        "PDUIoCtl hMod=0xffffffff hCLL=0xffffffff PDU_IOCTL_SET_BROKER_ADDR url=\"mqtt://10.0.0.9\" -> 0x11",
    };
    EXPECT_EQ(Lines(journal), expected);
}

TEST(SimJournalTest, WlanAnswerFromTheEnvironment) {
    SimApi api;
    {
        SimEnvironment env{{"PDUSIM_WLAN", "mode=1; mask=0x201;ssid=0123456789abcdef0123456789ABCDEFtoo long"}};
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    }
    const auto answer = [&api](UNUM32 hMod) {
        EXPECT_EQ(api.PDUModuleConnect(hMod), PDU_STATUS_NOERROR);
        PDU_DATA_ITEM* output = nullptr;
        EXPECT_EQ(api.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_GET_WLAN_SIGNAL_DATA"), nullptr, &output),
                  PDU_STATUS_NOERROR);
        PDU_IO_WLAN_SIGNAL_DATA data{};
        if (output != nullptr) std::memcpy(&data, output->pData, sizeof data);
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
        return data;
    };
    const PDU_IO_WLAN_SIGNAL_DATA wlan = answer(2);
    EXPECT_EQ(wlan.Mode, 1u);
    EXPECT_EQ(wlan.ValidMask, 0x201u);
    EXPECT_EQ(wlan.Channel, 36u);  // unset fields keep the default answer
    EXPECT_EQ(std::string(wlan.Ssid, sizeof wlan.Ssid), "0123456789abcdef0123456789ABCDEF");
    // The module without WLAN has no connection and nothing valid.
    const PDU_IO_WLAN_SIGNAL_DATA none = answer(1);
    EXPECT_EQ(none.Mode, 0u);
    EXPECT_EQ(none.ValidMask, 0u);
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
}
