#pragma once

#include <string>
#include <vector>

namespace platform {

// The DT_NEEDED names of an ELF shared object, in file order; empty for anything that is not a
// well-formed ELF file of this machine's byte order.
std::vector<std::string> ElfNeeded(const std::string& path);

}  // namespace platform
