#include "DtcMemory.h"

#include <algorithm>

namespace pdusim {

DtcMemory::DtcMemory(std::vector<Dtc> powerOnContent) : m_powerOn(std::move(powerOnContent)) {
    PowerOn();
}

std::vector<Dtc> DtcMemory::Matching(uint8_t statusMask) const {
    std::vector<Dtc> out;
    for (const Dtc& dtc : m_stored) {
        if ((dtc.status & statusMask & kAvailabilityMask) != 0) out.push_back(dtc);
    }
    return out;
}

bool DtcMemory::Knows(uint32_t code) const {
    return std::any_of(m_powerOn.begin(), m_powerOn.end(), [code](const Dtc& d) { return d.code == code; });
}

bool DtcMemory::Clear(uint32_t group) {
    if (group == kAllGroups) {
        m_stored.clear();
        return true;
    }
    if (!Knows(group)) return false;
    std::erase_if(m_stored, [group](const Dtc& d) { return d.code == group; });
    return true;
}

void DtcMemory::PowerOn() {
    m_stored = m_powerOn;
    m_recording = true;
}

}  // namespace pdusim
