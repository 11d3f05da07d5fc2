#include "platform/ProfileFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/AtomicFileUpdate.h"
#include "platform/ProfileDocument.h"

namespace platform {

namespace {

// Integer reads go through a value buffer of this size, as the platform's own does.
constexpr uint32_t kIntegerBufferSize = 30;

// Writes are atomic renames, so a read needs no lock: it sees the old file or the new one.
std::string ReadFile(const std::string& path)
{
    std::string content;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return content;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        content.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
    return content;
}

std::string StripQuotes(const std::string& value)
{
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

std::string TrimTrailingSpaces(const char* text)
{
    std::string s = text ? text : "";
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
}

uint32_t CopyValue(const std::string& value, char* buffer, uint32_t size)
{
    const uint32_t count = static_cast<uint32_t>(std::min<size_t>(value.size(), size - 1));
    std::memcpy(buffer, value.data(), count);
    buffer[count] = '\0';
    return count;
}

// Names each end with a NUL and the list with one more; a list that does not fit is cut so
// that it still ends with two NULs.
uint32_t CopyList(const std::vector<std::string>& names, char* buffer, uint32_t size)
{
    std::string list;
    for (const std::string& name : names)
        list.append(name).push_back('\0');
    if (list.size() + 1 <= size) {
        std::memcpy(buffer, list.data(), list.size());
        buffer[list.size()] = '\0';
        if (list.empty() && size > 1)
            buffer[1] = '\0';
        return static_cast<uint32_t>(list.size());
    }
    if (size < 2) {
        buffer[0] = '\0';
        return 0;
    }
    std::memcpy(buffer, list.data(), size - 2);
    buffer[size - 2] = '\0';
    buffer[size - 1] = '\0';
    return size - 2;
}

uint32_t ParseInteger(const char* text)
{
    const char* p = text;
    while (*p == ' ' || *p == '\t')
        ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;
    uint32_t value = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        value = value * 10u + static_cast<uint32_t>(*p - '0');
    return negative ? 0u - value : value;
}

template <class Edit>
bool Update(const std::string& path, Edit edit)
{
    if (path.empty())
        return false;
    AtomicFileUpdate update(path);
    if (!update.IsLocked())
        return false;
    ProfileDocument document(update.Content());
    edit(document);
    const std::string text = document.Text();
    if (text == update.Content() && !update.Created())
        return true;
    if (text.empty() && update.Created())
        return true;  // nothing to write; the empty placeholder goes away
    return update.Commit(text);
}

}  // namespace

uint32_t ProfileFile::GetString(const std::string& path, const char* section, const char* key,
                                const char* defaultValue, char* buffer, uint32_t size)
{
    if (!buffer || size == 0)
        return 0;
    const ProfileDocument document(ReadFile(path));
    if (!section)
        return CopyList(document.SectionNames(), buffer, size);
    if (!key)
        return CopyList(document.KeyNames(section), buffer, size);
    std::string value;
    if (document.Find(section, key, value))
        return CopyValue(StripQuotes(value), buffer, size);
    return CopyValue(TrimTrailingSpaces(defaultValue), buffer, size);
}

std::string ProfileFile::GetString(const std::string& path, const std::string& section,
                                   const std::string& key, const std::string& defaultValue,
                                   uint32_t bufferSize)
{
    if (bufferSize == 0)
        return {};
    std::string buffer(bufferSize, '\0');
    const uint32_t count =
        GetString(path, section.c_str(), key.c_str(), defaultValue.c_str(), buffer.data(), bufferSize);
    buffer.resize(count);
    return buffer;
}

uint32_t ProfileFile::GetInt(const std::string& path, const char* section, const char* key, int defaultValue)
{
    if (!section || !key)
        return static_cast<uint32_t>(defaultValue);
    char buffer[kIntegerBufferSize];
    if (GetString(path, section, key, "", buffer, sizeof buffer) == 0)
        return static_cast<uint32_t>(defaultValue);
    return ParseInteger(buffer);
}

bool ProfileFile::WriteString(const std::string& path, const char* section, const char* key, const char* value)
{
    if (!section)
        return !key && !value;  // the all-null call only flushes a cache, which we do not keep
    return Update(path, [&](ProfileDocument& document) {
        if (!key)
            document.DeleteSection(section);
        else if (!value)
            document.DeleteKey(section, key);
        else
            document.SetValue(section, key, value);
    });
}

bool ProfileFile::WriteStrings(const std::string& path, const char* section,
                               const std::vector<std::pair<std::string, std::string>>& keys)
{
    if (!section || keys.empty())
        return section != nullptr;
    return Update(path, [&](ProfileDocument& document) {
        for (const auto& [key, value] : keys)
            document.SetValue(section, key, value);
    });
}

bool ProfileFile::WriteSection(const std::string& path, const char* section, const std::vector<std::string>& lines)
{
    if (!section)
        return false;
    std::vector<std::pair<std::string, std::string>> entries;
    for (const std::string& line : lines)
        if (const auto equals = line.find('='); equals != std::string::npos)
            entries.emplace_back(line.substr(0, equals), line.substr(equals + 1));
    return Update(path, [&](ProfileDocument& document) { document.ReplaceSection(section, entries); });
}

bool ProfileFile::Empty(const std::string& path)
{
    return Update(path, [](ProfileDocument& document) { document = ProfileDocument(std::string()); });
}

std::vector<std::string> ProfileFile::SectionNames(const std::string& path)
{
    return ProfileDocument(ReadFile(path)).SectionNames();
}

std::vector<std::string> ProfileFile::KeyNames(const std::string& path, const std::string& section)
{
    return ProfileDocument(ReadFile(path)).KeyNames(section);
}

}  // namespace platform
