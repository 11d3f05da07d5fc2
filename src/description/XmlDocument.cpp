#include "description/XmlDocument.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <new>
#include <pugixml.hpp>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace {

pugi::xml_node Node(pugi::xml_node_struct* raw) { return pugi::xml_node(raw); }

pugi::xml_attribute AttributeAt(pugi::xml_node node, size_t index)
{
    pugi::xml_attribute a = node.first_attribute();
    for (size_t i = 0; a && i < index; ++i)
        a = a.next_attribute();
    return a;
}

// Far above any description file; keeps a stray path to a disk image from eating the memory.
constexpr uintmax_t kMaxFileSize = uintmax_t(1) << 30;

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view Trimmed(std::string_view text)
{
    size_t b = 0, e = text.size();
    while (b < e && IsXmlSpace(text[b]))
        ++b;
    while (e > b && IsXmlSpace(text[e - 1]))
        --e;
    return text.substr(b, e - b);
}

// ---- well-formedness beyond pugixml ----------------------------------------------------------
// pugixml is lenient where the document object the bench stands in for refuses the file. The raw
// text is checked for what the tree no longer shows (text outside the root, a second root,
// references), the tree for attributes and namespace prefixes. Both passes are linear.

// Code units of the raw file; the widths and byte orders pugixml itself recognises.
struct RawText {
    const unsigned char* bytes = nullptr;
    size_t units = 0;
    unsigned width = 1;
    bool bigEndian = false;

    uint32_t operator[](size_t i) const
    {
        const unsigned char* p = bytes + i * width;
        if (width == 1)
            return p[0];
        if (width == 2)
            return bigEndian ? (uint32_t(p[0]) << 8 | p[1]) : (uint32_t(p[1]) << 8 | p[0]);
        return bigEndian ? (uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3])
                         : (uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0]);
    }
};

// Same guess as pugixml's for the multi-byte forms; everything else is read byte by byte
// (UTF-8 and the 8-bit encodings agree on the ASCII markup).
RawText MakeRawText(const void* data, size_t size)
{
    RawText raw;
    raw.bytes = static_cast<const unsigned char*>(data);
    const unsigned char* d = raw.bytes;
    const auto at = [&](size_t i) -> int { return i < size ? d[i] : -1; };
    const int d0 = at(0), d1 = at(1), d2 = at(2), d3 = at(3);
    if ((d0 == 0 && d1 == 0 && d2 == 0xFE && d3 == 0xFF) || (d0 == 0 && d1 == 0 && d2 == 0 && d3 == 0x3C))
        raw.width = 4, raw.bigEndian = true;
    else if ((d0 == 0xFF && d1 == 0xFE && d2 == 0 && d3 == 0) || (d0 == 0x3C && d1 == 0 && d2 == 0 && d3 == 0))
        raw.width = 4;
    else if ((d0 == 0xFE && d1 == 0xFF) || (d0 == 0 && d1 == 0x3C))
        raw.width = 2, raw.bigEndian = true;
    else if ((d0 == 0xFF && d1 == 0xFE) || (d0 == 0x3C && d1 == 0))
        raw.width = 2;
    raw.units = size / raw.width;
    return raw;
}

// The usual case without the per-unit width test.
struct NarrowText {
    const unsigned char* bytes;
    size_t units;
    unsigned width;
    uint32_t operator[](size_t i) const { return bytes[i]; }
};

unsigned WidthOf(pugi::xml_encoding encoding)
{
    switch (encoding) {
    case pugi::encoding_utf16_le:
    case pugi::encoding_utf16_be:
        return 2;
    case pugi::encoding_utf32_le:
    case pugi::encoding_utf32_be:
        return 4;
    default:
        return 1;
    }
}

