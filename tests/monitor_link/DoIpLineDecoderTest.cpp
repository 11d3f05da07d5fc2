// The rows of DoIP frames: addresses and ports by direction, the payload rows, and items that
// carry less than a whole header or frame.
#include <gtest/gtest.h>

#include <vector>

#include "monitor_link/DoIpLineDecoder.h"

namespace {

struct Frame {
    std::vector<uint8_t> header = std::vector<uint8_t>(40);
    std::vector<uint8_t> data;
    PDU_EXTRA_INFO extra{};
    PDU_RESULT_DATA result{};
    PDU_EVENT_ITEM item{};

    Frame(uint8_t flags, std::vector<uint8_t> frame, uint32_t timestampUs = 12'345'678) : data(std::move(frame))
    {
        header[1] = 0x02;
        header[2] = flags;
        const uint8_t tester[] = {127, 0, 0, 1}, entity[] = {127, 0, 0, 2};
        std::copy(tester, tester + 4, header.begin() + 4);
        std::copy(entity, entity + 4, header.begin() + 20);
        header[36] = 0xc3, header[37] = 0x50;  // 50000
        header[38] = 0x34, header[39] = 0x58;  // 13400
        extra = {40, 0, header.data(), nullptr};
        result.pExtraInfo = &extra;
        result.NumDataBytes = static_cast<UNUM32>(data.size());
        result.pDataBytes = data.empty() ? nullptr : data.data();
        item = {PDU_IT_RESULT, 1, nullptr, timestampUs, &result};
    }
};

std::vector<std::string> Rows(const PDU_EVENT_ITEM& item)
{
    controls::PrintListCtrl list;
    for (int col = 0; col < 3; ++col) list.InsertColumn(col, "c");
    DoIpLineDecoder::Decode(item, list);
    return list.Rows();
}

std::vector<uint8_t> DoIp(uint16_t type, std::vector<uint8_t> payload, uint32_t claimedLength = 0xffffffff)
{
    const uint32_t length = claimedLength == 0xffffffff ? static_cast<uint32_t>(payload.size()) : claimedLength;
    std::vector<uint8_t> frame = {0x02, 0xfd, uint8_t(type >> 8), uint8_t(type), uint8_t(length >> 24), uint8_t(length >> 16),
                                  uint8_t(length >> 8), uint8_t(length)};
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

}  // namespace

TEST(DoIpLineDecoderTest, RowsOfEachKindOfItem)
{
    using D = DoIpLineDecoder;
    struct Case {
        const char* what;
        uint8_t flags;
        std::vector<uint8_t> data;
        std::vector<std::string> rows;
    };
    const std::string sent = "12345\t127:  0:  0:  1 -> 127:  0:  0:  2\tType/Ip/TCP/Rcv/TLS/H";
    const Case cases[] = {
        {"a request without payload", D::FLAG_H | D::FLAG_TCP, DoIp(0x4001, {}),
         {sent, "\t          50000    13400\t0x02  0  1   0   0  1", "\tProtVer:   0x2    PayloadType: 0x4001\tDoIP entity status request ", "", "", ""}},
        {"seven payload bytes: byte 0 left out, the break after byte 6", D::FLAG_H | D::FLAG_TCP | D::FLAG_RCV,
         DoIp(0x8001, {0x10, 0x01, 0x0e, 0x00, 0x62, 0xf1, 0x90}),
         {"12345\t127:  0:  0:  2 -> 127:  0:  0:  1\tType/Ip/TCP/Rcv/TLS/H", "\t          13400    50000\t0x02  0  1   1   0  1",
          "\tProtVer:   0x2    PayloadType: 0x8001\tDiagnostic message ", "\tData:      0x01 0x0e 0x00 0x62 0xf1 0x90 ", "\t           ", "", ""}},
        {"flag Ip without a frame: the time alone", D::FLAG_IP, {}, {"12345", ""}},
        {"a frame shorter than its length: printed as far as it came", D::FLAG_H | D::FLAG_IP, DoIp(0x0004, {1, 2, 3}, 33),
         {"12345\tProtVer:   0x2    PayloadType: 0x4\tVehicle announcement message / Vehicle ID response message ",
          "\tData:      0x02 0x03 ", "", ""}},
    };
    for (const Case& c : cases) {
        Frame frame(c.flags, c.data);
        EXPECT_EQ(Rows(frame.item), c.rows) << c.what;
    }
}

TEST(DoIpLineDecoderTest, ItemsWithoutAHeaderOrOfAnotherTypeAndThePayloadTexts)
{
    Frame frame(DoIpLineDecoder::FLAG_H, DoIp(0x8002, {}));
    frame.result.pExtraInfo = nullptr;
    EXPECT_EQ(Rows(frame.item), (std::vector<std::string>{"12345", ""}));
    frame.extra.NumHeaderBytes = 39;
    frame.result.pExtraInfo = &frame.extra;
    EXPECT_EQ(Rows(frame.item), (std::vector<std::string>{"12345", ""}));
    frame.item.ItemType = PDU_IT_STATUS;
    EXPECT_EQ(Rows(frame.item), (std::vector<std::string>{""}));

    EXPECT_STREQ(DoIpLineDecoder::PayloadTypeText(0x0009), "Reserved by ISO 13400");
    EXPECT_STREQ(DoIpLineDecoder::PayloadTypeText(0x8004), "Reserved by ISO 13400");
    EXPECT_STREQ(DoIpLineDecoder::PayloadTypeText(0xf000), "Reserved for manufacturer-specific use");
    EXPECT_STREQ(DoIpLineDecoder::PayloadTypeText(0x10000), "Unknown PayloadType");
}
