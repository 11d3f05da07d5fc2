#include <gtest/gtest.h>

#include <cstring>

#include "service_dialogs/IpAddress.h"
#include "service_dialogs/SODConfDialog.h"

namespace {

struct ParseCase {
    const char* text;
    int version;
    bool ok;
    std::vector<uint8_t> bytes;
};

std::vector<uint8_t> V6(std::initializer_list<uint8_t> tail)
{
    std::vector<uint8_t> bytes(16 - tail.size(), 0);
    bytes.insert(bytes.end(), tail);
    return bytes;
}

}  // namespace

TEST(IpAddressTest, ParsesAsTheDialogsTakeTheirText)
{
    const std::vector<uint8_t> fe80 = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const ParseCase cases[] = {
        {"192.168.10.20", 4, true, {192, 168, 10, 20}},
        {"192.168.10.20/24", 4, true, {192, 168, 10, 20}},  // the prefix length is dropped
        {"2001:db8::5", 6, true, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5}},
        {"fe80::1%eth0", 6, true, fe80},  // the zone has no place in the record
        {"fe80::1%3/64", 6, true, fe80},
        {"::1", 6, true, V6({1})},
        // A port is refused, unlike Windows' parser: the records carry their ports apart.
        {"1.2.3.4:80", 4, false, {}},
        {"[::1]:80", 6, false, {}},
        {"1.2.3.4%1", 4, false, {}},
        {"::ffff:10.0.0.1", 4, false, {}},  // SOD's order of tests makes this IPv4
        {"localhost", 4, false, {}},
        {"1.2.3", 4, false, {}},
        {"", 6, false, {}},
        {"10.0.0.1", 0, false, {}},
        {"10.0.0.1/////////////////////////////////////////////////////////////////////", 4, true, {10, 0, 0, 1}},
    };
    for (const ParseCase& c : cases) {
        IpAddress address;
        address.bytes[0] = 0xAA;
        EXPECT_EQ(IpAddress::Parse(c.text, c.version, address), c.ok) << c.text;
        if (!c.ok) {
            EXPECT_EQ(address.bytes[0], 0xAA) << c.text << ": a failure leaves the address as it was";
            continue;
        }
        EXPECT_EQ(address.version, c.version) << c.text;
        EXPECT_EQ(std::vector<uint8_t>(address.bytes, address.bytes + address.Size()), c.bytes) << c.text;
    }
}

TEST(IpAddressTest, SodRecordIsAddressThenBothPortsInHostOrder)
{
    IpAddress v4;
    ASSERT_TRUE(IpAddress::Parse("127.0.0.1", 4, v4));
    std::vector<uint8_t> record = SODConfDialog::Record(v4, 13400, 3496);
    ASSERT_EQ(record.size(), 8u);
    uint16_t ports[2];
    std::memcpy(ports, record.data() + 4, sizeof ports);
    EXPECT_EQ(ports[0], 13400);
    EXPECT_EQ(ports[1], 3496);
    EXPECT_EQ(std::vector<uint8_t>(record.begin(), record.begin() + 4), (std::vector<uint8_t>{127, 0, 0, 1}));

    IpAddress v6;
    ASSERT_TRUE(IpAddress::Parse("::1", 6, v6));
    record = SODConfDialog::Record(v6, 1, 2);
    ASSERT_EQ(record.size(), 20u);
    std::memcpy(ports, record.data() + 16, sizeof ports);
    EXPECT_EQ(ports[0], 1);
    EXPECT_EQ(ports[1], 2);
}
