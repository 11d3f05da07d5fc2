#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "description/MdfRecords.h"
#include "description/XmlDocument.h"

// Reads one module description file into the text records of MdfRecords.h. Not a validating
// reader: it acts on seven tag names below the root and drops incomplete records silently.
// Calling order: Load, Parse, FixReferences, the accessors, Clear.
class MDF_Parser {
public:
    MDF_Parser();

    bool Load(const std::string& path);
    // True when the root element has at least one child.
    bool Parse();
    // False only when no module type was read.
    bool FixReferences();

    const std::vector<PinTypeRecord>& GetPinTypes() const { return m_pinTypes; }
    const std::vector<ResourceRecord>& GetResources() const { return m_resources; }
    const std::vector<BusTypeRecord>& GetBusTypes() const { return m_busTypes; }
    const std::vector<ProtocolRecord>& GetProtocols() const { return m_protocols; }
    const std::vector<ComParamRecord>& GetComParams() const { return m_comParams; }
    const std::vector<ModuleTypeRecord>& GetModuleTypes() const { return m_moduleTypes; }
    const std::vector<ErrorCodeRecord>& GetErrorCodes() const { return m_errorCodes; }

    void Clear();

private:
    void ParseErrorCode(XmlNode element);
    void ParsePinType(XmlNode element);
    void ParseModuleType(XmlNode element);
    void ParseResource(XmlNode element);
    void ParseResourcePins(XmlNode wrapper);
    template <class Record> bool ParseComParamUser(XmlNode element, Record& record);
    void ParseComParamRef(XmlNode wrapper, std::vector<ComParamRefRecord>& refs);
    void ParseComParam(XmlNode element);
    void ResetScratch();

    std::vector<PinTypeRecord> m_pinTypes;
    std::vector<ResourceRecord> m_resources;
    std::vector<BusTypeRecord> m_busTypes;
    std::vector<ProtocolRecord> m_protocols;
    std::vector<ComParamRecord> m_comParams;
    std::vector<ModuleTypeRecord> m_moduleTypes;
    std::vector<ErrorCodeRecord> m_errorCodes;

    // Filled element by element, emptied after each top-level element.
    PinTypeRecord m_pinType;
    ResourceRecord m_resource;
    BusTypeRecord m_busType;
    ProtocolRecord m_protocol;
    ComParamRecord m_comParam;
    ComParamRefRecord m_comParamRef;
    ModuleTypeRecord m_moduleType;
    ErrorCodeRecord m_errorCode;

    XmlDocument m_doc;
    XmlNode m_root;
    const std::array<std::string_view, 7> m_tagNames;
};
