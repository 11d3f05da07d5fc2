// Reader of the system root description file that announces the installed D-PDU APIs.
#pragma once

#include <string>

// Separator byte between the joined names and suppliers of list mode. The texts are UTF-8, in
// which the Latin-1 pilcrow byte 0xB6 is part of letters such as "ö"; 0xFF never occurs there.
constexpr char kRootListSeparator = '\xFF';

// List mode (empty tag): fills moduleName and supplier with the joined SHORT_NAMEs and
// SUPPLIER_NAMEs and returns "Root description file contains %d MVCI modules.\n".
// Path mode: returns the path that the file element `tag` of API `moduleName` references.
// Each call parses the file anew; errorText is empty on success, else the message.
std::string ReadRootFile(const std::string& rootFilePath, const std::string& tag, std::string& errorText,
                         std::string& moduleName, std::string& supplier);

// The file reference of a root file turned into a path. Windows rules turn `file:///C:/x/y.dll`
// into `C:\x\y.dll`; POSIX rules only remove the scheme, so `file:///opt/x/y.so` is `/opt/x/y.so`.
std::string RootUriToPath(std::string uri, bool windowsRules);

// The system-wide root file: empty when there is none.
std::string GetRootFilePathFromRegistry();
