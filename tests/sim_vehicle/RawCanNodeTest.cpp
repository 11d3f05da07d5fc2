#include "vehicle/RawCanNode.h"

#include <gtest/gtest.h>

#include <set>

namespace pdusim {
namespace {

TEST(RawCanNode, EchoNodeAnswers) {
    struct Row {
        const char* name;
        Bytes request;
        std::optional<Bytes> expected;
    };
    const std::vector<Row> rows = {
        {"standard", {0, 0, 0x01, 0x00, 0x10, 0xFF, 0x7F}, Bytes{0, 0, 0x01, 0x01, 0x11, 0x00, 0x80}},
        {"no data", {0, 0, 0x01, 0x00}, Bytes{0, 0, 0x01, 0x01}},
        {"eight bytes", {0, 0, 0x01, 0x00, 1, 2, 3, 4, 5, 6, 7, 8}, Bytes{0, 0, 0x01, 0x01, 2, 3, 4, 5, 6, 7, 8, 9}},
        {"extended marked", {0x98, 0xFF, 0x01, 0x00, 0x41}, Bytes{0x98, 0xFF, 0x01, 0x01, 0x42}},
        {"extended unmarked", {0x18, 0xFF, 0x01, 0x00, 0x41}, Bytes{0x18, 0xFF, 0x01, 0x01, 0x42}},
        {"0x100 as 29-bit id is another id", {0x80, 0, 0x01, 0x00, 0x41}, std::nullopt},
        {"other id", {0, 0, 0x02, 0x00, 0x41}, std::nullopt},
        {"nine data bytes", {0, 0, 0x01, 0x00, 1, 2, 3, 4, 5, 6, 7, 8, 9}, std::nullopt},
        {"short id", {0, 0x01, 0x00}, std::nullopt},
        {"bits 29-30 set", {0x40, 0, 0x01, 0x00}, std::nullopt},
    };
    for (const Row& row : rows) {
        const auto frame = RawCanNode::Parse(row.request);
        const auto answer = frame ? RawCanNode::Answer(*frame) : std::nullopt;
        ASSERT_EQ(answer.has_value(), row.expected.has_value()) << row.name;
        if (answer) {
            EXPECT_EQ(RawCanNode::Encode(*answer), *row.expected) << row.name;
        }
    }
}

TEST(RawCanNode, TrafficIsDeterministicMixedAndWellFormed) {
    std::set<uint32_t> ids;
    bool sawExtended = false;
    for (uint32_t period = 0; period < 20; ++period) {
        const auto frames = RawCanNode::Traffic(period);
        EXPECT_EQ(frames, RawCanNode::Traffic(period));
        for (const Bytes& raw : frames) {
            const auto frame = RawCanNode::Parse(raw);
            ASSERT_TRUE(frame.has_value());
            ids.insert(frame->id);
            sawExtended = sawExtended || (frame->id & RawCanNode::kExtendedFlag) != 0;
        }
    }
    EXPECT_GE(ids.size(), 4u);
    EXPECT_TRUE(sawExtended);
    // Counters move: the same id carries different data in consecutive periods.
    EXPECT_NE(RawCanNode::Traffic(1).front(), RawCanNode::Traffic(2).front());
    EXPECT_EQ(RawCanNode::Traffic(0).size(), 5u);
    EXPECT_EQ(RawCanNode::Traffic(1).size(), 2u);
}

}  // namespace
}  // namespace pdusim
