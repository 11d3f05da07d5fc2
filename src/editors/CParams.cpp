#include "editors/CParams.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "editors/KdExceptionBox.h"
#include "platform/ProfileFile.h"

namespace {

constexpr size_t kFileArrayLimit = 20480;
constexpr size_t kEditArrayLimit = 1024;

// Read buffer lengths of a value in the file, by type.
uint32_t ReadSize(uint32_t type)
{
    switch (type) {
    case KDT_PAR_TYPE_U8_ARRAY: return 2570;
    case KDT_PAR_TYPE_U32_ARRAY: return 5642;
    case KDT_PAR_TYPE_TCHAR: return 256;
    default: return 32;
    }
}

std::string Format(const char* format, uint32_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::vector<uint32_t> ReadArray(KdParamSet& set, const char* name, uint32_t type)
{
    const uint32_t count = set.GetArraySize(name);
    std::vector<uint32_t> values(count);
    if (type == KDT_PAR_TYPE_U32_ARRAY) {
        if (count) set.GetU32Array(count, values.data(), name);
        return values;
    }
    std::vector<uint8_t> bytes(count);
    if (count) set.GetU8Array(count, bytes.data(), name);
    for (uint32_t i = 0; i < count; ++i) values[i] = bytes[i];
    return values;
}

}  // namespace

const char* CParams::TypeName(uint32_t type)
{
    switch (type) {
    case KDT_PAR_TYPE_U32: return "KDT_PAR_TYPE_U32";
    case KDT_PAR_TYPE_S32: return "KDT_PAR_TYPE_S32";
    case KDT_PAR_TYPE_U8_ARRAY: return "KDT_PAR_TYPE_U8_ARRAY";
    case KDT_PAR_TYPE_U32_ARRAY: return "KDT_PAR_TYPE_U32_ARRAY";
    case KDT_PAR_TYPE_TCHAR: return "KDT_PAR_TYPE_TCHAR";
    default: return nullptr;
    }
}

std::string CParams::JoinHex(const std::vector<uint32_t>& values)
{
    std::string text;
    for (uint32_t value : values) text += Format("0x%x,", value);
    if (!text.empty()) text.pop_back();
    return text;
}

std::vector<uint32_t> CParams::ParseArray(const char* text, size_t limit, bool byteValues)
{
    std::vector<uint32_t> values;
    for (const char* p = text; *p != '\0';) {
        if (byteValues && values.size() >= limit) break;
        char* end = nullptr;
        const unsigned long value = std::strtoul(p, &end, 16);
        if (byteValues && value > 255) break;
        values.push_back(static_cast<uint32_t>(value));
        if (values.size() > limit) break;
        if (*end == '\0' || end[1] == '\0') break;
        p = end + 1;
    }
    return values;
}

bool CParams::Render(KdParamSet& set, const char* name, bool hex, std::string& text)
{
    const uint32_t type = set.GetType(name);
    switch (type) {
    case KDT_PAR_TYPE_U32: text = Format(hex ? "0x%x" : "%u", set.GetU32(name)); return true;
    case KDT_PAR_TYPE_S32: text = Format(hex ? "0x%x" : "%d", static_cast<uint32_t>(set.GetS32(name))); return true;
    case KDT_PAR_TYPE_U8_ARRAY:
    case KDT_PAR_TYPE_U32_ARRAY: text = JoinHex(ReadArray(set, name, type)); return true;
    case KDT_PAR_TYPE_TCHAR: {
        const char* value = set.GetTextValue(name);
        text = value ? value : "";
        return true;
    }
    default: return false;
    }
}

void CParams::Save(KdParamSet& set, const std::string& path)
{
    const uint32_t count = set.GetCount();
    for (uint32_t i = 0; i < count; ++i) {
        try {
            const char* name = set.GetName(i);
            const uint32_t type = set.GetType(name);
            const char* section = TypeName(type);
            std::string text;
            // Files keep numbers in hex whatever the editor shows.
            if (!section || !Render(set, name, true, text)) continue;
            platform::ProfileFile::WriteString(path, section, name, text.c_str());
        } catch (const KdException& e) {
            ShowKdException(m_ui, e);
        }
    }
}

void CParams::LoadOne(KdParamSet& set, const std::string& path, const char* name, uint32_t type)
{
    const char* section = TypeName(type);
    if (!section) return;
    const std::string text = platform::ProfileFile::GetString(path, section, name, "", ReadSize(type));
    if (text.empty()) return;
    switch (type) {
    case KDT_PAR_TYPE_U32: set.SetU32(static_cast<uint32_t>(std::strtol(text.c_str(), nullptr, 0)), name); break;
    case KDT_PAR_TYPE_S32: set.SetS32(static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 0)), name); break;
    case KDT_PAR_TYPE_U8_ARRAY:
    case KDT_PAR_TYPE_U32_ARRAY:
        SetArray(set, name, type, ParseArray(text.c_str(), kFileArrayLimit, type == KDT_PAR_TYPE_U8_ARRAY));
        break;
    case KDT_PAR_TYPE_TCHAR: set.SetTextValue(text.c_str(), name); break;
    default: break;
    }
}

