// The lines of each kind of event item, in both windows and with the boxes that change them.
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "logical_link/LinkEventDecoder.h"

namespace {

constexpr const char* kSep = "-------------------------------------------------------\n";
constexpr const char* kHeader = "-------------------------------------------------------\n"
                                "Received an event item from the PDU-API:\n";

class FakeSink : public LinkEventSink {
public:
    bool TimestampEnabled() override { return timestamps; }
    bool ScreenDisabled() override { return screenDisabled; }
    bool DetailedErrorText() override { return detailed; }
    void CountEvent() override { ++counted; }
    void CoPEnded(uint32_t hCop, LogLines& out) override
    {
        ended.push_back(hCop);
        if (plainFinishLine) out.Format("ComPrimitive: %u(0x%x) finished.\n", hCop, hCop);
    }
    void LinkOffline() override { ++offline; }
    void LinkOnline() override { ++online; }
    std::vector<ErrorCodeInfo> VendorErrors() override { return vendorErrors; }

    bool timestamps = false;
    bool screenDisabled = false;
    bool detailed = false;
    bool plainFinishLine = false;
    int counted = 0;
    int offline = 0;
    int online = 0;
    std::vector<uint32_t> ended;
    std::vector<ErrorCodeInfo> vendorErrors;
};

// One item with the storage its pointers point into.
struct Item {
    PDU_EVENT_ITEM event{};
    T_PDU_STATUS status = 0;
    PDU_RESULT_DATA result{};
    PDU_ERROR_DATA error{};
    PDU_INFO_DATA info{};
    std::vector<uint8_t> rxFlags, tsFlags, data, header, footer;
    PDU_EXTRA_INFO extra{};

    static Item Status(uint32_t hCop, T_PDU_STATUS status)
    {
        Item i;
        i.event = {PDU_IT_STATUS, hCop, nullptr, 1234, nullptr};
        i.status = status;
        return i;
    }
    static Item Result(uint32_t hCop, std::vector<uint8_t> rx, std::vector<uint8_t> data)
    {
        Item i;
        i.event = {PDU_IT_RESULT, hCop, nullptr, 5678, nullptr};
        i.rxFlags = std::move(rx);
        i.data = std::move(data);
        i.tsFlags = {0xC0, 0, 0, 0};
        i.result.UniqueRespIdentifier = 1;
        i.result.AcceptanceId = 2;
        i.result.TxMsgDoneTimestamp = 100;
        i.result.StartMsgTimestamp = 200;
        return i;
    }
    static Item Error(uint32_t hCop, uint32_t code, uint32_t extraId)
    {
        Item i;
        i.event = {PDU_IT_ERROR, hCop, nullptr, 1, nullptr};
        i.error = {code, extraId};
        return i;
    }
    // The pointers, once the item has its final place.
    const PDU_EVENT_ITEM& Event()
    {
        switch (event.ItemType) {
        case PDU_IT_STATUS: event.pData = &status; break;
        case PDU_IT_ERROR: event.pData = &error; break;
        case PDU_IT_INFO: event.pData = &info; break;
        case PDU_IT_RESULT:
            result.RxFlag = {static_cast<UNUM32>(rxFlags.size()), rxFlags.empty() ? nullptr : rxFlags.data()};
            result.TimestampFlags = {static_cast<UNUM32>(tsFlags.size()), tsFlags.empty() ? nullptr : tsFlags.data()};
            result.NumDataBytes = static_cast<UNUM32>(data.size());
            result.pDataBytes = data.data();
            if (!header.empty() || !footer.empty()) {
                extra = {static_cast<UNUM32>(header.size()), static_cast<UNUM32>(footer.size()), header.data(), footer.data()};
                result.pExtraInfo = &extra;
            }
            event.pData = &result;
            break;
        default: break;
        }
        return event;
    }
};

std::string Decode(LinkEventDecoder::Variant variant, Item item, FakeSink& sink, const uint8_t flags[4] = nullptr)
{
    const uint8_t none[4] = {0x40, 0, 0, 0};
    LinkEventDecoder decoder(variant, flags ? flags : none);
    LogLines lines;
    decoder.Decode(item.Event(), sink, lines);
    return lines.Text();
}

std::string Full(Item item, FakeSink& sink) { return Decode(LinkEventDecoder::Variant::Full, std::move(item), sink); }

std::vector<uint8_t> Bytes(int n)
{
    std::vector<uint8_t> bytes;
    for (int i = 0; i < n; ++i) bytes.push_back(static_cast<uint8_t>(0x10 + i));
    return bytes;
}

}  // namespace

