#include "MdfCatalog.h"

#include <pugixml.hpp>

#include <cstdlib>
#include <cstring>
#include <map>

#include "pdu/PduTypes.h"

namespace pdusim {
namespace {

using EidMap = std::map<std::string, uint32_t>;

std::string LocalName(const pugi::xml_node& node) {
    const char* name = node.name();
    const char* colon = std::strchr(name, ':');
    return colon != nullptr ? colon + 1 : name;
}

std::string ChildText(const pugi::xml_node& node, const char* name) {
    for (const auto& child : node.children())
        if (LocalName(child) == name) return child.text().get();
    return {};
}

uint32_t ChildNumber(const pugi::xml_node& node, const char* name) { return ParseMdfNumber(ChildText(node, name)); }

uint32_t Resolve(const EidMap& eids, const char* idref) {
    const auto it = eids.find(idref);
    return it == eids.end() ? ParseMdfNumber(idref) : it->second;
}

template <typename T>
const T* FindById(const std::vector<T>& list, uint32_t id) {
    for (const auto& entry : list)
        if (entry.id == id) return &entry;
    return nullptr;
}

template <typename T>
bool FindByName(const std::vector<T>& list, const std::string& name, uint32_t& id) {
    for (const auto& entry : list)
        if (entry.name == name) {
            id = entry.id;
            return true;
        }
    return false;
}

// First pass: EID to ID of every element that can be referred to.
EidMap CollectEids(const pugi::xml_node& root) {
    EidMap eids;
    for (const auto& child : root.children()) {
        const char* eid = child.attribute("EID").value();
        if (*eid != '\0') eids[eid] = ChildNumber(child, "ID");
    }
    return eids;
}

MdfProtocol ReadProtocol(const pugi::xml_node& node, const EidMap& eids) {
    MdfProtocol protocol{ChildNumber(node, "ID"), ChildText(node, "SHORT_NAME"), {}};
    for (const auto& ref : node.children()) {
        if (LocalName(ref) != "COMPARAM_REF") continue;
        MdfComParamRef entry;
        for (const auto& part : ref.children()) {
            if (LocalName(part) == "COMPARAM") entry.comParamId = Resolve(eids, part.attribute("IDREF").value());
            if (LocalName(part) == "DEFAULT_VALUE") entry.defaultValue = part.text().get();
        }
        protocol.comParams.push_back(entry);
    }
    return protocol;
}

MdfResource ReadResource(const pugi::xml_node& node, const EidMap& eids) {
    MdfResource resource{ChildNumber(node, "ID"), ChildText(node, "SHORT_NAME"), 0, 0, {}};
    for (const auto& part : node.children()) {
        const std::string name = LocalName(part);
        if (name == "BUSTYPE") resource.busTypeId = Resolve(eids, part.attribute("IDREF").value());
        if (name == "PROTOCOL") resource.protocolId = Resolve(eids, part.attribute("IDREF").value());
        if (name != "PIN_ON_MODULE") continue;
        MdfPin pin;
        for (const auto& pinPart : part.children()) {
            if (LocalName(pinPart) == "PIN_ON_MODULE") pin.pin = ParseMdfNumber(pinPart.text().get());
            if (LocalName(pinPart) == "PINTYPE") pin.pinTypeId = Resolve(eids, pinPart.attribute("IDREF").value());
        }
        resource.pins.push_back(pin);
    }
    return resource;
}

MdfModuleType ReadModuleType(const pugi::xml_node& node, const EidMap& eids) {
    MdfModuleType type{ChildNumber(node, "ID"), ChildText(node, "SHORT_NAME"), {}, {}};
    for (const auto& part : node.children()) {
        if (LocalName(part) == "RESOURCE") type.resourceIds.push_back(Resolve(eids, part.attribute("IDREF").value()));
        if (LocalName(part) == "IO_CTRL") type.ioCtlIds.push_back(Resolve(eids, part.attribute("IDREF").value()));
    }
    return type;
}

MdfComParam ReadComParam(const pugi::xml_node& node) {
    return MdfComParam{ChildNumber(node, "ID"), ChildText(node, "SHORT_NAME"),
                       ParamCodeFromName(ChildText(node, "DATA_TYPE")), ParamCodeFromName(ChildText(node, "CLASS")),
                       ChildText(node, "DEFAULT_VALUE")};
}

}  // namespace

uint32_t ParseMdfNumber(const std::string& text) {
    return static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 0));
}

