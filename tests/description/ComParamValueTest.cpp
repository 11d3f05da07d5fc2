#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "description/ComParamInfo.h"
#include "description/ComParamValue.h"
#include "description/KeldaValueFamily.h"
#include "description/LoLiValueFamily.h"

namespace {

struct Outcome {
    int64_t stored;
    bool answer;
};

int64_t ReadNumber(const void* block, uint32_t type)
{
    switch (type) {
    case PDU_PT_UNUM8: return *static_cast<const uint8_t*>(block);
    case PDU_PT_SNUM8: return *static_cast<const int8_t*>(block);
    case PDU_PT_UNUM16: return *static_cast<const uint16_t*>(block);
    case PDU_PT_SNUM16: return *static_cast<const int16_t*>(block);
    case PDU_PT_UNUM32: return *static_cast<const uint32_t*>(block);
    default: return *static_cast<const int32_t*>(block);
    }
}

// Owns a value for the length of a test.
struct Value {
    void* p = nullptr;
    uint32_t type;
    explicit Value(uint32_t t) : type(t) {}
    ~Value() { FreeValue(&p, type); }
    template <class T> T* as() const { return static_cast<T*>(p); }
};

Value FromDefault(uint32_t type, const std::string& text, bool* answer)
{
    ComParamInfo record;
    record.dataType = type;
    *answer = ParseDefaultValue(record, text);
    Value v(type);
    std::swap(v.p, record.value);
    return v;
}

std::vector<uint32_t> Elements(const Value& v)
{
    std::vector<uint32_t> out;
    if (v.type == PDU_PT_LONGFIELD) {
        auto* f = v.as<PDU_PARAM_LONGFIELD_DATA>();
        out.assign(f->pDataArray, f->pDataArray + f->ParamActLen);
    } else {
        auto* f = v.as<PDU_PARAM_BYTEFIELD_DATA>();
        out.assign(f->pDataArray, f->pDataArray + f->ParamActLen);
    }
    return out;
}

} // namespace