TEST(LinkEventDecoder, StatusItemsCountShowAndRetire)
{
    struct Case {
        const char* what;
        Item item;
        bool timestamps;
        bool screenDisabled;
        std::string text;
        int counted;
    };
    const Case cases[] = {
        {"executing without timestamps is quiet", Item::Status(7, PDU_COPST_EXECUTING), false, false, "", 0},
        {"the link's own idle counts and shows", Item::Status(PDU_HANDLE_UNDEF, PDU_COPST_IDLE), false, false,
         std::string(kHeader) + "hCoP=PDU_HANDLE_UNDEF\nItemType=PDU_IT_STATUS: Status=PDU_COPST_IDLE.\n", 1},
        {"finished shows with the timestamp", Item::Status(7, PDU_COPST_FINISHED), true, false,
         std::string(kHeader) + "hCoP=7 \nTimestamp=1234 \nItemType=PDU_IT_STATUS: Status=PDU_COPST_FINISHED.\n", 1},
        {"an unknown value leaves the line open", Item::Status(7, 0x8020), false, false,
         std::string(kHeader) + "hCoP=7 \nItemType=PDU_IT_STATUS: Status=", 1},
        {"a disabled screen keeps only the undefined handle", Item::Status(PDU_HANDLE_UNDEF, PDU_CLLST_OFFLINE), false,
         true, "hCoP=PDU_HANDLE_UNDEF\n", 1},
        {"a disabled screen hides an end state", Item::Status(9, PDU_COPST_FINISHED), false, true, "", 1},
    };
    for (const Case& c : cases) {
        FakeSink sink;
        sink.timestamps = c.timestamps;
        sink.screenDisabled = c.screenDisabled;
        EXPECT_EQ(Full(c.item, sink), c.text) << c.what;
        EXPECT_EQ(sink.counted, c.counted) << c.what;
    }
    // End states retire the ComPrimitive, link states reach the window; with the screen
    // disabled nothing is retired.
    FakeSink sink;
    Full(Item::Status(7, PDU_COPST_CANCELLED), sink);
    Full(Item::Status(PDU_HANDLE_UNDEF, PDU_CLLST_OFFLINE), sink);
    Full(Item::Status(PDU_HANDLE_UNDEF, PDU_CLLST_ONLINE), sink);
    sink.screenDisabled = true;
    Full(Item::Status(8, PDU_COPST_FINISHED), sink);
    EXPECT_EQ(sink.ended, std::vector<uint32_t>{7});
    EXPECT_EQ(sink.offline, 1);
    EXPECT_EQ(sink.online, 1);
}

