#pragma once

#include <string>

namespace platform {

// The folder of the running program, without a trailing '/'; "" when it cannot be had.
std::string ExecutableDirectory();
// $XDG_CONFIG_HOME (else ~/.config) + "/Morvane/D-PDU API", created when absent.
std::string CommonAppDataDirectory();
// A regular file (after symlinks); a directory of that name does not count.
bool FileExists(const std::string& path);
bool CanOpenForReading(const std::string& path);
// $D_PDU_API_ROOT_FILE when set and non-empty, else /etc/pdu_api_root.xml when it exists, else "".
std::string SystemRootFilePath();
// The root file an installed program ships in its data folder (<prefix>/share/quillon for a
// program in <prefix>/bin), when it exists there; else "".
std::string InstalledRootFilePath(const std::string& executableDirectory);
std::string ToLower(const std::string& s);  // ASCII only

}  // namespace platform
