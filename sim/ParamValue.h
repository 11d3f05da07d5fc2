// One ComParam value of a link, in a form the library can copy, compare and hand out as a
// PDU_PARAM_ITEM in the standard's layout.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pdu/PduTypes.h"

namespace pdusim {

struct MdfComParam;

class ParamValue {
public:
    ParamValue() = default;
    // The description file's text form: a number, or "max act elements..." for fields,
    // or "type max act (entry)(entry)" for struct fields.
    static ParamValue FromDefault(const MdfComParam& definition, const std::string& text);

    uint32_t Id() const { return m_id; }
    uint32_t DataType() const { return m_dataType; }
    uint32_t Class() const { return m_class; }
    bool operator==(const ParamValue&) const = default;
    uint32_t AsUnsigned() const { return static_cast<uint32_t>(m_number); }
    const std::vector<uint8_t>& Bytes() const { return m_bytes; }

    // The caller's item must be of this value's id and type; the fields must fit their maximum.
    T_PDU_ERROR AssignFrom(const PDU_PARAM_ITEM& item);
    // A new item from the item store (PDUDestroyItem frees it in one piece).
    PDU_PARAM_ITEM* ToItem() const;
    // Fills an item placed in a bigger block; returns the bytes it needs behind the item header.
    size_t PayloadSize() const;
    void WritePayload(PDU_PARAM_ITEM& item, void* payload) const;

private:
    T_PDU_ERROR AssignNumber(const void* data);
    T_PDU_ERROR AssignByteField(const PDU_PARAM_BYTEFIELD_DATA& field);
    T_PDU_ERROR AssignLongField(const PDU_PARAM_LONGFIELD_DATA& field);
    T_PDU_ERROR AssignStructField(const PDU_PARAM_STRUCTFIELD_DATA& field);

    uint32_t m_id = 0;
    uint32_t m_dataType = 0;
    uint32_t m_class = 0;
    int64_t m_number = 0;
    uint32_t m_maxLen = 0;      // ParamMaxLen, or ParamMaxEntries of a struct field
    uint32_t m_structType = 0;
    std::vector<uint8_t> m_bytes;   // byte field elements, or struct entries of 6 bytes
    std::vector<uint32_t> m_longs;  // long field elements
};

}  // namespace pdusim
