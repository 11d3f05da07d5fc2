// The line's own writers against printf, whose texts they stand in for.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "monitor_link/LineBuffer.h"

namespace {

template <typename... Args>
std::string Printf(const char* format, Args... args)
{
    char text[128];
    std::snprintf(text, sizeof text, format, args...);
    return text;
}

TEST(LineBuffer, WritersGiveWhatPrintfGives)
{
    const uint32_t values[] = {0, 1, 9, 10, 999, 1000, 1001, 0x7e8, 123456789, 0x7fffffff, 0x80000000, 0xfffffffb, 0xffffffff};
    for (const uint32_t v : values) {
        LineBuffer hex, blankHex, decimal, longValue, millis;
        hex.Hex(v);
        blankHex.Hex(v, 8, true);
        decimal.Decimal(static_cast<int32_t>(v));
        longValue.Long(static_cast<int32_t>(v), 10);
        millis.Milliseconds(v, '.');
        EXPECT_EQ(hex.Text(), Printf("%x", v));
        EXPECT_EQ(blankHex.Text(), Printf("%8.x", v));
        EXPECT_EQ(decimal.Text(), Printf("%d", static_cast<int32_t>(v)));
        EXPECT_EQ(longValue.Text(), Printf("%10.ld", static_cast<long>(static_cast<int32_t>(v))));
        EXPECT_EQ(millis.Text(), Printf("%.3f", v / 1000.0));
    }
    // Rounding to three places never goes astray, wherever the quotient falls.
    for (uint64_t v = 0; v <= 0xffffffff; v += v < 100000 ? 1 : 999983) {
        LineBuffer millis;
        millis.Milliseconds(static_cast<uint32_t>(v), '.');
        ASSERT_EQ(millis.Text(), Printf("%.3f", static_cast<uint32_t>(v) / 1000.0)) << v;
    }
}

TEST(LineBuffer, CutsWhatDoesNotFitAndStaysTerminated)
{
    LineBuffer line;
    const std::string block(1000, 'a');
    for (int i = 0; i < 5; ++i) line.Add(block.c_str());
    line.Decimal(12345);
    line.Format("%s", block.c_str());
    line.Add('z');
    EXPECT_EQ(line.Used(), LineBuffer::SIZE - 1);
    EXPECT_EQ(std::string(line.Text()).size(), LineBuffer::SIZE - 1);
    EXPECT_EQ(line.Room(), 0u);
}

}  // namespace
