#pragma once

#include <cstdint>
#include <string>

// One ComParam of the description tables or of a link's copy. The record owns both value
// blocks (layouts of the D-PDU API parameter data, chosen by dataType) and frees them when it
// goes. It moves but does not copy: a copy takes its own blocks through CopyValue.
struct ComParamInfo {
    uint32_t id = 0;
    std::string name;
    uint32_t dataType = 0;
    uint32_t comParamClass = 0;
    void* value = nullptr;        // null: no value
    void* appliedValue = nullptr; // the value the API holds; null in the main dialog's table

    ComParamInfo() = default;
    ~ComParamInfo();
    ComParamInfo(ComParamInfo&& other) noexcept;
    ComParamInfo& operator=(ComParamInfo&& other) noexcept;
    ComParamInfo(const ComParamInfo&) = delete;
    ComParamInfo& operator=(const ComParamInfo&) = delete;

    // The same id, name, type and class; both value pointers null.
    ComParamInfo CloneHeader() const;
};
