#pragma once

#include <cstdint>
#include <vector>

#include "description/ComParamValueFamily.h"
#include "pdu/PduTypes.h"

// A PDU_UNIQUE_RESP_ID_TABLE_ITEM with the arrays and values it points to.
class UridTable {
public:
    explicit UridTable(const ComParamValueFamily& family) : m_family(family) {}
    ~UridTable() { Clear(); }
    UridTable(const UridTable&) = delete;
    UridTable& operator=(const UridTable&) = delete;

    void Clear();
    // A new entry with `count` unset items; returns its index.
    size_t AddEntry(uint32_t urid, uint32_t count);
    PDU_PARAM_ITEM& Param(size_t entry, size_t index) { return m_params[entry][index]; }
    size_t EntryCount() const { return m_entries.size(); }
    // The item as the library takes it; valid until the next change.
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* Item() const;

private:
    const ComParamValueFamily& m_family;
    // The item and its entries point into m_params; they are brought up to date by Item().
    mutable std::vector<PDU_ECU_UNIQUE_RESP_DATA> m_entries;
    mutable std::vector<std::vector<PDU_PARAM_ITEM>> m_params;
    mutable PDU_UNIQUE_RESP_ID_TABLE_ITEM m_item{PDU_IT_UNIQUE_RESP_ID_TABLE, 0, nullptr};
};
