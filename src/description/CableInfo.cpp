#include "description/CableInfo.h"

uint32_t CableInfo::GetDlcPin(uint32_t pin) const
{
    const auto it = moduleToDlc.find(pin);
    if (it == moduleToDlc.end())
        throw 1;
    return it->second;
}
