// One simulated VCI: its identity strings, state, measured values and module event queue.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "EventQueue.h"
#include "MdfCatalog.h"

namespace pdusim {

struct LastError {
    T_PDU_ERR_EVT code = PDU_ERR_EVT_NOERROR;
    uint32_t hCop = PDU_HANDLE_UNDEF;
    uint32_t timestamp = 0;
    uint32_t extra = 0;
};

struct SimModule {
    uint32_t number = 0;  // 1-based place in the simulator's line-up, used for hot plug
    uint32_t handle = 0;
    const MdfModuleType* type = nullptr;
    std::string vendorModuleName;
    std::string vendorAdditionalInfo;
    std::string hwName;
    std::string serialText;  // as the display line shows it
    uint32_t serialNumber = 0;
    bool isDoIp = false;
    bool plugged = true;
    bool connected = false;
    EventQueue events;
    LastError lastError;
    uint32_t batteryMillivolt = 12600;
    uint32_t ignitionOn = 1;
    uint32_t cableId = 0;
    uint32_t progVoltageMillivolt = 0;
    uint32_t progVoltagePin = 0;
    uint32_t ethSwitchState = 0;  // the Ethernet activation line (DLC pin 8) of a DoIP module
    // A DoIP entity that a vehicle identification found on the network.
    bool discovered = false;
    uint32_t entityAddress = 0;  // IPv4, network order
    uint16_t logicalAddress = 0;

    bool Supports(uint32_t resourceId) const;
    bool SupportsIoCtl(uint32_t ioCtlId) const;
    T_PDU_STATUS Status() const;
};

// The simulator's modules, those whose type the description file knows.
std::vector<std::unique_ptr<SimModule>> MakeSimModules(const MdfCatalog& catalog);

}  // namespace pdusim
