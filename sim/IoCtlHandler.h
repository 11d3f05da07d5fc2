// The IOCTLs of the library, standard and maker's, dispatched by the short name of the
// MDF's IO_CTRL element whose id the host passes.
#pragma once

#include <cstdint>
#include <mutex>

#include "pdu/PduTypes.h"

namespace pdusim {

class SimSystem;

// `lock` is the library's, held; a DoIP IOCTL lets it go while it waits for the network.
T_PDU_ERROR HandleIoCtl(SimSystem& system, std::unique_lock<std::mutex>& lock, uint32_t hMod, uint32_t hCLL, uint32_t ioCtlId,
                        const PDU_DATA_ITEM* input, PDU_DATA_ITEM** output);

}  // namespace pdusim
