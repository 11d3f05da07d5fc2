// A ComParam record as the description tables make it, with its default parsed.
#pragma once

#include <string>

#include "description/ComParamInfo.h"
#include "description/ComParamValue.h"

inline ComParamInfo Definition(uint32_t id, const char* name, uint32_t type, uint32_t cls,
                               const std::string& defaultText = "")
{
    ComParamInfo d;
    d.id = id;
    d.name = name;
    d.dataType = type;
    d.comParamClass = cls;
    if (!defaultText.empty()) ParseDefaultValue(d, defaultText);
    return d;
}
