#include "description/CDF_Parser.h"

#include "description/NumberText.h"

namespace {

std::string FirstAttribute(XmlNode node, std::string_view name)
{
    if (node.AttributeCount() == 0 || node.AttributeName(0) != name)
        return {};
    return std::string(node.AttributeValue(0));
}

// Cable numbers are plain decimal.
uint32_t CableNumber(const std::string& text) { return static_cast<uint32_t>(ParseInt32(text)); }

} // namespace

CDF_Parser::CDF_Parser() : m_tagNames{"DLCTYPE", "CABLE"} {}

bool CDF_Parser::Load(const std::string& path)
{
    m_root = XmlNode();
    return m_doc.Load(path);
}

bool CDF_Parser::Parse()
{
    m_root = m_doc.Root();
    if (!m_root || !m_root.HasChildren())
        return false;
    for (XmlNode child : XmlChildren(m_root)) {
        const std::string_view name = child.BaseName();
        if (name == m_tagNames[0])
            ParseDlcType(child);
        else if (name == m_tagNames[1])
            ParseCable(child);
    }
    return true;
}

void CDF_Parser::ParseDlcType(XmlNode element)
{
    m_dlcEid = FirstAttribute(element, "EID");
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_dlcId = child.Text();
        else if (name == "SHORT_NAME")
            m_dlcShortName = child.Text();
    }
    m_dlcEid.clear();
    m_dlcId.clear();
    m_dlcShortName.clear();
}

// Children in document order: a SHORT_NAME behind the identification doesn't reach the record.
void CDF_Parser::ParseCable(XmlNode element)
{
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "ID")
            m_cableIdText = child.Text();
        else if (name == "SHORT_NAME")
            m_cableShortName = child.Text();
        else if (name == "CABLE_IDENTIFICATION")
            ParseIdentification(child);
        else if (name == "MAPPING")
            ParseMapping(child);
    }
    m_cableIdText.clear();
    m_cableShortName.clear();
    m_cableId.clear();
    m_pinPairs.clear();
}

void CDF_Parser::ParseIdentification(XmlNode element)
{
    for (XmlNode child : XmlChildren(element)) {
        if (child.BaseName() != "CABLE_ID")
            continue;
        m_cableId = child.Text();
        const uint32_t n = CableNumber(m_cableId);
        CableInfo& cable = m_cables.try_emplace(n).first->second;
        cable.id = n;
        m_cableIds.insert(n);
        cable.name = m_cableShortName;
    }
}

// Pins pair as soon as both texts are there, whichever came first; a second text of one kind
// replaces the first.
void CDF_Parser::ParseMapping(XmlNode element)
{
    std::string pinOnDlc;
    std::string pinOnModule;
    for (XmlNode child : XmlChildren(element)) {
        const std::string_view name = child.BaseName();
        if (name == "PIN_ON_DLC")
            pinOnDlc = child.Text();
        else if (name == "PIN_ON_MODULE")
            pinOnModule = child.Text();
        if (pinOnDlc.empty() || pinOnModule.empty())
            continue;
        m_pinPairs.emplace_back(pinOnDlc, pinOnModule);
        const uint32_t n = CableNumber(m_cableId);
        CableInfo& cable = m_cables.try_emplace(n).first->second;
        cable.id = n;
        const uint32_t m = CableNumber(pinOnModule);
        const uint32_t d = CableNumber(pinOnDlc);
        cable.moduleToDlc.emplace(m, d);
        cable.dlcToModule.emplace(d, m);
        pinOnDlc.clear();
        pinOnModule.clear();
    }
}

CableInfo* CDF_Parser::FindCable(uint32_t id)
{
    if (m_cableIds.count(id) == 0)
        return nullptr;
    CableInfo& cable = m_cables[id];
    cable.id = id;
    return &cable;
}
