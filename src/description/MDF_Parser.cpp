#include "description/MDF_Parser.h"

#include <unordered_map>
#include <utility>

#include "description/NumberText.h"

namespace {

// Only the first attribute counts, and only under the expected name.
std::string FirstAttribute(XmlNode node, std::string_view name)
{
    if (node.AttributeCount() == 0 || node.AttributeName(0) != name)
        return {};
    return std::string(node.AttributeValue(0));
}

// The first slot still empty takes the text; with all four taken it is dropped.
template <size_t N> void FillFirstEmpty(std::array<std::string, N>& slots, std::string text)
{
    for (std::string& slot : slots)
        if (slot.empty()) {
            slot = std::move(text);
            return;
        }
}

// eid -> id of the first record with that eid, as a front-to-back search finds it.
template <class Records> std::unordered_map<std::string, std::string> IdByEid(const Records& records)
{
    std::unordered_map<std::string, std::string> index;
    index.reserve(records.size());
    for (const auto& r : records)
        index.emplace(r.eid, r.id);
    return index;
}

// A reference that finds nothing stays as it is.
void Resolve(std::string& ref, const std::unordered_map<std::string, std::string>& index)
{
    const auto it = index.find(ref);
    if (it != index.end())
        ref = it->second;
}

} // namespace

MDF_Parser::MDF_Parser()
    : m_tagNames{"PINTYPE", "MODULETYPE", "RESOURCE", "PROTOCOL", "BUSTYPE", "COMPARAM", "ERROR_CODE"}
{
}

bool MDF_Parser::Load(const std::string& path)
{
    m_root = XmlNode();
    return m_doc.Load(path);
}

bool MDF_Parser::Parse()
{
    m_root = m_doc.Root();
    if (!m_root || !m_root.HasChildren())
        return false;
    for (XmlNode child : XmlChildren(m_root)) {
        const std::string_view name = child.BaseName();
        if (name.empty())
            continue;
        if (name == "ERROR_CODE")
            ParseErrorCode(child);
        else if (name == m_tagNames[0])
            ParsePinType(child);
        else if (name == m_tagNames[1])
            ParseModuleType(child);
        else if (name == m_tagNames[2])
            ParseResource(child);
        else if (name == m_tagNames[3]) {
            if (ParseComParamUser(child, m_protocol) && !m_protocol.comParamRefs.empty())
                m_protocols.push_back(std::move(m_protocol));
        } else if (name == m_tagNames[4]) {
            // Unlike a protocol, a bus type without references is kept.
            if (ParseComParamUser(child, m_busType))
                m_busTypes.push_back(std::move(m_busType));
        } else if (name == m_tagNames[5])
            ParseComParam(child);
        ResetScratch();
    }
    return true;
}

void MDF_Parser::ResetScratch()
{
    m_pinType = {};
    m_resource = {};
    m_busType = {};
    m_protocol = {};
    m_comParam = {};
    m_comParamRef = {};
    m_moduleType = {};
    m_errorCode = {};
}

void MDF_Parser::ParseErrorCode(XmlNode element)
{
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_errorCode.id = ParseULong32(child.Text());
        else if (name == "SHORT_NAME")
            m_errorCode.shortName = child.Text();
        else if (name == "DESCRIPTION")
            m_errorCode.description = child.Text();
    }
    if (m_errorCode.id != 0 && !m_errorCode.shortName.empty() && !m_errorCode.description.empty())
        m_errorCodes.push_back(std::move(m_errorCode));
}

void MDF_Parser::ParsePinType(XmlNode element)
{
    m_pinType.eid = FirstAttribute(element, "EID");
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_pinType.id = child.Text();
        else if (name == "SHORT_NAME")
            m_pinType.shortName = child.Text();
    }
    if (!m_pinType.eid.empty() && !m_pinType.id.empty() && !m_pinType.shortName.empty())
        m_pinTypes.push_back(std::move(m_pinType));
}

void MDF_Parser::ParseModuleType(XmlNode element)
{
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_moduleType.id = child.Text();
        else if (name == "SHORT_NAME")
            m_moduleType.shortName = child.Text();
        else if (name == "RESOURCE")
            m_moduleType.resourceRefs.push_back(FirstAttribute(child, "IDREF"));
    }
    if (!m_moduleType.id.empty() && !m_moduleType.shortName.empty())
        m_moduleTypes.push_back(std::move(m_moduleType));
}

void MDF_Parser::ParseResource(XmlNode element)
{
    m_resource.eid = FirstAttribute(element, "EID");
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_resource.id = child.Text();
        else if (name == "SHORT_NAME")
            m_resource.shortName = child.Text();
        else if (name == "BUSTYPE")
            m_resource.busType = FirstAttribute(child, "IDREF");
        else if (name == "PROTOCOL")
            m_resource.protocol = FirstAttribute(child, "IDREF");
        else if (name == "PIN_ON_MODULE")
            ParseResourcePins(child);
    }
    const ResourceRecord& r = m_resource;
    if (!r.id.empty() && !r.shortName.empty() && !r.busType.empty() && !r.protocol.empty()
        && !r.pinOnModule[0].empty() && !r.pinType[0].empty())
        m_resources.push_back(std::move(m_resource));
}

