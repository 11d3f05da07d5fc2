#include <unistd.h>

#include "SimApi.h"

TEST(SimSystemTest, CallsBeforeConstructionAndTwiceConstructed) {
    SimApi api;
    ASSERT_NE(api.library, nullptr);
    PDU_MODULE_ITEM* modules = nullptr;
    EXPECT_EQ(api.PDUGetModuleIds(&modules), PDU_ERR_PDUAPI_NOT_CONSTRUCTED);
    EXPECT_EQ(api.PDUDestruct(), PDU_ERR_PDUAPI_NOT_CONSTRUCTED);
    ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    EXPECT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_ERR_SHARING_VIOLATION);
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
}

TEST(SimSystemTest, ConstructDestructLoopLeavesNothing) {
    SimApi api;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUModuleConnect(1), PDU_STATUS_NOERROR);
        UNUM32 hCLL = 0;
        ASSERT_EQ(api.PDUCreateComLogicalLink(1, nullptr, 1001, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUConnect(1, hCLL), PDU_STATUS_NOERROR);  // leaves a queued event behind on purpose
        ASSERT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
    }
}

TEST_F(SimFixture, ModuleListNamesTheModelsFirst) {
    PDU_MODULE_ITEM* list = nullptr;
    ASSERT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
    ASSERT_EQ(list->NumEntries, 3u);
    const struct { UNUM32 type; const char* name; T_PDU_STATUS status; } expected[] = {
        {518, "ModuleName='ZentaStick'", PDU_MODST_READY},
        {569, "ModuleName='BrontoMax'", PDU_MODST_AVAIL},
        {541, "Type='MVCI_ISO_13400_DoIP_Entity'", PDU_MODST_AVAIL}};
    for (UNUM32 i = 0; i < 3; ++i) {
        EXPECT_EQ(list->pModuleData[i].ModuleTypeId, expected[i].type);
        EXPECT_STREQ(list->pModuleData[i].pVendorModuleName, expected[i].name);
        EXPECT_NE(std::strstr(list->pModuleData[i].pVendorAdditionalInfo, "VendorName='Morvane AG'"), nullptr);
        EXPECT_EQ(list->pModuleData[i].ModuleStatus, expected[i].status);
    }
    EXPECT_EQ(api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list)), PDU_STATUS_NOERROR);
    EXPECT_EQ(api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list)), PDU_ERR_INVALID_PARAMETERS);
}

TEST_F(SimFixture, VersionStatusAndTimestamp) {
    PDU_VERSION_DATA version{};
    ASSERT_EQ(api.PDUGetVersion(kModule, &version), PDU_STATUS_NOERROR);
    EXPECT_STREQ(version.VendorName, "Morvane AG");
    EXPECT_STREQ(version.HwName, "ZentaStick");
    T_PDU_STATUS status = 0;
    UNUM32 timestamp = 0, extra = 0;
    ASSERT_EQ(api.PDUGetStatus(kModule, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra),
              PDU_STATUS_NOERROR);
    EXPECT_EQ(status, PDU_MODST_READY);
    ASSERT_EQ(api.PDUModuleDisconnect(kModule), PDU_STATUS_NOERROR);
    ASSERT_EQ(api.PDUGetStatus(kModule, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra),
              PDU_STATUS_NOERROR);
    EXPECT_EQ(status, PDU_MODST_AVAIL);
}

TEST_F(SimFixture, ModuleIoCtlsAnswerUnum32) {
    const struct { const char* name; UNUM32 input; bool withInput; UNUM32 expected; } cases[] = {
        {"PDU_IOCTL_READ_VBATT", 0, false, 12600},
        {"PDU_IOCTL_GET_CABLE_ID", 0, false, 100},
        {"PDU_IOCTL_READ_IGNITION_SENSE_STATE", 16, true, 1},
        {"PDU_IOCTL_READ_IGNITION_SENSE_STATE", 7, true, 0},
    };
    for (const auto& c : cases) {
        UNUM32 value = c.input;
        PDU_DATA_ITEM input{PDU_IT_IO_UNUM32, &value};
        PDU_DATA_ITEM* output = nullptr;
        // A host may pass 0 for "no link" on a module IOCTL.
        ASSERT_EQ(api.PDUIoCtl(kModule, 0, api.IoCtlId(c.name), c.withInput ? &input : nullptr, &output),
                  PDU_STATUS_NOERROR) << c.name;
        ASSERT_NE(output, nullptr);
        EXPECT_EQ(output->ItemType, PDU_IT_IO_UNUM32);
        EXPECT_EQ(*static_cast<UNUM32*>(output->pData), c.expected) << c.name;
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
    }
}

