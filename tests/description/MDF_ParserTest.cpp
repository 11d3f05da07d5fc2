#include <gtest/gtest.h>

#include "TestFiles.h"
#include "description/MDF_Parser.h"

namespace {

struct Steps {
    bool load;
    bool parse;
    bool fix;
};

Steps RunSteps(MDF_Parser& parser, const std::string& path)
{
    Steps s{};
    s.load = parser.Load(path);
    s.parse = s.load && parser.Parse();
    s.fix = s.parse && parser.FixReferences();
    return s;
}

std::string Mdf(const std::string& body) { return "<MVCI_MODULE_DESCRIPTION>" + body + "</MVCI_MODULE_DESCRIPTION>"; }

const char* kModuleType = "<MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME></MODULETYPE>";

class RulesFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        const Steps s = RunSteps(parser, FixturePath("mdf_rules.xml"));
        ASSERT_TRUE(s.load && s.parse && s.fix);
    }
    MDF_Parser parser;
};

} // namespace

TEST(MDF_Parser, ResultsOfTheThreeSteps)
{
    struct Case {
        const char* name;
        std::string content; // empty: the fixture file of that name
        Steps expected;
    };
    const Case cases[] = {
        {"missing file", "", {false, false, false}},
        {"mdf_truncated.xml", "", {false, false, false}},
        {"mdf_empty_root.xml", "", {true, false, false}},
        {"mdf_unknown_only.xml", "", {true, true, false}},
        {"mdf_rules.xml", "", {true, true, true}},
        {"mdf_realistic.xml", "", {true, true, true}},
        {"root with only text", "<R>text only</R>", {true, true, false}},
        {"no element at all", "<!-- c -->", {false, false, false}},
        {".", "", {false, false, false}}, // the fixture folder itself
        {"wrong nesting", "<R><A></R></A>", {false, false, false}},
        {"module type only", Mdf(kModuleType), {true, true, true}},
        {"module type without id", Mdf("<MODULETYPE><SHORT_NAME>M</SHORT_NAME></MODULETYPE>"), {true, true, false}},
        {"module type nested too deep", Mdf(std::string("<X>") + kModuleType + "</X>"), {true, true, false}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MDF_Parser parser;
        Steps s;
        if (!c.content.empty()) {
            TempFile f(c.content);
            s = RunSteps(parser, f.path());
        } else {
            s = RunSteps(parser, FixturePath(c.name));
        }
        EXPECT_EQ(s.load, c.expected.load);
        EXPECT_EQ(s.parse, c.expected.parse);
        EXPECT_EQ(s.fix, c.expected.fix);
    }
}

TEST_F(RulesFixture, PinTypesNeedAFirstAttributeEid)
{
    const auto& p = parser.GetPinTypes();
    ASSERT_EQ(p.size(), 5u);
    const char* expected[][3] = {
        {"PT_HI", "1", "HI"}, {"PT_LOW", "2", "LOW"}, {"PT_K", "0x3", "K"}, {"PT_HI", "9", "HI_AGAIN"}, {"PT_L", "4", "L"}};
    for (size_t i = 0; i < p.size(); ++i) {
        EXPECT_EQ(p[i].eid, expected[i][0]);
        EXPECT_EQ(p[i].id, expected[i][1]);
        EXPECT_EQ(p[i].shortName, expected[i][2]);
    }
}

TEST_F(RulesFixture, ResourcesPairPinsByPositionAndResolveFirstHits)
{
    const auto& r = parser.GetResources();
    ASSERT_EQ(r.size(), 5u);
    struct Expected {
        const char* id;
        const char* name;
        std::array<const char*, 4> pins;
        std::array<const char*, 4> types;
        const char* bus;
        const char* protocol;
    };
    const Expected expected[] = {
        {"0x1000", "FIVE_PINS", {"6", "14", "7", "15"}, {"1", "2", "0x3", "4"}, "0x2000", "0x3000"},
        {"0x1001", "HALF_PAIR", {"6", "14", "", ""}, {"1", "", "", ""}, "BT_DROPPED", "PR_NOREFS"},
        {"0x1003", "NO_EID_KEPT", {"7", "", "", ""}, {"0x3", "", "", ""}, "0x2000", "0x3001"},
        {"0x1004", "DUP_A", {"6", "", "", ""}, {"1", "", "", ""}, "0x2000", "0x3000"},
        {"0x1004", "DUP_B", {"14", "", "", ""}, {"2", "", "", ""}, "0x2001", "0x3000"},
    };
    for (size_t i = 0; i < r.size(); ++i) {
        SCOPED_TRACE(expected[i].name);
        EXPECT_EQ(r[i].id, expected[i].id);
        EXPECT_EQ(r[i].shortName, expected[i].name);
        for (size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(r[i].pinOnModule[k], expected[i].pins[k]);
            EXPECT_EQ(r[i].pinType[k], expected[i].types[k]);
        }
        EXPECT_EQ(r[i].busType, expected[i].bus);
        EXPECT_EQ(r[i].protocol, expected[i].protocol);
    }
}

TEST_F(RulesFixture, BusTypesWithoutReferencesStayProtocolsGo)
{
    const auto& b = parser.GetBusTypes();
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(b[0].shortName, "ISO_11898_2_DWCAN");
    ASSERT_EQ(b[0].comParamRefs.size(), 1u);
    EXPECT_EQ(b[0].comParamRefs[0].ref, "0x200");
    EXPECT_EQ(b[0].comParamRefs[0].defaultValue, "500000");
    EXPECT_EQ(b[1].shortName, "NO_REFS");
    EXPECT_TRUE(b[1].comParamRefs.empty());

    const auto& p = parser.GetProtocols();
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p[0].shortName, "UDS");
    EXPECT_EQ(p[1].shortName, "LATE_DEFAULTS");
}