uint32_t ParamCodeFromName(const std::string& name) {
    static const std::map<std::string, uint32_t> codes = {
        {"TIMING", PDU_PC_TIMING},         {"INIT", PDU_PC_INIT},
        {"COM", PDU_PC_COM},               {"ERRHDL", PDU_PC_ERRHDL},
        {"BUSTYPE", PDU_PC_BUSTYPE},       {"UNIQUE_ID", PDU_PC_UNIQUE_ID},
        {"TESTER_PRESENT", PDU_PC_TESTER_PRESENT},
        {"PDU_PT_UNUM8", PDU_PT_UNUM8},    {"PDU_PT_SNUM8", PDU_PT_SNUM8},
        {"PDU_PT_UNUM16", PDU_PT_UNUM16},  {"PDU_PT_SNUM16", PDU_PT_SNUM16},
        {"PDU_PT_UNUM32", PDU_PT_UNUM32},  {"PDU_PT_SNUM32", PDU_PT_SNUM32},
        {"PDU_PT_BYTEFIELD", PDU_PT_BYTEFIELD}, {"PDU_PT_STRUCTFIELD", PDU_PT_STRUCTFIELD},
        {"PDU_PT_LONGFIELD", PDU_PT_LONGFIELD}};
    const auto it = codes.find(name);
    return it == codes.end() ? 0 : it->second;
}

bool MdfCatalog::Load(const std::string& path, std::string& error) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_file(path.c_str());
    if (!result) {
        error = "cannot read module description file " + path + ": " + result.description();
        return false;
    }
    const pugi::xml_node root = document.document_element();
    const EidMap eids = CollectEids(root);
    for (const auto& child : root.children()) {
        const std::string name = LocalName(child);
        if (name == "PINTYPE") pinTypes.push_back({ChildNumber(child, "ID"), ChildText(child, "SHORT_NAME")});
        if (name == "IO_CTRL") ioCtls.push_back({ChildNumber(child, "ID"), ChildText(child, "SHORT_NAME")});
        if (name == "PROTOCOL") protocols.push_back(ReadProtocol(child, eids));
        if (name == "BUSTYPE") busTypes.push_back(ReadProtocol(child, eids));
        if (name == "RESOURCE") resources.push_back(ReadResource(child, eids));
        if (name == "MODULETYPE") moduleTypes.push_back(ReadModuleType(child, eids));
        if (name == "COMPARAM") comParams.push_back(ReadComParam(child));
        if (name == "ERROR_CODE") errorCodes.push_back({ChildNumber(child, "ID"), ChildText(child, "SHORT_NAME")});
    }
    if (moduleTypes.empty()) {
        error = "module description file " + path + " describes no module type";
        return false;
    }
    return true;
}

const MdfResource* MdfCatalog::FindResource(uint32_t id) const { return FindById(resources, id); }
const MdfProtocol* MdfCatalog::FindProtocol(uint32_t id) const { return FindById(protocols, id); }
const MdfProtocol* MdfCatalog::FindBusType(uint32_t id) const { return FindById(busTypes, id); }
const MdfComParam* MdfCatalog::FindComParam(uint32_t id) const { return FindById(comParams, id); }
const MdfModuleType* MdfCatalog::FindModuleType(uint32_t id) const { return FindById(moduleTypes, id); }
const MdfNamedId* MdfCatalog::FindIoCtl(uint32_t id) const { return FindById(ioCtls, id); }

uint32_t MdfCatalog::ErrorCodeId(const std::string& shortName) const {
    uint32_t id = 0;
    return FindByName(errorCodes, shortName, id) ? id : 0;
}

bool MdfCatalog::ObjectId(uint32_t objectType, const std::string& shortName, uint32_t& id) const {
    switch (objectType) {
        case PDU_OBJT_PROTOCOL: return FindByName(protocols, shortName, id);
        case PDU_OBJT_BUSTYPE: return FindByName(busTypes, shortName, id);
        case PDU_OBJT_IO_CTRL: return FindByName(ioCtls, shortName, id);
        case PDU_OBJT_COMPARAM: return FindByName(comParams, shortName, id);
        case PDU_OBJT_PINTYPE: return FindByName(pinTypes, shortName, id);
        case PDU_OBJT_RESOURCE: return FindByName(resources, shortName, id);
        default: return false;
    }
}

}  // namespace pdusim
