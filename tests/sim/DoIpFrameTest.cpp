#include "DoIpFrame.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using pdusim::DoIpFrame;
using Outcome = DoIpFrame::Outcome;
using Receiver = DoIpFrame::Receiver;

namespace {

struct ParseCase {
    const char* name;
    std::vector<uint8_t> bytes;
    Receiver receiver;
    Outcome outcome;
    uint8_t nackCode;
    bool close;
    uint64_t consumed;
};

constexpr uint32_t kMax = 4096;
constexpr auto E = Receiver::Entity;
constexpr auto T = Receiver::Tester;

}  // namespace

TEST(DoIpFrameTest, HeaderChecksInTheStandardsOrder) {
    const std::vector<ParseCase> cases = {
        {"nothing", {}, E, Outcome::Incomplete, 0, false, 0},
        {"seven header bytes", {0x02, 0xFD, 0x00, 0x01, 0x00, 0x00, 0x00}, E, Outcome::Incomplete, 0, false, 0},
        {"identification", {0x02, 0xFD, 0x00, 0x01, 0, 0, 0, 0}, E, Outcome::Complete, 0, false, 8},
        {"identification, default version", {0xFF, 0x00, 0x00, 0x01, 0, 0, 0, 0}, E, Outcome::Complete, 0, false, 8},
        {"ISO 13400-2:2019 version", {0x03, 0xFC, 0x40, 0x01, 0, 0, 0, 0}, E, Outcome::Complete, 0, false, 8},
        {"default version beyond identification", {0xFF, 0x00, 0x40, 0x01, 0, 0, 0, 0}, E, Outcome::Nack, 0x00, true, 8},
        {"default version to a tester", {0xFF, 0x00, 0x00, 0x01, 0, 0, 0, 0}, T, Outcome::Nack, 0x00, true, 8},
        {"inverse version wrong", {0x02, 0xFC, 0x00, 0x01, 0, 0, 0, 0, 0xAA}, E, Outcome::Nack, 0x00, true, 9},
        {"unknown version", {0x04, 0xFB, 0x00, 0x01, 0, 0, 0, 0}, E, Outcome::Nack, 0x00, true, 8},
        {"version zero", {0x00, 0xFF, 0x00, 0x01, 0, 0, 0, 0}, E, Outcome::Nack, 0x00, true, 8},
        // Refused types are skipped whole, also the part that has not arrived yet.
        {"unknown type", {0x02, 0xFD, 0x12, 0x34, 0, 0, 0, 3, 0xAA}, E, Outcome::Nack, 0x01, false, 11},
        {"a response sent to the entity", {0x02, 0xFD, 0x00, 0x04, 0, 0, 0, 0}, E, Outcome::Nack, 0x01, false, 8},
        {"a request sent to the tester", {0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 7}, T, Outcome::Nack, 0x01, false, 15},
        {"unknown type, largest length", {0x02, 0xFD, 0xF0, 0x00, 0xFF, 0xFF, 0xFF, 0xFF}, E, Outcome::Nack, 0x01, false,
         8 + 0xFFFFFFFFull},
        {"too large", {0x02, 0xFD, 0x80, 0x01, 0x00, 0x01, 0x00, 0x00}, E, Outcome::Nack, 0x02, false, 8 + 0x10000},
        // The type's own length rule comes after the size check.
        {"identification with a byte", {0x02, 0xFD, 0x00, 0x01, 0, 0, 0, 1, 0x00}, E, Outcome::Nack, 0x04, true, 9},
        {"EID one short", {0x02, 0xFD, 0x00, 0x02, 0, 0, 0, 5}, E, Outcome::Nack, 0x04, true, 8},
        {"routing activation 8", {0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 8}, E, Outcome::Nack, 0x04, true, 8},
        {"diagnostic message without data", {0x02, 0xFD, 0x80, 0x01, 0, 0, 0, 4, 0x0E, 0x00, 0x10, 0x01}, E,
         Outcome::Nack, 0x04, true, 12},
        {"routing activation 7, whole",
         {0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 7, 0x0E, 0x00, 0x00, 0, 0, 0, 0}, E, Outcome::Complete, 0, false, 15},
        {"routing activation 11, in part", {0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 11, 0x0E, 0x00}, E, Outcome::Incomplete, 0,
         false, 0},
        {"two messages: the first",
         {0x02, 0xFD, 0x40, 0x03, 0, 0, 0, 0, 0x02, 0xFD, 0x40, 0x01, 0, 0, 0, 0}, E, Outcome::Complete, 0, false, 8},
        {"generic NACK", {0x02, 0xFD, 0x00, 0x00, 0, 0, 0, 1, 0x04}, T, Outcome::Complete, 0, false, 9},
        {"generic NACK without code", {0x02, 0xFD, 0x00, 0x00, 0, 0, 0, 0}, T, Outcome::Nack, 0x04, true, 8},
        {"entity status, short form", {0x02, 0xFD, 0x40, 0x02, 0, 0, 0, 3, 0x00, 0x04, 0x00}, T, Outcome::Complete, 0,
         false, 11},
        {"entity status, 5 bytes", {0x02, 0xFD, 0x40, 0x02, 0, 0, 0, 5, 0, 0, 0, 0, 0}, T, Outcome::Nack, 0x04, true,
         13},
    };
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(c.name);
        DoIpFrame frame;
        const DoIpFrame::Parsed parsed = DoIpFrame::Parse(c.bytes.data(), c.bytes.size(), c.receiver, kMax, &frame);
        EXPECT_EQ(parsed.outcome, c.outcome);
        EXPECT_EQ(parsed.consumed, c.consumed);
        if (c.outcome == Outcome::Nack) {
            EXPECT_EQ(parsed.nackCode, c.nackCode);
            EXPECT_EQ(parsed.closeConnection, c.close);
        }
        if (c.outcome == Outcome::Complete) {
            EXPECT_EQ(frame.Version(), c.bytes[0]);
            EXPECT_EQ(static_cast<int>(frame.Type()), (c.bytes[2] << 8) | c.bytes[3]);
            EXPECT_EQ(frame.Payload(), std::vector<uint8_t>(c.bytes.begin() + 8, c.bytes.begin() + c.consumed));
        }
    }
}

