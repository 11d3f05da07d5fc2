#include "app/ModuleLinkRegistry.h"

#include <algorithm>

namespace {

std::string Field(const std::string& text)
{
    return text.substr(0, ModuleLinkRegistry::kTextSize - 1);
}

}  // namespace

void ModuleLinkRegistry::AddModule(const std::string& name, uint32_t hMod)
{
    const std::string field = Field(name);
    for (const Module& m : m_modules)
        if (m.name == field) return;
    m_modules.push_back(Module{hMod, field, {}});
}

void ModuleLinkRegistry::AddLink(const std::string& moduleName, uint32_t hCLL, const std::string& protocol,
                                 const std::string& busType, const std::string& pins)
{
    const std::string field = Field(moduleName);
    for (Module& m : m_modules) {
        if (m.name != field) continue;
        m.links.push_back(Link{hCLL, Field(protocol), Field(busType), Field(pins)});
        return;
    }
}

void ModuleLinkRegistry::RemoveLink(uint32_t hMod, uint32_t hCLL)
{
    for (auto m = m_modules.begin(); m != m_modules.end(); ++m) {
        if (m->hMod != hMod) continue;
        const auto link = std::find_if(m->links.begin(), m->links.end(), [hCLL](const Link& l) { return l.hCLL == hCLL; });
        if (link == m->links.end()) continue;
        m->links.erase(link);
        if (m->links.empty()) m_modules.erase(m);
        return;
    }
}
