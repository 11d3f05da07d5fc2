// Fault injection from the environment variable PDUSIM_FAULTS, read at PDUConstruct:
//   fail:<function>=<code>   the named API function returns <code> (number, any base)
//   fail:PDUIoCtl:<name>=<code>, fail:PDUGetObjectId:<name>=<code>
//                            ... for that IOCTL or object short name only
//   missing:<n>[,<m>...]     simulated module number n (from 1) is not plugged in at start
//   slow:<factor>            ECU answers take <factor> times as long; 0: at once, on an ideal bus
//   throw:<method>=<code>    the monitor service's method of that name throws KdException <code>
// Entries are separated by ';'. Unknown entries are ignored.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace pdusim {

class FaultInjection {
public:
    static FaultInjection Parse(const std::string& text);
    static FaultInjection FromEnvironment();

    std::optional<uint32_t> FailureOf(const std::string& function) const;
    // The code a monitor service method throws ("throw:<method>=<code>").
    std::optional<uint32_t> ThrowOf(const char* method) const;
    bool IsMissing(uint32_t moduleNumber) const { return m_missing.count(moduleNumber) != 0; }
    uint32_t SlowFactor() const { return m_slowFactor; }

private:
    void ParseEntry(const std::string& entry);

    std::map<std::string, uint32_t, std::less<>> m_failures;
    std::map<std::string, uint32_t, std::less<>> m_throws;
    std::set<uint32_t> m_missing;
    uint32_t m_slowFactor = 1;
};

}  // namespace pdusim
