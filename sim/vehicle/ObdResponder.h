// Emission-related OBD services (ISO 15031-5 modes 01, 03, 04, 09) of an engine ECU.
#pragma once

#include <cstdint>
#include <string>

#include "DtcMemory.h"
#include "EcuAnswer.h"

namespace pdusim {

class ObdResponder {
public:
    static bool Handles(uint8_t service);
    // Empty: no answer. OBD servers stay silent on what they do not support, even physically.
    static Bytes Answer(const Bytes& request, DtcMemory& dtcs, const std::string& vin);

private:
    static Bytes CurrentData(const Bytes& request, const DtcMemory& dtcs);
    static Bytes StoredDtcs(const Bytes& request, const DtcMemory& dtcs);
    static Bytes ClearDtcs(const Bytes& request, DtcMemory& dtcs);
    static Bytes VehicleInfo(const Bytes& request, const std::string& vin);
};

}  // namespace pdusim
