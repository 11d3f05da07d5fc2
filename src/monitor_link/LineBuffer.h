// A monitor line in a fixed buffer. What doesn't fit is cut, never written past. The frequent
// pieces have writers of their own that give what printf would, at a fraction of its cost: the
// decoder has to keep up with several saturated buses.
#pragma once

#include <cstddef>
#include <cstdint>

class LineBuffer {
public:
    static constexpr size_t SIZE = 4096;

    LineBuffer() { m_text[0] = '\0'; }
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

    char* Text() { return m_text; }
    const char* Text() const { return m_text; }
    size_t Used() const { return m_used; }
    size_t Room() const { return SIZE - 1 - m_used; }

    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void Add(const char* text);
    void Add(char c);
    // "%d", "%u"
    void Decimal(int64_t value);
    // "%x"; with `blankZero` "%<width>.x", whose precision 0 shows a 0 as blanks alone.
    void Hex(uint32_t value, int width = 0, bool blankZero = false);
    // "%<width>.ld": precision 0 as well.
    void Long(long value, int width);
    // "%.3f" of microseconds / 1000.0, with `point` as the decimal mark.
    void Milliseconds(uint32_t microseconds, char point);
    // "xx xx xx": two lower-case digits a byte, one blank between.
    void HexBytes(const uint8_t* bytes, uint32_t count);
    // `width` places from the left, a byte from 0x20 to 0x7e as itself, any other as ".",
    // blanks behind.
    void AsciiBytes(const uint8_t* bytes, uint32_t count, uint32_t width);
    void DropLastBlank();

private:
    void AddDigits(const char* digits, size_t count, int width);

    char m_text[SIZE];
    size_t m_used = 0;
};
