// Log texts the bench writes in several places, as the tests expect them.
#pragma once

#include <string>

// What choosing an API logs before the library is loaded (the description files of RootFileText).
inline std::string LoadPduApiLog(const std::string& name, const std::string& lib)
{
    return "----------------------------------------------------\n"
           "Selected MVCI module: " + name + "\n"
           "----------------------------------------------------\n"
           "PDU-API dll:\n" + lib + "\n"
           "PDU-API ModuleDescriptionFile:\n/nowhere/mdf.xml\n"
           "PDU-API CableDescriptionFile:\n/nowhere/cdf.xml\n"
           "Loading PDU-API library file...\n\n"
           "PduApiLibPath:\"" + lib + "\"\n";
}
