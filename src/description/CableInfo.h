#pragma once

#include <cstdint>
#include <map>
#include <string>

// One cable of the cable description file. Each map keeps the first value of a key.
class CableInfo {
public:
    uint32_t id = 0;
    std::string name;
    std::map<uint32_t, uint32_t> moduleToDlc;
    std::map<uint32_t, uint32_t> dlcToModule; // the inverse view; nothing reads it

    std::string GetName() const { return name; }
    bool HasModulePin(uint32_t pin) const { return moduleToDlc.count(pin) != 0; }
    // Throws the int 1 for a pin the cable doesn't map: ask HasModulePin first.
    uint32_t GetDlcPin(uint32_t pin) const;
};