TEST(LinkEventDecoder, ResultInTheFullWindow)
{
    FakeSink sink;
    Item item = Item::Result(3, {0x80, 0x06, 0x07, 0xFF}, Bytes(15));
    item.header = {0, 0, 7, 0xE8};
    item.footer = {0xAA};
    EXPECT_EQ(Full(item, sink), std::string(kHeader) +
                                    "hCoP=3 \n"
                                    "ItemType=PDU_IT_RESULT.\n" + kSep +
                                    "******************* RxFlags Data *********************\n"
                                    " Number of RxFlag bytes: 4\n"
                                    " - Remote Frame Received\n"
                                    " - New speed rate transition\n"
                                    " - Extended 29-bit CAN ID\n"
                                    " - CAN-FD frame\n"
                                    " - CAN-FD Baudrate Switch\n"
                                    " - CAN Extended Addressing is used\n"
                                    " - Segmented CAN message received\n"
                                    " - CAN message Padding Error\n"
                                    " -  TxDone\n"
                                    " -  Break indication received\n"
                                    " -  First frame received\n"
                                    " -  Transmitted\n"
                                    " UniqueRespIdentifier = 1.\n"
                                    " AcceptanceId         = 0x2.\n"
                                    " ExtraInfo            = \n"
                                    " NumHeaderBytes       = 4.\n"
                                    " 0x00  0x00  0x07  0xe8 \n"
                                    " NumFooterBytes       = 1.\n"
                                    " 0xaa \n"
                                    " NumDataBytes         = 15\n"
                                    " Result Data:\n"
                                    " 0x10  0x11  0x12  0x13  0x14  0x15  0x16 \n"
                                    " 0x17  0x18  0x19  0x1a  0x1b  0x1c  0x1d \n"
                                    " 0x1e \n");

    // The detailed box makes lines of 8; timestamps add the flag bytes and the two times and
    // the line of the timing ComParams.
    sink.detailed = true;
    sink.timestamps = true;
    EXPECT_EQ(Full(Item::Result(3, {0, 0x02, 0, 0}, Bytes(15)), sink),
              std::string(kHeader) + "hCoP=3 \nTimestamp=5678 \nItemType=PDU_IT_RESULT.\n" + kSep +
                  "******************* RxFlags Data *********************\n"
                  " Number of RxFlag bytes: 4 (00 02 00 00)\n"
                  " - Timing ComParams values modified\n"
                  " UniqueRespIdentifier = 1.\n AcceptanceId         = 0x2.\n ExtraInfo            = 0\n"
                  " TxMsgDoneTimestampIndicator = Valid\n StartMsgTimestampIndicator  = Valid\n"
                  " TxMsgDoneTimestamp          = 100\n StartMsgTimestamp           = 200\n"
                  " NumDataBytes         = 15\n Result Data:\n"
                  " 0x10  0x11  0x12  0x13  0x14  0x15  0x16  0x17 \n"
                  " 0x18  0x19  0x1a  0x1b  0x1c  0x1d  0x1e \n");

    // With the screen disabled only the timestamp lines of a result remain.
    sink.screenDisabled = true;
    Item shortStamps = Item::Result(3, {0, 0, 0, 0}, Bytes(2));
    shortStamps.tsFlags = {0x80};
    EXPECT_EQ(Full(shortStamps, sink), " TimestampFlags.NumFlagBytes=1.\n No extra timestamps will be evaluated.\n");
}

TEST(LinkEventDecoder, ResultEdgeCases)
{
    FakeSink sink;
    // Missing flags, and the two notices of the VCI in 32-bit values.
    const std::string none = Full(Item::Result(3, {}, {}), sink);
    EXPECT_NE(none.find(std::string(kSep) + "Error: Invalid RxFlags data found!\n UniqueRespIdentifier"), std::string::npos);
    EXPECT_NE(none.find(" NumDataBytes         = 0\n\n"), std::string::npos);
    const std::vector<uint8_t> baud = {0x00, 0x02, 0, 0, 0x20, 0xA1, 0x07, 0, 0x03, 0, 0, 0};
    EXPECT_NE(Full(Item::Result(3, {0x02, 0, 0, 0}, baud), sink)
                  .find(" Result Data:\n 0x0200  Baudrate: 0x7a120  Dataformat: 0x0003 \n"),
              std::string::npos);
    const std::vector<uint8_t> sync = {0x01, 0x02, 0, 0, 0x55, 0, 0, 0};
    sink.screenDisabled = true;
    EXPECT_EQ(Full(Item::Result(3, {0x02, 0, 0, 0}, sync), sink), " 0x0201  SyncPatternByte: 0x0055 ");
}

