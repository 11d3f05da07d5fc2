#include "vehicle/Vehicle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace pdusim {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

constexpr char kUdsOnCan[] = "ISO_15765_3_on_ISO_15765_2";

VehicleRequest Can(uint32_t target, Bytes data, bool functional = false) {
    return {VehicleBus::Can, kUdsOnCan, target, functional, std::move(data)};
}

Bytes VinAnswer() {
    Bytes expected{0x62, 0xF1, 0x90};
    expected.insert(expected.end(), Vehicle::kVin, Vehicle::kVin + 17);
    return expected;
}

// A clock the test moves by hand.
struct ManualClock {
    std::shared_ptr<std::atomic<int64_t>> ms = std::make_shared<std::atomic<int64_t>>(1000000);
    VehicleClock Function() const {
        auto shared = ms;
        return [shared] { return std::chrono::steady_clock::time_point{} + std::chrono::milliseconds(shared->load()); };
    }
    void Advance(std::chrono::milliseconds by) const { *ms += by.count(); }
};

struct Expected {
    uint32_t source;
    Bytes data;
    uint32_t delayUs;
    bool segmented;
};

void ExpectAnswers(const std::vector<VehicleResponse>& actual, const std::vector<Expected>& expected,
                   const std::string& label) {
    ASSERT_EQ(actual.size(), expected.size()) << label;
    for (size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].sourceAddress, expected[i].source) << label << " #" << i;
        EXPECT_EQ(actual[i].data, expected[i].data) << label << " #" << i;
        EXPECT_EQ(actual[i].delayUs, expected[i].delayUs) << label << " #" << i;
        EXPECT_EQ(actual[i].segmented, expected[i].segmented) << label << " #" << i;
    }
}

TEST(Vehicle, RoutesByBusProtocolAndAddress) {
    struct Row {
        const char* name;
        VehicleRequest request;
        std::vector<Expected> expected;
    };
    const std::vector<Row> rows = {
        {"engine VIN", Can(0x7E0, {0x22, 0xF1, 0x90}), {{0x7E8, VinAnswer(), 5000, true}}},
        {"transmission gear", Can(0x7E1, {0x22, 0x01, 0x10}), {{0x7E9, {0x62, 0x01, 0x10, 0x03}, 9000, false}}},
        {"engine 29-bit", Can(0x18DA10F1, {0x3E, 0x00}), {{0x18DAF110, {0x7E, 0x00}, 5000, false}}},
        {"engine 29-bit marked", Can(0x98DA10F1, {0x3E, 0x00}), {{0x98DAF110, {0x7E, 0x00}, 5000, false}}},
        {"UDS on CAN other protocol name",
         {VehicleBus::Can, "ISO_14229_3_on_ISO_15765_2", 0x7E0, false, {0x3E, 0x00}},
         {{0x7E8, {0x7E, 0x00}, 5000, false}}},
        {"unknown CAN id", Can(0x7E5, {0x3E, 0x00}), {}},
        {"11-bit id sent as a 29-bit frame", Can(0x800007E0, {0x3E, 0x00}), {}},
        {"functional 11-bit id sent as a 29-bit frame", Can(0x800007DF, {0x3E, 0x00}), {}},
        {"physical id with no ECU", Can(0x7DE, {0x3E, 0x00}), {}},
        {"functional tester present",
         Can(0x7DF, {0x3E, 0x00}),
         {{0x7E8, {0x7E, 0x00}, 5000, false}, {0x7E9, {0x7E, 0x00}, 4000, false}}},
        {"functional by flag without address",
         Can(0, {0x3E, 0x00}, true),
         {{0x7E8, {0x7E, 0x00}, 5000, false}, {0x7E9, {0x7E, 0x00}, 4000, false}}},
        {"functional 29-bit",
         Can(0x18DB33F1, {0x3E, 0x00}),
         {{0x18DAF110, {0x7E, 0x00}, 5000, false}, {0x18DAF118, {0x7E, 0x00}, 4000, false}}},
        {"functional suppressed", Can(0x7DF, {0x3E, 0x80}), {}},
        {"functional unsupported service silent", Can(0x7DF, {0x23, 0x00}, true), {}},
        {"physical unsupported service", Can(0x7E1, {0x23, 0x00}), {{0x7E9, {0x7F, 0x23, 0x11}, 9000, false}}},
        {"DoIP engine",
         {VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0x1001, false, {0x22, 0xF1, 0x90}},
         {{0x1001, VinAnswer(), 2000, false}}},
        {"DoIP functional",
         {VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0xE400, true, {0x3E, 0x00}},
         {{0x1001, {0x7E, 0x00}, 2000, false}, {0x1002, {0x7E, 0x00}, 1000, false}}},
        {"DoIP unknown", {VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0x1003, false, {0x3E, 0x00}}, {}},
        {"K-Line start",
         {VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x10, false, {0x81}},
         {{0x10, {0xC1, 0xEF, 0x8F}, 20000, false}}},
        {"K-Line functional",
         {VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x33, true, {0x3E}},
         {{0x10, {0x7E}, 20000, false}}},
        {"K-Line no address", {VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0, false, {0x3E}},
         {{0x10, {0x7E}, 20000, false}}},
        {"K-Line unknown", {VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x11, false, {0x3E}}, {}},
        {"OBD functional: engine only",
         {VehicleBus::Can, "ISO_OBD_on_ISO_15765_4", 0x7DF, true, {0x01, 0x0C}},
         {{0x7E8, {0x41, 0x0C, 0x0C, 0x80}, 5000, false}}},
        {"OBD VIN segmented",
         {VehicleBus::Can, "ISO_OBD_on_ISO_15765_4", 0x7DF, true, {0x09, 0x02}},
         {{0x7E8, [] { Bytes b{0x49, 0x02, 0x01}; b.insert(b.end(), Vehicle::kVin, Vehicle::kVin + 17); return b; }(),
           5000, true}}},
        {"raw CAN echo",
         {VehicleBus::Can, "ISO_11898_RAW", 0, false, {0, 0, 0x01, 0x00, 0x01, 0x02}},
         {{0x101, {0, 0, 0x01, 0x01, 0x02, 0x03}, 1000, false}}},
        {"raw CAN silent id", {VehicleBus::Can, "ISO_11898_RAW", 0, false, {0, 0, 0x07, 0xE0, 0x3E, 0x00}}, {}},
        {"raw CAN malformed", {VehicleBus::Can, "ISO_11898_RAW", 0, false, {0x01}}, {}},
    };
    for (const Row& row : rows) {
        Vehicle vehicle;
        ExpectAnswers(vehicle.Request(row.request), row.expected, row.name);
        // A DoIP entity refuses a target nobody answers from before it asks.
        if (row.request.bus == VehicleBus::Ethernet) {
            EXPECT_EQ(vehicle.ListensOnDoIp(row.request.targetAddress), !row.expected.empty()) << row.name;
        }
    }
}