TEST_F(RulesFixture, ReferenceDefaultsDependOnChildOrder)
{
    const auto& p = parser.GetProtocols();
    const std::pair<const char*, const char*> uds[] = {
        {"0x201", "150000"}, {"CP_MISSING", ""}, {"0x207", "12 2 0x3e 0x80"}};
    // Default behind its COMPARAM: each reference takes the default of the one before.
    const std::pair<const char*, const char*> late[] = {{"0x201", ""}, {"0x200", "1"}, {"0x202", "2"}};
    ASSERT_EQ(p[0].comParamRefs.size(), 3u);
    ASSERT_EQ(p[1].comParamRefs.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(p[0].comParamRefs[i].ref, uds[i].first);
        EXPECT_EQ(p[0].comParamRefs[i].defaultValue, uds[i].second);
        EXPECT_EQ(p[1].comParamRefs[i].ref, late[i].first);
        EXPECT_EQ(p[1].comParamRefs[i].defaultValue, late[i].second);
    }
}

TEST_F(RulesFixture, ModuleTypesKeepUnresolvedReferences)
{
    const auto& m = parser.GetModuleTypes();
    ASSERT_EQ(m.size(), 2u);
    EXPECT_EQ(m[0].shortName, "VCI_ONE");
    EXPECT_EQ(m[0].resourceRefs, (std::vector<std::string>{"0x1000", "0x1001", "RS_UNKNOWN", "0x1004"}));
    EXPECT_EQ(m[1].shortName, "NO_RESOURCES");
    EXPECT_TRUE(m[1].resourceRefs.empty());
}

TEST_F(RulesFixture, ComParamsNeedAllSixTexts)
{
    const auto& c = parser.GetComParams();
    const char* names[] = {"CP_Baudrate", "CP_P2Max", "CP_U8Max", "CP_EmptyDefault", "CP_UnknownType", "CP_Swapped",
        "CP_TesterPresentMessage", "CP_EmptyField", "CP_SessionTimingOverride", "CP_CanBaudrateRecord",
        "CP_SameEid", "CP_SameId"};
    ASSERT_EQ(c.size(), std::size(names));
    for (size_t i = 0; i < c.size(); ++i)
        EXPECT_EQ(c[i].shortName, names[i]);
    EXPECT_EQ(c[3].defaultValue, "0");
    EXPECT_EQ(c[5].dataType, "TIMING");
    EXPECT_EQ(c[5].comParamClass, "PDU_PT_UNUM8");
}

TEST_F(RulesFixture, ErrorCodesConvertTheirIdAtOnce)
{
    const auto& e = parser.GetErrorCodes();
    ASSERT_EQ(e.size(), 3u);
    EXPECT_EQ(e[0].id, 16u);
    EXPECT_EQ(e[0].shortName, "SIXTEEN");
    EXPECT_EQ(e[1].id, 8u);
    EXPECT_EQ(e[2].id, 7u);
    EXPECT_EQ(e[2].shortName, "LAST");
    EXPECT_EQ(e[2].description, "last text wins");
}

TEST_F(RulesFixture, ClearEmptiesEveryList)
{
    parser.Clear();
    EXPECT_TRUE(parser.GetPinTypes().empty());
    EXPECT_TRUE(parser.GetResources().empty());
    EXPECT_TRUE(parser.GetBusTypes().empty());
    EXPECT_TRUE(parser.GetProtocols().empty());
    EXPECT_TRUE(parser.GetComParams().empty());
    EXPECT_TRUE(parser.GetModuleTypes().empty());
    EXPECT_TRUE(parser.GetErrorCodes().empty());
}

TEST(MDF_Parser, ResourcePinsWithoutPinTypesStayUnresolvedWhenATableIsMissing)
{
    // No PINTYPE at all: reference fixing ends before resources are touched.
    TempFile f(Mdf(std::string(kModuleType)
        + "<BUSTYPE EID='B'><ID>5</ID><SHORT_NAME>B</SHORT_NAME></BUSTYPE>"
          "<PROTOCOL EID='P'><ID>6</ID><SHORT_NAME>P</SHORT_NAME><COMPARAM_REF><COMPARAM IDREF='C'/></COMPARAM_REF></PROTOCOL>"
          "<RESOURCE EID='R'><ID>7</ID><SHORT_NAME>R</SHORT_NAME><PIN_ON_MODULE><PIN_ON_MODULE>6</PIN_ON_MODULE>"
          "<PINTYPE IDREF='T'/></PIN_ON_MODULE><BUSTYPE IDREF='B'/><PROTOCOL IDREF='P'/></RESOURCE>"));
    MDF_Parser parser;
    const Steps s = RunSteps(parser, f.path());
    ASSERT_TRUE(s.fix);
    ASSERT_EQ(parser.GetResources().size(), 1u);
    EXPECT_EQ(parser.GetResources()[0].busType, "B");
    EXPECT_EQ(parser.GetResources()[0].protocol, "P");
}
