#include "description/ComParamInfo.h"

#include <utility>

#include "description/ComParamValue.h"

ComParamInfo::~ComParamInfo()
{
    FreeValue(&value, dataType);
    FreeValue(&appliedValue, dataType);
}

ComParamInfo::ComParamInfo(ComParamInfo&& other) noexcept
    : id(other.id), name(std::move(other.name)), dataType(other.dataType), comParamClass(other.comParamClass),
      value(std::exchange(other.value, nullptr)), appliedValue(std::exchange(other.appliedValue, nullptr))
{
}

ComParamInfo& ComParamInfo::operator=(ComParamInfo&& other) noexcept
{
    if (this != &other) {
        FreeValue(&value, dataType);
        FreeValue(&appliedValue, dataType);
        id = other.id;
        name = std::move(other.name);
        dataType = other.dataType;
        comParamClass = other.comParamClass;
        value = std::exchange(other.value, nullptr);
        appliedValue = std::exchange(other.appliedValue, nullptr);
    }
    return *this;
}

ComParamInfo ComParamInfo::CloneHeader() const
{
    ComParamInfo copy;
    copy.id = id;
    copy.name = name;
    copy.dataType = dataType;
    copy.comParamClass = comParamClass;
    return copy;
}