TEST(LinkEventDecoder, MonitorModeFrames)
{
    const uint8_t raw[4] = {0x80, 0, 0, 1};
    const uint8_t notRaw[4] = {0x40, 0, 0, 1};
    FakeSink sink;
    sink.screenDisabled = true;  // monitor lines are never hidden
    const auto frame = [&](std::vector<uint8_t> rx, std::vector<uint8_t> data, const uint8_t* flags = nullptr) {
        return Decode(LinkEventDecoder::Variant::Full, Item::Result(5, std::move(rx), std::move(data)), sink, flags ? flags : raw);
    };
    EXPECT_EQ(frame({0, 0, 0, 1}, {0, 0, 0x07, 0xE0, 0x02, 0x10, 0x03}), "T     07e0        3   02 10 03\n");
    EXPECT_EQ(frame({0, 0, 1, 0}, {0x18, 0xDA, 0xF1, 0x10, 1, 2, 3, 4, 5, 6, 7, 8, 9}),
              "R 18daf110x       9   01 02 03 04 05 06 07 08\n" + std::string(23, ' ') + " 09\n");
    EXPECT_EQ(frame({0, 0, 0x07, 0}, {0, 0, 0x01, 0x23, 0xAA}), "RFB 00000123x       1   aa\n");
    EXPECT_EQ(frame({0, 0, 0x04, 0}, {0, 0, 0x01, 0x23}), "R B     0123        0  \n");
    // Flags and data too short for the form read as zeros, and the count goes negative.
    EXPECT_EQ(frame({}, {}), "R     0000       -4  \n");
    EXPECT_EQ(frame({0, 0, 0, 0}, {1, 2, 3, 4}, notRaw), "Monitoring in non-raw mode not supported by QUILLON.\n");
}

TEST(LinkEventDecoder, ErrorsWithAndWithoutTheVendorTable)
{
    FakeSink sink;
    sink.vendorErrors = {{0x10000002, "MRVNE_ERR_NO_ECU_RESPONSE", "No ECU answered within P2Max."},
                         {0x10000002, "MRVNE_ERR_SECOND", "Listed twice."}};
    EXPECT_EQ(Full(Item::Error(4, PDU_ERR_EVT_RX_TIMEOUT, 0x10000002), sink),
              std::string(kHeader) + "hCoP=4 \nPDU_IT_ERROR\nReturned ErrorCodeId:0x00000103 (259): PDU_ERR_EVT_RX_TIMEOUT\n"
                                     "ExtraErrorInfo = 0x10000002 (268435458) (see MDF.XML)\n");
    sink.detailed = true;
    EXPECT_EQ(Full(Item::Error(4, 0x10A, 0x10000002), sink),
              std::string(kHeader) + "hCoP=4 \nPDU_IT_ERROR\nReturned ErrorCodeId:0x0000010a (266): Unknown error event\n"
                                     "  ExtraErrorInfoId  :0x10000002 (268435458) \n"
                                     "  ShortName         :MRVNE_ERR_NO_ECU_RESPONSE\n"
                                     "  Description       :No ECU answered within P2Max.\n"
                                     "  ExtraErrorInfoId  :0x10000002 (268435458) \n"
                                     "  ShortName         :MRVNE_ERR_SECOND\n"
                                     "  Description       :Listed twice.\n");
    // No record of that id shows nothing; the numbers read as 32-bit signed.
    sink.detailed = false;
    EXPECT_NE(Full(Item::Error(4, 0xFFFFFFFF, 0x80000000), sink)
                  .find("Returned ErrorCodeId:0xffffffff (-1): Unknown error event\n"
                        "ExtraErrorInfo = 0x80000000 (-2147483648) (see MDF.XML)\n"),
              std::string::npos);
}