TEST_F(SimFixture, ProgrammingVoltageRangeAndReadBack) {
    const struct { SNUM32 millivolt; T_PDU_ERROR result; } cases[] = {
        {4999, PDU_ERR_VOLTAGE_NOT_SUPPORTED}, {20001, PDU_ERR_VOLTAGE_NOT_SUPPORTED},
        {-1, PDU_STATUS_NOERROR}, {5000, PDU_STATUS_NOERROR}, {18000, PDU_STATUS_NOERROR}};
    for (const auto& c : cases) {
        PDU_IO_PROG_VOLTAGE_DATA data{static_cast<UNUM32>(c.millivolt), 13};
        PDU_DATA_ITEM input{PDU_IT_IO_PROG_VOLTAGE, &data};
        EXPECT_EQ(api.PDUIoCtl(kModule, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_SET_PROG_VOLTAGE"), &input, nullptr),
                  c.result) << c.millivolt;
    }
    PDU_DATA_ITEM* output = nullptr;
    ASSERT_EQ(api.PDUIoCtl(kModule, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_READ_PROG_VOLTAGE"), nullptr, &output),
              PDU_STATUS_NOERROR);
    EXPECT_EQ(*static_cast<UNUM32*>(output->pData), 18000u);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
}

TEST_F(SimFixture, VendorIoCtlsTakeTheirRecords) {
    PDU_PIN_DATA pins[2] = {{6, 0}, {14, 0}};
    PDU_BUS_TRC_CONFIG trace{1, 2, pins, 1, 1000000, nullptr, nullptr};
    PDU_IO_BYTEARRAY_DATA array{sizeof(trace), reinterpret_cast<UNUM8*>(&trace)};
    PDU_DATA_ITEM input{PDU_IT_IO_BYTEARRAY, &array};
    EXPECT_EQ(api.PDUIoCtl(kModule, 0, api.IoCtlId("PDU_IOCTL_BUS_TRACE"), &input, nullptr), PDU_STATUS_NOERROR);
    array.DataSize = 12;
    EXPECT_EQ(api.PDUIoCtl(kModule, 0, api.IoCtlId("PDU_IOCTL_BUS_TRACE"), &input, nullptr),
              PDU_ERR_INVALID_PARAMETERS);
    PDU_IO_TRACE_OPTIONS options{1, const_cast<char*>("/tmp/trace"), 1};
    PDU_DATA_ITEM optionItem{PDU_IT_IO_TRACE_OPTIONS, &options};
    EXPECT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_SET_TRACE_OPTIONS"), &optionItem,
                           nullptr),
              PDU_STATUS_NOERROR);
    PDU_DATA_ITEM* output = nullptr;
    ASSERT_EQ(api.PDUIoCtl(kModule, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_GET_WLAN_SIGNAL_DATA"), nullptr, &output),
              PDU_STATUS_NOERROR);
    EXPECT_EQ(output->ItemType, PDU_IT_IO_WLAN_SIGNAL_DATA);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(output));
    // DoIP IOCTLs are not offered by a CAN/K-Line VCI.
    EXPECT_EQ(api.PDUIoCtl(kModule, PDU_HANDLE_UNDEF, api.IoCtlId("PDU_IOCTL_GET_ENTITY_STATUS"), nullptr, &output),
              PDU_ERR_ID_NOT_SUPPORTED);
}

