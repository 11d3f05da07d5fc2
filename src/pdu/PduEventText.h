// The log lines that name a status, an error event and an info code, as every log decodes them.
#pragma once

#include "pdu/PduTypes.h"

// "PDU_COPST_EXECUTING.\n" ...; empty for a value without a name.
const char* PduStatusLine(T_PDU_STATUS status);
// "PDU_ERR_EVT_RX_TIMEOUT\n" ...; "Unknown error event\n" for others.
const char* PduErrorEventLine(T_PDU_ERR_EVT code);
// "PDU_INFO_MODULE_LIST_CHG\n" ...; empty for others.
const char* PduInfoLine(T_PDU_INFO code);
