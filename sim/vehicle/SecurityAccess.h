// Seed/key security access, level 1 (seed 0x01, key 0x02), with attempt counting and lockout delay.
#pragma once

#include <chrono>
#include <cstdint>

#include "EcuAnswer.h"

namespace pdusim {

class SecurityAccess {
public:
    static constexpr uint32_t kKeyMask = 0xA5A5A5A5;
    static constexpr int kMaxAttempts = 3;
    static constexpr std::chrono::seconds kLockoutDelay{10};

    // The documented key function: every seed byte XOR 0xA5.
    static uint32_t KeyFor(uint32_t seed) { return seed ^ kKeyMask; }

    struct Outcome {
        uint8_t nrc = 0;      // 0: positive
        uint32_t seed = 0;    // for a positive seed request
    };

    explicit SecurityAccess(uint32_t seedStart);

    Outcome RequestSeed(TimePoint now);
    Outcome SendKey(uint32_t key, TimePoint now);
    bool Unlocked() const { return m_unlocked; }
    void Lock();       // session change
    void PowerOn();

private:
    bool DelayActive(TimePoint now) const;
    uint32_t NextSeed();

    uint32_t m_seedStart;
    uint32_t m_seedState;
    uint32_t m_pendingSeed = 0;
    bool m_seedIssued = false;
    bool m_unlocked = false;
    int m_failedAttempts = 0;
    bool m_delayRunning = false;
    TimePoint m_delayEnd{};
};

}  // namespace pdusim
