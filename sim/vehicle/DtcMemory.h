// Fault memory of one ECU: 3-byte DTCs (UDS layout) with their status bytes.
#pragma once

#include <cstdint>
#include <vector>

namespace pdusim {

struct Dtc {
    uint32_t code = 0;  // 24 bits, e.g. 0x030100 for P0301
    uint8_t status = 0;
};

class DtcMemory {
public:
    static constexpr uint8_t kAvailabilityMask = 0x7F;
    static constexpr uint32_t kAllGroups = 0xFFFFFF;

    explicit DtcMemory(std::vector<Dtc> powerOnContent);

    std::vector<Dtc> Matching(uint8_t statusMask) const;
    // Clears one DTC or every DTC (kAllGroups); false when the group names no stored or known DTC.
    bool Clear(uint32_t group);
    bool Knows(uint32_t code) const;
    void SetRecording(bool on) { m_recording = on; }
    bool Recording() const { return m_recording; }
    void PowerOn();

private:
    std::vector<Dtc> m_powerOn;
    std::vector<Dtc> m_stored;
    bool m_recording = true;
};

}  // namespace pdusim
