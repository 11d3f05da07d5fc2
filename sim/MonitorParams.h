// The parameters of a monitor link, by name, as its KdParamSet base shows them. Unknown names
// and values of another type are refused with a KdException.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "pdu/KdMonitorService.h"

namespace pdusim {

class MonitorParams {
public:
    // The type the set holds but no host knows how to show.
    static constexpr uint32_t kOpaqueType = 0x1ff;

    MonitorParams();

    uint32_t GetArraySize(const char* name);
    uint32_t GetCount();
    uint32_t GetType(const char* name);
    const char* GetName(uint32_t index);
    int32_t GetS32(const char* name);
    void GetU32Array(uint32_t count, uint32_t* buffer, const char* name);
    void GetU8Array(uint32_t count, uint8_t* buffer, const char* name);
    uint32_t GetU32(const char* name);
    void SetS32(int32_t value, const char* name);
    void SetU8Array(uint32_t count, const uint8_t* buffer, const char* name);
    void SetU32(uint32_t value, const char* name);
    void SetU32Array(uint32_t count, const uint32_t* buffer, const char* name);
    const char* GetTextValue(const char* name);
    void SetTextValue(const char* text, const char* name);

    // For the library's own use: no fault is injected here.
    uint32_t U32(const char* name);
    std::string Text(const char* name);
    void Store(const char* name, uint32_t value);

private:
    struct Param {
        std::string name;
        uint32_t type;
        uint32_t u32 = 0;  // also the S32, as its bits
        std::vector<uint32_t> elements;  // the arrays; U8 ones hold bytes
        std::string text;
    };
    Param& Find(const char* name, uint32_t type, const char* method);

    std::mutex m_lock;
    std::vector<Param> m_params;
};

// The KdParamSet slots of a monitor object, served by its MonitorParams.
template <typename Base>
class ParamSetOf : public Base {
public:
    uint32_t GetArraySize(const char* name) override { return m_params.GetArraySize(name); }
    uint32_t GetCount() override { return m_params.GetCount(); }
    uint32_t GetType(const char* name) override { return m_params.GetType(name); }
    const char* GetName(uint32_t index) override { return m_params.GetName(index); }
    int32_t GetS32(const char* name) override { return m_params.GetS32(name); }
    void GetU32Array(uint32_t count, uint32_t* buffer, const char* name) override { m_params.GetU32Array(count, buffer, name); }
    void GetU8Array(uint32_t count, uint8_t* buffer, const char* name) override { m_params.GetU8Array(count, buffer, name); }
    uint32_t GetU32(const char* name) override { return m_params.GetU32(name); }
    void SetS32(int32_t value, const char* name) override { m_params.SetS32(value, name); }
    void SetU8Array(uint32_t count, const uint8_t* buffer, const char* name) override { m_params.SetU8Array(count, buffer, name); }
    void SetU32(uint32_t value, const char* name) override { m_params.SetU32(value, name); }
    void SetU32Array(uint32_t count, const uint32_t* buffer, const char* name) override { m_params.SetU32Array(count, buffer, name); }
    const char* GetTextValue(const char* name) override { return m_params.GetTextValue(name); }
    void SetTextValue(const char* text, const char* name) override { m_params.SetTextValue(text, name); }

protected:
    ~ParamSetOf() = default;
    MonitorParams m_params;
};

}  // namespace pdusim
