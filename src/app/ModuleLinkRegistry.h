// The open links of each module, for the message filter editor: module handle and name, and per
// link its handle, protocol, bus type and pins.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class ModuleLinkRegistry {
public:
    // The texts are kept in fields of 255 characters, as the filter editor reads them.
    static constexpr size_t kTextSize = 255;

    struct Link {
        uint32_t hCLL = 0;
        std::string protocol;
        std::string busType;
        std::string pins;
    };
    struct Module {
        uint32_t hMod = 0;
        std::string name;
        std::vector<Link> links;
    };

    // Adds the module unless one of that name is there.
    void AddModule(const std::string& name, uint32_t hMod);
    // To the module of that name; nothing when there is none.
    void AddLink(const std::string& moduleName, uint32_t hCLL, const std::string& protocol, const std::string& busType,
                 const std::string& pins);
    // Also removes a module that has no link left.
    void RemoveLink(uint32_t hMod, uint32_t hCLL);

    const std::vector<Module>& Modules() const { return m_modules; }

private:
    std::vector<Module> m_modules;
};
