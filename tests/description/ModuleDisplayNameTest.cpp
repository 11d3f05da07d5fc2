#include <gtest/gtest.h>

#include "description/ModuleDisplayName.h"

TEST(ModuleDisplayName, Lines)
{
    const struct {
        const char* name;
        const char* info;
        const char* line;
    } cases[] = {
        {"ModuleName='BrontoMax'", "SerialNumber='123'", "BrontoMax 123"},
        {"", "Type='MVCI_ISO_13400_DoIP_Entity'", "DoIP_Entity"},
        {"", "Type='SomethingElse'", "SomethingElse"},
        {"ModuleName='ZentaStick' VendorName='Morvane AG'", "Master_MVCI='System' SerialNumber='42'",
         "ZentaStick (System) Morvane AG 42"},
        {"ModuleName='ZentaAir'", "Master_MVCI='ModuleName='BrontoMax' SerialNumber='7'' EID='00AA'",
         "ZentaAir (BrontoMax 7) 00AA"},
        // name part order: ModuleName, DeviceName, non-empty VCIName, VCIType, Type
        {"DeviceName='Dev' VCIName='Vci'", "", "Dev"},
        {"VCIName='' VCIType='TypeX'", "", "TypeX"},
        {"VCIName='Vci' VCIType='TypeX'", "", "Vci"},
        // identity: SerialNumber, then the serial inside ConnectionInfo, then EID
        {"ModuleName='M'", "ConnectionInfo='usb serial = \"A1B2\" port'", "M A1B2"},
        {"ModuleName='M'", "ConnectionInfo='short'", "M"},
        // without the marker the serial starts at index 9
        {"ModuleName='M'", "ConnectionInfo='0123456789\"rest'", "M 9"},
        {"ModuleName='M'", "ConnectionInfo='0123456789X\"'", "M 9X"},
        {"ModuleName='M'", "ConnectionInfo='0123456789'", "M"},
        {"ModuleName='M'", "EID='112233445566'", "M 112233445566"},
        {"", "", ""},
        // later pairs replace earlier ones; an unterminated value runs to the end
        {"ModuleName='A' ModuleName='B'", "", "B"},
        {"ModuleName='M'", "SerialNumber='99", "M 99"},
    };
    for (const auto& c : cases) EXPECT_EQ(BuildModuleDisplayName(c.name, c.info), c.line) << c.name << " | " << c.info;
}

TEST(ModuleDisplayName, NestedPairsStayInsideTheMaster)
{
    const auto pairs = SplitModuleInfoPairs("Master_MVCI='ModuleName='X' SerialNumber='1'' VendorName='V'", true);
    EXPECT_EQ(pairs.at("Master_MVCI"), "X 1");
    EXPECT_EQ(pairs.at("VendorName"), "V");
    EXPECT_EQ(pairs.count("ModuleName"), 0u);
    EXPECT_EQ(pairs.count("SerialNumber"), 0u);
}

TEST(ModuleDisplayName, MasterInfo)
{
    EXPECT_EQ(ParseMasterInfo("System"), "System");
    EXPECT_EQ(ParseMasterInfo("ModuleName='X'"), "X ");
    EXPECT_EQ(ParseMasterInfo(""), " ");
    EXPECT_EQ(BuildModuleDisplayName(nullptr, nullptr), "");
}
