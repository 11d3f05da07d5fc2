#include <gtest/gtest.h>

#include "CannedSequence.h"
#include "monitor_link/MonitorLineDecoder.h"

namespace {

std::string Cell(const std::string& row, size_t col)
{
    size_t start = 0;
    for (size_t i = 0; i < col && start != std::string::npos; ++i) start = row.find('\t', start) + 1;
    return row.substr(start, row.find('\t', start) - start);
}

class MonitorLineDecoderTest : public ::testing::Test {
protected:
    MonitorLineDecoderTest() : decoder(list, monCount, itemsPerSecond, busLoad) { decoder.SetBusTypeName("HS_CAN"); }

    // The rows written, without the empty row the list keeps open for the next write.
    std::vector<std::string> Rows()
    {
        std::vector<std::string> rows = list.Rows();
        if (!rows.empty() && rows.back().empty()) rows.pop_back();
        return rows;
    }
    std::vector<std::string> Decode(std::vector<FakeItem> items, uint32_t handle = 7)
    {
        for (FakeItem& item : items) link.Add(item);
        decoder.DecodeMonitorEvent(&link, handle);
        return Rows();
    }
    static FakeItem Can(uint32_t ts, uint32_t id, std::vector<uint8_t> data = {0x01})
    {
        FakeItem item;
        item.timestamp = ts;
        item.id = id;
        item.data = std::move(data);
        return item;
    }

    PrintListCtrl list;
    controls::Edit monCount{185, ""};
    controls::Edit itemsPerSecond{2018, ""};
    controls::Edit busLoad{2029, ""};
    FakeLink link;
    MonitorLineDecoder decoder;
};

TEST_F(MonitorLineDecoderTest, CannedSequenceDecodesToTheGoldenRows)
{
    link.u32["Baudrate"] = 20000;
    decoder.SetSuppressLinkEvents(true);
    for (const FakeItem& item : CannedItems()) link.Add(item);
    decoder.DecodeMonitorEvent(&link, 7);
    EXPECT_EQ(link.items.size(), 1u) << "the item behind the bad object waits for the next notice";
    EXPECT_EQ(itemsPerSecond.GetWindowText(), kCannedItemsPerSecond);
    EXPECT_EQ(busLoad.GetWindowText(), kCannedBusLoad);
    link.Add(CannedBaudItem());
    decoder.DecodeMonitorEvent(&link, 7);

    const std::vector<std::string> expected = CannedRows();
    const std::vector<std::string> rows = Rows();
    ASSERT_EQ(rows.size(), expected.size());
    for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i], expected[i]) << "row " << i;
    EXPECT_EQ(decoder.MonCount(), kCannedMonCount);
    EXPECT_EQ(monCount.GetWindowText(), std::to_string(kCannedMonCount));
    EXPECT_EQ(link.live, 0) << "every object decoded is released";
}

TEST_F(MonitorLineDecoderTest, LinkEventRowsAreColouredAndWrittenForHiddenItemsToo)
{
    decoder.SetFilter(MonitorLineDecoder::FILTER_POSITIVE, {0x7e8});
    const auto rows = Decode({Can(1000, 0x7e8), Can(1400, 0x100), Can(1500, 0x7e8)}, 0x2a);
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[0], "\tLINK EVENT\t(0x2a)\t\tEVENT TIME:\t1000");
    EXPECT_EQ(rows[2], "\tLINK EVENT\t(0x2a)\t\tEVENT TIME:\t1400");
    EXPECT_EQ(rows[3], "\tLINK EVENT\t(0x2a)\t\tEVENT TIME:\t1500");
    // The hidden item left the clock where it was: the shown line spans it.
    EXPECT_EQ(rows[4], "R\t0,500\t     7e8\t1\t01\t.       ");
    EXPECT_EQ(list.GetRowColour(0), MonitorLineDecoder::LINK_EVENT_COLOUR);
    EXPECT_EQ(list.GetRowColour(1), PrintListCtrl::WHITE);
    EXPECT_EQ(decoder.MonCount(), 2u);
}

