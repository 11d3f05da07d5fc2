#include "logical_link/LinkComParams.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "description/ComParamValue.h"
#include "description/KeldaValueFamily.h"
#include "description/NumberText.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/ProfileFile.h"

namespace {

constexpr uint32_t kKeyListBuffer = 65536;
constexpr uint32_t kValueBuffer = 2000;
constexpr uint32_t kUridValueBuffer = 50;

bool IsField(uint32_t dataType)
{
    return dataType == PDU_PT_BYTEFIELD || dataType == PDU_PT_LONGFIELD;
}

// strtok: tokens between runs of the separator; `rest` is what follows the token's separator.
std::string NextToken(const std::string& text, char separator, size_t& pos)
{
    while (pos < text.size() && text[pos] == separator) ++pos;
    const size_t start = pos;
    while (pos < text.size() && text[pos] != separator) ++pos;
    std::string token = text.substr(start, pos - start);
    if (pos < text.size()) ++pos;
    return token;
}

uint32_t MaxLenOf(const void* value)
{
    // Byte and long field blocks begin alike: ParamMaxLen first.
    return value ? static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(value)->ParamMaxLen : 0;
}

std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...)
{
    char buffer[1100];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return n < 0 ? std::string() : std::string(buffer, std::min<size_t>(static_cast<size_t>(n), sizeof buffer - 1));
}

}  // namespace

std::string ValueText(const void* value, uint32_t dataType, bool hexNumbers)
{
    if (!value) return {};
    std::string text;
    switch (dataType) {
    case PDU_PT_BYTEFIELD: {
        const auto* field = static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(value);
        for (uint32_t i = 0; field->pDataArray && i < field->ParamActLen; ++i) text += Printf("0x%x ", field->pDataArray[i]);
        break;
    }
    case PDU_PT_LONGFIELD: {
        const auto* field = static_cast<const PDU_PARAM_LONGFIELD_DATA*>(value);
        for (uint32_t i = 0; field->pDataArray && i < field->ParamActLen; ++i)
            text += Printf("%d ", static_cast<int32_t>(field->pDataArray[i]));
        break;
    }
    case PDU_PT_STRUCTFIELD: StructToText(text, static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(value)); return text;
    default:
        if (!IsNumericDataType(dataType)) return {};
        return Printf(hexNumbers ? "0x%x" : "%d", static_cast<uint32_t>(NumericValue(value, dataType)));
    }
    if (!text.empty()) text.pop_back();  // the last blank
    return text;
}

// ---------------------------------------------------------------- the ComParam array

LinkComParams::LinkComParams(Variant variant, ComParamValueFamily& family, Log log)
    : m_uridTable(family), m_variant(variant), m_family(family), m_log(std::move(log))
{
}

void LinkComParams::LogFormat(const char* format, ...)
{
    char buffer[1100];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (n >= 0) m_log(std::string(buffer, std::min<size_t>(static_cast<size_t>(n), sizeof buffer - 1)));
}

ComParamInfo* LinkComParams::FindByName(const std::string& name)
{
    for (ComParamInfo& entry : ProtocolComParams)
        if (entry.name == name) return &entry;
    return nullptr;
}

const ComParamInfo* LinkComParams::FindById(uint32_t id) const
{
    for (const ComParamInfo& entry : ProtocolComParams)
        if (entry.id == id) return &entry;
    return nullptr;
}

bool LinkComParams::Build(const Model& model, uint32_t busTypeId, uint32_t protocolId)
{
    if (!model.protocols || !model.definitions || protocolId == 0) return false;
    const auto definition = [&](uint32_t id) -> const ComParamInfo* {
        for (const ComParamInfo& d : *model.definitions)
            if (d.id == id) return &d;
        return nullptr;
    };
    std::vector<std::pair<const ComParamInfo*, const std::string*>> kept;
    if (model.busTypes) {
        for (const BusTypeInfo& busType : *model.busTypes) {
            if (busType.id != busTypeId) continue;
            for (const ComParamDefault& ref : busType.comParams) {
                const ComParamInfo* d = definition(ref.comParamId);
                if (d && d->comParamClass == PDU_PC_BUSTYPE) kept.emplace_back(d, &ref.value);
            }
        }
    }
    const bool busTypeKept = !kept.empty();
    for (const ProtocolInfo& protocol : *model.protocols) {
        if (protocol.id != protocolId) continue;
        for (const ComParamDefault& ref : protocol.comParams) {
            const ComParamInfo* d = definition(ref.comParamId);
            if (!d || (busTypeKept && d->comParamClass == PDU_PC_BUSTYPE)) continue;
            kept.emplace_back(d, &ref.value);
        }
    }
    for (const auto& [d, text] : kept) AddEntry(*d, *text);
    return true;
}