// Every cell of the saturation table, for the description file converter and both link families.
TEST(ComParamValue, NumbersSaturateAsEachConverterDoes)
{
    struct Cell {
        uint32_t type;
        const char* text;
        Outcome file, loli, kelda;
    };
    const Cell cells[] = {
        {PDU_PT_UNUM8, "254", {254, true}, {254, true}, {254, true}},
        {PDU_PT_UNUM8, "255", {255, false}, {255, true}, {255, false}},
        {PDU_PT_UNUM8, "256", {255, false}, {255, false}, {255, false}},
        {PDU_PT_UNUM8, "0x1000", {255, false}, {255, false}, {255, false}},
        {PDU_PT_UNUM8, "-1", {255, false}, {255, false}, {255, false}},
        {PDU_PT_UNUM8, "x", {0, true}, {0, true}, {0, true}},
        {PDU_PT_SNUM8, "126", {126, true}, {126, true}, {126, true}},
        {PDU_PT_SNUM8, "127", {127, false}, {127, false}, {127, false}},
        {PDU_PT_SNUM8, "300", {127, false}, {127, false}, {127, false}},
        {PDU_PT_SNUM8, "-127", {-127, true}, {-127, true}, {-127, true}},
        {PDU_PT_SNUM8, "-128", {-128, false}, {-128, false}, {-128, false}},
        {PDU_PT_SNUM8, "-9999999999", {-128, false}, {-128, false}, {-128, false}},
        {PDU_PT_UNUM16, "65534", {65534, true}, {65534, true}, {65534, true}},
        {PDU_PT_UNUM16, "65535", {65535, false}, {65535, true}, {65535, false}},
        {PDU_PT_UNUM16, "65536", {65535, false}, {65535, false}, {65535, false}},
        {PDU_PT_UNUM16, "0x10", {16, true}, {16, true}, {16, true}},
        {PDU_PT_SNUM16, "32766", {32766, true}, {32766, true}, {32766, true}},
        {PDU_PT_SNUM16, "32767", {32767, false}, {32767, false}, {32767, false}},
        {PDU_PT_SNUM16, "40000", {32767, false}, {32767, false}, {32767, false}},
        {PDU_PT_SNUM16, "-32767", {-32767, true}, {-32767, true}, {-32767, true}},
        {PDU_PT_SNUM16, "-32768", {-32768, false}, {-32768, false}, {-32768, false}},
        {PDU_PT_SNUM16, "-40000", {-32768, false}, {-32768, false}, {-32768, false}},
        {PDU_PT_UNUM32, "4294967294", {4294967294, true}, {4294967294, true}, {4294967294, true}},
        {PDU_PT_UNUM32, "0xFFFFFFFF", {0xFFFFFFFF, false}, {0xFFFFFFFF, true}, {0xFFFFFFFF, true}},
        {PDU_PT_UNUM32, "5000000000", {0xFFFFFFFF, false}, {0xFFFFFFFF, true}, {0xFFFFFFFF, true}},
        {PDU_PT_UNUM32, "010", {8, true}, {8, true}, {8, true}},
        {PDU_PT_SNUM32, "2147483646", {2147483646, true}, {2147483646, true}, {2147483646, true}},
        {PDU_PT_SNUM32, "2147483647", {INT32_MAX, false}, {INT32_MAX, true}, {INT32_MAX, false}},
        {PDU_PT_SNUM32, "3000000000", {INT32_MAX, false}, {INT32_MAX, true}, {INT32_MAX, false}},
        {PDU_PT_SNUM32, "-2147483647", {-2147483647, true}, {-2147483647, true}, {-2147483647, true}},
        {PDU_PT_SNUM32, "-2147483648", {INT32_MIN, false}, {INT32_MIN, true}, {INT32_MIN, false}},
    };
    const LoLiValueFamily loli;
    const KeldaValueFamily kelda;
    for (const Cell& c : cells) {
        SCOPED_TRACE(std::to_string(c.type) + " " + c.text);
        bool answer = false;
        Value file = FromDefault(c.type, c.text, &answer);
        ASSERT_NE(file.p, nullptr);
        EXPECT_EQ(ReadNumber(file.p, c.type), c.file.stored);
        EXPECT_EQ(answer, c.file.answer);

        Value l(c.type);
        EXPECT_EQ(loli.TextToValue(&l.p, c.text, c.type), c.loli.answer);
        ASSERT_NE(l.p, nullptr);
        EXPECT_EQ(ReadNumber(l.p, c.type), c.loli.stored);

        // Into an existing block: written in place.
        Value k(c.type);
        ASSERT_TRUE(kelda.TextToValue(&k.p, "1", c.type));
        void* const before = k.p;
        EXPECT_EQ(kelda.TextToValue(&k.p, c.text, c.type), c.kelda.answer);
        EXPECT_EQ(k.p, before);
        EXPECT_EQ(ReadNumber(k.p, c.type), c.kelda.stored);
    }
}

TEST(ComParamValue, EmptyTextPerConverter)
{
    const uint32_t types[] = {PDU_PT_UNUM8, PDU_PT_SNUM16, PDU_PT_UNUM32, PDU_PT_BYTEFIELD, PDU_PT_STRUCTFIELD};
    for (uint32_t type : types) {
        SCOPED_TRACE(type);
        bool answer = true;
        Value file = FromDefault(type, "", &answer);
        EXPECT_FALSE(answer);
        EXPECT_EQ(file.p, nullptr);

        Value l(type);
        EXPECT_FALSE(LoLiValueFamily().TextToValue(&l.p, "", type));
        EXPECT_EQ(l.p, nullptr);

        Value k(type);
        EXPECT_TRUE(KeldaValueFamily().TextToValue(&k.p, "", type));
        ASSERT_NE(k.p, nullptr);
        if (IsNumericDataType(type)) {
            EXPECT_EQ(ReadNumber(k.p, type), 0);
        }
    }
}

