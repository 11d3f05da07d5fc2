#include "ParamValue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "ItemStore.h"
#include "MdfCatalog.h"

namespace pdusim {
namespace {

constexpr size_t kStructEntrySize = 6;
constexpr int64_t kMaxFieldLength = 4096;  // keeps a wild description file from asking for gigabytes

std::vector<int64_t> Numbers(std::string text) {
    for (char& c : text)
        if (c == '(' || c == ')' || c == ',') c = ' ';
    std::vector<int64_t> numbers;
    std::istringstream stream(text);
    std::string token;
    while (stream >> token) numbers.push_back(std::strtoll(token.c_str(), nullptr, 0));
    return numbers;
}

bool IsNumeric(uint32_t type) { return type >= PDU_PT_UNUM8 && type <= PDU_PT_SNUM32; }

bool FitsNumber(uint32_t type, int64_t v) {
    switch (type) {
        case PDU_PT_UNUM8: return v >= 0 && v <= 0xFF;
        case PDU_PT_SNUM8: return v >= -128 && v <= 127;
        case PDU_PT_UNUM16: return v >= 0 && v <= 0xFFFF;
        case PDU_PT_SNUM16: return v >= -32768 && v <= 32767;
        default: return true;
    }
}

}  // namespace

ParamValue ParamValue::FromDefault(const MdfComParam& definition, const std::string& text) {
    ParamValue value;
    value.m_id = definition.id;
    value.m_dataType = definition.dataType;
    value.m_class = definition.comParamClass;
    const std::vector<int64_t> n = Numbers(text.empty() ? definition.defaultValue : text);
    auto at = [&](size_t i, int64_t fallback) { return i < n.size() ? n[i] : fallback; };
    if (IsNumeric(value.m_dataType)) {
        value.m_number = at(0, 0);
    } else if (value.m_dataType == PDU_PT_BYTEFIELD || value.m_dataType == PDU_PT_LONGFIELD) {
        value.m_maxLen = static_cast<uint32_t>(std::clamp<int64_t>(at(0, 255), 0, kMaxFieldLength));
        const size_t count = std::min<size_t>(static_cast<size_t>(at(1, 0)), n.size() > 2 ? n.size() - 2 : 0);
        for (size_t i = 0; i < count; ++i) {
            if (value.m_dataType == PDU_PT_BYTEFIELD) value.m_bytes.push_back(static_cast<uint8_t>(n[2 + i]));
            else value.m_longs.push_back(static_cast<uint32_t>(n[2 + i]));
        }
    } else if (value.m_dataType == PDU_PT_STRUCTFIELD) {
        value.m_structType = static_cast<uint32_t>(at(0, PDU_CPST_SESSION_TIMING));
        value.m_maxLen = static_cast<uint32_t>(std::clamp<int64_t>(at(1, 255), 0, kMaxFieldLength));
        const size_t members = value.m_structType == PDU_CPST_SESSION_TIMING ? 5 : 6;
        const size_t entries = static_cast<size_t>(at(2, 0));
        for (size_t e = 0; e < entries && 3 + (e + 1) * members <= n.size(); ++e) {
            uint8_t entry[kStructEntrySize] = {};
            if (members == 5) {
                const auto session = static_cast<uint16_t>(n[3 + e * 5]);
                std::memcpy(entry, &session, 2);
                for (size_t k = 1; k < 5; ++k) entry[k + 1] = static_cast<uint8_t>(n[3 + e * 5 + k]);
            } else {
                for (size_t k = 0; k < 6; ++k) entry[k] = static_cast<uint8_t>(n[3 + e * 6 + k]);
            }
            value.m_bytes.insert(value.m_bytes.end(), entry, entry + kStructEntrySize);
        }
    }
    return value;
}

T_PDU_ERROR ParamValue::AssignFrom(const PDU_PARAM_ITEM& item) {
    if (item.ItemType != PDU_IT_PARAM || item.ComParamDataType != m_dataType || item.pComParamData == nullptr)
        return PDU_ERR_INVALID_PARAMETERS;
    switch (m_dataType) {
        case PDU_PT_BYTEFIELD: return AssignByteField(*static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(item.pComParamData));
        case PDU_PT_LONGFIELD: return AssignLongField(*static_cast<const PDU_PARAM_LONGFIELD_DATA*>(item.pComParamData));
        case PDU_PT_STRUCTFIELD:
            return AssignStructField(*static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(item.pComParamData));
        default: return AssignNumber(item.pComParamData);
    }
}

T_PDU_ERROR ParamValue::AssignNumber(const void* data) {
    int64_t v = 0;
    switch (m_dataType) {
        case PDU_PT_UNUM8: v = *static_cast<const uint8_t*>(data); break;
        case PDU_PT_SNUM8: v = *static_cast<const int8_t*>(data); break;
        case PDU_PT_UNUM16: v = *static_cast<const uint16_t*>(data); break;
        case PDU_PT_SNUM16: v = *static_cast<const int16_t*>(data); break;
        case PDU_PT_UNUM32: v = *static_cast<const uint32_t*>(data); break;
        case PDU_PT_SNUM32: v = *static_cast<const int32_t*>(data); break;
        default: return PDU_ERR_INVALID_PARAMETERS;
    }
    if (!FitsNumber(m_dataType, v)) return PDU_ERR_VALUE_NOT_SUPPORTED;
    m_number = v;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ParamValue::AssignByteField(const PDU_PARAM_BYTEFIELD_DATA& field) {
    if (field.ParamActLen > field.ParamMaxLen || field.ParamActLen > m_maxLen) return PDU_ERR_VALUE_NOT_SUPPORTED;
    if (field.ParamActLen > 0 && field.pDataArray == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    m_bytes.assign(field.pDataArray, field.pDataArray + field.ParamActLen);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ParamValue::AssignLongField(const PDU_PARAM_LONGFIELD_DATA& field) {
    if (field.ParamActLen > field.ParamMaxLen || field.ParamActLen > m_maxLen) return PDU_ERR_VALUE_NOT_SUPPORTED;
    if (field.ParamActLen > 0 && field.pDataArray == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    m_longs.assign(field.pDataArray, field.pDataArray + field.ParamActLen);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ParamValue::AssignStructField(const PDU_PARAM_STRUCTFIELD_DATA& field) {
    if (field.ComParamStructType != m_structType) return PDU_ERR_VALUE_NOT_SUPPORTED;
    if (field.ParamActEntries > field.ParamMaxEntries || field.ParamActEntries > m_maxLen)
        return PDU_ERR_VALUE_NOT_SUPPORTED;
    if (field.ParamActEntries > 0 && field.pStructArray == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    const auto* entries = static_cast<const uint8_t*>(field.pStructArray);
    m_bytes.assign(entries, entries + field.ParamActEntries * kStructEntrySize);
    return PDU_STATUS_NOERROR;
}

size_t ParamValue::PayloadSize() const {
    switch (m_dataType) {
        case PDU_PT_BYTEFIELD: return sizeof(PDU_PARAM_BYTEFIELD_DATA) + m_maxLen;
        case PDU_PT_LONGFIELD: return sizeof(PDU_PARAM_LONGFIELD_DATA) + m_maxLen * sizeof(uint32_t);
        case PDU_PT_STRUCTFIELD: return sizeof(PDU_PARAM_STRUCTFIELD_DATA) + m_maxLen * kStructEntrySize;
        default: return sizeof(uint32_t);
    }
}

// The arrays get room for their maximum, so a host may fill the item in place and set it back.
void ParamValue::WritePayload(PDU_PARAM_ITEM& item, void* payload) const {
    item.ItemType = PDU_IT_PARAM;
    item.ComParamId = m_id;
    item.ComParamDataType = m_dataType;
    item.ComParamClass = m_class;
    item.pComParamData = payload;
    if (m_dataType == PDU_PT_BYTEFIELD) {
        auto* field = static_cast<PDU_PARAM_BYTEFIELD_DATA*>(payload);
        field->ParamMaxLen = m_maxLen;
        field->ParamActLen = static_cast<UNUM32>(m_bytes.size());
        field->pDataArray = reinterpret_cast<UNUM8*>(field + 1);
        if (!m_bytes.empty()) std::memcpy(field->pDataArray, m_bytes.data(), m_bytes.size());
    } else if (m_dataType == PDU_PT_LONGFIELD) {
        auto* field = static_cast<PDU_PARAM_LONGFIELD_DATA*>(payload);
        field->ParamMaxLen = m_maxLen;
        field->ParamActLen = static_cast<UNUM32>(m_longs.size());
        field->pDataArray = reinterpret_cast<UNUM32*>(field + 1);
        if (!m_longs.empty()) std::memcpy(field->pDataArray, m_longs.data(), m_longs.size() * sizeof(uint32_t));
    } else if (m_dataType == PDU_PT_STRUCTFIELD) {
        auto* field = static_cast<PDU_PARAM_STRUCTFIELD_DATA*>(payload);
        field->ComParamStructType = m_structType;
        field->ParamMaxEntries = m_maxLen;
        field->ParamActEntries = static_cast<UNUM32>(m_bytes.size() / kStructEntrySize);
        field->pStructArray = field + 1;
        if (!m_bytes.empty()) std::memcpy(field->pStructArray, m_bytes.data(), m_bytes.size());
    } else {
        const auto v32 = static_cast<uint32_t>(m_number);
        const auto v16 = static_cast<uint16_t>(m_number);
        const auto v8 = static_cast<uint8_t>(m_number);
        if (m_dataType == PDU_PT_UNUM8 || m_dataType == PDU_PT_SNUM8) std::memcpy(payload, &v8, 1);
        else if (m_dataType == PDU_PT_UNUM16 || m_dataType == PDU_PT_SNUM16) std::memcpy(payload, &v16, 2);
        else std::memcpy(payload, &v32, 4);
    }
}

PDU_PARAM_ITEM* ParamValue::ToItem() const {
    BlockLayout layout;
    const size_t header = layout.Add(sizeof(PDU_PARAM_ITEM));
    const size_t payload = layout.Add(PayloadSize());
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_PARAM_ITEM>(block, header);
    WritePayload(*item, At<void>(block, payload));
    return item;
}

}  // namespace pdusim