TEST(Vehicle, FunctionalRoutineMergesPendingAnswersOfBothEcusInTimeOrder) {
    Vehicle vehicle;
    const Bytes pending{0x7F, 0x31, 0x78};
    const Bytes done{0x71, 0x01, 0x02, 0x01, 0x00};
    // engine at 5, 105, 205, 305 ms; transmission at 9, 109, 209, 309 ms
    ExpectAnswers(vehicle.Request(Can(0x7DF, {0x31, 0x01, 0x02, 0x01})),
                  {{0x7E8, pending, 5000, false}, {0x7E9, pending, 4000, false},
                   {0x7E8, pending, 96000, false}, {0x7E9, pending, 4000, false},
                   {0x7E8, pending, 96000, false}, {0x7E9, pending, 4000, false},
                   {0x7E8, done, 96000, false}, {0x7E9, done, 4000, false}},
                  "functional routine");
}

TEST(Vehicle, DelayScaleMultipliesEveryDelay) {
    Vehicle vehicle;
    vehicle.SetResponseDelayScale(10);
    const auto answers = vehicle.Request(Can(0x7E0, {0x31, 0x01, 0x02, 0x01}));
    ASSERT_EQ(answers.size(), 4u);
    EXPECT_EQ(answers[0].delayUs, 50000u);
    EXPECT_EQ(answers[3].delayUs, 1000000u);
    vehicle.SetResponseDelayScale(0xFFFFFFFF);  // saturates instead of wrapping
    EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x3E, 0x00}))[0].delayUs, 0xFFFFFFFFu);
    vehicle.SetResponseDelayScale(1);
    EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x3E, 0x00}))[0].delayUs, 5000u);
}

TEST(Vehicle, SessionTimesOutOnTheInjectedClock) {
    ManualClock clock;
    Vehicle vehicle(clock.Function());
    const Bytes readSession{0x22, 0xF1, 0x86};
    vehicle.Request(Can(0x7DF, {0x10, 0x03}));
    clock.Advance(4500ms);
    vehicle.Request(Can(0x7E0, {0x3E, 0x80}));  // engine only is kept alive
    clock.Advance(4500ms);
    EXPECT_EQ(vehicle.Request(Can(0x7E0, readSession))[0].data, (Bytes{0x62, 0xF1, 0x86, 0x03}));
    EXPECT_EQ(vehicle.Request(Can(0x7E1, readSession))[0].data, (Bytes{0x62, 0xF1, 0x86, 0x01}));
    clock.Advance(5000ms);
    EXPECT_EQ(vehicle.Request(Can(0x7E0, readSession))[0].data, (Bytes{0x62, 0xF1, 0x86, 0x01}));
}

