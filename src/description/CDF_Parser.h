#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "description/CableInfo.h"
#include "description/XmlDocument.h"

// Reads cable description files. Lives as long as the main dialog; a parse never empties it, so
// a second file adds its cables to those of the first.
class CDF_Parser {
public:
    CDF_Parser();

    bool Load(const std::string& path);
    // True when the root element has at least one child.
    bool Parse();

    // The cable of a known id (one that a CABLE_ID named), else null.
    CableInfo* FindCable(uint32_t id);

    // Every record by ascending id, including those only a MAPPING created (such as cable 0).
    const std::map<uint32_t, CableInfo>& GetCables() const { return m_cables; }
    // The ids CABLE_ID elements named, ascending.
    const std::set<uint32_t>& GetCableIds() const { return m_cableIds; }

private:
    void ParseDlcType(XmlNode element);
    void ParseCable(XmlNode element);
    void ParseIdentification(XmlNode element);
    void ParseMapping(XmlNode element);

    std::map<uint32_t, CableInfo> m_cables;
    std::set<uint32_t> m_cableIds;

    // Read and thrown away: a DLC type has no effect on the model.
    std::string m_dlcEid;
    std::string m_dlcId;
    std::string m_dlcShortName;

    std::string m_cableIdText;
    std::string m_cableShortName;
    std::string m_cableId;
    std::vector<std::pair<std::string, std::string>> m_pinPairs; // (pinOnDlc, pinOnModule)

    XmlDocument m_doc;
    XmlNode m_root;
    const std::array<std::string_view, 2> m_tagNames;
};
