#include "description/ModuleDisplayName.h"

namespace {

constexpr size_t npos = std::string::npos;
const std::string kPairMark = "='";

// End of a Master_MVCI value that starts at `valueStart`: the first apostrophe with no pair mark
// before it; nested pairs are skipped whole. npos when the value runs to the end.
size_t EndOfNestedValue(const std::string& text, size_t valueStart)
{
    size_t from = valueStart;
    for (;;) {
        const size_t quote = text.find('\'', from);
        const size_t mark = text.find(kPairMark, from);
        if (quote == npos || mark == npos || mark >= quote) return quote;
        const size_t nestedEnd = text.find('\'', mark + kPairMark.size());
        if (nestedEnd == npos) return npos;
        from = nestedEnd + 1;
    }
}

std::string Lookup(const std::map<std::string, std::string>& pairs, const std::string& key)
{
    auto it = pairs.find(key);
    return it == pairs.end() ? std::string() : it->second;
}

std::string TranslateType(const std::string& type)
{
    static const std::map<std::string, std::string> kTypes = {
        {"MVCI_ISO_13400_DoIP_Entity", "DoIP_Entity"},
        {"MVCI_ISO_13400_DoIP_Vehicle", "DoIP_Vehicle"},
        {"MVCI_ISO_13400_DoIP_Group", "DoIP_Group"},
        {"MVCI_ISO_13400_DoIP_Collection", "DoIP_Collection"},
    };
    auto it = kTypes.find(type);
    return it == kTypes.end() ? type : it->second;
}

std::string NamePart(const std::map<std::string, std::string>& pairs)
{
    for (const char* key : {"ModuleName", "DeviceName"}) {
        if (pairs.count(key)) return pairs.at(key);
    }
    if (pairs.count("VCIName") && !pairs.at("VCIName").empty()) return pairs.at("VCIName");
    if (pairs.count("VCIType")) return pairs.at("VCIType");
    if (pairs.count("Type")) return TranslateType(pairs.at("Type"));
    return {};
}

// The serial number inside a ConnectionInfo text. Without the marker the search result -1 plus
// the marker's length makes the start index 9, which is how the line has always been built.
std::string SerialFromConnectionInfo(const std::string& info)
{
    const std::string marker = "serial = \"";
    const size_t found = info.find(marker);
    const size_t start = found == npos ? marker.size() - 1 : found + marker.size();
    if (start >= info.size()) return {};
    const size_t quote = info.find('"', start);
    if (quote == npos) return {};
    return " " + info.substr(start, quote - start);
}

std::string IdentityPart(const std::map<std::string, std::string>& pairs)
{
    if (pairs.count("SerialNumber")) return " " + pairs.at("SerialNumber");
    if (pairs.count("ConnectionInfo")) return SerialFromConnectionInfo(pairs.at("ConnectionInfo"));
    if (pairs.count("EID")) return " " + pairs.at("EID");
    return {};
}

}  // namespace

std::map<std::string, std::string> SplitModuleInfoPairs(const std::string& text, bool nestedMaster)
{
    std::map<std::string, std::string> pairs;
    size_t pos = 0;
    while (pos < text.size()) {
        while (pos < text.size() && text[pos] == ' ') ++pos;
        const size_t mark = text.find(kPairMark, pos);
        if (mark == npos || text.size() - pos < 2) break;
        const size_t valueStart = mark + kPairMark.size();
        if (nestedMaster && text.compare(pos, 11, "Master_MVCI") == 0) {
            const size_t end = EndOfNestedValue(text, valueStart);
            const std::string value = text.substr(valueStart, end == npos ? npos : end - valueStart);
            pairs["Master_MVCI"] = ParseMasterInfo(value);
            if (end == npos) break;
            pos = end + 1;
            continue;
        }
        const size_t end = text.find('\'', valueStart);
        pairs[text.substr(pos, mark - pos)] =
            text.substr(valueStart, end == npos ? npos : end - valueStart);
        if (end == npos || end >= text.size()) break;
        pos = end + 1;
    }
    return pairs;
}

std::string ParseMasterInfo(const std::string& value)
{
    if (value == "System") return value;
    const auto pairs = SplitModuleInfoPairs(value, false);
    return Lookup(pairs, "ModuleName") + " " + Lookup(pairs, "SerialNumber");
}

std::string BuildModuleDisplayName(const char* vendorModuleName, const char* vendorAdditionalInfo)
{
    const std::string text = std::string(vendorModuleName ? vendorModuleName : "") + " " +
                             (vendorAdditionalInfo ? vendorAdditionalInfo : "");
    const auto pairs = SplitModuleInfoPairs(text, true);
    std::string line = NamePart(pairs);
    if (pairs.count("Master_MVCI")) line += " (" + pairs.at("Master_MVCI") + ")";
    if (pairs.count("VendorName")) line += " " + pairs.at("VendorName");
    line += IdentityPart(pairs);
    return line;
}
