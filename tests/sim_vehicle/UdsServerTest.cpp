#include "vehicle/UdsServer.h"

#include <gtest/gtest.h>

#include "vehicle/UdsCodes.h"

namespace pdusim {
namespace {

using namespace std::chrono_literals;

UdsEcuConfig TestConfig() {
    UdsEcuConfig config;
    config.vin = "VIN45678901234567";
    config.partNumber = "PN1";
    config.serialNumber = "SN12";
    config.softwareVersion = "SW";
    config.extraDids = {{0x0200, {0x00, 0x01}, DidWrite::ExtendedSession}};
    config.dtcs = {{0x030100, 0x2F}, {0x042000, 0x28}, {0xC10000, 0x04}};
    config.responseDelayUs = 4000;
    return config;
}

std::vector<Bytes> Messages(const std::vector<EcuAnswer>& answers) {
    std::vector<Bytes> out;
    for (const EcuAnswer& answer : answers) out.push_back(answer.data);
    return out;
}

using Answers = std::vector<Bytes>;

Bytes WithText(Bytes head, const std::string& text) {
    head.insert(head.end(), text.begin(), text.end());
    return head;
}

struct Case {
    const char* name;
    std::vector<Bytes> before;  // sent first, answers ignored
    Bytes request;
    std::vector<Bytes> expected;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

const TimePoint kStart = TimePoint{} + 1000s;

class UdsServerTable : public ::testing::TestWithParam<Case> {};

TEST_P(UdsServerTable, AnswersExactly) {
    const Case& c = GetParam();
    UdsServer server(TestConfig());
    for (const Bytes& step : c.before) server.Handle(step, false, kStart);
    EXPECT_EQ(Messages(server.Handle(c.request, false, kStart)), c.expected);
}

const Bytes kExtended{0x10, 0x03};
const Bytes kProgramming{0x10, 0x02};

INSTANTIATE_TEST_SUITE_P(
    Services, UdsServerTable,
    ::testing::Values(
        Case{"DefaultSession", {}, {0x10, 0x01}, {{0x50, 0x01, 0x00, 0x32, 0x01, 0xF4}}},
        Case{"ExtendedSession", {}, kExtended, {{0x50, 0x03, 0x00, 0x32, 0x01, 0xF4}}},
        Case{"ProgrammingFromExtended", {kExtended}, kProgramming, {{0x50, 0x02, 0x00, 0x32, 0x01, 0xF4}}},
        Case{"ProgrammingFromDefault", {}, kProgramming, {{0x7F, 0x10, 0x22}}},
        Case{"SessionSuppressed", {}, {0x10, 0x83}, {}},
        Case{"SessionUnknown", {}, {0x10, 0x05}, {{0x7F, 0x10, 0x12}}},
        Case{"SessionNoSubFunction", {}, {0x10}, {{0x7F, 0x10, 0x13}}},
        Case{"HardReset", {}, {0x11, 0x01}, {{0x51, 0x01}}},
        Case{"ResetUnknown", {}, {0x11, 0x04}, {{0x7F, 0x11, 0x12}}},
        Case{"ResetBackToDefault", {kExtended, {0x11, 0x01}}, {0x22, 0xF1, 0x86}, {{0x62, 0xF1, 0x86, 0x01}}},
        Case{"TesterPresent", {}, {0x3E, 0x00}, {{0x7E, 0x00}}},
        Case{"TesterPresentSuppressed", {}, {0x3E, 0x80}, {}},
        Case{"TesterPresentBadSub", {}, {0x3E, 0x01}, {{0x7F, 0x3E, 0x12}}},
        Case{"TesterPresentShort", {}, {0x3E}, {{0x7F, 0x3E, 0x13}}},
        Case{"ReadSerial", {}, {0x22, 0xF1, 0x8C}, {WithText({0x62, 0xF1, 0x8C}, "SN12")}},
        Case{"ReadSeveral", {}, {0x22, 0xF1, 0x87, 0xF1, 0x95},
             {WithText(WithText({0x62, 0xF1, 0x87}, "PN1"), "\xF1\x95SW")}},
        Case{"ReadSkipsUnknown", {}, {0x22, 0x12, 0x34, 0xF1, 0x87}, {WithText({0x62, 0xF1, 0x87}, "PN1")}},
        Case{"ReadActiveSession", {kExtended}, {0x22, 0xF1, 0x86}, {{0x62, 0xF1, 0x86, 0x03}}},
        Case{"ReadUnknownOnly", {}, {0x22, 0x12, 0x34}, {{0x7F, 0x22, 0x31}}},
        Case{"ReadOddLength", {}, {0x22, 0xF1, 0x90, 0xF1}, {{0x7F, 0x22, 0x13}}},
        Case{"WriteInDefault", {}, {0x2E, 0x02, 0x00, 0x12, 0x34}, {{0x7F, 0x2E, 0x7F}}},
        Case{"WriteCoding", {kExtended}, {0x2E, 0x02, 0x00, 0x12, 0x34}, {{0x6E, 0x02, 0x00}}},
        Case{"WriteThenRead", {kExtended, {0x2E, 0x02, 0x00, 0x12, 0x34}}, {0x22, 0x02, 0x00},
             {{0x62, 0x02, 0x00, 0x12, 0x34}}},
        Case{"WriteWrongSize", {kExtended}, {0x2E, 0x02, 0x00, 0x12}, {{0x7F, 0x2E, 0x13}}},
        Case{"WriteReadOnly", {kExtended}, {0x2E, 0xF1, 0x87, 0x41, 0x42, 0x43}, {{0x7F, 0x2E, 0x31}}},
        Case{"WriteUnknown", {kExtended}, {0x2E, 0x12, 0x34, 0x00}, {{0x7F, 0x2E, 0x31}}},
        Case{"WriteVinLocked", {kExtended}, WithText({0x2E, 0xF1, 0x90}, "VIN45678901234567"),
             {{0x7F, 0x2E, 0x33}}},
        Case{"SeedInDefault", {}, {0x27, 0x01}, {{0x7F, 0x27, 0x7F}}},
        Case{"SecurityBadLevel", {kExtended}, {0x27, 0x03}, {{0x7F, 0x27, 0x12}}},
        Case{"KeyWrongLength", {kExtended}, {0x27, 0x02, 0x00}, {{0x7F, 0x27, 0x13}}},
        Case{"KeyWithoutSeed", {kExtended}, {0x27, 0x02, 0, 0, 0, 0}, {{0x7F, 0x27, 0x24}}},
        Case{"DtcCount", {}, {0x19, 0x01, 0x08}, {{0x59, 0x01, 0x7F, 0x01, 0x00, 0x02}}},
        Case{"DtcCountAll", {}, {0x19, 0x01, 0xFF}, {{0x59, 0x01, 0x7F, 0x01, 0x00, 0x03}}},
        Case{"DtcByMask", {}, {0x19, 0x02, 0x01},
             {{0x59, 0x02, 0x7F, 0x03, 0x01, 0x00, 0x2F}}},
        Case{"DtcBadSub", {}, {0x19, 0x0A}, {{0x7F, 0x19, 0x12}}},
        Case{"DtcBadLength", {}, {0x19, 0x02}, {{0x7F, 0x19, 0x13}}},
        Case{"ClearAll", {}, {0x14, 0xFF, 0xFF, 0xFF}, {{0x54}}},
        Case{"ClearAllEmptiesMemory", {{0x14, 0xFF, 0xFF, 0xFF}}, {0x19, 0x01, 0xFF},
             {{0x59, 0x01, 0x7F, 0x01, 0x00, 0x00}}},
        Case{"ClearOne", {{0x14, 0x04, 0x20, 0x00}}, {0x19, 0x02, 0xFF},
             {{0x59, 0x02, 0x7F, 0x03, 0x01, 0x00, 0x2F, 0xC1, 0x00, 0x00, 0x04}}},
        Case{"ClearUnknownGroup", {}, {0x14, 0x12, 0x34, 0x56}, {{0x7F, 0x14, 0x31}}},
        Case{"ClearBadLength", {}, {0x14, 0xFF, 0xFF}, {{0x7F, 0x14, 0x13}}},
        Case{"SelfTestPending", {}, {0x31, 0x01, 0x02, 0x01},
             {{0x7F, 0x31, 0x78}, {0x7F, 0x31, 0x78}, {0x7F, 0x31, 0x78}, {0x71, 0x01, 0x02, 0x01, 0x00}}},
        Case{"SelfTestSuppressedKeepsPending", {}, {0x31, 0x81, 0x02, 0x01},
             {{0x7F, 0x31, 0x78}, {0x7F, 0x31, 0x78}, {0x7F, 0x31, 0x78}}},
        Case{"SelfTestResults", {{0x31, 0x01, 0x02, 0x01}}, {0x31, 0x03, 0x02, 0x01},
             {{0x71, 0x03, 0x02, 0x01, 0x00}}},
        Case{"SelfTestResultsBeforeStart", {}, {0x31, 0x03, 0x02, 0x01}, {{0x7F, 0x31, 0x24}}},
        Case{"SelfTestStop", {{0x31, 0x01, 0x02, 0x01}}, {0x31, 0x02, 0x02, 0x01}, {{0x7F, 0x31, 0x24}}},
        Case{"RoutineUnknown", {}, {0x31, 0x01, 0x12, 0x34}, {{0x7F, 0x31, 0x31}}},
        Case{"RoutineBadSub", {}, {0x31, 0x04, 0x02, 0x01}, {{0x7F, 0x31, 0x12}}},
        Case{"RoutineShort", {}, {0x31, 0x01, 0x02}, {{0x7F, 0x31, 0x13}}},
        Case{"EraseOutsideProgramming", {kExtended}, {0x31, 0x01, 0xFF, 0x00}, {{0x7F, 0x31, 0x22}}},
        Case{"EraseLocked", {kExtended, kProgramming}, {0x31, 0x01, 0xFF, 0x00}, {{0x7F, 0x31, 0x33}}},
        Case{"DtcSettingInDefault", {}, {0x85, 0x02}, {{0x7F, 0x85, 0x7F}}},
        Case{"DtcSettingOff", {kExtended}, {0x85, 0x02}, {{0xC5, 0x02}}},
        Case{"DtcSettingOnSuppressed", {kExtended}, {0x85, 0x81}, {}},
        Case{"DtcSettingBadSub", {kExtended}, {0x85, 0x03}, {{0x7F, 0x85, 0x12}}},
        Case{"UnknownService", {}, {0x23, 0x00}, {{0x7F, 0x23, 0x11}}},
        Case{"EmptyRequest", {}, {}, {}}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

// Unlocks level 1 with the documented key function and returns the seed it used.
uint32_t Unlock(UdsServer& server, TimePoint now) {
    const auto seed = Messages(server.Handle({0x27, 0x01}, false, now));
    EXPECT_EQ(seed.size(), 1u);
    EXPECT_EQ(seed[0].size(), 6u);
    const uint32_t value = (uint32_t{seed[0][2]} << 24) | (seed[0][3] << 16) | (seed[0][4] << 8) | seed[0][5];
    const uint32_t key = SecurityAccess::KeyFor(value);
    const Bytes keyRequest{0x27, 0x02, uint8_t(key >> 24), uint8_t(key >> 16), uint8_t(key >> 8), uint8_t(key)};
    EXPECT_EQ(Messages(server.Handle(keyRequest, false, now)), Answers({{0x67, 0x02}}));
    return value;
}

TEST(UdsServer, UnlockedServerWritesVinAndEraseRuns) {
    UdsServer server(TestConfig());
    server.Handle({0x10, 0x03}, false, kStart);
    Unlock(server, kStart);
    EXPECT_EQ(Messages(server.Handle({0x27, 0x01}, false, kStart)),
              Answers({{0x67, 0x01, 0, 0, 0, 0}}));  // already unlocked: zero seed
    EXPECT_EQ(Messages(server.Handle(WithText({0x2E, 0xF1, 0x90}, "ABCDEFGHIJKLMNOPQ"), false, kStart)),
              Answers({{0x6E, 0xF1, 0x90}}));
    EXPECT_EQ(Messages(server.Handle({0x22, 0xF1, 0x90}, false, kStart)),
              Answers({WithText({0x62, 0xF1, 0x90}, "ABCDEFGHIJKLMNOPQ")}));

    server.Handle({0x10, 0x02}, false, kStart);  // a session change locks again
    EXPECT_EQ(Messages(server.Handle({0x31, 0x01, 0xFF, 0x00}, false, kStart)),
              Answers({{0x7F, 0x31, 0x33}}));
    Unlock(server, kStart);
    EXPECT_EQ(Messages(server.Handle({0x31, 0x01, 0xFF, 0x00}, false, kStart)),
              (Answers({{0x7F, 0x31, 0x78}, {0x71, 0x01, 0xFF, 0x00, 0x00}})));
}

TEST(UdsServer, PowerOnRestoresWrittenData) {
    UdsServer server(TestConfig());
    server.Handle({0x10, 0x03}, false, kStart);
    server.Handle({0x2E, 0x02, 0x00, 0xAB, 0xCD}, false, kStart);
    server.Handle({0x14, 0xFF, 0xFF, 0xFF}, false, kStart);
    server.PowerOn();
    EXPECT_EQ(server.Session(), UdsServer::kDefaultSession);
    EXPECT_EQ(Messages(server.Handle({0x22, 0x02, 0x00}, false, kStart)),
              Answers({{0x62, 0x02, 0x00, 0x00, 0x01}}));
    EXPECT_EQ(Messages(server.Handle({0x19, 0x01, 0xFF}, false, kStart)),
              Answers({{0x59, 0x01, 0x7F, 0x01, 0x00, 0x03}}));
}

TEST(UdsServer, SessionFallsBackAfterS3WithoutRequests) {
    UdsServer server(TestConfig());
    server.Handle({0x10, 0x03}, false, kStart);
    server.Handle({0x3E, 0x80}, false, kStart + 4s);  // keeps the session alive
    EXPECT_EQ(Messages(server.Handle({0x22, 0xF1, 0x86}, false, kStart + 8900ms)),
              Answers({{0x62, 0xF1, 0x86, 0x03}}));
    EXPECT_EQ(Messages(server.Handle({0x22, 0xF1, 0x86}, false, kStart + 13900ms)),
              Answers({{0x62, 0xF1, 0x86, 0x01}}));
}

TEST(UdsServer, S3TimeoutLocksSecurity) {
    UdsServer server(TestConfig());
    server.Handle({0x10, 0x03}, false, kStart);
    Unlock(server, kStart);
    const TimePoint later = kStart + UdsServer::kS3;
    server.Handle({0x10, 0x03}, false, later);
    EXPECT_EQ(Messages(server.Handle({0x2E, 0xF1, 0x90, 0x41}, false, later)),
              Answers({{0x7F, 0x2E, 0x33}}));
}

TEST(UdsServer, FunctionalRequestsHideUnsupportedAnswers) {
    struct Row {
        Bytes request;
        std::vector<Bytes> expected;
    };
    const std::vector<Row> rows = {
        {{0x23, 0x00}, {}},                           // 0x11 service not supported
        {{0x10, 0x09}, {}},                           // 0x12 sub-function not supported
        {{0x22, 0x12, 0x34}, {}},                     // 0x31 out of range
        {{0x85, 0x01}, {}},                           // 0x7F not in this session
        {{0x10}, {{0x7F, 0x10, 0x13}}},               // other codes still answer
        {{0x3E, 0x00}, {{0x7E, 0x00}}},
    };
    for (const Row& row : rows) {
        UdsServer server(TestConfig());
        EXPECT_EQ(Messages(server.Handle(row.request, true, kStart)), row.expected) << int(row.request[0]);
    }
}

}  // namespace
}  // namespace pdusim
