// A raw CAN link created with create flags byte 3 == 1 shows every frame of its bus.
#include "SimApi.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr UNUM32 kUdsOtherPinsResource = 1006;
constexpr UNUM32 kMonitorCreateFlags = 0x01000000;  // byte 3 == 1

// One result as the bench's monitor mode prints it.
struct Frame {
    char direction;
    UNUM32 hCop;
    bool extended;
    Bytes data;  // 4-byte id, then the payload
    bool operator==(const Frame&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Frame& f) {
    out << f.direction << " hCop=" << f.hCop << (f.extended ? " x" : "") << " ";
    for (uint8_t b : f.data) out << std::hex << int{b} << ' ';
    return out << std::dec;
}

Frame FrameOf(const SeenEvent& e) {
    return {(e.rxFlags.at(3) & 0x01) != 0 ? 'T' : 'R', e.hCop, (e.rxFlags.at(2) & 0x01) != 0, e.data};
}

UNUM32 IdOf(const Bytes& data) {
    return data.size() < 4 ? 0 : (UNUM32{data[0]} << 24) | (data[1] << 16) | (data[2] << 8) | data[3];
}

std::vector<Frame> FramesWithIds(const std::vector<SeenEvent>& events, std::initializer_list<UNUM32> ids) {
    std::vector<Frame> frames;
    for (const SeenEvent& e : Results(events))
        if (std::find(ids.begin(), ids.end(), IdOf(e.data)) != ids.end()) frames.push_back(FrameOf(e));
    return frames;
}

class SimMonitorTest : public SimFixture {
protected:
    UNUM32 OpenMonitor(UNUM32 resource = kRawResource, UNUM32 flags = kMonitorCreateFlags) {
        uint8_t bytes[4] = {static_cast<uint8_t>(flags), static_cast<uint8_t>(flags >> 8), static_cast<uint8_t>(flags >> 16),
                            static_cast<uint8_t>(flags >> 24)};
        PDU_FLAG_DATA create{4, bytes};
        UNUM32 hCLL = 0;
        EXPECT_EQ(api.PDUCreateComLogicalLink(module, nullptr, resource, nullptr, &hCLL, &create), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDURegisterEventCallback(module, hCLL, &CallbackCounter::Callback), PDU_STATUS_NOERROR);
        EXPECT_EQ(api.PDUConnect(module, hCLL), PDU_STATUS_NOERROR);
        return hCLL;
    }
    // Lets the bus run for a while, collecting what the link shows.
    std::vector<SeenEvent> Listen(UNUM32 hCLL, UNUM32 ms) {
        CopOptions delay;
        delay.timeMs = ms;
        return Collect(hCLL, StartCop(hCLL, PDU_COPT_DELAY, {}, delay));
    }
};

TEST_F(SimMonitorTest, ShowsItsOwnFramesTheAnswersAndTheTraffic) {
    const UNUM32 monitor = OpenMonitor();
    const struct {
        const char* what;
        Bytes pdu;
        Bytes answer;
        bool extended;
    } cases[] = {
        {"11-bit echo", {0x00, 0x00, 0x01, 0x00, 0x11, 0x22}, {0x00, 0x00, 0x01, 0x01, 0x12, 0x23}, false},
        {"29-bit echo, the mark is no part of the id", {0x98, 0xFF, 0x01, 0x00, 0x41}, {0x18, 0xFF, 0x01, 0x01, 0x42}, true},
    };
    for (const auto& c : cases) {
        const UNUM32 hCop = StartCop(monitor, PDU_COPT_SENDRECV, c.pdu, {});
        const auto events = Collect(monitor, hCop);
        std::vector<Frame> own;
        for (const SeenEvent& e : Results(events))
            if (e.hCop == hCop) own.push_back(FrameOf(e));
        Bytes sent = c.pdu;
        sent[0] &= 0x1F;
        EXPECT_EQ(own, (std::vector<Frame>{{'T', hCop, c.extended, sent}, {'R', hCop, c.extended, c.answer}})) << c.what;
        const auto results = Results(events);
        const auto tx = std::find_if(results.begin(), results.end(), [&](const SeenEvent& e) { return e.hCop == hCop; });
        ASSERT_NE(tx, results.end());
        EXPECT_EQ(tx->rxFlags[3], 0x09) << c.what;  // transmitted, Tx done
        EXPECT_EQ(tx->timestampFlags[0], 0xC0) << c.what;
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back().status, PDU_COPST_FINISHED) << c.what;
    }

