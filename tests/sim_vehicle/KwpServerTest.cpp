#include "vehicle/KwpServer.h"

#include <gtest/gtest.h>

namespace pdusim {
namespace {

using namespace std::chrono_literals;

const TimePoint kStart = TimePoint{} + 100s;
const char kVin[] = "KWPVIN00000000001";

Bytes WithText(Bytes head, const std::string& text) {
    head.insert(head.end(), text.begin(), text.end());
    return head;
}

std::vector<Bytes> Messages(const std::vector<EcuAnswer>& answers) {
    std::vector<Bytes> out;
    for (const EcuAnswer& answer : answers) out.push_back(answer.data);
    return out;
}

struct Case {
    const char* name;
    std::vector<Bytes> before;
    Bytes request;
    std::vector<Bytes> expected;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class KwpServerTable : public ::testing::TestWithParam<Case> {};

TEST_P(KwpServerTable, AnswersExactly) {
    const Case& c = GetParam();
    KwpServer server(kVin);
    for (const Bytes& step : c.before) server.Handle(step, kStart);
    EXPECT_EQ(Messages(server.Handle(c.request, kStart)), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Services, KwpServerTable,
    ::testing::Values(
        Case{"StartCommunication", {}, {0x81}, {{0xC1, 0xEF, 0x8F}}},
        Case{"StartCommunicationTooLong", {}, {0x81, 0x00}, {{0x7F, 0x81, 0x12}}},
        Case{"StopCommunication", {{0x81}}, {0x82}, {{0xC2}}},
        Case{"StopEndsSession", {{0x81}, {0x10, 0x86}, {0x82}}, {0x21, 0x02}, {{0x61, 0x02, 0x81, 0x00}}},
        Case{"Session", {}, {0x10, 0x86}, {{0x50, 0x86}}},
        Case{"SessionUnknown", {}, {0x10, 0x03}, {{0x7F, 0x10, 0x12}}},
        Case{"ReadVin", {}, {0x1A, 0x90}, {WithText({0x5A, 0x90}, kVin)}},
        Case{"ReadIdUnknown", {}, {0x1A, 0x80}, {{0x7F, 0x1A, 0x31}}},
        Case{"ReadIdNoOption", {}, {0x1A}, {{0x7F, 0x1A, 0x12}}},
        Case{"LocalId1", {}, {0x21, 0x01}, {{0x61, 0x01, 0x0C, 0x80, 0x7B, 0x8A}}},
        Case{"LocalId2AfterStart", {{0x81}, {0x10, 0x85}}, {0x21, 0x02}, {{0x61, 0x02, 0x85, 0x01}}},
        Case{"LocalIdUnknown", {}, {0x21, 0x33}, {{0x7F, 0x21, 0x31}}},
        Case{"DtcsAll", {}, {0x18, 0x00, 0xFF, 0x00}, {{0x58, 0x02, 0x03, 0x01, 0xE0, 0x01, 0x15, 0x60}}},
        Case{"DtcsBadGroup", {}, {0x18, 0x00, 0x40, 0x00}, {{0x7F, 0x18, 0x31}}},
        Case{"DtcsBadLength", {}, {0x18, 0x00}, {{0x7F, 0x18, 0x12}}},
        Case{"Clear", {}, {0x14, 0xFF, 0x00}, {{0x54, 0xFF, 0x00}}},
        Case{"ClearThenRead", {{0x14, 0xFF, 0x00}}, {0x18, 0x00, 0xFF, 0x00}, {{0x58, 0x00}}},
        Case{"ClearBadGroup", {}, {0x14, 0x12, 0x34}, {{0x7F, 0x14, 0x31}}},
        Case{"TesterPresent", {}, {0x3E}, {{0x7E}}},
        Case{"TesterPresentSilent", {}, {0x3E, 0x02}, {}},
        Case{"TesterPresentBad", {}, {0x3E, 0x05}, {{0x7F, 0x3E, 0x12}}},
        Case{"UnknownService", {}, {0x27, 0x01}, {{0x7F, 0x27, 0x11}}},
        Case{"Empty", {}, {}, {}}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

TEST(KwpServer, SessionEndsAfterP3MaxWithoutRequests) {
    KwpServer server(kVin);
    server.Handle({0x10, 0x85}, kStart);
    server.Handle({0x3E}, kStart + 4s);
    EXPECT_EQ(Messages(server.Handle({0x21, 0x02}, kStart + 8s)), std::vector<Bytes>({{0x61, 0x02, 0x85, 0x00}}));
    EXPECT_EQ(Messages(server.Handle({0x21, 0x02}, kStart + 13s)), std::vector<Bytes>({{0x61, 0x02, 0x81, 0x00}}));
}

TEST(KwpServer, AnswersAfterKLineDelayAndPowerOnRestoresDtcs) {
    KwpServer server(kVin);
    const auto answers = server.Handle({0x14, 0xFF, 0x00}, kStart);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].delayUs, KwpServer::kResponseDelayUs);
    server.PowerOn();
    EXPECT_EQ(Messages(server.Handle({0x18, 0x00, 0xFF, 0x00}, kStart))[0][1], 0x02);
}

}  // namespace
}  // namespace pdusim
