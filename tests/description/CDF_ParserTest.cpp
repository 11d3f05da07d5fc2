#include <gtest/gtest.h>

#include "TestFiles.h"
#include "description/CDF_Parser.h"

namespace {

class Cables : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(cdf.Load(FixturePath("cdf_rules.xml")));
        ASSERT_TRUE(cdf.Parse());
    }
    CDF_Parser cdf;
};

} // namespace

TEST_F(Cables, TableAndIdSetFollowDocumentOrder)
{
    struct Expected {
        uint32_t id;
        bool inIdSet;
        const char* name;
        std::map<uint32_t, uint32_t> moduleToDlc;
    };
    const Expected expected[] = {
        {0, false, "", {{4, 4}}},                                     // mapping before any CABLE_ID
        {10, true, "OBD_CABLE_V2", {{1, 6}, {2, 14}, {3, 7}, {9, 11}}}, // union of two elements, first mapping stays
        {20, true, "", {}},                                           // only the last id gets the pins
        {21, true, "", {{5, 5}}},                                     // SHORT_NAME behind the identification
        {31, true, "DIGITS_THEN_TEXT", {}},                           // decimal, leading digits only
    };
    ASSERT_EQ(cdf.GetCables().size(), std::size(expected));
    size_t i = 0;
    for (const auto& [id, cable] : cdf.GetCables()) {
        const Expected& e = expected[i++];
        SCOPED_TRACE(e.id);
        EXPECT_EQ(id, e.id);
        EXPECT_EQ(cable.id, e.id);
        EXPECT_EQ(cable.GetName(), e.name);
        EXPECT_EQ(cable.moduleToDlc, e.moduleToDlc);
        EXPECT_EQ(cdf.GetCableIds().count(id) != 0, e.inIdSet);
        EXPECT_EQ(cdf.FindCable(id) != nullptr, e.inIdSet);
    }
    EXPECT_EQ(cdf.GetCableIds(), (std::set<uint32_t>{10, 20, 21, 31}));
}

TEST_F(Cables, InverseMapKeepsEveryDlcPinOnce)
{
    const CableInfo* c = cdf.FindCable(10);
    ASSERT_NE(c, nullptr);
    const std::map<uint32_t, uint32_t> expected{{6, 1}, {14, 2}, {7, 3}, {8, 1}, {9, 1}, {11, 9}};
    EXPECT_EQ(c->dlcToModule, expected);
}

TEST_F(Cables, PinLookUps)
{
    const CableInfo* c = cdf.FindCable(10);
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(c->HasModulePin(3));
    EXPECT_EQ(c->GetDlcPin(3), 7u);
    EXPECT_FALSE(c->HasModulePin(16));
    try {
        c->GetDlcPin(16);
        FAIL() << "no error raised";
    } catch (int e) {
        EXPECT_EQ(e, 1);
    }
    EXPECT_EQ(cdf.FindCable(77), nullptr); // inside an unknown element
    EXPECT_EQ(cdf.FindCable(0), nullptr);
}

TEST_F(Cables, ASecondParseAddsToTheFirst)
{
    ASSERT_TRUE(cdf.Load(FixturePath("cdf_second.xml")));
    ASSERT_TRUE(cdf.Parse());
    ASSERT_NE(cdf.FindCable(90), nullptr);
    EXPECT_EQ(cdf.FindCable(90)->GetName(), "SECOND_FILE");
    ASSERT_NE(cdf.FindCable(10), nullptr);
    EXPECT_EQ(cdf.FindCable(10)->GetDlcPin(1), 6u);
    // A failed load keeps what is there.
    EXPECT_FALSE(cdf.Load(FixturePath("no_such_file.xml")));
    EXPECT_FALSE(cdf.Parse());
    EXPECT_EQ(cdf.GetCableIds().size(), 5u);
}

TEST(CDF_Parser, ParseResults)
{
    const std::pair<const char*, bool> cases[] = {
        {"<MVCI_CABLE_DESCRIPTION/>", false},
        {"<MVCI_CABLE_DESCRIPTION> </MVCI_CABLE_DESCRIPTION>", false},
        {"<MVCI_CABLE_DESCRIPTION><X/></MVCI_CABLE_DESCRIPTION>", true},
        {"<ANY><CABLE><CABLE_IDENTIFICATION><CABLE_ID>4</CABLE_ID></CABLE_IDENTIFICATION></CABLE></ANY>", true},
    };
    for (const auto& [xml, parses] : cases) {
        SCOPED_TRACE(xml);
        CDF_Parser cdf;
        TempFile f(xml);
        ASSERT_TRUE(cdf.Load(f.path()));
        EXPECT_EQ(cdf.Parse(), parses);
    }
}
