#include <gtest/gtest.h>

#include <string>

#include "pdu/PduStatusText.h"

TEST(PduStatusText, KnownAndUnknownCodes)
{
    const struct {
        uint32_t code;
        const char* text;
    } cases[] = {
        {0x00, "PDU_STATUS_NOERROR: PDU function call successful"},
        {0x01, "PDU_ERR_FCT_FAILED: PDU function call failed"},
        {0x40, "PDU_ERR_CLL_NOT_CONNECTED"},
        {0x71, "PDU_ERR_EVENT_QUEUE_EMPTY"},
        {0xA3, "PDU_ERR_MODULE_NOT_CONNECTED: Module not available, or already in use."},
        {0xB1, "PDU_ERR_DOIP_ROUTING_ACTIVATION FAILED"},
        {0xBB, "PDU_ERR_DOIP_ROUTING_ACTIVATION_RESPONSE_TIMEOUT"},
        {0xBD, "PDU_ERR_TLS_REQUIRED"},
        {0xC3, "PDU_ERR_TLS_CIPHER_NOT_SUPPORTED"},
        // no rows: the newer DoIP time-out, gaps between rows, beyond the table
        {0xBC, "Unknown error..."},
        {0x33, "Unknown error..."},
        {0x02, "Unknown error..."},
        {0xC4, "Unknown error..."},
        {0xFFFFFFFF, "Unknown error..."},
    };
    for (const auto& c : cases) EXPECT_STREQ(PduStatusText(c.code), c.text) << std::hex << c.code;
}

TEST(PduStatusText, StateNames)
{
    const struct {
        uint32_t value;
        const char* name;
    } cases[] = {
        {0x8010, "PDU_COPST_IDLE"},     {0x8014, "PDU_COPST_WAITING"},    {0x8050, "PDU_CLLST_OFFLINE"},
        {0x8052, "PDU_CLLST_COMM_STARTED"}, {0x8060, "PDU_MODST_READY"},  {0x8063, "PDU_MODST_AVAIL"},
        {0x8015, "UNKNOWN_STATUS"},     {0x8053, "UNKNOWN_STATUS"},       {0, "UNKNOWN_STATUS"},
    };
    for (const auto& c : cases) EXPECT_STREQ(PduStateName(c.value), c.name) << std::hex << c.value;
}
