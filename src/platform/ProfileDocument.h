#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

// The lines of one profile file in memory, with the Win32 rules for finding and changing
// sections and keys. Every line keeps its own text and line end, so an edit changes only the
// lines it must.
class ProfileDocument {
public:
    explicit ProfileDocument(std::string_view text);

    std::string Text() const;
    std::string LineEnd() const { return m_lineEnd; }

    // The trimmed value of the first key of that name in the first section of that name;
    // false when there is none.
    bool Find(std::string_view section, std::string_view key, std::string& value) const;
    std::vector<std::string> SectionNames() const;
    std::vector<std::string> KeyNames(std::string_view section) const;

    void SetValue(std::string_view section, std::string_view key, std::string_view value);
    void DeleteKey(std::string_view section, std::string_view key);
    void DeleteSection(std::string_view section);
    // Drops the keys of every section of that name, then adds the given ones to the first.
    void ReplaceSection(std::string_view section,
                        const std::vector<std::pair<std::string, std::string>>& entries);

private:
    enum class Kind { Blank, Comment, Section, Key, Other };
    struct Line {
        std::string text;
        std::string end;  // "\n", "\r\n", "\r" or "" for a last line without one
        Kind kind = Kind::Blank;
        std::string name;   // section or key name, trimmed
        std::string value;  // key value, trimmed
    };

    static Line ParseLine(std::string text, std::string end);
    size_t FindSection(std::string_view section) const;  // npos when missing
    size_t SectionEnd(size_t header) const;               // first line after the section
    size_t AppendSection(std::string_view section);
    void InsertLine(size_t position, std::string text);

    std::vector<Line> m_lines;
    std::string m_lineEnd = "\n";
};

}  // namespace platform
