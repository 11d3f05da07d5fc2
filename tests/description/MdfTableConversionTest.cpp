#include <gtest/gtest.h>

#include "TestFiles.h"
#include "description/ComParamValue.h"
#include "description/MdfTableConversion.h"

namespace {

class Conversion : public ::testing::Test {
protected:
    void SetUp() override
    {
        MDF_Parser parser;
        ASSERT_TRUE(parser.Load(FixturePath("mdf_rules.xml")));
        ASSERT_TRUE(parser.Parse());
        ASSERT_TRUE(parser.FixReferences());
        ASSERT_TRUE(ConvertMdfTables(parser, tables, [this](const std::string& s) { log.push_back(s); }));
        parser.Clear();
    }
    DescriptionTables tables;
    std::vector<std::string> log;
};

constexpr uint32_t U = PDU_ID_UNDEF;

} // namespace

TEST_F(Conversion, ResourcesGetNumbersAndUndefinedSlots)
{
    struct Expected {
        uint32_t id, bus, protocol;
        std::array<std::pair<uint32_t, uint32_t>, 4> pins;
    };
    const Expected expected[] = {
        {0x1000, 0x2000, 0x3000, {{{6, 1}, {14, 2}, {7, 3}, {15, 4}}}},
        // Half a pair is no pin; a dropped bus type or protocol reads as 0.
        {0x1001, 0, 0, {{{6, 1}, {U, U}, {U, U}, {U, U}}}},
        {0x1003, 0x2000, 0x3001, {{{7, 3}, {U, U}, {U, U}, {U, U}}}},
        {0x1004, 0x2000, 0x3000, {{{6, 1}, {U, U}, {U, U}, {U, U}}}},
        {0x1004, 0x2001, 0x3000, {{{14, 2}, {U, U}, {U, U}, {U, U}}}},
    };
    ASSERT_EQ(tables.resources.size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const ResourceInfo& r = tables.resources[i];
        SCOPED_TRACE(r.name);
        EXPECT_EQ(r.id, expected[i].id);
        EXPECT_EQ(r.busTypeId, expected[i].bus);
        EXPECT_EQ(r.protocolId, expected[i].protocol);
        for (size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(r.pins[k].pinOnModule, expected[i].pins[k].first);
            EXPECT_EQ(r.pins[k].pinTypeId, expected[i].pins[k].second);
        }
    }
}

TEST_F(Conversion, SmallTablesCarryNumbersAndTexts)
{
    ASSERT_EQ(tables.errorCodes.size(), 3u);
    EXPECT_EQ(tables.errorCodes[0].id, 16u);
    EXPECT_EQ(tables.errorCodes[0].name, "SIXTEEN");
    EXPECT_EQ(tables.errorCodes[0].description, "hexadecimal id");

    ASSERT_EQ(tables.pinTypes.size(), 5u);
    EXPECT_EQ(tables.pinTypes[2].id, 3u);
    EXPECT_EQ(tables.pinTypes[3].id, 9u);
    EXPECT_EQ(tables.pinTypes[3].name, "HI_AGAIN");

    ASSERT_EQ(tables.moduleTypes.size(), 2u);
    EXPECT_EQ(tables.moduleTypes[0].id, 1u);
    EXPECT_EQ(tables.moduleTypes[0].resourceIds, (std::vector<uint32_t>{0x1000, 0x1001, 0, 0x1004}));

    ASSERT_EQ(tables.busTypes.size(), 2u);
    ASSERT_EQ(tables.busTypes[0].comParams.size(), 1u);
    EXPECT_EQ(tables.busTypes[0].comParams[0].comParamId, 0x200u);
    EXPECT_EQ(tables.busTypes[0].comParams[0].value, "500000");

    ASSERT_EQ(tables.protocols.size(), 2u);
    ASSERT_EQ(tables.protocols[0].comParams.size(), 3u);
    EXPECT_EQ(tables.protocols[0].comParams[1].comParamId, 0u); // unresolved reference
    EXPECT_EQ(tables.protocols[0].comParams[2].value, "12 2 0x3e 0x80");
}

