// The DoIP entities of the simulated vehicle, as the environment places them (read at
// PDUConstruct):
//   PDUSIM_DOIP_ADDR            the entity's IPv4 address, 127.0.0.2 when unset
//   PDUSIM_DOIP_LOGICAL         its logical address (any base), 0x1001 when unset
//   PDUSIM_DOIP_DUPLICATE_ADDR  when set: a second entity there with the same logical address
//   PDUSIM_DOIP_SILENT_ADDR     when set: an entity there that answers vehicle identification only
//   PDUSIM_DOIP_SILENT_LOGICAL  ... with this logical address, 0x1003 when unset
// Tests that run side by side give each its own 127.x.y.z addresses.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "DoIpEntity.h"

namespace pdusim {

class DoIpNetwork {
public:
    static constexpr uint16_t kDefaultSilentLogical = 0x1003;

    static std::vector<DoIpEntity::Config> FromEnvironment();

    DoIpNetwork(const std::vector<DoIpEntity::Config>& configs, Vehicle& vehicle);
    // Each entity that can bind its sockets runs; one whose address is taken stays off.
    void Start();
    void Stop();
    bool Started() const { return m_started; }
    // The main entity's address (network order) while it runs in this process.
    std::optional<uint32_t> LocalAddress() const;

private:
    std::vector<std::unique_ptr<DoIpEntity>> m_entities;
    bool m_started = false;
};

}  // namespace pdusim