TEST(LinkEventDecoder, InfoItemsAndUnknownTypes)
{
    FakeSink sink;
    Item info;
    info.event = {PDU_IT_INFO, PDU_HANDLE_UNDEF, nullptr, 0, nullptr};
    info.info = {PDU_INFO_RSC_LOCK_CHG, 3};
    EXPECT_EQ(Full(info, sink), std::string(kHeader) + "hCoP=PDU_HANDLE_UNDEF\nPDU_IT_INFO\nPDU_INFO_RSC_LOCK_CHG\nExtraInfoData: 3\n");
    info.info = {0x9999, 1};
    EXPECT_EQ(Full(info, sink), std::string(kHeader) + "hCoP=PDU_HANDLE_UNDEF\nPDU_IT_INFO\nExtraInfoData: 1\n");

    Item unknown;
    unknown.event = {0x1600, 2, nullptr, 0, nullptr};
    LinkEventDecoder decoder(LinkEventDecoder::Variant::Full, std::array<uint8_t, 4>{0x40, 0, 0, 0}.data());
    LogLines lines;
    EXPECT_EQ(decoder.Decode(unknown.Event(), sink, lines), LinkEventDecoder::Result::UnknownItem);
    EXPECT_EQ(lines.Text(), std::string(kHeader) + "hCoP=2 \n");

    lines.Clear();
    LinkEventDecoder::DataLostLines(lines);
    EXPECT_EQ(lines.Text(), std::string(kHeader) + "T_PDU_EVT_DATA EventType =\n");
}

TEST(LinkEventDecoder, ThePlainWindowsOwnTexts)
{
    FakeSink sink;
    sink.plainFinishLine = true;
    sink.timestamps = true;      // the plain window has no such box
    sink.screenDisabled = true;  // nor this one
    const auto plain = [&](Item item) { return Decode(LinkEventDecoder::Variant::Plain, std::move(item), sink); };
    EXPECT_EQ(plain(Item::Status(5, PDU_COPST_EXECUTING)),
              std::string(kHeader) + "hCoP=5 \nItemType=PDU_IT_STATUS: Status=PDU_COPST_EXECUTING.\n");
    EXPECT_EQ(plain(Item::Status(5, PDU_COPST_FINISHED)),
              std::string(kHeader) + "hCoP=5 \nItemType=PDU_IT_STATUS: Status=PDU_COPST_FINISHED.\nComPrimitive: 5(0x5) finished.\n");
    EXPECT_EQ(plain(Item::Status(PDU_ID_UNDEF, PDU_CLLST_ONLINE)),
              std::string(kHeader) + "hCoP=PDU_HANDLE_UNDEF\nItemType=PDU_IT_STATUS: Status=PDU_CLLST_ONLINE.\n");
    EXPECT_EQ(sink.counted, 0);

    Item result = Item::Result(5, {0x80, 0x07, 0x01, 0xFF}, Bytes(3));
    result.header = {0x80, 0x10, 0xF1};
    result.footer = {0x42};
    EXPECT_EQ(plain(result), std::string(kHeader) + "hCoP=5 \nItemType=PDU_IT_RESULT.\n" + kSep +
                                 "******************* RxFlags Data *********************\n"
                                 " Number of RxFlag bytes/RxFlag: 4, 80 07 01 ff\n"
                                 " - CAN Extended Addressing is used\n"
                                 " - ISO15765 Segmented CAN messages received\n"
                                 " - ISO15765 CAN message Padding Error\n"
                                 " - TxDone\n"
                                 " - Break indication received\n"
                                 " - Start of Message received\n"
                                 " - TX Loopback message\n"
                                 " - Extended 29-bit CAN ID\n"
                                 " - New speed rate transition\n"
                                 " - Timing ComParams values modified\n"
                                 " - SWCAN High-Voltage Message\n"
                                 " - Remote Frame Received\n"
                                 " UniqueRespIdentifier = 1.\n AcceptanceId         = 0x2.\n"
                                 " ExtraInfo            = true\n\n"
                                 " NumHeaderBytes       = 3.\n"
                                 " HeaderBytes          = 0x80 0x10 0xf1 \n"
                                 " NumFooterBytes       = 1.\n"
                                 " FooterBytes          = 0x42 \n"
                                 " NumDataBytes         = 3\n Result Data:\n 0x10  0x11  0x12 \n");
}