    // The vehicle's background traffic belongs to no ComPrimitive.
    const auto traffic = Listen(monitor, 250);
    const auto engine = FramesWithIds(traffic, {0x0C8});
    const auto j1939 = FramesWithIds(traffic, {0x0CF00400});
    ASSERT_GE(engine.size(), 2u);
    ASSERT_GE(j1939.size(), 2u);
    EXPECT_EQ(engine[0].direction, 'R');
    EXPECT_EQ(engine[0].hCop, PDU_HANDLE_UNDEF);
    EXPECT_FALSE(engine[0].extended);
    EXPECT_EQ(engine[0].data.size(), 12u);
    EXPECT_TRUE(j1939[0].extended);
    for (const SeenEvent& e : Results(traffic)) {
        // What the bench's monitor mode takes for granted.
        ASSERT_EQ(e.rxFlags.size(), 4u);
        ASSERT_GE(e.data.size(), 4u);
        EXPECT_EQ(e.timestampFlags[0], 0x40);
    }

    // A block filter takes a frame off the monitor; the rest keeps coming.
    PDU_IO_FILTER_DATA block{PDU_FLT_BLOCK, 1, 4, {0xFF, 0xFF, 0xFF, 0xFF}, {0x0C, 0xF0, 0x04, 0x00}};
    PDU_IO_FILTER_LIST list{1, &block};
    PDU_DATA_ITEM item{PDU_IT_IO_FILTER, &list};
    ASSERT_EQ(IoCtl(monitor, "PDU_IOCTL_START_MSG_FILTER", &item), PDU_STATUS_NOERROR);
    const auto filtered = Listen(monitor, 250);
    EXPECT_TRUE(FramesWithIds(filtered, {0x0CF00400}).empty());
    EXPECT_GE(FramesWithIds(filtered, {0x0C8}).size(), 2u);

    // Offline it is quiet.
    ASSERT_EQ(api.PDUDisconnect(module, monitor), PDU_STATUS_NOERROR);
    Drain(monitor);
    const UNUM32 other = OpenLink(kUdsResource);
    Listen(other, 150);
    EXPECT_TRUE(Results(Drain(monitor)).empty());
}

