#include <gtest/gtest.h>

#include "description/NumberText.h"
#include "description/ParamCodeFromName.h"

TEST(NumberText, ConversionsBehaveAsOnA32BitLongPlatform)
{
    struct Case {
        const char* text;
        uint32_t asUnsigned;
        int32_t asSigned;
        int32_t asDecimal;
    };
    const Case cases[] = {
        {"0", 0, 0, 0},
        {"42", 42, 42, 42},
        {"0x10", 16, 16, 0},
        {"0X1f", 31, 31, 0},
        {"010", 8, 8, 10},
        {"09", 0, 0, 9}, // octal stops at 9
        {"  7", 7, 7, 7},
        {"+5", 5, 5, 5},
        {"-1", 0xFFFFFFFFu, -1, -1},
        {"-128", 0xFFFFFF80u, -128, -128},
        {"4294967295", 0xFFFFFFFFu, INT32_MAX, INT32_MAX},
        {"4294967296", 0xFFFFFFFFu, INT32_MAX, INT32_MAX},
        {"99999999999999999999999999", 0xFFFFFFFFu, INT32_MAX, INT32_MAX},
        {"-99999999999999999999999999", 0xFFFFFFFFu, INT32_MIN, INT32_MIN},
        {"2147483648", 0x80000000u, INT32_MAX, INT32_MAX},
        {"-2147483648", 0x80000000u, INT32_MIN, INT32_MIN},
        {"12abc", 12, 12, 12},
        {"abc", 0, 0, 0},
        {"", 0, 0, 0},
        {"0x", 0, 0, 0},
        {"0xg", 0, 0, 0},
        {"-", 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(ParseULong32(c.text), c.asUnsigned);
        EXPECT_EQ(ParseLong32(c.text), c.asSigned);
        EXPECT_EQ(ParseInt32(c.text), c.asDecimal);
    }
}

TEST(NumberText, SplittingNeverYieldsEmptyTokens)
{
    EXPECT_EQ(SplitBlanks("  1 \t2\r\n 3  "), (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_TRUE(SplitBlanks("   ").empty());
    EXPECT_EQ(SplitTokens(",,1,,2,", ','), (std::vector<std::string>{"1", "2"}));
}

TEST(ParamCodeFromName, KnowsTypesAndClassesInOneList)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"PDU_PT_UNUM8", 0x101}, {"PDU_PT_SNUM8", 0x102}, {"PDU_PT_UNUM16", 0x103}, {"PDU_PT_SNUM16", 0x104},
        {"PDU_PT_UNUM32", 0x105}, {"PDU_PT_SNUM32", 0x106}, {"PDU_PT_BYTEFIELD", 0x107},
        {"PDU_PT_STRUCTFIELD", 0x108}, {"PDU_PT_LONGFIELD", 0x109}, {"TIMING", 1}, {"INIT", 2}, {"COM", 3},
        {"ERRHDL", 4}, {"BUSTYPE", 5}, {"UNIQUE_ID", 6}, {"TESTER_PRESENT", 7}, {"", 0}, {"timing", 0},
        {"PDU_PT_FLOAT", 0}, {" TIMING", 0},
    };
    for (const auto& [name, code] : cases)
        EXPECT_EQ(ParamCodeFromName(name), code) << name;
}
