// The VCI models the bench knows, with the module type id the D-PDU API reports for each. The
// monitor launcher finds a module's model by the first word of its display line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct HardwareModel {
    struct ProtocolBus {
        std::string protocol;
        uint32_t one = 1;
        std::string busType;
    };
    struct PinPair {
        std::string pin;
        uint32_t dlcPin = 0;
    };
    struct BusPins {
        std::string busType;
        std::vector<PinPair> pins;  // at most 4
    };

    std::string idName;
    std::string displayName;
    uint32_t enabled = 1;
    uint32_t moduleTypeId = 0;
    std::vector<ProtocolBus> protocolBus;  // at most 27
    std::vector<BusPins> busPins;
    // Carried with the row; nothing reads them.
    std::vector<uint32_t> tableA;
    std::vector<uint32_t> tableB;
};

int HardwareModelCount();
// Row access; `index` from 0 to HardwareModelCount() - 1.
const HardwareModel& HardwareModelAt(int index);
// The first row whose id name equals `idName` exactly, else HardwareModelCount().
int FindHardwareModel(const std::string& idName);
// The D-PDU API's module types of the DoIP MVCIs, which can't be monitored.
bool IsDoIpHardwareType(uint32_t moduleTypeId);
