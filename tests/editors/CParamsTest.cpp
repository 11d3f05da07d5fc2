#include <gtest/gtest.h>

#include "editors/CParams.h"

// The array texts of parameter files and of the editor.
TEST(CParamsTest, ArrayTextsParseAsTheFilesHaveThem)
{
    struct Case {
        const char* text;
        size_t limit;
        bool bytes;
        std::vector<uint32_t> values;
    };
    const Case cases[] = {
        {"0xff,0xff,0x7,0x0", 20480, true, {0xff, 0xff, 0x7, 0x0}},
        {"7e0,7e8,100", 20480, false, {0x7e0, 0x7e8, 0x100}},
        // A byte above 255 ends the array there; the rest is lost.
        {"01,2ff,03", 20480, true, {0x01}},
        // A separator as the last thing ends it; the one byte behind a value is skipped whatever it is.
        {"1,2,", 1024, false, {1, 2}},
        {"1;2 3", 1024, false, {1, 2, 3}},
        {"", 1024, false, {}},
        // Bytes stop at the limit; words are tested after the write, so one more slips in.
        {"1,2,3,4", 2, true, {1, 2}},
        {"1,2,3,4", 2, false, {1, 2, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(CParams::ParseArray(c.text, c.limit, c.bytes), c.values);
    }
    EXPECT_EQ(CParams::JoinHex({0xff, 0x7, 0x0}), "0xff,0x7,0x0");
    EXPECT_EQ(CParams::JoinHex({}), "");
    EXPECT_EQ(CParams::TypeName(0x1ff), nullptr);
}
