#include "description/ParamCodeFromName.h"

#include <array>
#include <utility>

#include "pdu/PduTypes.h"

uint32_t ParamCodeFromName(std::string_view name)
{
    static constexpr std::array<std::pair<std::string_view, uint32_t>, 16> kCodes{{
        {"PDU_PT_UNUM8", PDU_PT_UNUM8},
        {"PDU_PT_SNUM8", PDU_PT_SNUM8},
        {"PDU_PT_UNUM16", PDU_PT_UNUM16},
        {"PDU_PT_SNUM16", PDU_PT_SNUM16},
        {"PDU_PT_UNUM32", PDU_PT_UNUM32},
        {"PDU_PT_SNUM32", PDU_PT_SNUM32},
        {"PDU_PT_BYTEFIELD", PDU_PT_BYTEFIELD},
        {"PDU_PT_STRUCTFIELD", PDU_PT_STRUCTFIELD},
        {"PDU_PT_LONGFIELD", PDU_PT_LONGFIELD},
        {"TIMING", PDU_PC_TIMING},
        {"INIT", PDU_PC_INIT},
        {"COM", PDU_PC_COM},
        {"ERRHDL", PDU_PC_ERRHDL},
        {"BUSTYPE", PDU_PC_BUSTYPE},
        {"UNIQUE_ID", PDU_PC_UNIQUE_ID},
        {"TESTER_PRESENT", PDU_PC_TESTER_PRESENT},
    }};
    for (const auto& [text, code] : kCodes)
        if (text == name)
            return code;
    return 0;
}
