#include "MonitorParams.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "MonitorItem.h"

namespace pdusim {

namespace {

// A bench can't set a link's traffic before its window opens: the environment chooses for all.
std::string DefaultTraffic() {
    const char* traffic = std::getenv("PDUSIM_MONITOR_TRAFFIC");
    return traffic != nullptr && *traffic != '\0' ? traffic : "bus";
}

// A bench at full traffic sets the rate for every new link the same way.
uint32_t DefaultTrafficRate() {
    const char* rate = std::getenv("PDUSIM_MONITOR_RATE");
    if (rate == nullptr || *rate == '\0') return 200;
    char* end = nullptr;
    const unsigned long value = std::strtoul(rate, &end, 10);
    return *end == '\0' && value <= 1000000 ? static_cast<uint32_t>(value) : 200;
}

}  // namespace

MonitorParams::MonitorParams() {
    m_params = {
        {"Baudrate", KDT_PAR_TYPE_U32, 500000, {}, {}},
        {"CANFDBaudrate", KDT_PAR_TYPE_U32, 2000000, {}, {}},
        {"SamplePointOffset", KDT_PAR_TYPE_S32, static_cast<uint32_t>(-2), {}, {}},
        {"AcceptanceMask", KDT_PAR_TYPE_U8_ARRAY, 0, {0xff, 0xff, 0x07, 0x00}, {}},
        {"ListenIds", KDT_PAR_TYPE_U32_ARRAY, 0, {0x7e0, 0x7e8, 0x18daf110}, {}},
        {"Traffic", KDT_PAR_TYPE_TCHAR, 0, {}, DefaultTraffic()},
        {"TrafficRate", KDT_PAR_TYPE_U32, DefaultTrafficRate(), {}, {}},
        {"ItemsPerNotice", KDT_PAR_TYPE_U32, 8, {}, {}},
        {"LostItems", KDT_PAR_TYPE_U32, 0, {}, {}},
        {"GeneratedItems", KDT_PAR_TYPE_U32, 0, {}, {}},
        {"TransceiverBlob", kOpaqueType, 0, {1, 2, 3}, {}},
    };
}

MonitorParams::Param& MonitorParams::Find(const char* name, uint32_t type, const char* method) {
    ThrowIfInjected(method);
    const auto it = std::find_if(m_params.begin(), m_params.end(),
                                 [&](const Param& p) { return name != nullptr && p.name == name; });
    if (it == m_params.end()) throw KdException(0x101, "Unknown parameter", method);
    if (type != 0 && it->type != type) throw KdException(0x102, "Parameter of another type", method);
    return *it;
}

uint32_t MonitorParams::GetArraySize(const char* name) {
    std::lock_guard lock(m_lock);
    return static_cast<uint32_t>(Find(name, 0, "GetArraySize").elements.size());
}

uint32_t MonitorParams::GetCount() {
    ThrowIfInjected("GetCount");
    std::lock_guard lock(m_lock);
    return static_cast<uint32_t>(m_params.size());
}

uint32_t MonitorParams::GetType(const char* name) {
    std::lock_guard lock(m_lock);
    return Find(name, 0, "GetType").type;
}

const char* MonitorParams::GetName(uint32_t index) {
    ThrowIfInjected("GetName");
    std::lock_guard lock(m_lock);
    if (index >= m_params.size()) throw KdException(0x103, "Parameter index out of range", "GetName");
    return m_params[index].name.c_str();  // names never change
}

int32_t MonitorParams::GetS32(const char* name) {
    std::lock_guard lock(m_lock);
    return static_cast<int32_t>(Find(name, KDT_PAR_TYPE_S32, "GetS32").u32);
}

uint32_t MonitorParams::GetU32(const char* name) {
    std::lock_guard lock(m_lock);
    return Find(name, KDT_PAR_TYPE_U32, "GetU32").u32;
}

void MonitorParams::GetU32Array(uint32_t count, uint32_t* buffer, const char* name) {
    std::lock_guard lock(m_lock);
    const Param& p = Find(name, KDT_PAR_TYPE_U32_ARRAY, "GetU32Array");
    if (buffer == nullptr) return;
    std::copy_n(p.elements.begin(), std::min<size_t>(count, p.elements.size()), buffer);
}

void MonitorParams::GetU8Array(uint32_t count, uint8_t* buffer, const char* name) {
    std::lock_guard lock(m_lock);
    const Param& p = Find(name, KDT_PAR_TYPE_U8_ARRAY, "GetU8Array");
    if (buffer == nullptr) return;
    for (size_t i = 0; i < std::min<size_t>(count, p.elements.size()); ++i) buffer[i] = static_cast<uint8_t>(p.elements[i]);
}

void MonitorParams::SetS32(int32_t value, const char* name) {
    std::lock_guard lock(m_lock);
    Find(name, KDT_PAR_TYPE_S32, "SetS32").u32 = static_cast<uint32_t>(value);
}

void MonitorParams::SetU32(uint32_t value, const char* name) {
    std::lock_guard lock(m_lock);
    Find(name, KDT_PAR_TYPE_U32, "SetU32").u32 = value;
}

void MonitorParams::SetU8Array(uint32_t count, const uint8_t* buffer, const char* name) {
    std::lock_guard lock(m_lock);
    Param& p = Find(name, KDT_PAR_TYPE_U8_ARRAY, "SetU8Array");
    p.elements.assign(buffer, buffer == nullptr ? buffer : buffer + count);
}

void MonitorParams::SetU32Array(uint32_t count, const uint32_t* buffer, const char* name) {
    std::lock_guard lock(m_lock);
    Param& p = Find(name, KDT_PAR_TYPE_U32_ARRAY, "SetU32Array");
    p.elements.assign(buffer, buffer == nullptr ? buffer : buffer + count);
}

const char* MonitorParams::GetTextValue(const char* name) {
    std::lock_guard lock(m_lock);
    // Valid until the text is set again, as the library's own pointer is.
    return Find(name, KDT_PAR_TYPE_TCHAR, "GetTextValue").text.c_str();
}

void MonitorParams::SetTextValue(const char* text, const char* name) {
    std::lock_guard lock(m_lock);
    Find(name, KDT_PAR_TYPE_TCHAR, "SetTextValue").text = text != nullptr ? text : "";
}

uint32_t MonitorParams::U32(const char* name) {
    std::lock_guard lock(m_lock);
    for (const Param& p : m_params)
        if (p.name == name) return p.u32;
    return 0;
}

void MonitorParams::Store(const char* name, uint32_t value) {
    std::lock_guard lock(m_lock);
    for (Param& p : m_params)
        if (p.name == name) p.u32 = value;
}

std::string MonitorParams::Text(const char* name) {
    std::lock_guard lock(m_lock);
    for (const Param& p : m_params)
        if (p.name == name) return p.text;
    return {};
}

}  // namespace pdusim
