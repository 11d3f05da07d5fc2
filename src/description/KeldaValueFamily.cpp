#include "description/KeldaValueFamily.h"

#include "description/ComParamValue.h"

bool KeldaValueFamily::TextToValue(void** value, const std::string& text, uint32_t dataType) const
{
    return ConvertTextToValue(ValueConverter::KeldaDialog, value, text, dataType, m_byteFieldMax, m_longFieldMax);
}

bool KeldaValueFamily::CopyValue(void** dest, const void* source, uint32_t dataType) const
{
    return CopyValueAs(ValueConverter::KeldaDialog, dest, source, dataType, m_longFieldMax);
}

bool KeldaValueFamily::ValueEquals(const void* a, const void* b, uint32_t dataType) const
{
    return ::ValueEquals(a, b, dataType);
}
