#include "SimApi.h"

namespace {

std::vector<uint8_t> Bytes(const char* text) { return std::vector<uint8_t>(text, text + std::strlen(text)); }

template <typename Pred>
size_t CountIf(const std::vector<SeenEvent>& events, Pred pred) {
    return static_cast<size_t>(std::count_if(events.begin(), events.end(), pred));
}

}  // namespace

TEST_F(SimFixture, ReadVinByUds) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    const UNUM32 hCop = Start(hCLL, {0x22, 0xF1, 0x90});
    const std::vector<SeenEvent> events = Collect(hCLL, hCop);
    std::vector<uint8_t> expected = {0x62, 0xF1, 0x90};
    const std::vector<uint8_t> vin = Bytes("WQU0SIMULATOR0001");
    expected.insert(expected.end(), vin.begin(), vin.end());
    std::vector<std::pair<T_PDU_IT, UNUM32>> ofCop;
    for (const SeenEvent& e : events)
        if (e.hCop == hCop) ofCop.push_back({e.type, e.type == PDU_IT_RESULT ? 0 : e.status});
    const std::vector<std::pair<T_PDU_IT, UNUM32>> order = {
        {PDU_IT_STATUS, PDU_COPST_EXECUTING}, {PDU_IT_RESULT, 0}, {PDU_IT_STATUS, PDU_COPST_FINISHED}};
    EXPECT_EQ(ofCop, order);
    const auto result = std::find_if(events.begin(), events.end(), [](const SeenEvent& e) { return e.type == PDU_IT_RESULT; });
    ASSERT_NE(result, events.end());
    EXPECT_EQ(result->data, expected);
    EXPECT_EQ(result->urid, 1u);  // the default URID table's entry
}

TEST_F(SimFixture, SilentEcuGivesRxTimeout) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    // P2Max down to 20 ms in the working set, made active by UPDATEPARAM.
    UNUM32 p2 = 20000;
    PDU_PARAM_ITEM item{PDU_IT_PARAM, api.ComParamId("CP_P2Max"), PDU_PT_UNUM32, PDU_PC_TIMING, &p2};
    ASSERT_EQ(api.PDUSetComParam(kModule, hCLL, &item), PDU_STATUS_NOERROR);
    Collect(hCLL, Start(hCLL, {}, 1, 1, 0, PDU_COPT_UPDATEPARAM));
    // Address an ECU nobody is: request on 0x7E5, answers expected on 0x7ED.
    UNUM32 req = 0x7E5, resp = 0x7ED;
    PDU_PARAM_ITEM params[2] = {{PDU_IT_PARAM, api.ComParamId("CP_CanPhysReqId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &req},
                                {PDU_IT_PARAM, api.ComParamId("CP_CanRespUSDTId"), PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &resp}};
    PDU_ECU_UNIQUE_RESP_DATA entry{5, 2, params};
    PDU_UNIQUE_RESP_ID_TABLE_ITEM table{PDU_IT_UNIQUE_RESP_ID_TABLE, 1, &entry};
    ASSERT_EQ(api.PDUSetUniqueRespIdTable(kModule, hCLL, &table), PDU_STATUS_NOERROR);
    const UNUM32 hCop = Start(hCLL, {0x22, 0xF1, 0x90});
    const auto events = Collect(hCLL, hCop);
    EXPECT_EQ(CountIf(events, [](const SeenEvent& e) { return e.type == PDU_IT_ERROR && e.status == PDU_ERR_EVT_RX_TIMEOUT; }), 1u);
    EXPECT_EQ(CountIf(events, [](const SeenEvent& e) { return e.type == PDU_IT_RESULT; }), 0u);
    EXPECT_EQ(events.back().status, PDU_COPST_FINISHED);
    T_PDU_ERR_EVT code = 0;
    UNUM32 cop = 0, ts = 0, extra = 0;
    ASSERT_EQ(api.PDUGetLastError(kModule, hCLL, &code, &cop, &ts, &extra), PDU_STATUS_NOERROR);
    EXPECT_EQ(code, PDU_ERR_EVT_RX_TIMEOUT);
    EXPECT_EQ(cop, hCop);
}

TEST_F(SimFixture, UridTableRoundTripAndResultUrid) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* table = nullptr;
    ASSERT_EQ(api.PDUGetUniqueRespIdTable(kModule, hCLL, &table), PDU_STATUS_NOERROR);
    ASSERT_EQ(table->NumEntries, 1u);
    table->pUniqueData[0].UniqueRespIdentifier = 42;  // set back what we got, renumbered
    ASSERT_EQ(api.PDUSetUniqueRespIdTable(kModule, hCLL, table), PDU_STATUS_NOERROR);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(table));
    const UNUM32 hCop = Start(hCLL, {0x22, 0xF1, 0x90});
    const auto events = Collect(hCLL, hCop);
    const auto result = std::find_if(events.begin(), events.end(), [](const SeenEvent& e) { return e.type == PDU_IT_RESULT; });
    ASSERT_NE(result, events.end());
    EXPECT_EQ(result->urid, 42u);
    // A ComParam that is no unique id has no place in the table.
    UNUM32 value = 1;
    PDU_PARAM_ITEM wrong{PDU_IT_PARAM, api.ComParamId("CP_P2Max"), PDU_PT_UNUM32, PDU_PC_TIMING, &value};
    PDU_ECU_UNIQUE_RESP_DATA entry{1, 1, &wrong};
    PDU_UNIQUE_RESP_ID_TABLE_ITEM bad{PDU_IT_UNIQUE_RESP_ID_TABLE, 1, &entry};
    EXPECT_EQ(api.PDUSetUniqueRespIdTable(kModule, hCLL, &bad), PDU_ERR_ID_NOT_SUPPORTED);
}

