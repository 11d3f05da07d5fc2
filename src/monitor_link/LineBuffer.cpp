#include "monitor_link/LineBuffer.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {
constexpr char kHexDigits[] = "0123456789abcdef";
}

void LineBuffer::Format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(m_text + m_used, SIZE - m_used, format, args);
    va_end(args);
    if (written > 0)
        m_used = std::min(m_used + static_cast<size_t>(written), SIZE - 1);
}

void LineBuffer::Add(const char* text)
{
    const size_t length = std::min(std::strlen(text), Room());
    std::memcpy(m_text + m_used, text, length);
    m_used += length;
    m_text[m_used] = '\0';
}

void LineBuffer::Add(char c)
{
    if (Room() == 0)
        return;
    m_text[m_used++] = c;
    m_text[m_used] = '\0';
}

// Digits written backwards into the end of `digits`; padded with blanks to `width`.
void LineBuffer::AddDigits(const char* digits, size_t count, int width)
{
    for (int pad = width - static_cast<int>(count); pad > 0; --pad)
        Add(' ');
    const size_t length = std::min(count, Room());
    std::memcpy(m_text + m_used, digits, length);
    m_used += length;
    m_text[m_used] = '\0';
}

void LineBuffer::Decimal(int64_t value)
{
    char digits[24];
    char* p = digits + sizeof digits;
    uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    do {
        *--p = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        *--p = '-';
    AddDigits(p, static_cast<size_t>(digits + sizeof digits - p), 0);
}

void LineBuffer::Hex(uint32_t value, int width, bool blankZero)
{
    char digits[8];
    char* p = digits + sizeof digits;
    for (; value != 0; value >>= 4)
        *--p = kHexDigits[value & 0xf];
    if (p == digits + sizeof digits && !blankZero)
        *--p = '0';
    AddDigits(p, static_cast<size_t>(digits + sizeof digits - p), width);
}

void LineBuffer::Long(long value, int width)
{
    char digits[24];
    char* p = digits + sizeof digits;
    uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    for (; magnitude != 0; magnitude /= 10)
        *--p = static_cast<char>('0' + magnitude % 10);
    if (value < 0)
        *--p = '-';
    AddDigits(p, static_cast<size_t>(digits + sizeof digits - p), width);
}

// Exact: the double nearest k / 1000 lies far closer to it than the half of 0.001 that
// printf's rounding to three places would need to go astray.
void LineBuffer::Milliseconds(uint32_t microseconds, char point)
{
    Decimal(microseconds / 1000);
    const uint32_t fraction = microseconds % 1000;
    Add(point);
    Add(static_cast<char>('0' + fraction / 100));
    Add(static_cast<char>('0' + fraction / 10 % 10));
    Add(static_cast<char>('0' + fraction % 10));
}

void LineBuffer::HexBytes(const uint8_t* bytes, uint32_t count)
{
    if (count == 0)
        return;
    if (Room() < 3 * size_t{count} - 1) {  // seldom: the line is nearly full
        for (uint32_t i = 0; i < count; ++i) {
            if (i > 0)
                Add(' ');
            Add(kHexDigits[bytes[i] >> 4]);
            Add(kHexDigits[bytes[i] & 0xf]);
        }
        return;
    }
    char* out = m_text + m_used;
    for (uint32_t i = 0; i < count; ++i) {
        if (i > 0)
            *out++ = ' ';
        *out++ = kHexDigits[bytes[i] >> 4];
        *out++ = kHexDigits[bytes[i] & 0xf];
    }
    *out = '\0';
    m_used = static_cast<size_t>(out - m_text);
}

void LineBuffer::AsciiBytes(const uint8_t* bytes, uint32_t count, uint32_t width)
{
    for (uint32_t i = 0; i < std::max(count, width); ++i)
        Add(i >= count ? ' ' : bytes[i] >= 0x20 && bytes[i] <= 0x7e ? static_cast<char>(bytes[i]) : '.');
}

void LineBuffer::DropLastBlank()
{
    if (m_used > 0 && m_text[m_used - 1] == ' ')
        m_text[--m_used] = '\0';
}
