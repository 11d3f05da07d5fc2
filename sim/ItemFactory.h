// Builds the items the library hands out, each as one block of the item store.
#pragma once

#include <cstdint>
#include <vector>

#include "pdu/PduTypes.h"

namespace pdusim {

struct ResultContent {
    uint32_t hCop = 0;
    void* copTag = nullptr;
    uint32_t timestamp = 0;
    std::vector<uint8_t> data;
    std::vector<uint8_t> rxFlags = std::vector<uint8_t>(4, 0);
    uint32_t uniqueRespId = PDU_ID_UNDEF;
    uint32_t acceptanceId = 0;
    uint8_t timestampFlags = 0;  // byte 0: 0x80 Tx done valid, 0x40 start of message valid
    uint32_t txDoneTimestamp = 0;
    uint32_t startMsgTimestamp = 0;
    bool withExtraInfo = false;
    std::vector<uint8_t> header;  // extra info: what the bus carried before and after the data
    std::vector<uint8_t> footer;
};

constexpr uint8_t kTxDoneValid = 0x80;
constexpr uint8_t kStartMsgValid = 0x40;

struct ModuleEntry {
    uint32_t typeId = 0;
    uint32_t hMod = 0;
    const char* vendorName = "";
    const char* additionalInfo = "";
    uint32_t status = 0;
};

struct RscIdEntry {
    uint32_t hMod = 0;
    std::vector<uint32_t> ids;
};

class ItemFactory {
public:
    static PDU_EVENT_ITEM* Status(uint32_t hCop, void* copTag, uint32_t timestamp, T_PDU_STATUS status);
    static PDU_EVENT_ITEM* Error(uint32_t hCop, void* copTag, uint32_t timestamp, T_PDU_ERR_EVT code, uint32_t extra);
    static PDU_EVENT_ITEM* Info(uint32_t timestamp, T_PDU_INFO code, uint32_t extra);
    static PDU_EVENT_ITEM* Result(const ResultContent& content);
    static PDU_MODULE_ITEM* ModuleList(const std::vector<ModuleEntry>& modules);
    static PDU_RSC_ID_ITEM* ResourceIds(const std::vector<RscIdEntry>& entries);
    static PDU_RSC_CONFLICT_ITEM* Conflicts(const std::vector<PDU_RSC_CONFLICT_DATA>& conflicts);
    static PDU_DATA_ITEM* Unum32(uint32_t value);
    // A data item whose pData points at a copy of the given bytes.
    static PDU_DATA_ITEM* Data(T_PDU_IT type, const void* data, size_t size);
};

}  // namespace pdusim
