// The proxy address and ports that a link's "ReqProxyCP" read last, as text: program-wide, so
// that the SOD configuration starts from them. Empty until a query has run.
#pragma once

#include <string>

struct ProxyComParamTexts {
    std::string address;
    std::string port;     // without TLS
    std::string tlsPort;

    static void Store(const ProxyComParamTexts& texts);
    static ProxyComParamTexts Latest();
};
