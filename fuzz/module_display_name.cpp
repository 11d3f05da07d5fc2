// The two vendor texts of a module: split into pairs, the master's nested pairs, the display line.
#include <fuzzer/FuzzedDataProvider.h>

#include "description/ModuleDisplayName.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const bool nameIsNull = input.ConsumeBool();
    const bool infoIsNull = input.ConsumeBool();
    const std::string name = input.ConsumeRandomLengthString(256);
    const std::string info = input.ConsumeRemainingBytesAsString();
    // The library hands C strings: each ends at its first NUL.
    BuildModuleDisplayName(nameIsNull ? nullptr : name.c_str(), infoIsNull ? nullptr : info.c_str());
    SplitModuleInfoPairs(info, false);
    for (const auto& [key, value] : SplitModuleInfoPairs(info, true)) ParseMasterInfo(value);
    ParseMasterInfo(name);
    return 0;
}