bool IsSpaceUnit(uint32_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigitUnit(uint32_t c) { return c >= '0' && c <= '9'; }
bool IsHexUnit(uint32_t c) { return IsDigitUnit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

template <typename Raw>
bool StartsWith(const Raw& raw, size_t i, std::string_view ascii)
{
    if (i > raw.units || raw.units - i < ascii.size())
        return false;
    for (size_t k = 0; k < ascii.size(); ++k)
        if (raw[i + k] != static_cast<unsigned char>(ascii[k]))
            return false;
    return true;
}

// Index just past the next `end` from i; npos when the text ends first.
template <typename Raw>
size_t SkipPast(const Raw& raw, size_t i, std::string_view end)
{
    for (; i < raw.units; ++i)
        if (raw[i] == static_cast<unsigned char>(end[0]) && StartsWith(raw, i, end))
            return i + end.size();
    return std::string::npos;
}

// `&` at i: one of the five predefined entities or a reference to a legal character. Anything
// else (an entity only a DOCTYPE could declare, a bare ampersand) is refused. Answers the index
// past the `;`, npos when refused.
template <typename Raw>
size_t SkipReference(const Raw& raw, size_t i)
{
    size_t j = i + 1;
    if (j < raw.units && raw[j] == '#') {
        ++j;
        const bool hex = j < raw.units && raw[j] == 'x';
        if (hex)
            ++j;
        const size_t first = j;
        uint32_t value = 0;
        for (; j < raw.units && (hex ? IsHexUnit(raw[j]) : IsDigitUnit(raw[j])); ++j) {
            const uint32_t c = raw[j];
            const uint32_t digit = IsDigitUnit(c) ? c - '0' : (c | 0x20) - 'a' + 10;
            value = std::min<uint32_t>(value * (hex ? 16 : 10) + digit, 0x110000); // stays far from overflow
        }
        if (j == first || j >= raw.units || raw[j] != ';')
            return std::string::npos;
        const bool legal = value == 0x9 || value == 0xA || value == 0xD || (value >= 0x20 && value <= 0xD7FF)
            || (value >= 0xE000 && value <= 0xFFFD) || (value >= 0x10000 && value <= 0x10FFFF);
        return legal ? j + 1 : std::string::npos;
    }
    for (std::string_view name : {"lt;", "gt;", "amp;", "apos;", "quot;"})
        if (StartsWith(raw, j, name))
            return j + name.size();
    return std::string::npos;
}

// From "<!DOCTYPE": past its closing '>', over the quoted literals, comments and processing
// instructions of an internal subset, whose '>' don't end it.
template <typename Raw>
size_t SkipDoctype(const Raw& raw, size_t i)
{
    int brackets = 0;
    while (i < raw.units) {
        const uint32_t c = raw[i];
        if (c == '"' || c == '\'') {
            size_t j = i + 1;
            while (j < raw.units && raw[j] != c)
                ++j;
            if (j >= raw.units)
                return std::string::npos;
            i = j + 1;
        } else if (c == '<' && StartsWith(raw, i, "<!--")) {
            i = SkipPast(raw, i + 4, "-->");
        } else if (c == '<' && StartsWith(raw, i, "<?")) {
            i = SkipPast(raw, i + 2, "?>");
        } else {
            if (c == '[')
                ++brackets;
            else if (c == ']')
                --brackets;
            else if (c == '>' && brackets <= 0)
                return i + 1;
            ++i;
        }
        if (i == std::string::npos)
            return i;
    }
    return std::string::npos;
}

// One pass over the raw file: one root element, only blanks, comments, processing instructions
// and a DOCTYPE around it, and only known references in text and attribute values.
template <typename Raw>
bool RawTextIsWellFormed(const Raw& raw)
{
    size_t i = 0;
    if (i < raw.units && raw[i] == 0xFEFF) // byte order mark of the wide forms
        ++i;
    else if (raw.width == 1 && StartsWith(raw, 0, "\xEF\xBB\xBF"))
        i = 3;
    size_t depth = 0;
    bool rootSeen = false;
    while (i < raw.units) {
        const uint32_t c = raw[i];
        if (c == '&') {
            if (depth == 0)
                return false; // a reference is text, and text outside the root is refused
            i = SkipReference(raw, i);
        } else if (c != '<') {
            if (depth == 0 && !IsSpaceUnit(c))
                return false;
            ++i;
            while (depth != 0 && i < raw.units && raw[i] != '<' && raw[i] != '&') // plain text
                ++i;
        } else if (StartsWith(raw, i, "<!--")) {
            i = SkipPast(raw, i + 4, "-->");
        } else if (StartsWith(raw, i, "<![CDATA[")) {
            if (depth == 0)
                return false;
            i = SkipPast(raw, i + 9, "]]>");
        } else if (StartsWith(raw, i, "<?")) {
            i = SkipPast(raw, i + 2, "?>");
        } else if (StartsWith(raw, i, "<!DOCTYPE")) {
            if (depth != 0 || rootSeen)
                return false;
            i = SkipDoctype(raw, i + 9);
        } else {
            // A tag: up to its '>' outside the quoted attribute values.
            const bool endTag = i + 1 < raw.units && raw[i + 1] == '/';
            uint32_t previous = 0;
            size_t j = i + 1;
            while (j < raw.units && raw[j] != '>') {
                const uint32_t q = raw[j];
                if (q == '"' || q == '\'') {
                    ++j;
                    while (j != std::string::npos && j < raw.units && raw[j] != q)
                        j = raw[j] == '&' ? SkipReference(raw, j) : j + 1;
                    if (j == std::string::npos || j >= raw.units)
                        return false;
                }
                previous = raw[j];
                ++j;
            }
            if (j >= raw.units)
                return false;
            if (endTag) {
                if (depth == 0)
                    return false;
                --depth;
            } else {
                if (depth == 0 && rootSeen)
                    return false; // a second root element
                rootSeen = true;
                if (previous != '/')
                    ++depth;
            }
            i = j + 1;
        }
        if (i == std::string::npos)
            return false;
    }
    return true;
}

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlnsNamespace = "http://www.w3.org/2000/xmlns/";

struct QName {
    std::string_view prefix; // empty when the name has none
    std::string_view local;
    bool valid = true;
};

QName SplitQName(std::string_view name)
{
    QName q;
    const size_t colon = name.find(':');
    if (colon == std::string_view::npos) {
        q.local = name;
        return q;
    }
    q.prefix = name.substr(0, colon);
    q.local = name.substr(colon + 1);
    q.valid = !q.prefix.empty() && !q.local.empty() && q.local.find(':') == std::string_view::npos;
    return q;
}

// Walks the tree once, keeping the prefixes in scope: every prefix used by an element or an
// attribute is declared, and no element carries one attribute twice, by name or by namespace.
class TreeChecker {
public:
    bool Check(pugi::xml_node root)
    {
        pugi::xml_node cur = root;
        while (cur) {
            if (!Enter(cur))
                return false;
            pugi::xml_node next = NextElementChild(cur.first_child());
            if (next) {
                cur = next;
                continue;
            }
            // Leave every element whose children are done, climbing to the next sibling.
            for (;;) {
                Leave(cur);
                if (cur == root)
                    return true;
                next = NextElementChild(cur.next_sibling());
                if (next) {
                    cur = next;
                    break;
                }
                cur = cur.parent();
            }
        }
        return true;
    }

private:
    static pugi::xml_node NextElementChild(pugi::xml_node n)
    {
        while (n && n.type() != pugi::node_element)
            n = n.next_sibling();
        return n;
    }

    bool Resolve(std::string_view prefix, std::string_view& uri) const
    {
        if (prefix == "xml") {
            uri = kXmlNamespace;
            return true;
        }
        if (prefix == "xmlns") {
            uri = kXmlnsNamespace;
            return true;
        }
        const auto found = m_scope.find(prefix);
        if (found == m_scope.end() || found->second.empty())
            return false;
        uri = found->second.back();
        return true;
    }

    bool Enter(pugi::xml_node element)
    {
        for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
            const QName q = SplitQName(a.name());
            if (q.prefix == "xmlns") {
                const std::string_view uri = a.value();
                // Undeclaring a prefix, rebinding xml or binding xmlns is never legal.
                if (uri.empty() || q.local == "xmlns" || (q.local == "xml") != (uri == kXmlNamespace))
                    return false;
                m_scope[q.local].push_back(uri);
            }
        }
        const QName name = SplitQName(element.name());
        std::string_view uri;
        if (!name.valid || (!name.prefix.empty() && !Resolve(name.prefix, uri)))
            return false;
        m_keys.clear();
        for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
            const QName q = SplitQName(a.name());
            if (!q.valid)
                return false;
            Key key{false, {}, q.local};
            if (!q.prefix.empty()) {
                if (!Resolve(q.prefix, key.uri))
                    return false;
                key.inNamespace = true;
            }
            m_keys.push_back(key);
        }
        if (m_keys.size() > 1) {
            std::sort(m_keys.begin(), m_keys.end());
            if (std::adjacent_find(m_keys.begin(), m_keys.end()) != m_keys.end())
                return false;
        }
        return true;
    }

    void Leave(pugi::xml_node element)
    {
        for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
            const QName q = SplitQName(a.name());
            if (q.prefix == "xmlns") {
                auto found = m_scope.find(q.local);
                if (found != m_scope.end() && !found->second.empty())
                    found->second.pop_back();
            }
        }
    }

    struct Key {
        bool inNamespace;
        std::string_view uri;
        std::string_view local;
        bool operator<(const Key& o) const
        {
            return std::tie(inNamespace, uri, local) < std::tie(o.inNamespace, o.uri, o.local);
        }
        bool operator==(const Key& o) const
        {
            return inNamespace == o.inNamespace && uri == o.uri && local == o.local;
        }
    };

    std::unordered_map<std::string_view, std::vector<std::string_view>> m_scope;
    std::vector<Key> m_keys;
};

} // namespace

