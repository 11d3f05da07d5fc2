#include "JournalText.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "MdfCatalog.h"
#include "pdu/MorvaneExtensions.h"

namespace pdusim {
namespace {

// What a host could hand over by mistake stays readable without walking far into its memory.
constexpr uint32_t kMaxShown = 4096;

std::string Format(const char* format, auto... values) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

uint16_t HostU16(const uint8_t* at) {
    uint16_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// The service oriented diagnostics record: address, non-TLS port, TLS port, in host order.
std::string SodRecord(const uint8_t* bytes, uint32_t size) {
    char address[INET6_ADDRSTRLEN] = {};
    if (size == 8) {
        inet_ntop(AF_INET, bytes, address, sizeof address);
        return Format(" (IPv4 %s, non-TLS port %u, TLS port %u)", address, HostU16(bytes + 4), HostU16(bytes + 6));
    }
    if (size == 20) {
        inet_ntop(AF_INET6, bytes, address, sizeof address);
        return Format(" (IPv6 %s, non-TLS port %u, TLS port %u)", address, HostU16(bytes + 16), HostU16(bytes + 18));
    }
    return {};
}

std::string BusTrace(const PDU_BUS_TRC_CONFIG& config) {
    std::string text = Format("busType=%u pins=%u [", config.BusTypeId, config.NumPins);
    const uint32_t shown = config.pPins != nullptr ? std::min<uint32_t>(config.NumPins, 2) : 0;
    for (uint32_t i = 0; i < shown; ++i) text += Format(i ? " %u" : "%u", config.pPins[i].DLCPinNumber);
    text += Format("] activate=%u maxSize=%u path=", config.Activate, config.MaxTraceFileSize);
    return text + JournalText::Quoted(config.pTraceFilePath) + " file=" + JournalText::Quoted(config.pTraceFile);
}

std::string ByteArray(const std::string& name, const PDU_IO_BYTEARRAY_DATA& array) {
    if (array.pData == nullptr) return Format("bytes[%u]=null", array.DataSize);
    if (name == PDU_IOCTL_BUS_TRACE && array.DataSize == sizeof(PDU_BUS_TRC_CONFIG)) {
        PDU_BUS_TRC_CONFIG config;
        std::memcpy(&config, array.pData, sizeof config);
        return BusTrace(config);
    }
    std::string text = Format("bytes[%u]=", array.DataSize) +
                       JournalText::Hex(array.pData, std::min(array.DataSize, kMaxShown));
    if (name == PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG) text += SodRecord(array.pData, array.DataSize);
    return text;
}

std::string Filters(const PDU_IO_FILTER_LIST& list) {
    std::string text = Format("filters=%u", list.NumFilterEntries);
    if (list.pFilterData == nullptr) return text + " null";
    for (uint32_t i = 0; i < std::min<uint32_t>(list.NumFilterEntries, 64); ++i) {
        const PDU_IO_FILTER_DATA& f = list.pFilterData[i];
        const size_t size = std::min<size_t>(f.FilterCompareSize, sizeof f.FilterMaskMessage);
        text += Format(" {type=%u number=%u size=%u mask=", f.FilterType, f.FilterNumber, f.FilterCompareSize) +
                JournalText::Hex(f.FilterMaskMessage, size) + " pattern=" +
                JournalText::Hex(f.FilterPatternMessage, size) + "}";
    }
    return text;
}

const char* Unum32Label(const std::string& name) {
    if (name == "PDU_IOCTL_STOP_MSG_FILTER") return "filter";
    if (name == PDU_IOCTL_MRVNE_SIM_PLUG_MODULE || name == PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE) return "module";
    return "value";
}

template <typename T>
std::string Field(const char* unit, const T& field, auto show) {
    std::string text = Format("[%u/%u]", field.ParamActLen, field.ParamMaxLen);
    if (field.pDataArray == nullptr) return text + " null";
    for (uint32_t i = 0; i < std::min(field.ParamActLen, kMaxShown); ++i) text += Format(unit, show(field.pDataArray[i]));
    return text;
}

std::string ParamValueText(const PDU_PARAM_ITEM& item) {
    const void* data = item.pComParamData;
    if (data == nullptr) return "null";
    switch (item.ComParamDataType) {
    case PDU_PT_UNUM8: return Format("%u", *static_cast<const UNUM8*>(data));
    case PDU_PT_SNUM8: return Format("%d", *static_cast<const SNUM8*>(data));
    case PDU_PT_UNUM16: return Format("%u", *static_cast<const UNUM16*>(data));
    case PDU_PT_SNUM16: return Format("%d", *static_cast<const SNUM16*>(data));
    case PDU_PT_UNUM32: return Format("%u", *static_cast<const UNUM32*>(data));
    case PDU_PT_SNUM32: return Format("%d", *static_cast<const SNUM32*>(data));
    case PDU_PT_BYTEFIELD:
        return Field(" %02x", *static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(data), [](UNUM8 b) { return unsigned{b}; });
    case PDU_PT_LONGFIELD:
        return Field(" %u", *static_cast<const PDU_PARAM_LONGFIELD_DATA*>(data), [](UNUM32 v) { return v; });
    case PDU_PT_STRUCTFIELD: {
        const auto& s = *static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(data);
        return Format("struct %u [%u/%u]", s.ComParamStructType, s.ParamActEntries, s.ParamMaxEntries);
    }
    default: return Format("type 0x%x", item.ComParamDataType);
    }
}

}  // namespace

std::string JournalText::Hex(const uint8_t* bytes, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += Format(i ? " %02x" : "%02x", bytes[i]);
    return text;
}

std::string JournalText::Quoted(const char* text) { return text == nullptr ? "null" : "\"" + std::string(text) + "\""; }

std::string JournalText::IoCtlInput(const std::string& name, const PDU_DATA_ITEM* input) {
    if (input == nullptr) return "(no input)";
    const void* data = input->pData;
    if (data == nullptr) return Format("item 0x%x without data", input->ItemType);
    switch (input->ItemType) {
    case PDU_IT_IO_UNUM32: return Format("%s=%u", Unum32Label(name), *static_cast<const UNUM32*>(data));
    case PDU_IT_IO_BYTEARRAY: return ByteArray(name, *static_cast<const PDU_IO_BYTEARRAY_DATA*>(data));
    case PDU_IT_IO_FILTER: return Filters(*static_cast<const PDU_IO_FILTER_LIST*>(data));
    case PDU_IT_IO_TRACE_OPTIONS: {
        const auto& options = *static_cast<const PDU_IO_TRACE_OPTIONS*>(data);
        return Format("version=%u path=", options.Version) + Quoted(options.pTracePath) +
               Format(" detail=%u", options.TraceDetail);
    }
    case PDU_IT_IO_BROKER_ADDR: return "url=" + Quoted(static_cast<const char*>(data));
    case PDU_IT_IO_PROXY_COM_PARAM_REQUEST: return Format("timeout=%u", *static_cast<const UNUM32*>(data));
    default: return Format("item 0x%x", input->ItemType);
    }
}

std::string JournalText::Param(const MdfCatalog& catalog, const PDU_PARAM_ITEM& item) {
    const MdfComParam* definition = catalog.FindComParam(item.ComParamId);
    const std::string name = definition != nullptr ? definition->name : Format("0x%x", item.ComParamId);
    return name + "=" + ParamValueText(item);
}

std::string JournalText::UridTable(const MdfCatalog& catalog, const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table) {
    std::string text = Format("entries=%u", table.NumEntries);
    if (table.pUniqueData == nullptr) return text + " null";
    for (uint32_t i = 0; i < std::min<uint32_t>(table.NumEntries, kMaxShown); ++i) {
        const PDU_ECU_UNIQUE_RESP_DATA& entry = table.pUniqueData[i];
        text += Format(" URID %u {", entry.UniqueRespIdentifier);
        for (uint32_t p = 0; entry.pParams != nullptr && p < std::min<uint32_t>(entry.NumParamItems, kMaxShown); ++p)
            text += (p ? ", " : "") + Param(catalog, entry.pParams[p]);
        text += "}";
    }
    return text;
}

}  // namespace pdusim