// Numbers and types pair by position only, never by nesting.
void MDF_Parser::ParseResourcePins(XmlNode wrapper)
{
    for (XmlNode child : XmlChildren(wrapper)) {
        const std::string_view name = child.BaseName();
        if (name == "PIN_ON_MODULE")
            FillFirstEmpty(m_resource.pinOnModule, child.Text());
        else if (name == "PINTYPE")
            FillFirstEmpty(m_resource.pinType, FirstAttribute(child, "IDREF"));
    }
}

template <class Record> bool MDF_Parser::ParseComParamUser(XmlNode element, Record& record)
{
    record.eid = FirstAttribute(element, "EID");
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            record.id = child.Text();
        else if (name == "SHORT_NAME")
            record.shortName = child.Text();
        else if (name == "COMPARAM_REF")
            ParseComParamRef(child, record.comParamRefs);
    }
    return !record.id.empty() && !record.shortName.empty() && !record.eid.empty();
}

// A pair closes when its COMPARAM child is met and takes the default read before it; a default
// behind it waits for the next reference.
void MDF_Parser::ParseComParamRef(XmlNode wrapper, std::vector<ComParamRefRecord>& refs)
{
    for (XmlNode child : XmlChildren(wrapper)) {
        const std::string_view name = child.BaseName();
        if (name == "COMPARAM")
            m_comParamRef.ref = FirstAttribute(child, "IDREF");
        else if (name == "DEFAULT_VALUE")
            m_comParamRef.defaultValue = child.Text();
        else
            continue;
        if (!m_comParamRef.ref.empty()) {
            refs.push_back(std::move(m_comParamRef));
            m_comParamRef = {};
        }
    }
}

void MDF_Parser::ParseComParam(XmlNode element)
{
    m_comParam.eid = FirstAttribute(element, "EID");
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_comParam.id = child.Text();
        else if (name == "SHORT_NAME")
            m_comParam.shortName = child.Text();
        else if (name == "DATA_TYPE")
            m_comParam.dataType = child.Text();
        else if (name == "CLASS")
            m_comParam.comParamClass = child.Text();
        else if (name == "DEFAULT_VALUE") {
            m_comParam.defaultValue = child.Text();
            if (m_comParam.defaultValue.empty())
                m_comParam.defaultValue = "0";
        }
    }
    const ComParamRecord& c = m_comParam;
    if (!c.eid.empty() && !c.id.empty() && !c.shortName.empty() && !c.dataType.empty() && !c.comParamClass.empty()
        && !c.defaultValue.empty())
        m_comParams.push_back(std::move(m_comParam));
}

bool MDF_Parser::FixReferences()
{
    if (!m_moduleTypes.empty() && !m_resources.empty()) {
        const auto resources = IdByEid(m_resources);
        for (ModuleTypeRecord& m : m_moduleTypes)
            for (std::string& ref : m.resourceRefs)
                Resolve(ref, resources);
    }
    if (m_moduleTypes.empty())
        return false;
    if (!m_comParams.empty() && (!m_busTypes.empty() || !m_protocols.empty())) {
        const auto comParams = IdByEid(m_comParams);
        for (BusTypeRecord& b : m_busTypes)
            for (ComParamRefRecord& ref : b.comParamRefs)
                Resolve(ref.ref, comParams);
        for (ProtocolRecord& p : m_protocols)
            for (ComParamRefRecord& ref : p.comParamRefs)
                Resolve(ref.ref, comParams);
    }
    if (m_resources.empty() || m_pinTypes.empty() || m_busTypes.empty() || m_protocols.empty())
        return true;
    const auto pinTypes = IdByEid(m_pinTypes);
    const auto busTypes = IdByEid(m_busTypes);
    const auto protocols = IdByEid(m_protocols);
    for (ResourceRecord& r : m_resources) {
        for (std::string& pinType : r.pinType)
            Resolve(pinType, pinTypes);
        Resolve(r.busType, busTypes);
        Resolve(r.protocol, protocols);
    }
    return true;
}

void MDF_Parser::Clear()
{
    m_pinTypes.clear();
    m_resources.clear();
    m_busTypes.clear();
    m_protocols.clear();
    m_comParams.clear();
    m_moduleTypes.clear();
    m_errorCodes.clear();
    m_pinTypes.shrink_to_fit();
    m_resources.shrink_to_fit();
    m_busTypes.shrink_to_fit();
    m_protocols.shrink_to_fit();
    m_comParams.shrink_to_fit();
    m_moduleTypes.shrink_to_fit();
    m_errorCodes.shrink_to_fit();
}
