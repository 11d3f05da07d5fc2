// The texts of the maker's direct CAN records and of the proxy address: every record kind and
// flag, and the two address families.
#include <gtest/gtest.h>

#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "logical_link/LogLines.h"

namespace {

std::string Text(const SeCanMessage& message)
{
    LogLines lines;
    AddSeCanMessage(lines, message);
    return lines.Text();
}

TEST(DirectCanText, EveryKindOfRecord)
{
    SeCanMessage received{};
    received.msgType = SE_RECEIVE_MSG;
    received.timestamp = 4000000000u;
    received.canId = 0x18FF0101;
    received.flags = 0x3F;
    received.dlc = 2;
    received.data[0] = 0xA;
    received.data[1] = 0xB;
    EXPECT_EQ(Text(received), " MessageType: SE_RECEIVE_MSG\n TimeStamp: 4000000000\n CAN ID: 0x18ff0101\n DLC: 2\n"
                              " Flags:  | RECEIVE_FRAME | | TX_FRAME | | ERROR_FRAME | | EXTENDED_ID | | REMOTE_FRAME |"
                              " | BUFFER_OVERRUN |\n Data: 0xa 0xb \n");
    received.dlc = 0;
    received.flags = 0;
    EXPECT_EQ(Text(received), " MessageType: SE_RECEIVE_MSG\n TimeStamp: 4000000000\n CAN ID: 0x18ff0101\n DLC: 0\n"
                              " Flags: \n Data: ");
    received.dlc = 200;  // a library's length past the record: eight bytes, no more
    EXPECT_EQ(Text(received).substr(Text(received).find(" Data:")), " Data: 0xa 0xb 0x0 0x0 0x0 0x0 0x0 0x0 \n");

    SeCanMessage chip{};
    chip.msgType = SE_CHIP_STATE_MSG;
    chip.canId = 7;
    chip.flags = 0x1080;
    EXPECT_EQ(Text(chip), "MessageType: SE_CHIP_STATE_MSG \nChip State: UNKNOWN CHIP_STATE TxErrCnt: 80 RxErrCnt: 10 \n");
    chip.canId = 0;
    EXPECT_EQ(Text(chip), "MessageType: SE_CHIP_STATE_MSG \nChip State: BUS_OFF TxErrCnt: 80 RxErrCnt: 10 \n");
    SeCanMessage other{};
    other.msgType = SE_TRANSMIT_MSG;
    EXPECT_EQ(Text(other), "MessageType: SE_TRANSMIT_MSG\n");
    other.msgType = 9;
    EXPECT_EQ(Text(other), "MessageType: UNKNOWN\n");
}

TEST(ProxyAddressText, FourAndSix)
{
    PDU_IO_PROXY_COM_PARAM_DATA data{};
    data.IpVersion = 4;
    const UNUM8 v4[4] = {192, 168, 0, 7};
    std::copy(v4, v4 + 4, data.IpAddress + 12);
    EXPECT_EQ(ProxyAddressText(data), "192.168.0.7");
    data.IpVersion = 6;
    const UNUM8 v6[16] = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x1a, 0x37, 0xff, 0xfe, 0, 0, 0x01};
    std::copy(v6, v6 + 16, data.IpAddress);
    EXPECT_EQ(ProxyAddressText(data), "fe80:0000:0000:0000:021a:37ff:fe00:0001");
}

}  // namespace
