#include "description/LoLiValueFamily.h"

#include "description/ComParamValue.h"

bool LoLiValueFamily::TextToValue(void** value, const std::string& text, uint32_t dataType) const
{
    return ConvertTextToValue(ValueConverter::LoLiDialog, value, text, dataType, 255, 0);
}

bool LoLiValueFamily::CopyValue(void** dest, const void* source, uint32_t dataType) const
{
    return CopyValueAs(ValueConverter::LoLiDialog, dest, source, dataType, 0);
}
