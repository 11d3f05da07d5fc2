#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "description/ComParamInfo.h"
#include "pdu/PduTypes.h"

// The runtime description tables: the facts of the module description file as numbers, owned
// by the main dialog and read by every later dialog.

struct PinTypeInfo {
    uint32_t id = 0;
    std::string name;
};

// A slot without a pin holds PDU_ID_UNDEF in both fields.
struct PinAssignment {
    uint32_t pinOnModule = PDU_ID_UNDEF;
    uint32_t pinTypeId = PDU_ID_UNDEF;
};

struct ResourceInfo {
    uint32_t id = 0;
    std::string name;
    uint32_t busTypeId = 0;
    uint32_t protocolId = 0;
    std::array<PinAssignment, 4> pins; // in the order of the file
};

struct ModuleTypeInfo {
    uint32_t id = 0; // the module type PDUGetModuleIds reports
    std::string name;
    std::vector<uint32_t> resourceIds;
};

// The default stays text until a link is built.
struct ComParamDefault {
    uint32_t comParamId = 0;
    std::string value;
};

struct BusTypeInfo {
    uint32_t id = 0;
    std::string name;
    std::vector<ComParamDefault> comParams;
};

struct ProtocolInfo {
    uint32_t id = 0;
    std::string name;
    std::vector<ComParamDefault> comParams;
};

struct ErrorCodeInfo {
    uint32_t id = 0;
    std::string name;
    std::string description;
};

// The seven tables, in the order they are filled.
struct DescriptionTables {
    std::vector<ErrorCodeInfo> errorCodes;
    std::vector<PinTypeInfo> pinTypes;
    std::vector<ResourceInfo> resources;
    std::vector<ModuleTypeInfo> moduleTypes;
    std::vector<BusTypeInfo> busTypes;
    std::vector<ProtocolInfo> protocols;
    std::vector<ComParamInfo> comParams;
};
