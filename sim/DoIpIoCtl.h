// The DoIP IOCTLs: vehicle identification, entity status, power mode, the entity list, and the
// Ethernet activation line. Those that ask the network let the library's lock go meanwhile.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "pdu/PduTypes.h"

namespace pdusim {

class SimSystem;
struct SimModule;

struct DoIpIoCtlCall {
    SimSystem& system;
    std::unique_lock<std::mutex>& lock;
    SimModule* module;  // null at system level; not to be used once the lock was let go
    const PDU_DATA_ITEM* input;
    PDU_DATA_ITEM** output;
};

// Whether the named IOCTL is one of these; its answer in `result`.
bool HandleDoIpIoCtl(const std::string& name, DoIpIoCtlCall& call, T_PDU_ERROR& result);
// Those of them that may go to the system (PDU_HANDLE_UNDEF) as well as to a module.
bool IsDoIpSystemIoCtl(const std::string& name);

}  // namespace pdusim
