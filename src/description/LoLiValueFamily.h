#pragma once

#include "description/ComParamValueFamily.h"

// Routines of LoLiDialog: exact unsigned limits, byte fields of ParamMaxLen 255, no long fields.
class LoLiValueFamily final : public ComParamValueFamily {
public:
    bool TextToValue(void** value, const std::string& text, uint32_t dataType) const override;
    bool CopyValue(void** dest, const void* source, uint32_t dataType) const override;
};
