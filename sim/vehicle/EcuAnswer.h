// What one simulated ECU sends back for one request, before addressing and delay scaling.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace pdusim {

using Bytes = std::vector<uint8_t>;
using TimePoint = std::chrono::steady_clock::time_point;

struct EcuAnswer {
    Bytes data;
    uint32_t delayUs = 0;  // after the request, or after this ECU's previous answer
};

}  // namespace pdusim
