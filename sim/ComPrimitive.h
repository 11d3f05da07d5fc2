// One ComPrimitive of a link: what the host asked for, and how far it has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "ParamValue.h"
#include "vehicle/Vehicle.h"

namespace pdusim {

using SteadyTime = std::chrono::steady_clock::time_point;

struct ExpectedResponse {
    uint32_t responseType = 0;
    uint32_t acceptanceId = 0;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> pattern;
    std::vector<uint32_t> uniqueRespIds;
};

struct PendingResponse {
    SteadyTime start;  // first bit on the bus
    SteadyTime due;    // complete
    VehicleResponse response;
    bool indicated = false;  // start of message told
};

// One frame of a CAN bus, as a monitor link shows it.
struct BusFrame {
    uint32_t id = 0;  // without the 29-bit mark
    bool extended = false;
    std::vector<uint8_t> data;
    SteadyTime start{};
    SteadyTime end{};
    bool fromTester = false;
};

struct ComPrimitive {
    uint32_t handle = 0;
    T_PDU_COPT type = 0;
    std::vector<uint8_t> data;
    void* tag = nullptr;
    uint32_t timeMs = 0;
    int32_t sendCycles = 1;
    int32_t receiveCycles = 1;
    std::vector<uint8_t> txFlags;
    std::vector<ExpectedResponse> expected;
    std::map<uint32_t, ParamValue> params;  // the set this ComPrimitive runs with

    bool SuppressPositive() const { return !txFlags.empty() && (txFlags[0] & 0x40) != 0; }
    bool ExtraInfo() const { return !txFlags.empty() && (txFlags[0] & 0x20) != 0; }
    bool Can29Bit() const { return txFlags.size() > 2 && (txFlags[2] & 0x01) != 0; }

    T_PDU_STATUS status = PDU_COPST_IDLE;
    bool started = false;
    bool done = false;
    bool background = false;  // cyclic or endless: runs beside the queue
    bool awaiting = false;
    int32_t sendsDone = 0;
    int32_t receivedThisCycle = 0;
    SteadyTime nextAction{};
    SteadyTime cycleStart{};
    SteadyTime deadline{};
    SteadyTime nextTraffic{};
    uint32_t trafficPeriod = 0;
    SteadyTime txDone{};
    bool txDoneValid = false;   // a receive-only ComPrimitive sends nothing
    bool unexpectedThisCycle = false;  // an answer came that fit no expected response
    bool positiveSeen = false;
    bool viaDoIpTcp = false;    // its answers come from the entity's TCP connection  // a K-Line StartCommunication only starts on a positive answer
    std::deque<PendingResponse> pending;
};

}  // namespace pdusim
