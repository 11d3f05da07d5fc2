// The journal's decoding of what a host hands the library: IOCTL inputs, ComParam values and
// URID tables as one line of text each. Pointers the host left null show as "null".
#pragma once

#include <string>

#include "pdu/PduTypes.h"

namespace pdusim {

class MdfCatalog;

class JournalText {
public:
    static std::string IoCtlInput(const std::string& name, const PDU_DATA_ITEM* input);
    static std::string Param(const MdfCatalog& catalog, const PDU_PARAM_ITEM& item);
    static std::string UridTable(const MdfCatalog& catalog, const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table);
    static std::string Hex(const uint8_t* bytes, size_t count);
    static std::string Quoted(const char* text);
};

}  // namespace pdusim
