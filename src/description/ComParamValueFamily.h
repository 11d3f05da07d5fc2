#pragma once

#include <cstdint>
#include <string>

// The value routines of one kind of link dialog. The ComParam editor works through the family of
// the dialog that opened it; the URID editor always through LoLiValueFamily.
class ComParamValueFamily {
public:
    virtual ~ComParamValueFamily() = default;

    // Text into *value (a null *value gets a new block). False reports an overflow; the
    // saturated value is stored all the same.
    virtual bool TextToValue(void** value, const std::string& text, uint32_t dataType) const = 0;
    // True when *dest holds a copy of source afterwards.
    virtual bool CopyValue(void** dest, const void* source, uint32_t dataType) const = 0;
    void FreeValue(void** value, uint32_t dataType) const;
};
