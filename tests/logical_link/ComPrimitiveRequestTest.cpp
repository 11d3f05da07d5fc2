// What a press of a ComPrimitive button sends: PDU bytes, control data, expected responses, and
// the hexadecimal texts of the expected-response dialog.
#include <gtest/gtest.h>

#include "logical_link/ComPrimitiveRequest.h"
#include "logical_link/HexParsing.h"

TEST(ComPrimitiveRequest, PduTextsAndTheirFaults)
{
    struct Case {
        const char* text;
        bool fine;
        std::vector<uint8_t> bytes;
    };
    const Case cases[] = {
        {"", true, {}},
        {"22,f1,90", true, {0x22, 0xF1, 0x90}},
        {"10", true, {0x10}},               // base 16 for the byte
        {"ff", true, {0xFF}},               // passes the test as 0
        {"100", true, {0x00}},              // passes as decimal 100, gives 0x100's low byte
        {"22 F1 90", true, {0x22}},         // one token: only its first number counts
        {"22,,90", true, {0x22, 0x00, 0x90}},
        {"22,256", false, {0x22, 0x56}},    // every token is looked at, then nothing starts
        {"0x1FF,1", false, {0xFF, 0x01}},
        {"-1", false, {0xFF}},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> bytes;
        EXPECT_EQ(ParsePduBytes(c.text, bytes), c.fine) << c.text;
        EXPECT_EQ(bytes, c.bytes) << c.text;
    }
    std::vector<uint8_t> bytes;
    EXPECT_FALSE(ParsePduBytes("256,1,2", bytes, true));
    EXPECT_EQ(bytes, std::vector<uint8_t>{});  // the first bad token ends it at once
}

TEST(ComPrimitiveRequest, ControlData)
{
    UNUM8 flagBytes[4] = {0x40, 0, 0, 0};
    const PDU_FLAG_DATA flags{4, flagBytes};
    ComPrimitiveRequest request;
    ASSERT_TRUE(request.SetControl({"-1", "3", "0x10", 0x201}, flags));
    EXPECT_EQ(request.control.NumReceiveCycles, -1);
    EXPECT_EQ(request.control.NumSendCycles, 3);
    EXPECT_EQ(request.control.Time, 16u);
    EXPECT_EQ(request.control.TempParamUpdate, 0x201u);  // the box's whole state word
    EXPECT_EQ(request.control.TxFlag.pFlagData[0], 0x40);  // a copy: the window may free its own
    EXPECT_TRUE(request.SetControl({"abc", "", "", 0}, flags));  // no number reads as 0
    EXPECT_EQ(request.control.NumReceiveCycles, 0);

    const struct {
        ControlFields fields;
        PDU_FLAG_DATA flags;
    } faults[] = {
        {{"99999999999", "1", "1", 0}, flags},
        {{"1", "-99999999999", "1", 0}, flags},
        {{"1", "1", "4294967296", 0}, flags},
        {{"1", "1", "1", 0}, PDU_FLAG_DATA{0, flagBytes}},
        {{"1", "1", "1", 0}, PDU_FLAG_DATA{4, nullptr}},
    };
    for (const auto& f : faults) EXPECT_FALSE(request.SetControl(f.fields, f.flags));
    EXPECT_TRUE(request.SetControl({"1", "1", "-99999999999", 0}, flags));  // only the largest time is a fault
}

TEST(ComPrimitiveRequest, ExpectedResponses)
{
    ResponseMask positive{1, {0x00}, {0x00}, "00", "00"};
    ResponseMask negative{0, {0xFF}, {0x7F}, "FF", "7F"};
    ComPrimitiveRequest request;
    request.SetExpectedResponses(false, positive, negative);
    ASSERT_EQ(request.control.NumPossibleExpectedResponses, 1u);
    EXPECT_EQ(request.control.pExpectedResponseArray[0].ResponseType, 0u);
    EXPECT_EQ(request.control.pExpectedResponseArray[0].AcceptanceId, 1u);
    EXPECT_EQ(request.control.pExpectedResponseArray[0].NumMaskPatternBytes, 1u);

    // The dialog used once: the negative texts come alive, first, with ResponseType 1.
    negative.FromTexts();
    request.SetExpectedResponses(false, positive, negative);
    ASSERT_EQ(request.control.NumPossibleExpectedResponses, 2u);
    const PDU_EXP_RESP_DATA* entries = request.control.pExpectedResponseArray;
    EXPECT_EQ(entries[0].ResponseType, 1u);
    EXPECT_EQ(entries[0].AcceptanceId, 1u);
    EXPECT_EQ(entries[0].pMaskData[0], 0xFF);
    EXPECT_EQ(entries[0].pPatternData[0], 0x7F);
    EXPECT_EQ(entries[1].ResponseType, 0u);
    EXPECT_EQ(entries[1].AcceptanceId, 2u);

    // "NoExpResp": mask 00 00 against pattern FF FF, which nothing can match.
    request.SetExpectedResponses(true, positive, negative);
    ASSERT_EQ(request.control.NumPossibleExpectedResponses, 1u);
    EXPECT_EQ(request.control.pExpectedResponseArray[0].NumMaskPatternBytes, 2u);
    EXPECT_EQ(request.control.pExpectedResponseArray[0].pPatternData[1], 0xFF);

    positive.count = negative.count = 0;
    request.SetExpectedResponses(false, positive, negative);
    EXPECT_EQ(request.control.NumPossibleExpectedResponses, 0u);
    EXPECT_EQ(request.control.pExpectedResponseArray, nullptr);
}

TEST(HexParsing, BytesAndLongs)
{
    struct Case {
        const char* text;
        uint32_t capacity;
        std::vector<uint8_t> bytes;
    };
    const Case cases[] = {
        {"FF 7F", 4, {0xFF, 0x7F}},
        {"FF,7F", 4, {0xFF, 0x7F}},
        {"1 2 3 4 5", 4, {1, 2, 3, 4}},
        {"100 1", 4, {}},        // a first number above 255 gives nothing
        {"1 2 300", 4, {1, 2}},
        {"12,", 4, {0x12}},      // the separator as last character ends it
        {"x", 2, {0}},           // no number reads as 0
    };
    for (const Case& c : cases) {
        uint8_t bytes[8] = {};
        uint32_t count = c.capacity;
        ParseHexBytes(c.text, bytes, count);
        EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + count), c.bytes) << c.text;
    }
    // A mask of 3 bytes and a pattern of 2 make a response of 2.
    ResponseMask response;
    response.maskText = "FF FF FF";
    response.patternText = "62 F1";
    response.FromTexts();
    EXPECT_EQ(response.count, 2u);

    uint32_t longs[4] = {};
    uint32_t count = 2;
    ParseHexLongs("100 200 300 400", longs, count);
    EXPECT_EQ(count, 3u);  // one more than asked for, by design
    EXPECT_EQ(longs[2], 0x300u);
}

TEST(ComPrimitiveRequest, TheHandleInACancelBox)
{
    EXPECT_EQ(CancelHandleOf("5 (0x5)"), 5u);
    EXPECT_EQ(CancelHandleOf("5(0x5)"), 5u);
    EXPECT_EQ(CancelHandleOf("0x10 (16)"), 16u);
    EXPECT_EQ(CancelHandleOf("7"), 0u);  // without "(" the cut leaves nothing
}