void LinkComParams::AddEntry(const ComParamInfo& definition, const std::string& text)
{
    ComParamInfo entry = definition.CloneHeader();
    bool held = true;
    if (!IsField(definition.dataType)) {
        held = m_family.TextToValue(&entry.value, text, definition.dataType);
    } else {
        std::string fieldText = text;
        char separator = ' ';
        const size_t comma = fieldText.find(',');
        if (comma != std::string::npos && comma > 0) {
            separator = ',';
            std::erase_if(fieldText, [](char c) { return c == ' ' || c == '\t'; });
        }
        size_t pos = 0;
        const std::string maxLen = NextToken(fieldText, separator, pos);
        // Only the full dialog's routines take the field's maximum length from its default.
        auto* kelda = dynamic_cast<KeldaValueFamily*>(&m_family);
        uint32_t ignored = 0;
        uint32_t& limit = !kelda ? ignored
                          : definition.dataType == PDU_PT_BYTEFIELD ? kelda->m_byteFieldMax
                                                                    : kelda->m_longFieldMax;
        if (maxLen.empty()) {
            m_family.CopyValue(&entry.value, definition.value, definition.dataType);
            limit = MaxLenOf(definition.value);
        } else {
            limit = static_cast<uint32_t>(ParseLong32(maxLen, 0));
            NextToken(fieldText, separator, pos);  // the actual length: the elements tell it
            held = m_family.TextToValue(&entry.value, fieldText.substr(std::min(pos, fieldText.size())),
                                        definition.dataType);
        }
    }
    if (!held) LogFormat("Warning: ComParam ID=%d, value Overflow (Max or Min value is set) !\n", static_cast<int>(entry.id));
    ProtocolComParams.push_back(std::move(entry));
}

bool LinkComParams::LoadAndSetValues(const std::string& iniPath, const std::string& protocolName, uint32_t hMod,
                                     uint32_t hCLL, T_PDU_ERROR& lastStatus)
{
    if (iniPath.empty()) {
        m_log(kSeparator);
        m_log("Error: Quillon.ini file not found!\n");
        FreeAll();
        return false;
    }
    m_log(kSeparator);
    m_log("Loading ProtocolComParams values from the ini file...\n");
    std::vector<char> keys(kKeyListBuffer);
    const uint32_t length =
        platform::ProfileFile::GetString(iniPath, protocolName.c_str(), nullptr, "", keys.data(), kKeyListBuffer);
    if (length == 0) {
        m_log(kSeparator);
        m_log("ProtocolComParam values not found in the ini file!\n");
    }
    if (length == 0 || ProtocolComParams.empty()) {
        m_log(kSeparator);
        m_log("Error: No ComParam to set, default values are loaded!\n");
        return true;
    }
    for (const char* key = keys.data(); *key; key += std::strlen(key) + 1) {
        const std::string value = platform::ProfileFile::GetString(iniPath, protocolName, key, "", kValueBuffer);
        ComParamInfo* entry = FindByName(key);
        if (!entry) continue;
        if (value.empty()) {
            LogFormat("No value found for ComParam ID=%d!\n", static_cast<int>(entry->id));
        } else if (!m_family.TextToValue(&entry->value, value, entry->dataType)) {
            LogFormat("Warning: ComParam ID=%d, value Overflow (Max or Min value is set) !\n", static_cast<int>(entry->id));
        }
    }
    SetValues(hMod, hCLL, lastStatus);
    return true;
}

