#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// Settings files of bracketed sections and key=value lines, read and written key by key with the
// semantics of the Win32 private-profile functions, so that files move freely between benches.
// Every call reads the file afresh; every write replaces the file atomically under a lock.
class ProfileFile {
public:
    // section == nullptr lists the section names, key == nullptr lists the section's keys: each
    // name NUL-terminated, one more NUL at the end. Returns the characters copied without the
    // final NUL (size - 1 for a cut value, size - 2 for a cut list). buffer may be null only
    // when size is 0.
    static uint32_t GetString(const std::string& path, const char* section, const char* key,
                              const char* defaultValue, char* buffer, uint32_t size);
    // The same value read through a buffer of bufferSize characters.
    static std::string GetString(const std::string& path, const std::string& section,
                                 const std::string& key, const std::string& defaultValue,
                                 uint32_t bufferSize = 4096);
    // Decimal with optional sign, 32-bit wrap-around, stops at the first other character;
    // a missing or empty value gives the default.
    static uint32_t GetInt(const std::string& path, const char* section, const char* key,
                           int defaultValue);
    // key == nullptr deletes the section, value == nullptr deletes the key.
    static bool WriteString(const std::string& path, const char* section, const char* key,
                            const char* value);
    // Many keys of one section in one update: the file ends as a WriteString a key would leave it.
    static bool WriteStrings(const std::string& path, const char* section,
                             const std::vector<std::pair<std::string, std::string>>& keys);
    // Replaces the section's keys by the given "key=value" lines (lines without '=' are skipped).
    static bool WriteSection(const std::string& path, const char* section,
                             const std::vector<std::string>& lines);
    // The file created anew, without any section.
    static bool Empty(const std::string& path);
    static std::vector<std::string> SectionNames(const std::string& path);
    static std::vector<std::string> KeyNames(const std::string& path, const std::string& section);
};

}  // namespace platform
