#include "vehicle/ObdResponder.h"

#include <gtest/gtest.h>

namespace pdusim {
namespace {

const std::string kVin = "OBDVIN00000000001";

DtcMemory EngineMemory() { return DtcMemory({{0x030100, 0x2F}, {0x042000, 0x28}, {0xC10000, 0x24}}); }

Bytes WithVin(Bytes head) {
    head.insert(head.end(), kVin.begin(), kVin.end());
    return head;
}

TEST(ObdResponder, AnswersModesAndStaysSilentOnTheRest) {
    struct Row {
        const char* name;
        Bytes request;
        Bytes expected;
    };
    const std::vector<Row> rows = {
        {"supported PIDs", {0x01, 0x00}, {0x41, 0x00, 0x88, 0x18, 0x00, 0x00}},
        {"monitor status: MIL and 2 confirmed", {0x01, 0x01}, {0x41, 0x01, 0x82, 0x07, 0x65, 0x00}},
        {"several PIDs", {0x01, 0x0C, 0x05, 0x0D}, {0x41, 0x0C, 0x0C, 0x80, 0x05, 0x7B, 0x0D, 0x00}},
        {"unsupported left out", {0x01, 0x42, 0x05}, {0x41, 0x05, 0x7B}},
        {"only unsupported", {0x01, 0x42}, {}},
        {"seven PIDs", {0x01, 0, 1, 5, 0x0C, 0x0D, 0, 1}, {}},
        {"no PID", {0x01}, {}},
        {"stored DTCs", {0x03}, {0x43, 0x02, 0x03, 0x01, 0x04, 0x20}},
        {"stored DTCs bad length", {0x03, 0x00}, {}},
        {"vehicle info PIDs", {0x09, 0x00}, {0x49, 0x00, 0x40, 0x00, 0x00, 0x00}},
        {"VIN", {0x09, 0x02}, WithVin({0x49, 0x02, 0x01})},
        {"calibration id unsupported", {0x09, 0x04}, {}},
        {"two info PIDs", {0x09, 0x00, 0x02}, {}},
    };
    for (const Row& row : rows) {
        DtcMemory dtcs = EngineMemory();
        EXPECT_EQ(ObdResponder::Answer(row.request, dtcs, kVin), row.expected) << row.name;
    }
}

TEST(ObdResponder, ClearEmptiesMemoryAndTurnsMilOff) {
    DtcMemory dtcs = EngineMemory();
    EXPECT_EQ(ObdResponder::Answer({0x04}, dtcs, kVin), (Bytes{0x44}));
    EXPECT_EQ(ObdResponder::Answer({0x03}, dtcs, kVin), (Bytes{0x43, 0x00}));
    EXPECT_EQ(ObdResponder::Answer({0x01, 0x01}, dtcs, kVin), (Bytes{0x41, 0x01, 0x00, 0x07, 0x65, 0x00}));
}

}  // namespace
}  // namespace pdusim
