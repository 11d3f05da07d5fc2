#include "service_dialogs/ProxyComParamTexts.h"

#include <mutex>

namespace {

std::mutex g_mutex;
ProxyComParamTexts g_latest;

}  // namespace

void ProxyComParamTexts::Store(const ProxyComParamTexts& texts)
{
    std::lock_guard lock(g_mutex);
    g_latest = texts;
}

ProxyComParamTexts ProxyComParamTexts::Latest()
{
    std::lock_guard lock(g_mutex);
    return g_latest;
}
