// What the library takes from its own module description file: the ids of every object it
// reports, so that they agree with what a host reads from the same file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pdusim {

struct MdfNamedId {
    uint32_t id = 0;
    std::string name;
};

struct MdfComParam {
    uint32_t id = 0;
    std::string name;
    uint32_t dataType = 0;
    uint32_t comParamClass = 0;
    std::string defaultValue;
};

struct MdfComParamRef {
    uint32_t comParamId = 0;
    std::string defaultValue;
};

struct MdfProtocol {  // also a bus type: both carry ComParam references
    uint32_t id = 0;
    std::string name;
    std::vector<MdfComParamRef> comParams;
};

struct MdfPin {
    uint32_t pin = 0;
    uint32_t pinTypeId = 0;
};

struct MdfResource {
    uint32_t id = 0;
    std::string name;
    uint32_t busTypeId = 0;
    uint32_t protocolId = 0;
    std::vector<MdfPin> pins;
};

struct MdfModuleType {
    uint32_t id = 0;
    std::string name;
    std::vector<uint32_t> resourceIds;
    std::vector<uint32_t> ioCtlIds;
};

class MdfCatalog {
public:
    // False with a reason when the file is missing or not a module description.
    bool Load(const std::string& path, std::string& error);

    const MdfResource* FindResource(uint32_t id) const;
    const MdfProtocol* FindProtocol(uint32_t id) const;
    const MdfProtocol* FindBusType(uint32_t id) const;
    const MdfComParam* FindComParam(uint32_t id) const;
    const MdfModuleType* FindModuleType(uint32_t id) const;
    const MdfNamedId* FindIoCtl(uint32_t id) const;
    // Id of the object of that type (PDU_OBJT_*) and short name; false when unknown.
    bool ObjectId(uint32_t objectType, const std::string& shortName, uint32_t& id) const;
    // Id of a vendor error of the ERROR_CODE table, 0 (no extra information) when the file lacks it.
    uint32_t ErrorCodeId(const std::string& shortName) const;

    std::vector<MdfNamedId> pinTypes;
    std::vector<MdfNamedId> ioCtls;
    std::vector<MdfProtocol> protocols;
    std::vector<MdfProtocol> busTypes;
    std::vector<MdfResource> resources;
    std::vector<MdfModuleType> moduleTypes;
    std::vector<MdfComParam> comParams;
    std::vector<MdfNamedId> errorCodes;
};

// Numbers of description files: "0x" hexadecimal, leading "0" octal, else decimal.
uint32_t ParseMdfNumber(const std::string& text);
uint32_t ParamCodeFromName(const std::string& name);

}  // namespace pdusim