TEST_F(Conversion, ComParamsGetCodesValuesAndOverflowWarnings)
{
    struct Expected {
        uint32_t id, type, cls;
        bool hasValue;
    };
    const Expected expected[] = {
        {0x200, PDU_PT_UNUM32, PDU_PC_BUSTYPE, true},
        {0x201, PDU_PT_UNUM32, PDU_PC_TIMING, true},
        {0x202, PDU_PT_UNUM8, PDU_PC_COM, true},
        {0x203, PDU_PT_UNUM16, PDU_PC_INIT, true},
        {0x205, 0, PDU_PC_COM, false},          // unknown type: kept without a value
        {0x206, PDU_PC_TIMING, PDU_PT_UNUM8, false}, // the names swapped places
        {0x207, PDU_PT_BYTEFIELD, PDU_PC_TESTER_PRESENT, true},
        {0x208, PDU_PT_BYTEFIELD, PDU_PC_COM, false},
        {0x209, PDU_PT_STRUCTFIELD, PDU_PC_TIMING, true},
        {0x20A, PDU_PT_LONGFIELD, PDU_PC_BUSTYPE, true},
        {0x2FF, PDU_PT_UNUM32, PDU_PC_TIMING, true},
        {0x201, PDU_PT_SNUM8, PDU_PC_ERRHDL, true}, // same ID twice, both kept in order
    };
    ASSERT_EQ(tables.comParams.size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const ComParamInfo& c = tables.comParams[i];
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.id, expected[i].id);
        EXPECT_EQ(c.dataType, expected[i].type);
        EXPECT_EQ(c.comParamClass, expected[i].cls);
        EXPECT_EQ(c.value != nullptr, expected[i].hasValue);
        EXPECT_EQ(c.appliedValue, nullptr);
    }
    EXPECT_EQ(*static_cast<uint8_t*>(tables.comParams[2].value), 255);
    EXPECT_EQ(*static_cast<uint16_t*>(tables.comParams[3].value), 0);
    EXPECT_EQ(*static_cast<int8_t*>(tables.comParams[11].value), -128);
    const auto* bf = static_cast<PDU_PARAM_BYTEFIELD_DATA*>(tables.comParams[6].value);
    EXPECT_EQ(bf->ParamMaxLen, 12u);
    ASSERT_EQ(bf->ParamActLen, 2u);
    EXPECT_EQ(bf->pDataArray[0], 0x3e);
    EXPECT_EQ(bf->pDataArray[1], 0x80);

    EXPECT_EQ(log, (std::vector<std::string>{
                       "Warning: ComParam ID=514, value Overflow (Max or Min value is set) !\n",
                       "Warning: ComParam ID=520, value Overflow (Max or Min value is set) !\n",
                       "Warning: ComParam ID=513, value Overflow (Max or Min value is set) !\n",
                   }));
}

TEST(MdfTableConversion, NullListsReportTheirTableAndStop)
{
    std::vector<std::string> log;
    const DescriptionLog sink = [&log](const std::string& s) { log.push_back(s); };
    std::vector<ErrorCodeInfo> e{{1, "old", "old"}};
    std::vector<PinTypeInfo> p;
    std::vector<ResourceInfo> r;
    std::vector<ModuleTypeInfo> m;
    std::vector<BusTypeInfo> b;
    std::vector<ProtocolInfo> pr;
    std::vector<ComParamInfo> c;
    EXPECT_FALSE(ConvertErrorCodes(nullptr, e, sink));
    EXPECT_TRUE(e.empty()); // emptied before the test
    EXPECT_FALSE(ConvertPinTypes(nullptr, p, sink));
    EXPECT_FALSE(ConvertResources(nullptr, r, sink));
    EXPECT_FALSE(ConvertModuleTypes(nullptr, m, sink));
    EXPECT_FALSE(ConvertBusTypes(nullptr, b, sink));
    EXPECT_FALSE(ConvertProtocols(nullptr, pr, sink));
    EXPECT_FALSE(ConvertComParams(nullptr, c, sink));
    EXPECT_EQ(log, (std::vector<std::string>{"Error: No ErrorCode data found!\n", "Error: No Pintype data found!\n",
                       "Error: No Resource data found!\n", "Error: No Module data found!\n",
                       "Error: No Bustype data found!\n", "Error: No Protocol data found!\n",
                       "Error: No Protocol data found!\n"}));
}

TEST(MdfTableConversion, ASecondParseReplacesEveryTable)
{
    DescriptionTables tables;
    for (const char* file : {"mdf_realistic.xml", "mdf_rules.xml"}) {
        MDF_Parser parser;
        ASSERT_TRUE(parser.Load(FixturePath(file)));
        ASSERT_TRUE(parser.Parse());
        ASSERT_TRUE(parser.FixReferences());
        ASSERT_TRUE(ConvertMdfTables(parser, tables, nullptr));
    }
    EXPECT_EQ(tables.comParams.size(), 12u);
    EXPECT_EQ(tables.resources.size(), 5u);
    EXPECT_EQ(tables.errorCodes.size(), 3u);
}

TEST(MdfTableConversion, RealisticFileConvertsWhole)
{
    MDF_Parser parser;
    ASSERT_TRUE(parser.Load(FixturePath("mdf_realistic.xml")));
    ASSERT_TRUE(parser.Parse());
    ASSERT_TRUE(parser.FixReferences());
    DescriptionTables t;
    std::vector<std::string> log;
    ASSERT_TRUE(ConvertMdfTables(parser, t, [&log](const std::string& s) { log.push_back(s); }));
    EXPECT_EQ(t.comParams.size(), 360u);
    EXPECT_EQ(t.resources.size(), 48u);
    EXPECT_EQ(t.protocols.size(), 14u);
    EXPECT_EQ(t.busTypes.size(), 8u);
    EXPECT_EQ(t.moduleTypes.size(), 4u);
    EXPECT_EQ(t.errorCodes.size(), 64u);
    // Every reference of a resource and a module type resolved to a real id.
    for (const ModuleTypeInfo& m : t.moduleTypes)
        for (uint32_t id : m.resourceIds)
            EXPECT_GE(id, 0x1000u);
    for (const ResourceInfo& r : t.resources) {
        EXPECT_GE(r.busTypeId, 0x2000u);
        EXPECT_GE(r.protocolId, 0x3000u);
        EXPECT_NE(r.pins[0].pinTypeId, PDU_ID_UNDEF);
    }
    for (const ProtocolInfo& p : t.protocols)
        for (const ComParamDefault& d : p.comParams)
            EXPECT_GE(d.comParamId, 0x100u);
    // Only long fields of length 0 ("12 0") report, as their block is dropped.
    for (const std::string& line : log)
        EXPECT_EQ(line.rfind("Warning: ComParam ID=", 0), 0u) << line;
}
