#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace pugi {
struct xml_node_struct;
class xml_document;
} // namespace pugi

// The few DOM operations the description parsers use, over pugixml. A node is a cheap handle
// that stays valid while its document lives.
class XmlNode {
public:
    XmlNode() = default;
    explicit XmlNode(pugi::xml_node_struct* node) : m_node(node) {}

    explicit operator bool() const { return m_node != nullptr; }
    bool operator==(const XmlNode& other) const { return m_node == other.m_node; }

    // Element name after any "prefix:"; empty for text, comments and other non-elements.
    std::string_view BaseName() const;

    XmlNode FirstChild() const;
    XmlNode NextSibling() const;
    bool HasChildren() const { return static_cast<bool>(FirstChild()); }

    size_t AttributeCount() const;
    std::string_view AttributeName(size_t index) const;
    std::string_view AttributeValue(size_t index) const;

    // The element's text: all text below it joined, outer blanks trimmed (as the typed value of
    // an element without a schema type).
    std::string Text() const;

private:
    pugi::xml_node_struct* m_node = nullptr;
};

// Range over the children of a node, for range-for.
class XmlChildren {
public:
    explicit XmlChildren(XmlNode parent) : m_parent(parent) {}
    class Iterator {
    public:
        explicit Iterator(XmlNode node) : m_node(node) {}
        XmlNode operator*() const { return m_node; }
        Iterator& operator++()
        {
            m_node = m_node.NextSibling();
            return *this;
        }
        bool operator!=(const Iterator& other) const { return !(m_node == other.m_node); }

    private:
        XmlNode m_node;
    };
    Iterator begin() const { return Iterator(m_parent.FirstChild()); }
    Iterator end() const { return Iterator(XmlNode()); }

private:
    XmlNode m_parent;
};

class XmlDocument {
public:
    XmlDocument();
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    // Synchronous load; false when the file can't be opened or isn't well-formed.
    bool Load(const std::string& path);
    // The document element; a null node when nothing is loaded.
    XmlNode Root() const;

private:
    std::unique_ptr<pugi::xml_document> m_doc;
    bool m_loaded = false;
};
