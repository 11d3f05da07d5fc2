#include "description/XmlDocument.h"

#include <cstdio>
#include <filesystem>
#include <new>
#include <pugixml.hpp>

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
    const pugi::xml_parse_result result =
        m_doc->load_buffer_inplace_own(buffer, read, pugi::parse_default, pugi::encoding_auto);
    m_loaded = static_cast<bool>(result) && m_doc->document_element();
    return m_loaded;
}

XmlNode XmlDocument::Root() const
{
    if (!m_loaded || !m_doc)
        return XmlNode();
    return XmlNode(m_doc->document_element().internal_object());
}
