#include "controls/TextCompare.h"

#include <algorithm>
#include <cctype>

namespace controls {

namespace {

int CompareRange(const std::string& a, const std::string& b, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        int ca = std::tolower(static_cast<unsigned char>(a[i]));
        int cb = std::tolower(static_cast<unsigned char>(b[i]));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    return 0;
}

}  // namespace

int CompareNoCase(const std::string& a, const std::string& b) {
    int result = CompareRange(a, b, std::min(a.size(), b.size()));
    if (result != 0 || a.size() == b.size())
        return result;
    return a.size() < b.size() ? -1 : 1;
}

bool StartsWithNoCase(const std::string& text, const std::string& prefix) {
    return text.size() >= prefix.size() && CompareRange(text, prefix, prefix.size()) == 0;
}

}  // namespace controls