TEST_F(SimFixture, CyclicSendUntilCancelled) {
    const UNUM32 hCLL = OpenLink(kUdsResource);
    const UNUM32 hCop = Start(hCLL, {0x3E, 0x00}, -1, 1, 10);
    auto events = Collect(hCLL, hCop, 10);  // ONLINE, then three cycles
    EXPECT_GE(CountIf(events, [](const SeenEvent& e) { return e.type == PDU_IT_RESULT; }), 3u);
    ASSERT_EQ(api.PDUCancelComPrimitive(kModule, hCLL, hCop), PDU_STATUS_NOERROR);
    events = Collect(hCLL, hCop);
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().status, PDU_COPST_CANCELLED);
    EXPECT_EQ(api.PDUCancelComPrimitive(kModule, hCLL, hCop), PDU_ERR_INVALID_HANDLE);
}

TEST_F(SimFixture, ComParamTypesAndErrors) {
    const UNUM32 hCLL = OpenLink(kUdsResource, false);
    PDU_PARAM_ITEM* item = nullptr;
    ASSERT_EQ(api.PDUGetComParam(kModule, hCLL, api.ComParamId("CP_TesterPresentMessage"), &item), PDU_STATUS_NOERROR);
    ASSERT_EQ(item->ComParamDataType, PDU_PT_BYTEFIELD);
    auto* field = static_cast<PDU_PARAM_BYTEFIELD_DATA*>(item->pComParamData);
    EXPECT_EQ(std::vector<uint8_t>(field->pDataArray, field->pDataArray + field->ParamActLen),
              (std::vector<uint8_t>{0x3E, 0x80}));
    field->pDataArray[1] = 0x00;  // edit in place and set back
    EXPECT_EQ(api.PDUSetComParam(kModule, hCLL, item), PDU_STATUS_NOERROR);
    field->ParamActLen = field->ParamMaxLen + 1;
    EXPECT_EQ(api.PDUSetComParam(kModule, hCLL, item), PDU_ERR_VALUE_NOT_SUPPORTED);
    api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    UNUM32 value = 300;
    const struct { const char* name; T_PDU_PT type; T_PDU_ERROR result; } cases[] = {
        {"CP_P2Max", PDU_PT_UNUM8, PDU_ERR_INVALID_PARAMETERS},      // wrong type
        {"CP_BlockSize", PDU_PT_UNUM8, PDU_STATUS_NOERROR},           // 300 read as one byte: 44
        {"CP_DoIPLogicalEcuAddress", PDU_PT_UNUM16, PDU_ERR_ID_NOT_SUPPORTED},  // not on a CAN link
    };
    for (const auto& c : cases) {
        PDU_PARAM_ITEM p{PDU_IT_PARAM, api.ComParamId(c.name), c.type, 0, &value};
        EXPECT_EQ(api.PDUSetComParam(kModule, hCLL, &p), c.result) << c.name;
    }
}

