#include "vehicle/Vehicle.h"

#include <gtest/gtest.h>

#include <string>

namespace pdusim {
namespace {

using Bytes = std::vector<uint8_t>;

VehicleRequest Can(uint32_t target, Bytes data, bool functional = false) {
    return {VehicleBus::Can, "ISO_15765_3_on_ISO_15765_2", target, functional, std::move(data)};
}

TEST(Vehicle, ReadsVinFromEngine) {
    Vehicle vehicle;
    auto answers = vehicle.Request(Can(0x7E0, {0x22, 0xF1, 0x90}));
    ASSERT_EQ(answers.size(), 1u);
    Bytes expected{0x62, 0xF1, 0x90};
    expected.insert(expected.end(), Vehicle::kVin, Vehicle::kVin + 17);
    EXPECT_EQ(answers[0].data, expected);
    EXPECT_EQ(answers[0].sourceAddress, 0x7E8u);
    EXPECT_TRUE(answers[0].segmented);
}

TEST(Vehicle, UnknownTargetGivesNoAnswer) {
    Vehicle vehicle;
    EXPECT_TRUE(vehicle.Request(Can(0x7E5, {0x3E, 0x00})).empty());
}

}  // namespace
}  // namespace pdusim
