#pragma once

#include <functional>
#include <string>
#include <vector>

#include "description/DescriptionTables.h"
#include "description/MDF_Parser.h"

// Receives each log text as it is produced ("...\n" included).
using DescriptionLog = std::function<void(const std::string&)>;

// The parser's records into the runtime tables. Each function empties its table first; a null
// record list logs the table's "Error: No ... data found!\n" and answers false, which stops the
// caller. The parser's lists are never null, so that report only guards other callers.
bool ConvertErrorCodes(const std::vector<ErrorCodeRecord>* records, std::vector<ErrorCodeInfo>& table,
    const DescriptionLog& log);
bool ConvertPinTypes(const std::vector<PinTypeRecord>* records, std::vector<PinTypeInfo>& table,
    const DescriptionLog& log);
bool ConvertResources(const std::vector<ResourceRecord>* records, std::vector<ResourceInfo>& table,
    const DescriptionLog& log);
bool ConvertModuleTypes(const std::vector<ModuleTypeRecord>* records, std::vector<ModuleTypeInfo>& table,
    const DescriptionLog& log);
bool ConvertBusTypes(const std::vector<BusTypeRecord>* records, std::vector<BusTypeInfo>& table,
    const DescriptionLog& log);
bool ConvertProtocols(const std::vector<ProtocolRecord>* records, std::vector<ProtocolInfo>& table,
    const DescriptionLog& log);
// Logs "Warning: ComParam ID=%d, value Overflow (Max or Min value is set) !\n" for each default
// that didn't fit its type, and keeps the row with the saturated value.
bool ConvertComParams(const std::vector<ComParamRecord>* records, std::vector<ComParamInfo>& table,
    const DescriptionLog& log);

// All seven in their order: error codes, pin types, resources, module types, bus types,
// protocols, ComParams. False when a guard stopped it; the tables before it stay built.
bool ConvertMdfTables(const MDF_Parser& parser, DescriptionTables& tables, const DescriptionLog& log);
