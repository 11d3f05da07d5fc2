#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// What a module description file said, as text. References are IDREF texts until
// MDF_Parser::FixReferences turns them into the ID texts of the elements they name.

struct PinTypeRecord {
    std::string eid;
    std::string id;
    std::string shortName;
};

// A resource holds four pin pairs at most; a fifth pin is dropped.
constexpr size_t kResourcePinSlots = 4;

struct ResourceRecord {
    std::string eid;
    std::string id;
    std::string shortName;
    std::array<std::string, kResourcePinSlots> pinOnModule;
    std::array<std::string, kResourcePinSlots> pinType;
    std::string busType;
    std::string protocol;
};

struct ComParamRefRecord {
    std::string ref;
    std::string defaultValue;
};

struct BusTypeRecord {
    std::string eid;
    std::string id;
    std::string shortName;
    std::vector<ComParamRefRecord> comParamRefs;
};

struct ProtocolRecord {
    std::string eid;
    std::string id;
    std::string shortName;
    std::vector<ComParamRefRecord> comParamRefs;
};

struct ComParamRecord {
    std::string eid;
    std::string id;
    std::string shortName;
    std::string dataType;
    std::string comParamClass;
    std::string defaultValue;
};

// No eid: nothing refers to a module type.
struct ModuleTypeRecord {
    std::string id;
    std::string shortName;
    std::vector<std::string> resourceRefs;
};

struct ErrorCodeRecord {
    uint32_t id = 0; // 0: not set yet
    std::string description;
    std::string shortName;
};