void CParams::Load(KdParamSet& set, const std::string& path)
{
    const uint32_t count = set.GetCount();
    for (uint32_t i = 0; i < count; ++i) {
        try {
            const char* name = set.GetName(i);
            LoadOne(set, path, name, set.GetType(name));
        } catch (const KdException& e) {
            ShowKdException(m_ui, e);
        }
    }
}

void CParams::SetArray(KdParamSet& set, const char* name, uint32_t type, const std::vector<uint32_t>& values)
{
    const uint32_t count = static_cast<uint32_t>(values.size());
    if (type == KDT_PAR_TYPE_U32_ARRAY) {
        set.SetU32Array(count, values.data(), name);
        return;
    }
    std::vector<uint8_t> bytes(values.begin(), values.end());
    set.SetU8Array(count, bytes.data(), name);
}

int CParams::GetText(KdParamSet& set, const char* name, char* buffer, size_t size, bool hex)
{
    std::string text;
    try {
        if (!Render(set, name, hex, text)) return -1;
    } catch (const KdException& e) {
        ShowKdException(m_ui, e);
        return -1;
    }
    if (!buffer) return static_cast<int>(text.size()) + 1;
    if (size == 0) return 0;
    const size_t copied = std::min(text.size(), size - 1);
    std::memcpy(buffer, text.data(), copied);
    buffer[copied] = '\0';
    return static_cast<int>(copied);
}

void CParams::SetText(KdParamSet& set, const char* name, const char* text)
{
    const std::string value = text ? text : "";
    uint32_t count = 0;
    try {
        count = set.GetCount();
    } catch (const KdException& e) {
        ShowKdException(m_ui, e);
    }
    // Set once for every parameter the set has: the same value each time, as it always was.
    for (uint32_t i = 0; i < count; ++i) {
        try {
            const uint32_t type = set.GetType(name);
            if (type == KDT_PAR_TYPE_U32 && !value.empty())
                set.SetU32(static_cast<uint32_t>(std::strtoul(value.c_str(), nullptr, 0)), name);
            else if (type == KDT_PAR_TYPE_S32 && !value.empty())
                set.SetS32(static_cast<int32_t>(std::strtol(value.c_str(), nullptr, 0)), name);
            else if (type == KDT_PAR_TYPE_U8_ARRAY || type == KDT_PAR_TYPE_U32_ARRAY)
                SetArray(set, name, type, ParseArray(value.c_str(), kEditArrayLimit, type == KDT_PAR_TYPE_U8_ARRAY));
            else if (type == KDT_PAR_TYPE_TCHAR)
                set.SetTextValue(value.c_str(), name);
        } catch (const KdException& e) {
            ShowKdException(m_ui, e);
        }
    }
}
