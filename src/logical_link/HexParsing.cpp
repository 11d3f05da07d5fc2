#include "logical_link/HexParsing.h"

#include <cctype>

namespace {

int DigitValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool IsSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// strtoul in base 16 on a 32-bit long platform: leading blanks, a sign, an optional "0x", and a
// magnitude that saturates at 0xFFFFFFFF. `pos` ends behind the number, or where it began when
// there was none.
uint32_t ReadHex(std::string_view text, size_t& pos)
{
    size_t i = pos;
    while (i < text.size() && IsSpace(text[i])) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X') && i + 2 < text.size() &&
        DigitValue(text[i + 2]) >= 0)
        i += 2;
    const size_t digits = i;
    uint64_t value = 0;
    bool overflow = false;
    for (int d; i < text.size() && (d = DigitValue(text[i])) >= 0; ++i) {
        value = value * 16 + static_cast<uint64_t>(d);
        if (value > 0xFFFFFFFFu) overflow = true, value = 0xFFFFFFFFu;
    }
    if (i == digits) return 0;  // no number: nothing consumed
    pos = i;
    if (overflow) return 0xFFFFFFFFu;
    return negative ? static_cast<uint32_t>(0u - static_cast<uint32_t>(value)) : static_cast<uint32_t>(value);
}

template <typename T, typename Accept>
void ParseHex(std::string_view text, T* out, uint32_t& count, Accept accept, bool oneMore)
{
    uint32_t stored = 0;
    size_t pos = 0;
    for (;;) {
        const uint32_t value = ReadHex(text, pos);
        if (!accept(value)) break;
        out[stored++] = static_cast<T>(value);
        if (oneMore ? stored > count : stored >= count) break;
        if (pos >= text.size() || pos + 1 >= text.size()) break;
        ++pos;  // exactly one separator, whatever it is
    }
    count = stored;
}

}  // namespace

void ParseHexBytes(std::string_view text, uint8_t* bytes, uint32_t& count)
{
    if (count == 0) return;
    ParseHex(text, bytes, count, [](uint32_t v) { return v <= 255; }, false);
}

void ParseHexLongs(std::string_view text, uint32_t* longs, uint32_t& count)
{
    ParseHex(text, longs, count, [](uint32_t) { return true; }, true);
}
