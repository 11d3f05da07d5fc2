#include "description/NumberText.h"

#include <limits>

namespace {

int DigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z')
        return c - 'A' + 10;
    return 99;
}

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

struct Magnitude {
    bool negative = false;
    bool overflow = false; // beyond 64 bits
    uint64_t value = 0;
};

// Shared front end of strtol/strtoul: blanks, sign, base prefix, digits.
Magnitude ReadMagnitude(std::string_view text, int base)
{
    Magnitude m;
    size_t i = 0;
    while (i < text.size() && IsSpace(text[i]))
        ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        m.negative = text[i] == '-';
        ++i;
    }
    auto hexPrefix = [&] {
        return i + 2 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')
            && DigitValue(text[i + 2]) < 16;
    };
    if (base == 0) {
        if (hexPrefix()) {
            base = 16;
            i += 2;
        } else if (i < text.size() && text[i] == '0') {
            base = 8;
        } else {
            base = 10;
        }
    } else if (base == 16 && hexPrefix()) {
        i += 2;
    }
    for (; i < text.size(); ++i) {
        const int d = DigitValue(text[i]);
        if (d >= base)
            break;
        if (m.value > (std::numeric_limits<uint64_t>::max() - d) / base)
            m.overflow = true;
        else
            m.value = m.value * base + d;
    }
    return m;
}

} // namespace

uint32_t ParseULong32(std::string_view text, int base)
{
    const Magnitude m = ReadMagnitude(text, base);
    if (m.overflow || m.value > 0xFFFFFFFFull)
        return 0xFFFFFFFFu;
    const auto v = static_cast<uint32_t>(m.value);
    return m.negative ? 0u - v : v;
}

int32_t ParseLong32(std::string_view text, int base)
{
    const Magnitude m = ReadMagnitude(text, base);
    if (m.negative) {
        if (m.overflow || m.value > 0x80000000ull)
            return std::numeric_limits<int32_t>::min();
        return static_cast<int32_t>(0 - static_cast<int64_t>(m.value));
    }
    if (m.overflow || m.value > 0x7FFFFFFFull)
        return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(m.value);
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::vector<std::string> SplitTokens(std::string_view text, char separator)
{
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && text[i] == separator)
            ++i;
        const size_t start = i;
        while (i < text.size() && text[i] != separator)
            ++i;
        if (i > start)
            tokens.emplace_back(text.substr(start, i - start));
    }
    return tokens;
}

std::vector<std::string> SplitBlanks(std::string_view text)
{
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && IsBlank(text[i]))
            ++i;
        const size_t start = i;
        while (i < text.size() && !IsBlank(text[i]))
            ++i;
        if (i > start)
            tokens.emplace_back(text.substr(start, i - start));
    }
    return tokens;
}
