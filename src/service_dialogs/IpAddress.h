// An IPv4 or IPv6 address as the DoIP and SOD IOCTLs carry it: 4 or 16 bytes, network order.
//
// Parse reads the text the way those dialogs take it: cut at 66 characters, then at the first
// '/' (a prefix length is dropped), then read strictly for the family the caller chose. An IPv6
// zone behind '%' ("fe80::1%eth0") is dropped, as the record has no place for it. A port is not
// taken: "1.2.3.4:80" and "[::1]:80" are refused, although Windows' parser accepts them, because
// the records carry their ports in fields of their own and a port in the address field would
// otherwise be dropped without a word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct IpAddress {
    int version = 0;  // 4 or 6
    uint8_t bytes[16] = {};

    size_t Size() const { return version == 6 ? 16 : 4; }

    // false, and the address unchanged, when the text is no address of that version.
    static bool Parse(const std::string& text, int version, IpAddress& address);
};
