// The simulated vehicle behind libpdusim: ECUs that answer requests the way real ones do.
// It knows nothing of the D-PDU API; the library turns ComPrimitives into requests and the
// answers into result items.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace pdusim {

enum class VehicleBus { Can, KLine, Ethernet };

struct VehicleRequest {
    VehicleBus bus = VehicleBus::Can;
    std::string protocol;       // protocol short name of the link (e.g. "ISO_15765_3_on_ISO_15765_2")
    uint32_t targetAddress = 0; // CAN id the request goes out on (physical or functional), K-Line/DoIP target
    bool functional = false;    // functional addressing (every ECU listening answers)
    std::vector<uint8_t> data;  // the PDU: UDS/KWP service bytes; on raw CAN 4 bytes big-endian id + data
};

struct VehicleResponse {
    uint32_t sourceAddress = 0;  // CAN id / address the answer comes from (e.g. 0x7E8)
    std::vector<uint8_t> data;   // whole reassembled message (UDS/KWP) or raw frame (4-byte id + data)
    uint32_t delayUs = 0;        // after the request, or after the previous response of the same request
    bool segmented = false;      // would need more than one bus frame (ISO-TP first/consecutive frames)
};

// Time source of session and security timers; tests inject their own.
using VehicleClock = std::function<std::chrono::steady_clock::time_point()>;

class Vehicle {
public:
    Vehicle();
    explicit Vehicle(VehicleClock clock);
    ~Vehicle();
    Vehicle(const Vehicle&) = delete;
    Vehicle& operator=(const Vehicle&) = delete;

    // Thread-safe. An ECU that does not answer gives an empty list (the library then reports
    // PDU_ERR_EVT_RX_TIMEOUT). "Slow" answers are scaled by SetResponseDelayScale.
    std::vector<VehicleResponse> Request(const VehicleRequest& request);

    // Whether a DoIP request to this logical address reaches an ECU (physical or functional).
    bool ListensOnDoIp(uint32_t address) const;

    // Background traffic for monitoring and endless receive cycles on raw CAN: the frames the bus
    // carries in one period (4-byte big-endian id + data each).
    std::vector<std::vector<uint8_t>> BusTraffic(uint32_t periodIndex);

    // Extra delay factor for fault injection ("an answer is slow"): 1 = normal.
    void SetResponseDelayScale(uint32_t factor);

    // Reset sessions, security state and stored data of every ECU (ignition cycle).
    void Reset();

    static constexpr char kVin[] = "WQU0SIMULATOR0001";

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace pdusim