TEST_F(SimFixture, BadArgumentsGetTheStandardsCodes) {
    const UNUM32 hCLL = OpenLink(kUdsResource, false);
    UNUM32 out = 0;
    PDU_PARAM_ITEM* param = nullptr;
    uint8_t pdu[1] = {0x3E};
    PDU_COP_CTRL_DATA control{0, 1, 1, 0, {0, nullptr}, 1, nullptr};
    const struct { const char* what; T_PDU_ERROR got, expected; } cases[] = {
        {"link on unknown module", api.PDUCreateComLogicalLink(77, nullptr, kUdsResource, nullptr, &out, nullptr), PDU_ERR_INVALID_HANDLE},
        {"unknown resource", api.PDUCreateComLogicalLink(kModule, nullptr, 4711, nullptr, &out, nullptr), PDU_ERR_ID_NOT_SUPPORTED},
        {"null handle out", api.PDUCreateComLogicalLink(kModule, nullptr, kUdsResource, nullptr, nullptr, nullptr), PDU_ERR_INVALID_PARAMETERS},
        {"connect bad link", api.PDUConnect(kModule, 999), PDU_ERR_INVALID_HANDLE},
        {"start while offline", api.PDUStartComPrimitive(kModule, hCLL, PDU_COPT_SENDRECV, 1, pdu, nullptr, nullptr, &out), PDU_ERR_CLL_NOT_CONNECTED},
        {"bad CoP type", api.PDUStartComPrimitive(kModule, hCLL, 0x9999, 1, pdu, nullptr, nullptr, &out), PDU_ERR_INVALID_PARAMETERS},
        {"null expected responses", api.PDUStartComPrimitive(kModule, hCLL, PDU_COPT_SENDRECV, 1, pdu, &control, nullptr, &out), PDU_ERR_INVALID_PARAMETERS},
        {"null data", api.PDUStartComPrimitive(kModule, hCLL, PDU_COPT_SENDRECV, 4, nullptr, nullptr, nullptr, &out), PDU_ERR_INVALID_PARAMETERS},
        {"unknown ComParam", api.PDUGetComParam(kModule, hCLL, 99999, &param), PDU_ERR_ID_NOT_SUPPORTED},
        {"null ComParam", api.PDUSetComParam(kModule, hCLL, nullptr), PDU_ERR_INVALID_PARAMETERS},
        {"null event out", api.PDUGetEventItem(kModule, hCLL, nullptr), PDU_ERR_INVALID_PARAMETERS},
        {"unknown object", api.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<char*>("PDU_IOCTL_NOPE"), &out), PDU_ERR_INVALID_PARAMETERS},
        {"unknown IOCTL id", api.PDUIoCtl(kModule, PDU_HANDLE_UNDEF, 123456, nullptr, nullptr), PDU_ERR_ID_NOT_SUPPORTED},
        {"foreign item", api.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(pdu)), PDU_ERR_INVALID_PARAMETERS},
        {"disconnect offline", api.PDUDisconnect(kModule, hCLL), PDU_ERR_CLL_NOT_CONNECTED},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.expected) << c.what;
    ASSERT_EQ(api.PDUConnect(kModule, hCLL), PDU_STATUS_NOERROR);
    EXPECT_EQ(api.PDUDestroyComLogicalLink(kModule, hCLL), PDU_ERR_CLL_CONNECTED);
}

TEST_F(SimFixture, ThousandLinksCreatedAndDestroyed) {
    for (int i = 0; i < 1000; ++i) {
        UNUM32 hCLL = 0;
        ASSERT_EQ(api.PDUCreateComLogicalLink(kModule, nullptr, kUdsResource, nullptr, &hCLL, nullptr), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUConnect(kModule, hCLL), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUDisconnect(kModule, hCLL), PDU_STATUS_NOERROR);
        ASSERT_EQ(api.PDUDestroyComLogicalLink(kModule, hCLL), PDU_STATUS_NOERROR);
    }
}

TEST_F(SimFixture, DirectCanEchoesAndAnswers) {
    const UNUM32 hCLL = OpenLink(kDirectCanResource);
    SeCanMessage frame{SE_TRANSMIT_MSG, 0, 0x100, 0, 2, {0x11, 0x22}, 0};
    ASSERT_EQ(api.PDUSECanWrite(hCLL, 1, &frame), PDU_STATUS_NOERROR);
    SeCanMessage read[10] = {};
    UNUM32 count = 10;
    ASSERT_EQ(api.PDUSECanRead(hCLL, &count, read), PDU_STATUS_NOERROR);
    ASSERT_GE(count, 2u);
    EXPECT_EQ(read[0].msgType, SE_TRANSMIT_MSG);
    EXPECT_EQ(read[1].msgType, SE_RECEIVE_MSG);
    EXPECT_EQ(read[1].canId, 0x101u);
    EXPECT_EQ(api.PDUSECanWrite(OpenLink(kUdsResource), 1, &frame), PDU_ERR_INVALID_HANDLE);
}
