#include "platform/ProfileDocument.h"

#include <algorithm>

namespace platform {

namespace {

constexpr size_t npos = std::string::npos;

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\v';
}

std::string Trim(std::string_view s)
{
    size_t begin = 0;
    size_t end = s.size();
    while (begin < end && IsBlank(s[begin]))
        ++begin;
    while (end > begin && IsBlank(s[end - 1]))
        --end;
    return std::string(s.substr(begin, end - begin));
}

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

}  // namespace

ProfileDocument::ProfileDocument(std::string_view text)
{
    bool lineEndSeen = false;
    size_t start = 0;
    while (start < text.size()) {
        const size_t stop = text.find_first_of("\r\n", start);
        if (stop == npos) {
            m_lines.push_back(ParseLine(std::string(text.substr(start)), ""));
            break;
        }
        const size_t endLength = text.compare(stop, 2, "\r\n") == 0 ? 2 : 1;
        std::string end(text.substr(stop, endLength));
        // Any CRLF makes it a CRLF file, even when its first line ends otherwise.
        if (!lineEndSeen || endLength == 2)
            m_lineEnd = end;
        lineEndSeen = true;
        m_lines.push_back(ParseLine(std::string(text.substr(start, stop - start)), std::move(end)));
        start = stop + endLength;
    }
}

ProfileDocument::Line ProfileDocument::ParseLine(std::string text, std::string end)
{
    Line line;
    const size_t first = std::find_if_not(text.begin(), text.end(), IsBlank) - text.begin();
    if (first == text.size()) {
        line.kind = Kind::Blank;
    } else if (text[first] == ';') {
        line.kind = Kind::Comment;
    } else if (text[first] == '[') {
        line.kind = Kind::Section;
        const size_t close = text.find(']', first + 1);
        line.name = Trim(std::string_view(text).substr(first + 1, close == npos ? npos : close - first - 1));
    } else if (const size_t equals = text.find('='); equals != npos) {
        line.kind = Kind::Key;
        line.name = Trim(std::string_view(text).substr(0, equals));
        line.value = Trim(std::string_view(text).substr(equals + 1));
    } else {
        line.kind = Kind::Other;
    }
    line.text = std::move(text);
    line.end = std::move(end);
    return line;
}

std::string ProfileDocument::Text() const
{
    std::string text;
    for (const Line& line : m_lines)
        text += line.text + line.end;
    return text;
}

size_t ProfileDocument::FindSection(std::string_view section) const
{
    const std::string name = Trim(section);
    for (size_t i = 0; i < m_lines.size(); ++i)
        if (m_lines[i].kind == Kind::Section && SameName(m_lines[i].name, name))
            return i;
    return npos;
}

size_t ProfileDocument::SectionEnd(size_t header) const
{
    size_t i = header + 1;
    while (i < m_lines.size() && m_lines[i].kind != Kind::Section)
        ++i;
    return i;
}

bool ProfileDocument::Find(std::string_view section, std::string_view key, std::string& value) const
{
    const size_t header = FindSection(section);
    if (header == npos)
        return false;
    const std::string name = Trim(key);
    for (size_t i = header + 1, end = SectionEnd(header); i < end; ++i) {
        if (m_lines[i].kind == Kind::Key && SameName(m_lines[i].name, name)) {
            value = m_lines[i].value;
            return true;
        }
    }
    return false;
}

std::vector<std::string> ProfileDocument::SectionNames() const
{
    std::vector<std::string> names;
    for (const Line& line : m_lines)
        if (line.kind == Kind::Section && !line.name.empty())
            names.push_back(line.name);
    return names;
}

std::vector<std::string> ProfileDocument::KeyNames(std::string_view section) const
{
    std::vector<std::string> names;
    const size_t header = FindSection(section);
    if (header == npos)
        return names;
    for (size_t i = header + 1, end = SectionEnd(header); i < end; ++i)
        if (m_lines[i].kind == Kind::Key && !m_lines[i].name.empty())
            names.push_back(m_lines[i].name);
    return names;
}

void ProfileDocument::InsertLine(size_t position, std::string text)
{
    // The line before may be the file's last one, without a line end of its own.
    if (position > 0 && m_lines[position - 1].end.empty())
        m_lines[position - 1].end = m_lineEnd;
    m_lines.insert(m_lines.begin() + static_cast<std::ptrdiff_t>(position), ParseLine(std::move(text), m_lineEnd));
}

size_t ProfileDocument::AppendSection(std::string_view section)
{
    InsertLine(m_lines.size(), "[" + Trim(section) + "]");
    return m_lines.size() - 1;
}

void ProfileDocument::SetValue(std::string_view section, std::string_view key, std::string_view value)
{
    size_t header = FindSection(section);
    if (header == npos)
        header = AppendSection(section);
    const std::string name = Trim(key);
    size_t insertAt = header + 1;
    for (size_t i = header + 1, end = SectionEnd(header); i < end; ++i) {
        if (m_lines[i].kind != Kind::Key)
            continue;
        if (SameName(m_lines[i].name, name)) {
            m_lines[i] = ParseLine(m_lines[i].name + "=" + std::string(value), m_lines[i].end);
            return;
        }
        insertAt = i + 1;
    }
    InsertLine(insertAt, name + "=" + std::string(value));
}

void ProfileDocument::DeleteKey(std::string_view section, std::string_view key)
{
    // Like a look-up: the first section of that name and the first key in it.
    const size_t header = FindSection(section);
    if (header == npos)
        return;
    const std::string name = Trim(key);
    for (size_t i = header + 1, end = SectionEnd(header); i < end; ++i) {
        if (m_lines[i].kind == Kind::Key && SameName(m_lines[i].name, name)) {
            m_lines.erase(m_lines.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
    }
}

void ProfileDocument::DeleteSection(std::string_view section)
{
    const size_t header = FindSection(section);
    if (header == npos)
        return;
    const size_t end = SectionEnd(header);
    std::vector<Line> kept;
    for (size_t i = 0; i < m_lines.size(); ++i) {
        // Comments and blank lines of the deleted section stay where they were.
        const Kind kind = m_lines[i].kind;
        const bool drop = i >= header && i < end && kind != Kind::Comment && kind != Kind::Blank;
        if (!drop)
            kept.push_back(std::move(m_lines[i]));
    }
    m_lines = std::move(kept);
}

void ProfileDocument::ReplaceSection(std::string_view section,
                                     const std::vector<std::pair<std::string, std::string>>& entries)
{
    const std::string name = Trim(section);
    const size_t first = FindSection(name);
    size_t header = npos;    // the first section's header in the kept lines
    size_t insertAt = npos;  // where its first key stood
    bool inSection = false;
    bool inFirst = false;
    std::vector<Line> kept;
    for (size_t i = 0; i < m_lines.size(); ++i) {
        Line& line = m_lines[i];
        if (line.kind == Kind::Section) {
            inSection = SameName(line.name, name);
            inFirst = i == first;
        }
        if (inSection && line.kind == Kind::Key) {
            if (inFirst && insertAt == npos)
                insertAt = kept.size();
            continue;
        }
        if (i == first)
            header = kept.size();
        kept.push_back(std::move(line));
    }
    m_lines = std::move(kept);
    if (header == npos)
        header = AppendSection(name);
    if (insertAt == npos)
        insertAt = header + 1;
    // Verbatim and in order: duplicates and blanks around the key are the caller's.
    for (const auto& [key, value] : entries)
        InsertLine(insertAt++, key + "=" + value);
}

}  // namespace platform
