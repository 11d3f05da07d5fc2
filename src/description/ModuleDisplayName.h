// One short display line from the two vendor texts that PDUGetModuleIds gives for a module.
#pragma once

#include <map>
#include <string>

// Splits "key='value' key='value'" text into a map; a later key replaces an earlier one.
// With nestedMaster, a Master_MVCI value may hold pairs of its own and is reduced by ParseMasterInfo.
std::map<std::string, std::string> SplitModuleInfoPairs(const std::string& text, bool nestedMaster);

// "System" stays; otherwise the nested ModuleName and SerialNumber, joined by a blank.
std::string ParseMasterInfo(const std::string& value);

// The line of the module combo: the model name first, so that the hardware table finds it.
std::string BuildModuleDisplayName(const char* vendorModuleName, const char* vendorAdditionalInfo);