TEST_F(SimMonitorTest, SeesEveryLinkOnItsBusAndNoOther) {
    const UNUM32 monitor = OpenMonitor();
    const UNUM32 second = OpenMonitor();
    const UNUM32 uds = OpenLink(kUdsResource);
    const UNUM32 elsewhere = OpenLink(kUdsOtherPinsResource);
    const UNUM32 raw = OpenLink(kRawResource);
    const UNUM32 direct = OpenLink(kDirectCanResource);
    const UNUM32 none = PDU_HANDLE_UNDEF;
    const struct {
        const char* what;
        std::function<void()> act;
        std::initializer_list<UNUM32> ids;
        std::vector<Frame> seen;
    } cases[] = {
        {"UDS on the same pins: every ISO-TP frame, flow control included",
         [&] { Collect(uds, StartCop(uds, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90}, {})); },
         {0x7E0, 0x7E8},
         {{'R', none, false, {0, 0, 0x07, 0xE0, 0x03, 0x22, 0xF1, 0x90, 0x55, 0x55, 0x55, 0x55}},
          {'R', none, false, {0, 0, 0x07, 0xE8, 0x10, 0x14, 0x62, 0xF1, 0x90, 'W', 'Q', 'U'}},
          {'R', none, false, {0, 0, 0x07, 0xE0, 0x30, 0x00, 0x00, 0x55, 0x55, 0x55, 0x55, 0x55}},
          {'R', none, false, {0, 0, 0x07, 0xE8, 0x21, '0', 'S', 'I', 'M', 'U', 'L', 'A'}},
          {'R', none, false, {0, 0, 0x07, 0xE8, 0x22, 'T', 'O', 'R', '0', '0', '0', '1'}}}},
        {"UDS on other pins is another bus",
         [&] { Collect(elsewhere, StartCop(elsewhere, PDU_COPT_SENDRECV, {0x22, 0xF1, 0x90}, {})); },
         {0x7E0, 0x7E8},
         {}},
        {"another raw link: its frame and the echo",
         [&] { Collect(raw, StartCop(raw, PDU_COPT_SENDRECV, {0, 0, 0x01, 0x00, 0x01}, {})); },
         {0x100, 0x101},
         {{'R', none, false, {0, 0, 0x01, 0x00, 0x01}}, {'R', none, false, {0, 0, 0x01, 0x01, 0x02}}}},
        {"direct CAN",
         [&] {
             SeCanMessage frame{SE_TRANSMIT_MSG, 0, 0x100, 0, 1, {0x07}, 0};
             EXPECT_EQ(api.PDUSECanWrite(direct, 1, &frame), PDU_STATUS_NOERROR);
         },
         {0x100, 0x101},
         {{'R', none, false, {0, 0, 0x01, 0x00, 0x07}}, {'R', none, false, {0, 0, 0x01, 0x01, 0x08}}}},
        {"the other monitor's own frame",
         [&] { Collect(second, StartCop(second, PDU_COPT_SENDRECV, {0, 0, 0x02, 0x00, 0x05}, {})); },
         {0x200},
         {{'R', none, false, {0, 0, 0x02, 0x00, 0x05}}}},
    };
    for (const auto& c : cases) {
        Drain(monitor);
        c.act();
        // The frames are on the bus by now; a short wait lets the monitor's clock pass them.
        EXPECT_EQ(FramesWithIds(Listen(monitor, 20), c.ids), c.seen) << c.what;
    }
}

TEST_F(SimMonitorTest, ReceivingComPrimitiveTakesTheFramesThatFit) {
    const UNUM32 monitor = OpenMonitor();
    CopOptions receive;
    receive.sends = 0;
    receive.receives = 2;
    receive.expected = {{0, 7, {0xFF, 0xFF, 0xFF, 0xFF}, {0x00, 0x00, 0x00, 0xC8}, {}}};
    const UNUM32 hCop = StartCop(monitor, PDU_COPT_SENDRECV, {}, receive);
    const auto events = Collect(monitor, hCop);
    std::vector<UNUM32> taken;
    for (const SeenEvent& e : Results(events)) {
        if (e.hCop == hCop) {
            EXPECT_EQ(IdOf(e.data), 0x0C8u);
            taken.push_back(e.acceptanceId);
        } else {
            EXPECT_EQ(e.hCop, PDU_HANDLE_UNDEF);
            EXPECT_EQ(e.acceptanceId, 0u);
        }
    }
    EXPECT_EQ(taken, (std::vector<UNUM32>{7, 7}));
    EXPECT_EQ(events.back().status, PDU_COPST_FINISHED);
}

TEST_F(SimMonitorTest, WithoutTheFlagNothingChanges) {
    const struct {
        const char* what;
        UNUM32 resource;
        UNUM32 flags;
    } cases[] = {
        {"raw link without the flag", kRawResource, 0},
        {"raw link with raw mode only", kRawResource, 0x80},
        {"UDS link with the flag", kUdsResource, kMonitorCreateFlags},
    };
    for (const auto& c : cases) {
        const UNUM32 hCLL = OpenMonitor(c.resource, c.flags);
        EXPECT_TRUE(Results(Listen(hCLL, 250)).empty()) << c.what;
        api.PDUDisconnect(module, hCLL);
    }
}

}  // namespace
