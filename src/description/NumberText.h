#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The C library's number conversions as a 32-bit long platform has them, so that a file reads
// the same on every build. Base 0 is the automatic base: "0x" hexadecimal, leading "0" octal,
// else decimal. Text that is no number gives 0.

// strtoul: a sign is applied modulo 2^32; a magnitude beyond 32 bits gives 0xFFFFFFFF.
uint32_t ParseULong32(std::string_view text, int base = 0);

// strtol: saturates at INT32_MAX / INT32_MIN.
int32_t ParseLong32(std::string_view text, int base = 0);

// atoi: decimal, saturating as strtol does.
inline int32_t ParseInt32(std::string_view text) { return ParseLong32(text, 10); }

// Blanks that separate tokens: space, tab and line ends (defaults in a description file may be
// spread over several lines).
bool IsBlank(char c);

// Tokens between runs of the separator; never empty.
std::vector<std::string> SplitTokens(std::string_view text, char separator);
std::vector<std::string> SplitBlanks(std::string_view text);