std::string_view XmlNode::BaseName() const
{
    const pugi::xml_node node = Node(m_node);
    if (node.type() != pugi::node_element)
        return {};
    const std::string_view name = node.name();
    const size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

XmlNode XmlNode::FirstChild() const { return XmlNode(Node(m_node).first_child().internal_object()); }

XmlNode XmlNode::NextSibling() const { return XmlNode(Node(m_node).next_sibling().internal_object()); }

size_t XmlNode::AttributeCount() const
{
    size_t n = 0;
    for (pugi::xml_attribute a = Node(m_node).first_attribute(); a; a = a.next_attribute())
        ++n;
    return n;
}

std::string_view XmlNode::AttributeName(size_t index) const
{
    const std::string_view name = AttributeAt(Node(m_node), index).name();
    const size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view XmlNode::AttributeValue(size_t index) const { return AttributeAt(Node(m_node), index).value(); }

std::string XmlNode::Text() const
{
    const pugi::xml_node top = Node(m_node);
    const pugi::xml_node only = top.first_child();
    if (only && !only.next_sibling() && !only.first_child()
        && (only.type() == pugi::node_pcdata || only.type() == pugi::node_cdata))
        return std::string(Trimmed(only.value())); // the usual <ID>5</ID>
    std::string text;
    // Iterative walk: a hostile file may nest deeper than any stack.
    pugi::xml_node cur = top.first_child();
    while (cur) {
        if (cur.type() == pugi::node_pcdata || cur.type() == pugi::node_cdata)
            text += cur.value();
        if (cur.first_child()) {
            cur = cur.first_child();
            continue;
        }
        while (cur && cur != top && !cur.next_sibling())
            cur = cur.parent();
        if (!cur || cur == top)
            break;
        cur = cur.next_sibling();
    }
    if (top.type() == pugi::node_pcdata || top.type() == pugi::node_cdata)
        text = top.value();
    return std::string(Trimmed(text));
}

XmlDocument::XmlDocument() = default;
XmlDocument::~XmlDocument() = default;

bool XmlDocument::Load(const std::string& path)
{
    m_loaded = false;
    m_doc.reset(new (std::nothrow) pugi::xml_document);
    if (!m_doc)
        return false;
    // A folder or a device opens, but asking its size gives nonsense: only plain files are read.
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return false;
    const uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec || size > kMaxFileSize)
        return false;
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    // The document takes the buffer over, so it comes from pugixml's allocator.
    void* buffer = pugi::get_memory_allocation_function()(size ? size : 1);
    if (!buffer) {
        std::fclose(f);
        return false;
    }
    const size_t read = std::fread(buffer, 1, size, f);
    std::fclose(f);
    // Checked before the parse, which rewrites the buffer in place.
    const RawText raw = MakeRawText(buffer, read);
    const bool rawWellFormed = raw.width == 1 ? RawTextIsWellFormed(NarrowText{raw.bytes, raw.units, 1})
                                              : RawTextIsWellFormed(raw);
    const pugi::xml_parse_result result =
        m_doc->load_buffer_inplace_own(buffer, read, pugi::parse_default, pugi::encoding_auto);
    // Read in other units than pugixml chose, the raw check proved nothing: refused.
    if (!result || !rawWellFormed || WidthOf(result.encoding) != raw.width || !m_doc->document_element())
        return false;
    m_loaded = TreeChecker().Check(m_doc->document_element());
    return m_loaded;
}

XmlNode XmlDocument::Root() const
{
    if (!m_loaded || !m_doc)
        return XmlNode();
    return XmlNode(m_doc->document_element().internal_object());
}
