#include "description/MdfTableConversion.h"

#include <cstdio>

#include "description/ComParamValue.h"
#include "description/NumberText.h"
#include "description/ParamCodeFromName.h"

namespace {

template <class Record, class Info>
bool Guard(const std::vector<Record>* records, std::vector<Info>& table, const char* missing,
    const DescriptionLog& log)
{
    table.clear();
    if (records)
        return true;
    if (log)
        log(missing);
    return false;
}

std::vector<ComParamDefault> ConvertRefs(const std::vector<ComParamRefRecord>& refs)
{
    std::vector<ComParamDefault> defaults;
    defaults.reserve(refs.size());
    for (const ComParamRefRecord& r : refs)
        defaults.push_back({ParseULong32(r.ref), r.defaultValue});
    return defaults;
}

} // namespace

bool ConvertErrorCodes(const std::vector<ErrorCodeRecord>* records, std::vector<ErrorCodeInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No ErrorCode data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const ErrorCodeRecord& r : *records)
        table.push_back({r.id, r.shortName, r.description});
    return true;
}

bool ConvertPinTypes(const std::vector<PinTypeRecord>* records, std::vector<PinTypeInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No Pintype data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const PinTypeRecord& r : *records)
        table.push_back({ParseULong32(r.id), r.shortName});
    return true;
}

bool ConvertResources(const std::vector<ResourceRecord>* records, std::vector<ResourceInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No Resource data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const ResourceRecord& r : *records) {
        ResourceInfo info;
        info.id = ParseULong32(r.id);
        info.name = r.shortName;
        info.busTypeId = ParseULong32(r.busType);
        info.protocolId = ParseULong32(r.protocol);
        // A half pair counts as no pin at all.
        for (size_t k = 0; k < kResourcePinSlots; ++k)
            if (!r.pinOnModule[k].empty() && !r.pinType[k].empty())
                info.pins[k] = {ParseULong32(r.pinOnModule[k]), ParseULong32(r.pinType[k])};
        table.push_back(std::move(info));
    }
    return true;
}

bool ConvertModuleTypes(const std::vector<ModuleTypeRecord>* records, std::vector<ModuleTypeInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No Module data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const ModuleTypeRecord& r : *records) {
        ModuleTypeInfo info;
        info.id = ParseULong32(r.id);
        info.name = r.shortName;
        info.resourceIds.reserve(r.resourceRefs.size());
        for (const std::string& ref : r.resourceRefs)
            info.resourceIds.push_back(ParseULong32(ref));
        table.push_back(std::move(info));
    }
    return true;
}

bool ConvertBusTypes(const std::vector<BusTypeRecord>* records, std::vector<BusTypeInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No Bustype data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const BusTypeRecord& r : *records)
        table.push_back({ParseULong32(r.id), r.shortName, ConvertRefs(r.comParamRefs)});
    return true;
}

bool ConvertProtocols(const std::vector<ProtocolRecord>* records, std::vector<ProtocolInfo>& table,
    const DescriptionLog& log)
{
    if (!Guard(records, table, "Error: No Protocol data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const ProtocolRecord& r : *records)
        table.push_back({ParseULong32(r.id), r.shortName, ConvertRefs(r.comParamRefs)});
    return true;
}

bool ConvertComParams(const std::vector<ComParamRecord>* records, std::vector<ComParamInfo>& table,
    const DescriptionLog& log)
{
    // The protocol text stands here too; that is the message users know.
    if (!Guard(records, table, "Error: No Protocol data found!\n", log))
        return false;
    table.reserve(records->size());
    for (const ComParamRecord& r : *records) {
        ComParamInfo info;
        info.id = ParseULong32(r.id);
        info.name = r.shortName;
        info.dataType = ParamCodeFromName(r.dataType);
        info.comParamClass = ParamCodeFromName(r.comParamClass);
        if (!ParseDefaultValue(info, r.defaultValue) && log) {
            char line[128];
            std::snprintf(line, sizeof line, "Warning: ComParam ID=%d, value Overflow (Max or Min value is set) !\n",
                static_cast<int>(info.id));
            log(line);
        }
        table.push_back(std::move(info));
    }
    return true;
}

bool ConvertMdfTables(const MDF_Parser& parser, DescriptionTables& tables, const DescriptionLog& log)
{
    return ConvertErrorCodes(&parser.GetErrorCodes(), tables.errorCodes, log)
        && ConvertPinTypes(&parser.GetPinTypes(), tables.pinTypes, log)
        && ConvertResources(&parser.GetResources(), tables.resources, log)
        && ConvertModuleTypes(&parser.GetModuleTypes(), tables.moduleTypes, log)
        && ConvertBusTypes(&parser.GetBusTypes(), tables.busTypes, log)
        && ConvertProtocols(&parser.GetProtocols(), tables.protocols, log)
        && ConvertComParams(&parser.GetComParams(), tables.comParams, log);
}