TEST_F(MonitorLineDecoderTest, FilterModesAndTheCollector)
{
    struct Case {
        uint32_t mode;
        std::vector<int> ids;
        std::vector<std::string> shown;
    };
    const Case cases[] = {
        {MonitorLineDecoder::FILTER_OFF, {0x100}, {"     100", "     200", "<NO ID>"}},
        {MonitorLineDecoder::FILTER_POSITIVE, {0x100}, {"     100", "<NO ID>"}},
        {MonitorLineDecoder::FILTER_POSITIVE, {}, {"<NO ID>"}},
        {MonitorLineDecoder::FILTER_NEGATIVE, {0x100}, {"     200", "<NO ID>"}},
    };
    for (const Case& c : cases) {
        list.Clear();
        decoder.SetSuppressLinkEvents(true);
        decoder.SetFilter(c.mode, c.ids);
        decoder.SetCollecting(true);
        FakeItem noId = Can(30, 0);
        noId.hasId = false;
        std::vector<std::string> shown;
        for (const std::string& row : Decode({Can(10, 0x100), Can(20, 0x200), noId})) shown.push_back(Cell(row, 2));
        EXPECT_EQ(shown, c.shown) << "mode " << c.mode;
        // Hidden lines are built all the same, so their ids are collected.
        EXPECT_EQ(decoder.CollectedIds(), (std::vector<uint32_t>{0x100, 0x200})) << "mode " << c.mode;
    }
}

TEST_F(MonitorLineDecoderTest, DisabledScreenWritesNothingAndStopsTheCountersButNotTheClock)
{
    decoder.SetScreenDisabled(true);
    EXPECT_TRUE(Decode({Can(1000, 0x100), Can(2500000, 0x100)}).empty());
    EXPECT_EQ(decoder.MonCount(), 0u);
    EXPECT_EQ(decoder.Statistics().ItemsInWindow(), 0u);
    EXPECT_EQ(itemsPerSecond.GetWindowText(), "");
    decoder.SetScreenDisabled(false);
    decoder.SetSuppressLinkEvents(true);
    EXPECT_EQ(Decode({Can(2500300, 0x100)}).back(), "R\t0,300\t     100\t1\t01\t.       ");
}

TEST_F(MonitorLineDecoderTest, LinLinesByBusName)
{
    // The LIN record: length at 24, checksum at 31, data from 37 on, 6 bytes apart.
    std::vector<uint8_t> record(37 + 6 * 2, 0);
    record[24] = 3;  // claims a byte more than it holds
    record[31] = 0x5a;
    record[37] = 0x01;
    record[43] = 0x02;
    FakeItem lin = Can(100, 0x61, record);
    FakeItem shortRecord = Can(200, 0x21, std::vector<uint8_t>(10, 0xff));
    struct Case {
        const char* bus;
        const char* first;
    };
    const Case cases[] = {
        {"LIN", "R\t0,100\t      21 \t3\t01 02   CS:5a"},
        {"LIN_2", "R\t0,100\t      21 \t3\t01 02   CS:5a"},
        {"KLINE", "R\t0,100\t      61\t49\t00 00 00 00 00 00 00 00\t........"},
        {"FLEXRAY", "R\t0,100\t      61\t49\t00 00 00 00 00 00 00 00\t........"},
    };
    for (const Case& c : cases) {
        list.Clear();
        decoder.Restart();
        decoder.SetBusTypeName(c.bus);
        decoder.SetSuppressLinkEvents(true);
        const auto rows = Decode({lin, shortRecord});
        ASSERT_FALSE(rows.empty());
        EXPECT_EQ(rows[0], c.first) << c.bus;
        if (std::string(c.bus).find("LIN") != std::string::npos && std::string(c.bus).find("KLINE") == std::string::npos) {
            EXPECT_EQ(rows.back(), "R\t0,100\t      21 \t0") << "a record too short for its length field";
            EXPECT_EQ(decoder.Statistics().ItemsInWindow(), 0u) << "LIN lines take no part in the statistics";
        }
    }
}