TEST(DoIpFrameTest, EncodesTheHeaderAndReadsFieldsBack) {
    const DoIpFrame frame(DoIpFrame::kDiagnosticMessage, {0x0E, 0x80, 0x10, 0x01, 0x22, 0xF1, 0x90});
    const std::vector<uint8_t> bytes = frame.Encode();
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x02, 0xFD, 0x80, 0x01, 0x00, 0x00, 0x00, 0x07, 0x0E, 0x80, 0x10, 0x01, 0x22,
                                           0xF1, 0x90}));
    EXPECT_EQ(frame.U16At(0), 0x0E80);
    EXPECT_EQ(frame.U16At(2), 0x1001);
    EXPECT_EQ(frame.U32At(3), 0x0122F190u);
    // Beyond the payload the fields read as 0, never past it.
    EXPECT_EQ(frame.U16At(6), 0);
    EXPECT_EQ(frame.U16At(SIZE_MAX), 0);
    EXPECT_EQ(frame.U32At(4), 0u);
    EXPECT_EQ(frame.U32At(SIZE_MAX - 1), 0u);
}

// Under AddressSanitizer this shows that no garbage makes the parser read past what it was given.
TEST(DoIpFrameTest, GarbageNeverGoesBeyondItsBytes) {
    std::mt19937 random(13400);
    for (int round = 0; round < 20000; ++round) {
        const size_t size = random() % 24;
        std::vector<uint8_t> bytes(size);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
        // Half of them with a good pattern, so the checks behind it are reached too.
        if (size >= 2 && round % 2 == 0) {
            bytes[0] = 0x02;
            bytes[1] = 0xFD;
        }
        const std::vector<uint8_t> exact(bytes);  // a heap block of exactly `size` bytes
        DoIpFrame frame;
        const DoIpFrame::Parsed parsed = DoIpFrame::Parse(exact.data(), exact.size(),
                                                          round % 4 < 2 ? Receiver::Entity : Receiver::Tester, kMax, &frame);
        if (parsed.outcome == Outcome::Complete) {
            ASSERT_LE(parsed.consumed, size);
            ASSERT_EQ(parsed.consumed, DoIpFrame::kHeaderSize + frame.Payload().size());
        }
    }
    EXPECT_EQ(DoIpFrame::Parse(nullptr, 8, Receiver::Entity, kMax, nullptr).outcome, Outcome::Incomplete);
}
