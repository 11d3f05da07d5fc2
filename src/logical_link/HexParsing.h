// The hexadecimal readers of the link, filter and monitor dialogs: numbers of base 16, one
// character of any kind between two of them.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Stops at a number above 255, when `count` bytes are stored, at the end of the text, or when the
// separator is the last character. `count` is the capacity on entry and the number stored on return.
void ParseHexBytes(std::string_view text, uint8_t* bytes, uint32_t& count);

// The same for 32-bit values without the limit of 255. It stops only once the number stored
// exceeds `count`, so it may store count + 1 values: `longs` must hold that many.
void ParseHexLongs(std::string_view text, uint32_t* longs, uint32_t& count);
