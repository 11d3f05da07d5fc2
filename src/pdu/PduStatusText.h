#pragma once

#include <cstdint>

// Text of a T_PDU_ERROR code; "Unknown error..." for a code without a row. Constant, any thread.
const char* PduStatusText(uint32_t code);
// Name of a ComPrimitive, link or module status value; "UNKNOWN_STATUS" otherwise.
const char* PduStateName(uint32_t value);