void LinkComParams::SetValues(uint32_t hMod, uint32_t hCLL, T_PDU_ERROR& lastStatus, bool onlyChanged)
{
    const bool plain = m_variant == Variant::Plain;
    m_log(kSeparator);
    m_log("Setting new ComParam values...\n");
    for (const ComParamInfo& entry : ProtocolComParams) {
        if (entry.comParamClass == PDU_PC_UNIQUE_ID) continue;
        if (onlyChanged && ValueEquals(entry.value, entry.appliedValue, entry.dataType)) continue;
        void* data = nullptr;
        if (m_family.CopyValue(&data, entry.value, entry.dataType)) {
            PDU_PARAM_ITEM item{PDU_IT_PARAM, entry.id, entry.dataType, entry.comParamClass, data};
            lastStatus = PduApi.PDUSetComParam(hMod, hCLL, &item);
            if (lastStatus != PDU_STATUS_NOERROR) {
                if (plain)
                    LogFormat("Return of PDUSetComParam(%d):\n%s\n", static_cast<int>(entry.id), PduStatusText(lastStatus));
                else
                    LogFormat("Return of PDUSetComParam(%d, Name: %s):\n%s\n", static_cast<int>(entry.id),
                              entry.name.c_str(), PduStatusText(lastStatus));
            }
        } else if (plain) {
            LogFormat("Error: Could not set the new ComParam value (ID=%d).\n", static_cast<int>(entry.id));
        } else {
            LogFormat("Error: Could not set the new ComParam value (ID=%d, Name: %s).\n", static_cast<int>(entry.id),
                      entry.name.c_str());
        }
        m_family.FreeValue(&data, entry.dataType);
    }
    m_log("ComParam values are updated!\n");
}

void LinkComParams::ReadUridTexts(const std::string& iniPath, const std::string& protocolName)
{
    for (const std::string& section : platform::ProfileFile::SectionNames(iniPath)) {
        if (section.find("URID") == std::string::npos || section.find(protocolName) == std::string::npos) continue;
        const size_t equals = section.find('=');
        UridText block;
        block.id = equals == std::string::npos ? 0 : ParseULong32(std::string_view(section).substr(equals + 1), 0);
        for (const std::string& key : platform::ProfileFile::KeyNames(iniPath, section)) {
            if (!block.items.empty()) block.items += ',';
            block.items += key + "=" + platform::ProfileFile::GetString(iniPath, section, key, "DEFAULT", kUridValueBuffer);
        }
        m_uridTexts.push_back(std::move(block));
    }
}

bool LinkComParams::FillUridTable()
{
    bool valid = true;
    for (const UridText& block : m_uridTexts) {
        const auto count = static_cast<uint32_t>(std::count(block.items.begin(), block.items.end(), ',') + 1);
        const size_t entry = m_uridTable.AddEntry(block.id, count);
        size_t start = 0;
        for (uint32_t i = 0; i < count; ++i) {
            const size_t comma = std::min(block.items.find(',', start), block.items.size());
            const std::string pair = block.items.substr(start, comma - start);
            start = comma + 1;
            const size_t equals = pair.find('=');
            ComParamInfo* param = FindByName(pair.substr(0, equals));
            if (!param) continue;  // no ComParam of that name: the item stays unset
            PDU_PARAM_ITEM& item = m_uridTable.Param(entry, i);
            item = PDU_PARAM_ITEM{PDU_IT_PARAM, param->id, param->dataType, param->comParamClass, nullptr};
            const std::string value = equals == std::string::npos ? std::string() : pair.substr(equals + 1);
            if (!m_family.TextToValue(&item.pComParamData, value, param->dataType)) {
                LogFormat("Warning: URID ComParam ID=%d, value Overflow (Max or Min value is set) !\n",
                          static_cast<int>(param->id));
                valid = false;
            }
        }
    }
    return valid;
}

void LinkComParams::LoadAndSetUridTable(const std::string& iniPath, const std::string& protocolName, uint32_t hMod,
                                        uint32_t hCLL)
{
    m_log(kSeparator);
    m_log("Loading URID table form the ini file... \n");
    ReadUridTexts(iniPath, protocolName);
    m_uridTable.Clear();
    bool set = false;
    if (m_uridTexts.empty()) {
        m_log("No URID table found in the ini file.\n");
    } else {
        m_log(kSeparator);
        m_log("Setting the new URID tables...\n");
        if (FillUridTable()) {
            m_log("The new URID table successfuly created!\n");
            m_log(kSeparator);
            m_log("Setting the new URID Table...!\n");
            const T_PDU_ERROR result = PduApi.PDUSetUniqueRespIdTable(hMod, hCLL, m_uridTable.Item());
            LogFormat("Return of PDUSetUniqueRespIdTable:\n%s\n", PduStatusText(result));
            set = true;
        } else {
            m_uridTable.Clear();
        }
    }
    if (set) return;
    m_log("Setting the default URID table.\n");
    m_log(kSeparator);
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* table = nullptr;
    const T_PDU_ERROR got = PduApi.PDUGetUniqueRespIdTable(hMod, hCLL, &table);
    LogFormat("Return of PDUGetUniqueRespIdTable:\n%s\n", PduStatusText(got));
    if (got != PDU_STATUS_NOERROR) return;
    const T_PDU_ERROR result = PduApi.PDUSetUniqueRespIdTable(hMod, hCLL, table);
    m_log(kSeparator);
    LogFormat("Return of PDUSetUniqueRespIdTable:\n%s\n", PduStatusText(result));
    if (table) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(table));
}

