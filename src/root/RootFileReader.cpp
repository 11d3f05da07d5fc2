#include "root/RootFileReader.h"

#include <cstdio>
#include <pugixml.hpp>
#include <vector>

#include "platform/Paths.h"

namespace {

std::string Format(const char* format, const std::string& arg)
{
    std::vector<char> buffer(arg.size() + 256);
    std::snprintf(buffer.data(), buffer.size(), format, arg.c_str());
    return buffer.data();
}

std::string BaseName(const char* name)
{
    std::string full = name;
    auto colon = full.find(':');
    return colon == std::string::npos ? full : full.substr(colon + 1);
}

// Every node below `top` in document order, without recursion: a file nested a few hundred
// thousand elements deep must not run the stack out. `visit` says whether to go into a node.
template <class Visit>
void WalkBelow(const pugi::xml_node& top, Visit visit)
{
    pugi::xml_node node = top.first_child();
    while (node) {
        if (visit(node) && node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node != top && !node.next_sibling()) node = node.parent();
        if (node == top) break;
        node = node.next_sibling();
    }
}

// The document's typed value of an untyped element: all of its text.
std::string ElementText(const pugi::xml_node& node)
{
    std::string text;
    WalkBelow(node, [&](const pugi::xml_node& child) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) text += child.value();
        return child.type() == pugi::node_element;
    });
    return text;
}

void CollectByTag(const pugi::xml_node& node, const char* tag, std::vector<pugi::xml_node>& out)
{
    WalkBelow(node, [&](const pugi::xml_node& child) {
        if (child.type() != pugi::node_element) return false;
        if (std::string(child.name()) == tag) out.push_back(child);
        return true;
    });
}

std::vector<pugi::xml_node> ElementsByTagName(const pugi::xml_document& doc, const char* tag)
{
    std::vector<pugi::xml_node> out;
    CollectByTag(doc, tag, out);
    return out;
}

void ReplaceAll(std::string& s, const std::string& from, const std::string& to)
{
    for (size_t pos = s.find(from); pos != std::string::npos; pos = s.find(from, pos + to.size()))
        s.replace(pos, from.size(), to);
}

// The attribute walk of one file element. Returns false when the element has no attributes,
// so that the search goes on with the next API of the same name.
bool ReferenceOfElement(const pugi::xml_node& element, std::string& result)
{
    if (!element.first_attribute()) return false;
    // The result variable doubles as the name of the attribute under test: without a non-empty
    // URI the name of the last attribute is what remains, and it is taken as the reference.
    for (pugi::xml_attribute attr = element.first_attribute(); attr; attr = attr.next_attribute()) {
        result = BaseName(attr.name());
        if (result == "URI") {
            result = attr.value();
            if (!result.empty()) break;
        }
    }
#ifdef _WIN32
    result = RootUriToPath(result, true);
#else
    result = RootUriToPath(result, false);
#endif
    return true;
}

}  // namespace

std::string RootUriToPath(std::string uri, bool windowsRules)
{
    ReplaceAll(uri, "file:///", "file:/");
    ReplaceAll(uri, "//", "/");
    // Without a ':' the find gives -1 and the cut starts from there, as the original reader did.
    const long colon = uri.find(':') == std::string::npos ? -1 : static_cast<long>(uri.find(':'));
    const long cut = colon + (windowsRules ? 2 : 1);
    uri.erase(0, static_cast<size_t>(std::min<long>(cut, static_cast<long>(uri.size()))));
    if (windowsRules) ReplaceAll(uri, "/", "\\");
    return uri;
}

std::string ReadRootFile(const std::string& rootFilePath, const std::string& tag, std::string& errorText,
                         std::string& moduleName, std::string& supplier)
{
    errorText.clear();
    if (!platform::CanOpenForReading(rootFilePath)) {
        errorText = Format("Error: File %s not found.\n", rootFilePath);
        return {};
    }
    pugi::xml_document doc;
    pugi::xml_parse_result parsed = doc.load_file(rootFilePath.c_str());
    if (parsed.status == pugi::status_file_not_found || parsed.status == pugi::status_io_error ||
        parsed.status == pugi::status_out_of_memory) {
        errorText = Format("Error: Could not load root file %s.\n", rootFilePath);
        return {};
    }
    // A file that is not well-formed loads as an empty document.
    if (!parsed) doc.reset();

    const std::vector<pugi::xml_node> apis = ElementsByTagName(doc, "MVCI_PDU_API");
    if (apis.empty()) {
        errorText = "Error: Could not get elements with tag \"MVCI_PDU_API\".";
        return {};
    }
    char info[128];
    std::snprintf(info, sizeof info, "Root description file contains %d MVCI modules.\n",
                  static_cast<int>(apis.size()));
    std::string result = info;

    const std::vector<pugi::xml_node> names = ElementsByTagName(doc, "SHORT_NAME");
    const std::vector<pugi::xml_node> suppliers = ElementsByTagName(doc, "SUPPLIER_NAME");
    const bool listMode = tag.empty();
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = ElementText(names[i]);
        const std::string supplierName = i < suppliers.size() ? ElementText(suppliers[i]) : std::string();
        if (listMode) {
            moduleName += name;
            supplier += supplierName;
            if (i + 1 != names.size()) {
                moduleName += kRootListSeparator;
                supplier += kRootListSeparator;
            }
            continue;
        }
        if (name != moduleName) continue;
        for (pugi::xml_node sib = names[i].next_sibling(); sib; sib = sib.next_sibling()) {
            if (sib.type() != pugi::node_element || BaseName(sib.name()) != tag) continue;
            std::string reference;
            if (ReferenceOfElement(sib, reference)) return reference;
            break;
        }
    }
    return result;
}

std::string GetRootFilePathFromRegistry()
{
    return platform::SystemRootFilePath();
}
