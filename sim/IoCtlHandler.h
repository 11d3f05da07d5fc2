// The IOCTLs of the library, standard and maker's, dispatched by the short name of the
// MDF's IO_CTRL element whose id the host passes.
#pragma once

#include <cstdint>

#include "pdu/PduTypes.h"

namespace pdusim {

class SimSystem;

T_PDU_ERROR HandleIoCtl(SimSystem& system, uint32_t hMod, uint32_t hCLL, uint32_t ioCtlId,
                        const PDU_DATA_ITEM* input, PDU_DATA_ITEM** output);

}  // namespace pdusim