void LinkComParams::FetchValues(uint32_t hMod, uint32_t hCLL)
{
    m_log(kSeparator);
    m_log("Getting ComParam values from the buffer...\n");
    for (ComParamInfo& entry : ProtocolComParams) {
        if (entry.comParamClass == PDU_PC_UNIQUE_ID) continue;
        PDU_PARAM_ITEM* item = nullptr;
        const T_PDU_ERROR result = PduApi.PDUGetComParam(hMod, hCLL, entry.id, &item);
        if (result == PDU_STATUS_NOERROR && item && item->pComParamData) {
            if (!m_family.CopyValue(&entry.appliedValue, item->pComParamData, entry.dataType) ||
                !m_family.CopyValue(&entry.value, item->pComParamData, entry.dataType))
                LogFormat("Error: Could not set ComParam(ID=%d) value!\n", static_cast<int>(entry.id));
        } else if (result != PDU_STATUS_NOERROR) {
            LogFormat("Return of PDUGetComParam(%d):\n%s\n", static_cast<int>(entry.id), PduStatusText(result));
        }
        if (item) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    }
    m_log("Getting ComParam values finished!\n");
}

bool LinkComParams::AdoptUridTable(const UridTable& edited)
{
    m_uridTable.Clear();
    const PDU_UNIQUE_RESP_ID_TABLE_ITEM* source = edited.Item();
    for (UNUM32 e = 0; e < source->NumEntries; ++e) {
        const PDU_ECU_UNIQUE_RESP_DATA& entry = source->pUniqueData[e];
        const size_t copy = m_uridTable.AddEntry(entry.UniqueRespIdentifier, entry.NumParamItems);
        for (UNUM32 p = 0; p < entry.NumParamItems; ++p) {
            const PDU_PARAM_ITEM& param = entry.pParams[p];
            PDU_PARAM_ITEM& item = m_uridTable.Param(copy, p);
            item = PDU_PARAM_ITEM{param.ItemType, param.ComParamId, param.ComParamDataType, param.ComParamClass, nullptr};
            if (param.pComParamData && !m_family.CopyValue(&item.pComParamData, param.pComParamData, param.ComParamDataType)) {
                LogFormat("Error: Could not set the URID parameter ID=%d!\n", static_cast<int>(param.ComParamId));
                m_uridTable.Clear();
                return false;
            }
        }
    }
    return true;
}

void LinkComParams::SaveUridTable(const std::string& iniPath, const std::string& protocolName) const
{
    const PDU_UNIQUE_RESP_ID_TABLE_ITEM* item = m_uridTable.Item();
    for (UNUM32 e = 0; e < item->NumEntries; ++e) {
        const PDU_ECU_UNIQUE_RESP_DATA& entry = item->pUniqueData[e];
        const std::string section = Printf("URID_%s=%d", protocolName.c_str(), static_cast<int>(entry.UniqueRespIdentifier));
        std::vector<std::pair<std::string, std::string>> keys;
        for (UNUM32 p = 0; p < entry.NumParamItems; ++p) {
            const PDU_PARAM_ITEM& param = entry.pParams[p];
            if (!param.pComParamData || param.ComParamDataType == PDU_PT_LONGFIELD) continue;
            if (const ComParamInfo* info = FindById(param.ComParamId))
                keys.emplace_back(info->name, ValueText(param.pComParamData, param.ComParamDataType, true));
        }
        platform::ProfileFile::WriteStrings(iniPath, section.c_str(), keys);
    }
}

void LinkComParams::SaveValues(const std::string& iniPath, const std::string& protocolName) const
{
    std::vector<std::pair<std::string, std::string>> keys;
    for (const ComParamInfo& entry : ProtocolComParams) {
        if (!entry.value || entry.comParamClass == PDU_PC_UNIQUE_ID) continue;
        keys.emplace_back(entry.name, ValueText(entry.value, entry.dataType, false));
    }
    platform::ProfileFile::WriteStrings(iniPath, protocolName.c_str(), keys);
}

void LinkComParams::FreeAll()
{
    ProtocolComParams.clear();
    m_uridTable.Clear();
}