TEST_F(MonitorLineDecoderTest, OverlongAndEmptyItemsStayWithinTheirBytes)
{
    decoder.SetSuppressLinkEvents(true);
    std::vector<uint8_t> huge(5000);
    for (size_t i = 0; i < huge.size(); ++i) huge[i] = static_cast<uint8_t>(i);
    FakeItem nullData = Can(20, 0x300, {});
    nullData.claimedLength = 12;  // says bytes, gives no pointer
    FakeItem noBaud;
    noBaud.type = KD_IT_INFO;
    noBaud.subType = KD_IST_BAUD;
    noBaud.timestamp = 30;
    noBaud.hasId = false;
    noBaud.data = {0x10};
    const auto rows = Decode({Can(10, 0x200, huge), nullData, noBaud});
    // The line buffer holds what fits of the long frame: whole rows of it, then the next items.
    ASSERT_GT(rows.size(), 80u);
    EXPECT_LT(rows.size(), 120u);
    EXPECT_EQ(rows[1], " \t \t \t \t08 09 0a 0b 0c 0d 0e 0f\t........");
    EXPECT_EQ(rows[rows.size() - 2], "R\t0,010\t     300\t0\t<NO DATA>");
    EXPECT_EQ(rows.back(), "B\t        10\tBaud: 16\tFormat: 0");
    EXPECT_EQ(decoder.MonCount(), 3u);
}

TEST_F(MonitorLineDecoderTest, AnUnknownDataRateGivesAnInfiniteLoadAndTheXButtonClearsTheFigures)
{
    decoder.SetSuppressLinkEvents(true);
    link.u32.erase("CANFDBaudrate");  // GetU32 throws: a rate of 0
    FakeItem fd = Can(1000100, 0x100);
    fd.fd = true;
    Decode({Can(10, 0x100), fd});
    EXPECT_EQ(busLoad.GetWindowText(), "inf");
    EXPECT_EQ(itemsPerSecond.GetWindowText(), "1");
    decoder.ResetCounters();
    EXPECT_EQ(itemsPerSecond.GetWindowText(), "0");
    EXPECT_EQ(busLoad.GetWindowText(), "0.00");
    EXPECT_EQ(monCount.GetWindowText(), "0");
}

TEST(BusLoadMeter, StuffBitsAndCrcOfTheEstimate)
{
    // Figures from an independent model of the same arithmetic.
    struct Case {
        uint32_t id;
        std::vector<uint8_t> data;
        uint16_t crc;
        uint8_t stuff;
    };
    std::vector<uint8_t> counting(64);
    for (uint8_t i = 0; i < 64; ++i) counting[i] = i;
    const Case cases[] = {
        {0x7e8, {0x03, 0x22, 0xf1, 0x90, 'A', 'B', 'C', 0x7f}, 0x2bf1, 7},
        {0x000, std::vector<uint8_t>(8, 0), 0x145b, 16},
        {0x123, counting, 0, 26},
        {0x7ff, std::vector<uint8_t>(8, 0xff), 0x4c89, 15},
        {0x555, {0xaa, 0x0f, 0xf0, 0x81, 0x7e, 0x00, 0xff, 0x3c}, 0x7696, 6},
    };
    for (const Case& c : cases) {
        const auto length = static_cast<uint32_t>(c.data.size());
        if (c.crc) {
            EXPECT_EQ(BusLoadMeter::Crc(c.id, c.data.data(), length), c.crc);
        }
        EXPECT_EQ(BusLoadMeter::StuffBits(c.id, c.data.data(), length), c.stuff) << std::hex << c.id;
    }
    EXPECT_EQ(BusLoadMeter::ArbitrationBits(false, 8), 15u);
    EXPECT_EQ(BusLoadMeter::ArbitrationBits(true, 8), 33u);
    EXPECT_EQ(BusLoadMeter::ArbitrationBits(false, 9), 18u);
    EXPECT_EQ(BusLoadMeter::ArbitrationBits(true, 64), 36u);
    BusLoadMeter::Frame big{true, false, 0x1, nullptr, 0};
    std::vector<uint8_t> over(65);
    big.data = over.data();
    big.length = 65;
    EXPECT_EQ(BusLoadMeter::DataPhaseBits(big), 65u * 8 + 4 + 13 + BusLoadMeter::StuffBits(1, over.data(), 65));
}

TEST(BusLoadMeter, ALoadOfOnePercentOrLessLeavesTheFiguresUnshown)
{
    BusLoadMeter meter;
    const uint8_t data[8] = {};
    meter.AddFrame({true, false, 0x100, data, 8}, 500000, 500000);
    EXPECT_FALSE(meter.CloseWindow(1000000)) << "a window ends only after more than a second";
    EXPECT_FALSE(meter.CloseWindow(1000001));
    EXPECT_EQ(meter.ItemsInWindow(), 0u);
    EXPECT_GT(meter.BusLoad(), 0.0);
    EXPECT_LT(meter.BusLoad(), 1.0);
}

}  // namespace