TEST(ComParamValue, TypesOutsideTheRangeHoldNoValue)
{
    for (uint32_t type : {0u, 1u, 0x100u, 0x10Au}) {
        bool answer = false;
        Value v = FromDefault(type, "5", &answer);
        EXPECT_TRUE(answer);
        EXPECT_EQ(v.p, nullptr);
        EXPECT_TRUE(KeldaValueFamily().TextToValue(&v.p, "5", type));
        EXPECT_EQ(v.p, nullptr);
    }
}

TEST(ComParamValue, DescriptionFileFields)
{
    struct Case {
        uint32_t type;
        const char* text;
        bool answer;
        bool hasValue;
        uint32_t maxLen;
        std::vector<uint32_t> elements;
    };
    const Case cases[] = {
        {PDU_PT_BYTEFIELD, "12 2 0x3e 0x80", true, true, 12, {0x3e, 0x80}},
        {PDU_PT_BYTEFIELD, "10 0", false, false, 0, {}},
        {PDU_PT_BYTEFIELD, "10", false, false, 0, {}},
        {PDU_PT_BYTEFIELD, "10 2 1 300", false, false, 0, {}},
        {PDU_PT_BYTEFIELD, "10 2 1 2 300", false, false, 0, {}}, // surplus tokens are tested too
        {PDU_PT_BYTEFIELD, "4 3 1", true, true, 4, {1, 0, 0}},   // missing elements are 0
        {PDU_PT_BYTEFIELD, "4 2 1 2 3 4", true, true, 4, {1, 2}}, // surplus elements have no room
        {PDU_PT_BYTEFIELD, "4,2,1,2", false, false, 0, {}}, // blanks only: one token, so no actual length
        {PDU_PT_BYTEFIELD, "10 4000000000 1", false, false, 0, {}},
        {PDU_PT_LONGFIELD, "12 2 500000 0x10", true, true, 12, {500000, 16}},
        {PDU_PT_LONGFIELD, "12 0", false, false, 0, {}},
        {PDU_PT_LONGFIELD, "12 1 5000000000", true, true, 12, {0xFFFFFFFF}},
        {PDU_PT_LONGFIELD, " 8\n 2\t7 9 ", true, true, 8, {7, 9}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        bool answer = !c.answer;
        Value v = FromDefault(c.type, c.text, &answer);
        EXPECT_EQ(answer, c.answer);
        ASSERT_EQ(v.p != nullptr, c.hasValue);
        if (!c.hasValue)
            continue;
        EXPECT_EQ(v.as<PDU_PARAM_BYTEFIELD_DATA>()->ParamMaxLen, c.maxLen);
        EXPECT_EQ(Elements(v), c.elements);
    }
}

TEST(ComParamValue, DescriptionFileElementCounterIsEightBitsWide)
{
    std::string text = "300 300";
    for (int i = 0; i < 300; ++i)
        text += i < 256 ? " 1" : " 2";
    bool answer = false;
    Value v = FromDefault(PDU_PT_BYTEFIELD, text, &answer);
    ASSERT_TRUE(answer);
    const std::vector<uint32_t> e = Elements(v);
    ASSERT_EQ(e.size(), 300u);
    EXPECT_EQ(std::count(e.begin(), e.begin() + 44, 2u), 44);   // tokens 256.. wrap to the front
    EXPECT_EQ(std::count(e.begin() + 44, e.begin() + 256, 1u), 212);
    EXPECT_EQ(std::count(e.begin() + 256, e.end(), 0u), 44);    // never reached
}

TEST(ComParamValue, LinkFields)
{
    struct Case {
        const char* text;
        bool answer;
        std::vector<uint32_t> elements; // of the value afterwards
    };
    const Case cases[] = {
        {"1 2 3", true, {1, 2, 3}},
        {"0x1,0x2,0x3", true, {1, 2, 3}},
        {"1, 2, 3", true, {1, 2, 3}},
        {"1,,2", true, {1, 2}},
        {"0x10 0x20", true, {16, 32}},
        {"  5   6  ", true, {5, 6}},
        {",1,2", true, {1, 2}}, // a later comma decides even after a leading one
        {",1 2", true, {0, 2}}, // a leading comma alone doesn't make the comma the separator
        {",", true, {0}},
        {" ,1", true, {1}},
        {"1 2,3", true, {12, 3}}, // with commas all blanks go
        {" ", true, {}},
        {"1 300", false, {7}}, // refused: the old value stays
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Value v(PDU_PT_BYTEFIELD);
        ASSERT_TRUE(LoLiValueFamily().TextToValue(&v.p, "7", PDU_PT_BYTEFIELD));
        EXPECT_EQ(LoLiValueFamily().TextToValue(&v.p, c.text, PDU_PT_BYTEFIELD), c.answer);
        EXPECT_EQ(v.as<PDU_PARAM_BYTEFIELD_DATA>()->ParamMaxLen, 255u);
        EXPECT_EQ(Elements(v), c.elements);
    }
}

TEST(ComParamValue, LinkFieldLimitsPerFamily)
{
    KeldaValueFamily kelda;
    kelda.m_byteFieldMax = 12;
    kelda.m_longFieldMax = 7;
    Value b(PDU_PT_BYTEFIELD), l(PDU_PT_LONGFIELD), loliLong(PDU_PT_LONGFIELD);
    ASSERT_TRUE(kelda.TextToValue(&b.p, "0x3e 0x80", PDU_PT_BYTEFIELD));
    EXPECT_EQ(b.as<PDU_PARAM_BYTEFIELD_DATA>()->ParamMaxLen, 12u);
    ASSERT_TRUE(kelda.TextToValue(&l.p, "500000,250000,0x10000", PDU_PT_LONGFIELD));
    EXPECT_EQ(l.as<PDU_PARAM_LONGFIELD_DATA>()->ParamMaxLen, 7u);
    EXPECT_EQ(Elements(l), (std::vector<uint32_t>{500000, 250000, 0x10000}));
    // LoLiDialog leaves long fields alone.
    EXPECT_TRUE(LoLiValueFamily().TextToValue(&loliLong.p, "1 2", PDU_PT_LONGFIELD));
    EXPECT_EQ(loliLong.p, nullptr);
    EXPECT_TRUE(LoLiValueFamily().TextToValue(&l.p, "1 2", PDU_PT_LONGFIELD));
    EXPECT_EQ(Elements(l).size(), 3u);
}

TEST(ComParamValue, StructTexts)
{
    struct Case {
        const char* text;
        uint32_t type, maxEntries, actEntries;
        bool hasArray;
        const char* printed;
    };
    const Case cases[] = {
        {"1 10 2 (1 2 3 4 5 )(6 7 8 9 10 )", 1, 10, 2, true, "1 10 2 (1 2 3 4 5 )(6 7 8 9 10 )"},
        {"1 10 2 (1 2 3 4 5 )(6 7 8 9 )", 1, 10, 0, false, "1 10 0 "},
        {"3 10 1 (1 2 3 )", 1, 10, 0, false, "1 10 0 "},
        {"2 4 1 (1,2,3,4,5,6)", 2, 4, 1, true, "2 4 1 (1 2 3 4 5 6 )"},
        {"2 4 1 1 2 3 4 5 6", 2, 4, 1, true, "2 4 1 (1 2 3 4 5 6 )"},
        {"(1 10 1 (1 2 3 4 5)", 1, 10, 0, false, "1 10 0 "}, // a leading "(" keeps the brackets
        {"1 300 1 (1 2 3 4 5)", 1, 300, 0, false, "1 300 0 "},
        {"1 10 1 (256 2 3 4 5)", 1, 10, 0, false, "1 10 0 "},
        {"1 1 2 (1 2 3 4 5)(6 7 8 9 10)", 1, 1, 2, true, "1 1 2 (1 2 3 4 5 )(6 7 8 9 10 )"},
        {"1 0 1 (0x10 2 3 4 5)", 1, 0, 1, true, "1 0 1 (16 2 3 4 5 )"},
        {"", 1, 255, 0, false, "1 255 0 "},
        {"2", 2, 255, 0, false, "2 255 0 "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Value v(PDU_PT_STRUCTFIELD);
        ASSERT_TRUE(ParseStructText("1 1 1 (1 1 1 1 1)", &v.p)); // replaced below
        ASSERT_TRUE(ParseStructText(c.text, &v.p));
        const auto* s = v.as<PDU_PARAM_STRUCTFIELD_DATA>();
        EXPECT_EQ(s->ComParamStructType, c.type);
        EXPECT_EQ(s->ParamMaxEntries, c.maxEntries);
        EXPECT_EQ(s->ParamActEntries, c.actEntries);
        EXPECT_EQ(s->pStructArray != nullptr, c.hasArray);
        std::string printed = "old";
        StructToText(printed, s);
        EXPECT_EQ(printed, c.printed);
    }
    std::string printed = "old";
    StructToText(printed, nullptr);
    EXPECT_EQ(printed, "");
}

TEST(ComParamValue, StructMembersLandInTheStandardLayouts)
{
    Value v(PDU_PT_STRUCTFIELD);
    ASSERT_TRUE(ParseStructText("1 2 1 (200 1 2 3 4)", &v.p));
    const auto* t = static_cast<PDU_PARAM_STRUCT_SESS_TIMING*>(v.as<PDU_PARAM_STRUCTFIELD_DATA>()->pStructArray);
    EXPECT_EQ(t->session, 200);
    EXPECT_EQ(t->P2Max_high, 1);
    EXPECT_EQ(t->P2Star_low, 4);
    ASSERT_TRUE(ParseStructText("2 2 1 (1 2 3 4 5 6)", &v.p));
    const auto* a = static_cast<PDU_PARAM_STRUCT_ACCESS_TIMING*>(v.as<PDU_PARAM_STRUCTFIELD_DATA>()->pStructArray);
    EXPECT_EQ(a->P2Min, 1);
    EXPECT_EQ(a->TimingSet, 6);
}

TEST(ComParamValue, CopyValueRules)
{
    auto byteField = [](uint32_t maxLen, uint32_t actLen, bool withArray) {
        auto* f = static_cast<PDU_PARAM_BYTEFIELD_DATA*>(std::calloc(1, sizeof(PDU_PARAM_BYTEFIELD_DATA)));
        f->ParamMaxLen = maxLen;
        f->ParamActLen = actLen;
        if (withArray)
            f->pDataArray = static_cast<UNUM8*>(std::calloc(actLen + 1, 1));
        return f;
    };
    struct Case {
        const char* name;
        PDU_PARAM_BYTEFIELD_DATA* source;
        bool destExists;
        bool loli, kelda;
    };
    const Case cases[] = {
        {"fine", byteField(12, 2, true), true, true, true},
        {"max 256", byteField(256, 2, true), true, true, true},
        {"max 257", byteField(257, 2, true), true, false, false},
        {"null array", byteField(12, 2, false), true, false, false},
        {"empty", byteField(12, 0, true), true, false, true},
        {"null array, no destination", byteField(12, 0, false), false, true, true},
        {"max 257, no destination", byteField(257, 1, true), false, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Value src(PDU_PT_BYTEFIELD);
        src.p = c.source;
        for (const auto& [family, expected] : {std::pair<const ComParamValueFamily*, bool>{new LoLiValueFamily, c.loli},
                 std::pair<const ComParamValueFamily*, bool>{new KeldaValueFamily, c.kelda}}) {
            Value dest(PDU_PT_BYTEFIELD);
            if (c.destExists) {
                ASSERT_TRUE(family->TextToValue(&dest.p, "9", PDU_PT_BYTEFIELD));
            }
            EXPECT_EQ(family->CopyValue(&dest.p, src.p, PDU_PT_BYTEFIELD), expected);
            if (expected) {
                EXPECT_EQ(dest.as<PDU_PARAM_BYTEFIELD_DATA>()->ParamActLen, c.source->ParamActLen);
            } else {
                EXPECT_EQ(Elements(dest), std::vector<uint32_t>{9}); // untouched
            }
            delete family;
        }
    }
}

TEST(ComParamValue, CopyValueOfOtherTypes)
{
    LoLiValueFamily loli;
    KeldaValueFamily kelda;
    kelda.m_longFieldMax = 3;
    Value n(PDU_PT_SNUM16), copy(PDU_PT_SNUM16);
    ASSERT_TRUE(loli.TextToValue(&n.p, "-5", PDU_PT_SNUM16));
    EXPECT_TRUE(loli.CopyValue(&copy.p, n.p, PDU_PT_SNUM16));
    EXPECT_EQ(ReadNumber(copy.p, PDU_PT_SNUM16), -5);
    EXPECT_FALSE(loli.CopyValue(&copy.p, nullptr, PDU_PT_SNUM16));
    EXPECT_FALSE(loli.CopyValue(&copy.p, n.p, 0));
    void* untouched = nullptr;
    EXPECT_TRUE(loli.CopyValue(&untouched, n.p, 0x10A));
    EXPECT_EQ(untouched, nullptr);

    Value l3(PDU_PT_LONGFIELD), l4(PDU_PT_LONGFIELD), dest(PDU_PT_LONGFIELD);
    ASSERT_TRUE(kelda.TextToValue(&l3.p, "1 2 3", PDU_PT_LONGFIELD));
    ASSERT_TRUE(kelda.TextToValue(&l4.p, "1 2 3 4", PDU_PT_LONGFIELD));
    EXPECT_TRUE(loli.CopyValue(&dest.p, l3.p, PDU_PT_LONGFIELD)); // LoLiDialog doesn't copy long fields
    EXPECT_EQ(dest.p, nullptr);
    EXPECT_TRUE(kelda.CopyValue(&dest.p, l4.p, PDU_PT_LONGFIELD)); // no destination: no test
    EXPECT_FALSE(kelda.CopyValue(&dest.p, l4.p, PDU_PT_LONGFIELD)); // 4 elements above m_longFieldMax 3
    EXPECT_TRUE(kelda.CopyValue(&dest.p, l3.p, PDU_PT_LONGFIELD));
    EXPECT_TRUE(kelda.ValueEquals(dest.p, l3.p, PDU_PT_LONGFIELD));

    Value s(PDU_PT_STRUCTFIELD), sCopy(PDU_PT_STRUCTFIELD);
    ASSERT_TRUE(ParseStructText("1 10 2 (1 2 3 4 5 )(6 7 8 9 10 )", &s.p));
    EXPECT_TRUE(loli.CopyValue(&sCopy.p, s.p, PDU_PT_STRUCTFIELD));
    std::string text;
    StructToText(text, sCopy.as<PDU_PARAM_STRUCTFIELD_DATA>());
    EXPECT_EQ(text, "1 10 2 (1 2 3 4 5 )(6 7 8 9 10 )");
    s.as<PDU_PARAM_STRUCTFIELD_DATA>()->ParamMaxEntries = 257;
    EXPECT_FALSE(kelda.CopyValue(&sCopy.p, s.p, PDU_PT_STRUCTFIELD));
}

TEST(ComParamValue, ValueEqualsComparesContent)
{
    const KeldaValueFamily k;
    struct Case {
        uint32_t type;
        const char* a;
        const char* b;
        bool equal;
    };
    const Case cases[] = {
        {PDU_PT_UNUM8, "5", "5", true},
        {PDU_PT_UNUM8, "5", "6", false},
        {PDU_PT_SNUM32, "-1", "0xFFFFFFFF", false}, // strtol saturates the second
        {PDU_PT_BYTEFIELD, "1 2", "1,2", true},
        {PDU_PT_BYTEFIELD, "1 2", "1 3", false},
        {PDU_PT_BYTEFIELD, "1 2", "1 2 0", false},
        {PDU_PT_BYTEFIELD, "", "", true},
        {PDU_PT_LONGFIELD, "70000", "70000", true},
        {PDU_PT_STRUCTFIELD, "1 10 1 (1 2 3 4 5)", "1 5 1 (1 2 3 4 5)", true},
        {PDU_PT_STRUCTFIELD, "1 10 1 (1 2 3 4 5)", "1 10 1 (1 2 3 4 6)", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " / " + c.b);
        Value a(c.type), b(c.type);
        ASSERT_TRUE(k.TextToValue(&a.p, c.a, c.type));
        k.TextToValue(&b.p, c.b, c.type);
        EXPECT_EQ(k.ValueEquals(a.p, b.p, c.type), c.equal);
        EXPECT_FALSE(k.ValueEquals(a.p, nullptr, c.type)); // a never-applied value counts as changed
        EXPECT_FALSE(k.ValueEquals(nullptr, b.p, c.type));
        EXPECT_FALSE(k.ValueEquals(a.p, a.p, 0x10A));
    }
}

TEST(ComParamValue, FreeValueAcceptsNulls)
{
    FreeValue(nullptr, PDU_PT_BYTEFIELD);
    void* p = nullptr;
    FreeValue(&p, PDU_PT_STRUCTFIELD);
    EXPECT_EQ(p, nullptr);
    int stack = 0;
    p = &stack;
    FreeValue(&p, 0x10A); // unknown type: only the pointer is cleared
    EXPECT_EQ(p, nullptr);
}

TEST(ComParamValue, NumberTextsDiffer)
{
    struct Case {
        const char* a;
        const char* b;
        int differ;
    };
    const Case cases[] = {
        {"1 2 3", "1 2 3", 0}, {"0x10", "16", 0}, {"1 2", "1 2 3", 1}, {"1,2", "1 2", 0},
        {"1 (2 3)", "1 2 3", 0}, {"(1 2)", "1 2", 1}, {"", "", 0}, {"", "0", 1}, {"-1", "4294967295", 0},
        {"1 10 2 (1 2 3 4 5 )(6 7 8 9 10 )", "0x1 0xa 0x2 ( 0x1 0x2 0x3 0x4 0x5 ) ( 0x6 0x7 0x8 0x9 0xa )", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(NumberTextsDiffer(c.a, c.b), c.differ) << c.a << " / " << c.b;
}

TEST(ComParamInfo, MovesItsBlocksAndFreesThemOnce)
{
    std::vector<ComParamInfo> table;
    for (int i = 0; i < 20; ++i) { // growth moves the records
        ComParamInfo info;
        info.dataType = PDU_PT_BYTEFIELD;
        ASSERT_TRUE(ParseDefaultValue(info, "4 2 1 2"));
        ASSERT_TRUE(LoLiValueFamily().CopyValue(&info.appliedValue, info.value, info.dataType));
        table.push_back(std::move(info));
        EXPECT_EQ(info.value, nullptr);
    }
    ComParamInfo header = table[3].CloneHeader();
    EXPECT_EQ(header.value, nullptr);
    EXPECT_EQ(header.dataType, PDU_PT_BYTEFIELD);
    table[0] = std::move(table[1]);
    table.clear(); // ASan reports any double free or leak
}
