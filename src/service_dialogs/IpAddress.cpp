#include "service_dialogs/IpAddress.h"

#include <arpa/inet.h>

#include <cstring>

namespace {

constexpr size_t kMaxAddressText = 66;

}  // namespace

bool IpAddress::Parse(const std::string& text, int version, IpAddress& address)
{
    if (version != 4 && version != 6) return false;
    std::string cut = text.substr(0, kMaxAddressText);
    cut = cut.substr(0, cut.find('/'));
    if (version == 6) cut = cut.substr(0, cut.find('%'));
    IpAddress parsed;
    parsed.version = version;
    if (inet_pton(version == 6 ? AF_INET6 : AF_INET, cut.c_str(), parsed.bytes) != 1) return false;
    address = parsed;
    return true;
}
