#include "vehicle/SecurityAccess.h"

#include <gtest/gtest.h>

#include "vehicle/UdsCodes.h"

namespace pdusim {
namespace {

using namespace std::chrono_literals;

const TimePoint kStart = TimePoint{} + 100s;

TEST(SecurityAccess, KeyFunctionIsSeedXorA5) {
    EXPECT_EQ(SecurityAccess::KeyFor(0x00000000), 0xA5A5A5A5u);
    EXPECT_EQ(SecurityAccess::KeyFor(0x12345678), 0xB791F3DDu);
}

TEST(SecurityAccess, SeedsChangeAndRepeatAfterPowerOn) {
    SecurityAccess security(7);
    const uint32_t first = security.RequestSeed(kStart).seed;
    const uint32_t second = security.RequestSeed(kStart).seed;
    EXPECT_NE(first, 0u);
    EXPECT_NE(first, second);
    security.PowerOn();
    EXPECT_EQ(security.RequestSeed(kStart).seed, first);
}

TEST(SecurityAccess, LockoutAfterThreeWrongKeysUntilDelayExpires) {
    SecurityAccess security(1);
    // Each row: one seed request and one key attempt at a time offset.
    struct Row {
        std::chrono::milliseconds at;
        bool rightKey;
        uint8_t seedNrc;
        uint8_t keyNrc;
    };
    const std::vector<Row> rows = {
        {0ms, false, 0, nrc::kInvalidKey},
        {10ms, false, 0, nrc::kInvalidKey},
        {20ms, false, 0, nrc::kExceededAttempts},
        {30ms, true, nrc::kRequiredTimeDelay, nrc::kRequiredTimeDelay},
        {20ms + SecurityAccess::kLockoutDelay - 1ms, true, nrc::kRequiredTimeDelay, nrc::kRequiredTimeDelay},
        {20ms + SecurityAccess::kLockoutDelay, true, 0, 0},
    };
    for (const Row& row : rows) {
        const TimePoint now = kStart + row.at;
        const SecurityAccess::Outcome seed = security.RequestSeed(now);
        EXPECT_EQ(seed.nrc, row.seedNrc) << row.at.count();
        const uint32_t key = SecurityAccess::KeyFor(seed.seed) ^ (row.rightKey ? 0u : 1u);
        EXPECT_EQ(security.SendKey(key, now).nrc, row.keyNrc) << row.at.count();
    }
    EXPECT_TRUE(security.Unlocked());
}

TEST(SecurityAccess, SeedIsSpentByAnyKeyAttempt) {
    SecurityAccess security(1);
    const uint32_t seed = security.RequestSeed(kStart).seed;
    EXPECT_EQ(security.SendKey(0, kStart).nrc, nrc::kInvalidKey);
    EXPECT_EQ(security.SendKey(SecurityAccess::KeyFor(seed), kStart).nrc, nrc::kRequestSequenceError);
    EXPECT_FALSE(security.Unlocked());
}

TEST(SecurityAccess, LockKeepsTheAttemptCount) {
    SecurityAccess security(1);
    for (int i = 0; i < 2; ++i) {
        security.RequestSeed(kStart);
        security.SendKey(0, kStart);
    }
    security.Lock();  // leaving the session must not reset the counter
    security.RequestSeed(kStart);
    EXPECT_EQ(security.SendKey(0, kStart).nrc, nrc::kExceededAttempts);
}

}  // namespace
}  // namespace pdusim