TEST_F(SimFixture, ResourceIdsMatchBusProtocolAndPins) {
    PDU_PIN_DATA can[2] = {{6, 1}, {14, 2}};
    PDU_PIN_DATA wrongType[2] = {{6, 2}, {14, 1}};
    const struct { UNUM32 bus, protocol; PDU_PIN_DATA* pins; std::vector<UNUM32> ids; } cases[] = {
        {1, 1, can, {1001}}, {1, 6, can, {1004}}, {1, 1, wrongType, {}}, {3, 1, can, {}}};
    for (const auto& c : cases) {
        PDU_RSC_DATA wanted{c.bus, c.protocol, 2, c.pins};
        PDU_RSC_ID_ITEM* list = nullptr;
        ASSERT_EQ(api.PDUGetResourceIds(kModule, &wanted, &list), PDU_STATUS_NOERROR);
        ASSERT_EQ(list->NumModules, 1u);
        const auto& entry = list->pResourceIdDataArray[0];
        EXPECT_EQ(entry.hMod, kModule);
        EXPECT_EQ(std::vector<UNUM32>(entry.pResourceIdArray, entry.pResourceIdArray + entry.NumIds), c.ids);
        api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    }
}

TEST_F(SimFixture, ResourceStatusShowsUse) {
    PDU_RSC_STATUS_DATA data{kModule, kUdsResource, 0xFF};
    PDU_RSC_STATUS_ITEM item{PDU_IT_RSC_STATUS, 1, &data};
    ASSERT_EQ(api.PDUGetResourceStatus(&item), PDU_STATUS_NOERROR);
    EXPECT_EQ(data.ResourceStatus, 0u);
    OpenLink(kUdsResource, false);
    ASSERT_EQ(api.PDUGetResourceStatus(&item), PDU_STATUS_NOERROR);
    EXPECT_EQ(data.ResourceStatus, PDU_RSCST_IN_USE);
    data.ResourceId = 1010;  // the DoIP resource is not on this module
    EXPECT_EQ(api.PDUGetResourceStatus(&item), PDU_ERR_ID_NOT_SUPPORTED);
}

TEST_F(SimFixture, HotPlugRaisesModuleListChange) {
    const unsigned long seen = CallbackCounter::Instance().Count();
    UNUM32 number = 2;
    PDU_DATA_ITEM input{PDU_IT_IO_UNUM32, &number};
    ASSERT_EQ(api.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, api.IoCtlId(PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE), &input,
                           nullptr),
              PDU_STATUS_NOERROR);
    ASSERT_TRUE(CallbackCounter::Instance().WaitBeyond(seen));
    PDU_EVENT_ITEM* item = nullptr;
    ASSERT_EQ(api.PDUGetEventItem(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &item), PDU_STATUS_NOERROR);
    EXPECT_EQ(item->ItemType, PDU_IT_INFO);
    EXPECT_EQ(static_cast<PDU_INFO_DATA*>(item->pData)->InfoCode, PDU_INFO_MODULE_LIST_CHG);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    PDU_MODULE_ITEM* list = nullptr;
    ASSERT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
    EXPECT_EQ(list->NumEntries, 2u);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    EXPECT_EQ(api.PDUModuleConnect(2), PDU_ERR_INVALID_HANDLE);
}

TEST(SimFaultTest, InjectedFailureAndMissingModule) {
    setenv("PDUSIM_FAULTS", "fail:PDUGetVersion=0x11; missing:2", 1);
    SimApi api;
    ASSERT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_STATUS_NOERROR);
    unsetenv("PDUSIM_FAULTS");
    PDU_VERSION_DATA version{};
    EXPECT_EQ(api.PDUGetVersion(1, &version), PDU_ERR_COMM_PC_TO_VCI_FAILED);
    PDU_MODULE_ITEM* list = nullptr;
    ASSERT_EQ(api.PDUGetModuleIds(&list), PDU_STATUS_NOERROR);
    EXPECT_EQ(list->NumEntries, 2u);
    EXPECT_EQ(list->pModuleData[1].ModuleTypeId, 541u);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    EXPECT_EQ(api.PDUDestruct(), PDU_STATUS_NOERROR);
    setenv("PDUSIM_FAULTS", "fail:PDUConstruct=1", 1);
    EXPECT_EQ(api.PDUConstruct(const_cast<char*>(""), nullptr), PDU_ERR_FCT_FAILED);
    unsetenv("PDUSIM_FAULTS");
}
