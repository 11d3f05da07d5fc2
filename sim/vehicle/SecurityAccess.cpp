#include "SecurityAccess.h"

#include "UdsCodes.h"

namespace pdusim {

SecurityAccess::SecurityAccess(uint32_t seedStart) : m_seedStart(seedStart), m_seedState(seedStart) {}

SecurityAccess::Outcome SecurityAccess::RequestSeed(TimePoint now) {
    if (DelayActive(now)) return {nrc::kRequiredTimeDelay, 0};
    // An unlocked server answers with a zero seed.
    if (m_unlocked) return {0, 0};
    m_pendingSeed = NextSeed();
    m_seedIssued = true;
    return {0, m_pendingSeed};
}

SecurityAccess::Outcome SecurityAccess::SendKey(uint32_t key, TimePoint now) {
    if (DelayActive(now)) return {nrc::kRequiredTimeDelay, 0};
    if (!m_seedIssued) return {nrc::kRequestSequenceError, 0};
    m_seedIssued = false;
    if (key == KeyFor(m_pendingSeed)) {
        m_unlocked = true;
        m_failedAttempts = 0;
        return {0, 0};
    }
    if (++m_failedAttempts < kMaxAttempts) return {nrc::kInvalidKey, 0};
    m_failedAttempts = 0;
    m_delayRunning = true;
    m_delayEnd = now + kLockoutDelay;
    return {nrc::kExceededAttempts, 0};
}

void SecurityAccess::Lock() {
    m_unlocked = false;
    m_seedIssued = false;
}

void SecurityAccess::PowerOn() {
    Lock();
    m_seedState = m_seedStart;
    m_failedAttempts = 0;
    m_delayRunning = false;
}

bool SecurityAccess::DelayActive(TimePoint now) const {
    return m_delayRunning && now < m_delayEnd;
}

uint32_t SecurityAccess::NextSeed() {
    // A plain LCG: seeds change every time yet a run is reproducible.
    do {
        m_seedState = m_seedState * 1664525u + 1013904223u;
    } while (m_seedState == 0);
    return m_seedState;
}

}  // namespace pdusim
