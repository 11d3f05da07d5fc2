#pragma once

#include "description/ComParamValueFamily.h"

// Routines of LoLiDialogKeldaPDUAPI. Its field lengths are set when the link is built, from the
// defaults of the bus type or protocol.
class KeldaValueFamily final : public ComParamValueFamily {
public:
    uint32_t m_byteFieldMax = 255; // ParamMaxLen of the next byte field parsed
    uint32_t m_longFieldMax = 255; // ParamMaxLen of the next long field parsed; bounds long copies

    bool TextToValue(void** value, const std::string& text, uint32_t dataType) const override;
    bool CopyValue(void** dest, const void* source, uint32_t dataType) const override;
    // Same content; a null second value always differs.
    bool ValueEquals(const void* a, const void* b, uint32_t dataType) const;
};
