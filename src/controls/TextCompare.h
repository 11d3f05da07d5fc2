#pragma once

#include <string>

namespace controls {

// The toolkit's list order and search: byte-wise, without regard to ASCII case.
int CompareNoCase(const std::string& a, const std::string& b);
bool StartsWithNoCase(const std::string& text, const std::string& prefix);

}  // namespace controls
