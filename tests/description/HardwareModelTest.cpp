#include <gtest/gtest.h>

#include "description/HardwareModel.h"

TEST(HardwareModelTest, LooksUpByExactIdName)
{
    struct Case {
        const char* key;
        int row;  // 60 when none
        uint32_t typeId;
    };
    const Case cases[] = {
        {"ZentaAir", 0, 519},
        {"BrontoMax", 1, 569},
        {"ZentaStick", 4, 518},
        {"VN1630_LOG", 15, 564},
        {"J2534", 33, 527},
        {"MVCI_ISO_13400_DoIP_Entity", 56, 541},
        {"MVCI_ISO_13400_DoIP_Collection", 59, 544},
        // The short form of the display line and other spellings find nothing.
        {"DoIP_Entity", 60, 0},
        {"brontomax", 60, 0},
        {"BrontoMax ", 60, 0},
        {"VN1630A_", 60, 0},
        {"", 60, 0},
    };
    ASSERT_EQ(HardwareModelCount(), 60);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        const int row = FindHardwareModel(c.key);
        EXPECT_EQ(row, c.row);
        if (row < HardwareModelCount()) {
            EXPECT_EQ(HardwareModelAt(row).moduleTypeId, c.typeId);
        }
    }
}

TEST(HardwareModelTest, OnlyTheDoIpModelsAreRefused)
{
    int refused = 0;
    for (int i = 0; i < HardwareModelCount(); ++i) {
        const HardwareModel& row = HardwareModelAt(i);
        EXPECT_EQ(FindHardwareModel(row.idName), i) << "id names are unique";
        if (IsDoIpHardwareType(row.moduleTypeId)) {
            ++refused;
            EXPECT_EQ(row.idName.rfind("MVCI_ISO_13400_DoIP_", 0), 0u) << row.idName;
        }
    }
    EXPECT_EQ(refused, 4);
}
