#include "vehicle/Wire.h"

#include <gtest/gtest.h>

#include <numeric>

namespace pdusim {
namespace {

Bytes Sequence(size_t n) {
    Bytes out(n);
    std::iota(out.begin(), out.end(), uint8_t{0});
    return out;
}

TEST(Wire, BusTimes) {
    const struct {
        const char* what;
        uint32_t got;
        uint32_t expected;
    } rows[] = {
        {"11-bit, 8 bytes at 500k", CanFrameUs(false, 8, 500000), 222},
        {"29-bit, 8 bytes at 500k", CanFrameUs(true, 8, 500000), 262},
        {"11-bit, no data", CanFrameUs(false, 0, 500000), 94},
        {"more than 8 bytes count as 8", CanFrameUs(false, 64, 500000), 222},
        {"125k", CanFrameUs(false, 8, 125000), 888},
        {"ideal bus", CanFrameUs(true, 8, 0), 0},
        {"ten UART bytes at 10400", UartUs(10, 10400), 9616},
        {"ideal UART", UartUs(10, 0), 0},
        {"DoIP message", EthernetUs(10), 8},
        {"STmin 0", StMinUs(0x00), 0},
        {"STmin 127 ms", StMinUs(0x7F), 127000},
        {"STmin 100 us", StMinUs(0xF1), 100},
        {"STmin 900 us", StMinUs(0xF9), 900},
        {"reserved 0x80", StMinUs(0x80), 127000},
        {"reserved 0xFA", StMinUs(0xFA), 127000},
    };
    for (const auto& row : rows) EXPECT_EQ(row.got, row.expected) << row.what;
}

TEST(Wire, IsoTpSegmentsWithFlowControl) {
    const IsoTpChannel plain{false, 500000, 0x55, 0xAA, 0, 0};
    struct Row {
        const char* what;
        Bytes message;
        IsoTpChannel channel;
        std::vector<Bytes> frames;  // sender's frames and flow control, in bus order
    };
    const Bytes vin = {0x62, 0xF1, 0x90, 'W', 'Q', 'U', '0', 'S', 'I', 'M', 'U', 'L', 'A', 'T', 'O', 'R', '0', '0', '0', '1'};
    const std::vector<Row> rows = {
        {"nothing to send", {}, plain, {}},
        {"single frame, padded", {0x3E, 0x00}, plain, {{0x02, 0x3E, 0x00, 0x55, 0x55, 0x55, 0x55, 0x55}}},
        {"seven bytes still single", Sequence(7), plain, {{0x07, 0, 1, 2, 3, 4, 5, 6}}},
        {"eight bytes: first and consecutive frame",
         Sequence(8),
         plain,
         {{0x10, 0x08, 0, 1, 2, 3, 4, 5}, {0x30, 0x00, 0x00, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA}, {0x21, 6, 7, 0x55, 0x55, 0x55, 0x55, 0x55}}},
        {"the VIN answer",
         vin,
         plain,
         {{0x10, 0x14, 0x62, 0xF1, 0x90, 'W', 'Q', 'U'},
          {0x30, 0x00, 0x00, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA},
          {0x21, '0', 'S', 'I', 'M', 'U', 'L', 'A'},
          {0x22, 'T', 'O', 'R', '0', '0', '0', '1'}}},
        {"block size 1: a flow control after every consecutive frame",
         Sequence(20),
         {false, 500000, 0x00, 0x00, 1, 0x05},
         {{0x10, 20, 0, 1, 2, 3, 4, 5},
          {0x30, 0x01, 0x05, 0, 0, 0, 0, 0},
          {0x21, 6, 7, 8, 9, 10, 11, 12},
          {0x30, 0x01, 0x05, 0, 0, 0, 0, 0},
          {0x22, 13, 14, 15, 16, 17, 18, 19}}},
    };
    for (const Row& row : rows) {
        const IsoTpTransfer transfer = SegmentIsoTp(row.message, row.channel);
        std::vector<Bytes> frames;
        for (const IsoTpFrame& frame : transfer.frames) {
            frames.push_back(frame.data);
            EXPECT_EQ(frame.fromSender, frame.data[0] >> 4 != 3) << row.what;
        }
        EXPECT_EQ(frames, row.frames) << row.what;
        EXPECT_EQ(transfer.durationUs, 222 * row.frames.size()) << row.what;  // no separation asked for, or none between blocks
    }
}

TEST(Wire, IsoTpTimingAndLongMessages) {
    // Separation time lies between consecutive frames of one block only.
    const IsoTpTransfer spaced = SegmentIsoTp(Sequence(30), {false, 500000, 0x55, 0xAA, 2, 5});
    std::vector<uint32_t> starts;
    Bytes kinds;
    for (const IsoTpFrame& frame : spaced.frames) {
        starts.push_back(frame.startUs);
        kinds.push_back(static_cast<uint8_t>(frame.data[0] >> 4));
    }
    EXPECT_EQ(kinds, (Bytes{1, 3, 2, 2, 3, 2, 2}));  // 30 bytes: 6 + 7 + 7 + 7 + 3
    EXPECT_EQ(starts, (std::vector<uint32_t>{0, 222, 444, 5666, 5888, 6110, 11332}));
    EXPECT_EQ(spaced.durationUs, 11554u);

    // Above 4095 bytes the first frame carries a 32-bit length; sequence numbers wrap after 15.
    const IsoTpTransfer large = SegmentIsoTp(Sequence(5000), {true, 0, 0x55, 0xAA, 0, 0});
    ASSERT_GE(large.frames.size(), 20u);
    EXPECT_EQ(large.frames[0].data, (Bytes{0x10, 0x00, 0x00, 0x00, 0x13, 0x88, 0, 1}));
    EXPECT_EQ(large.frames[16].data[0], 0x2F);
    EXPECT_EQ(large.frames[17].data[0], 0x20);
    size_t carried = 2;
    for (size_t i = 2; i < large.frames.size(); ++i) carried += 7;
    EXPECT_GE(carried, 5000u);
    EXPECT_LT(carried - 5000, 7u);
    EXPECT_EQ(large.durationUs, 0u);  // ideal bus
}

TEST(Wire, KLineFrames) {
    const struct {
        const char* what;
        Bytes data;
        KLineFormat format;
        bool fromEcu;
        bool functional;
        Bytes header;
        uint8_t checksum;
    } rows[] = {
        {"KWP answer", {0xC1, 0xEF, 0x8F}, KLineFormat::Kwp2000, true, false, {0x83, 0xF1, 0x10}, 0xC3},
        {"KWP functional StartCommunication", {0x81}, KLineFormat::Kwp2000, false, true, {0xC1, 0x33, 0xF1}, 0x66},
        {"KWP length byte above 63", Sequence(70), KLineFormat::Kwp2000, true, false, {0x80, 0xF1, 0x10, 70}, 0x36},
        {"ISO 9141 answer", {0x41, 0x00, 0xBE, 0x1F, 0xA8, 0x13}, KLineFormat::Iso9141, true, false, {0x48, 0x6B, 0x10}, 0x9C},
    };
    for (const auto& row : rows) {
        const uint8_t target = row.fromEcu ? 0xF1 : 0x33;
        const uint8_t source = row.fromEcu ? 0x10 : 0xF1;
        const KLineFrame frame = FrameKLine(row.data, row.format, row.fromEcu, row.functional, target, source);
        EXPECT_EQ(frame.header, row.header) << row.what;
        EXPECT_EQ(frame.checksum, row.checksum) << row.what;
    }
}

}  // namespace
}  // namespace pdusim