TEST(Vehicle, SecurityLockoutDelayRunsOnTheInjectedClock) {
    ManualClock clock;
    Vehicle vehicle(clock.Function());
    vehicle.Request(Can(0x7E0, {0x10, 0x03}));
    for (int attempt = 0; attempt < 3; ++attempt) {
        vehicle.Request(Can(0x7E0, {0x27, 0x01}));
        const Bytes expected{0x7F, 0x27, static_cast<uint8_t>(attempt < 2 ? 0x35 : 0x36)};
        EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x27, 0x02, 0, 0, 0, 0}))[0].data, expected);
    }
    clock.Advance(4s);
    vehicle.Request(Can(0x7E0, {0x3E, 0x00}));
    clock.Advance(4s);
    vehicle.Request(Can(0x7E0, {0x3E, 0x00}));
    EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x27, 0x01}))[0].data, (Bytes{0x7F, 0x27, 0x37}));
    clock.Advance(2s);
    EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x27, 0x01}))[0].data.size(), 6u);
}

TEST(Vehicle, ResetRestoresPowerOnStateOfEveryEcu) {
    Vehicle vehicle;
    const VehicleRequest kwpRead{VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x10, false, {0x18, 0x00, 0xFF, 0x00}};
    const VehicleRequest doipRead{VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0x1002, false, {0x19, 0x01, 0xFF}};
    vehicle.Request(Can(0x7DF, {0x14, 0xFF, 0xFF, 0xFF}));
    vehicle.Request({VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x10, false, {0x14, 0xFF, 0x00}});
    vehicle.Request({VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0x1002, false, {0x14, 0xFF, 0xFF, 0xFF}});
    vehicle.Request(Can(0x7E0, {0x10, 0x03}));
    EXPECT_EQ(vehicle.Request(Can(0x7E1, {0x19, 0x01, 0xFF}))[0].data, (Bytes{0x59, 0x01, 0x7F, 0x01, 0x00, 0x00}));
    vehicle.Reset();
    EXPECT_EQ(vehicle.Request(Can(0x7E0, {0x22, 0xF1, 0x86}))[0].data, (Bytes{0x62, 0xF1, 0x86, 0x01}));
    EXPECT_EQ(vehicle.Request(Can(0x7E1, {0x19, 0x01, 0xFF}))[0].data, (Bytes{0x59, 0x01, 0x7F, 0x01, 0x00, 0x02}));
    EXPECT_EQ(vehicle.Request(kwpRead)[0].data[1], 0x02);
    EXPECT_EQ(vehicle.Request(doipRead)[0].data, (Bytes{0x59, 0x01, 0x7F, 0x01, 0x00, 0x02}));
}

TEST(Vehicle, DoipAndCanEnginesKeepSeparateState) {
    Vehicle vehicle;
    vehicle.Request(Can(0x7E0, {0x10, 0x03}));
    const VehicleRequest doip{VehicleBus::Ethernet, "ISO_14229_5_on_ISO_13400_2", 0x1001, false, {0x22, 0xF1, 0x86}};
    EXPECT_EQ(vehicle.Request(doip)[0].data, (Bytes{0x62, 0xF1, 0x86, 0x01}));
}

TEST(Vehicle, ConcurrentRequestsStayConsistent) {
    Vehicle vehicle;
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kRounds; ++i) {
                if (vehicle.Request(Can(0x7E0, {0x22, 0xF1, 0x90})).at(0).data != VinAnswer()) ++wrong;
                if (vehicle.Request(Can(0x7DF, {0x3E, 0x00})).size() != 2) ++wrong;
                vehicle.Request(Can(0x7E1, {0x10, static_cast<uint8_t>(t % 2 ? 0x03 : 0x01)}));
                vehicle.Request({VehicleBus::KLine, "ISO_14230_3_on_ISO_14230_2", 0x10, false, {0x21, 0x01}});
                vehicle.BusTraffic(static_cast<uint32_t>(i));
                if (i % 50 == 0) vehicle.Reset();
                if (i % 70 == 0) vehicle.SetResponseDelayScale(1);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace pdusim
