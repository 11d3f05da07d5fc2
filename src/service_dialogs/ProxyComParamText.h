// The proxy address and ports the last "ReqProxyCP" of any link reported, as text: the SOD
// dialog starts from them. Empty until a link has asked.
#pragma once

#include <mutex>
#include <string>

struct ProxyComParamText {
    std::string address;
    std::string tlsPort;
    std::string port;

    static ProxyComParamText Latest()
    {
        std::lock_guard lock(Mutex());
        return Stored();
    }
    static void Store(ProxyComParamText text)
    {
        std::lock_guard lock(Mutex());
        Stored() = std::move(text);
    }

private:
    static std::mutex& Mutex()
    {
        static std::mutex mutex;
        return mutex;
    }
    static ProxyComParamText& Stored()
    {
        static ProxyComParamText text;
        return text;
    }
};
