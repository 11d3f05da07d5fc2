#include "ObdResponder.h"

#include "UdsCodes.h"

namespace pdusim {
namespace {

constexpr uint8_t kCurrentData = 0x01;
constexpr uint8_t kStoredDtcs = 0x03;
constexpr uint8_t kClearDtcs = 0x04;
constexpr uint8_t kVehicleInfo = 0x09;
constexpr uint8_t kConfirmedBit = 0x08;
constexpr size_t kMaxPids = 6;

std::vector<Dtc> Confirmed(const DtcMemory& dtcs) { return dtcs.Matching(kConfirmedBit); }

// Data bytes of one mode 01 PID; empty when the PID is not supported.
Bytes PidData(uint8_t pid, const DtcMemory& dtcs) {
    switch (pid) {
        case 0x00: return {0x88, 0x18, 0x00, 0x00};  // 01, 05, 0C, 0D
        case 0x01: {
            const size_t count = Confirmed(dtcs).size();
            const uint8_t mil = count > 0 ? 0x80 : 0x00;
            return {static_cast<uint8_t>(mil | (count & 0x7F)), 0x07, 0x65, 0x00};
        }
        case 0x05: return {0x7B};        // coolant 83 degC
        case 0x0C: return {0x0C, 0x80};  // 800 rpm
        case 0x0D: return {0x00};        // standing still
        default: return {};
    }
}

}  // namespace

bool ObdResponder::Handles(uint8_t service) {
    return service == kCurrentData || service == kStoredDtcs || service == kClearDtcs || service == kVehicleInfo;
}

Bytes ObdResponder::Answer(const Bytes& request, DtcMemory& dtcs, const std::string& vin) {
    switch (request[0]) {
        case kCurrentData: return CurrentData(request, dtcs);
        case kStoredDtcs: return StoredDtcs(request, dtcs);
        case kClearDtcs: return ClearDtcs(request, dtcs);
        case kVehicleInfo: return VehicleInfo(request, vin);
        default: return {};
    }
}

Bytes ObdResponder::CurrentData(const Bytes& request, const DtcMemory& dtcs) {
    if (request.size() < 2 || request.size() > 1 + kMaxPids) return {};
    Bytes response{static_cast<uint8_t>(kCurrentData + sid::kPositiveOffset)};
    for (size_t i = 1; i < request.size(); ++i) {
        const Bytes data = PidData(request[i], dtcs);
        if (data.empty()) continue;
        response.push_back(request[i]);
        response.insert(response.end(), data.begin(), data.end());
    }
    return response.size() > 1 ? response : Bytes{};
}

Bytes ObdResponder::StoredDtcs(const Bytes& request, const DtcMemory& dtcs) {
    if (request.size() != 1) return {};
    const std::vector<Dtc> found = Confirmed(dtcs);
    Bytes response{static_cast<uint8_t>(kStoredDtcs + sid::kPositiveOffset), static_cast<uint8_t>(found.size())};
    for (const Dtc& dtc : found) AppendU16(response, static_cast<uint16_t>(dtc.code >> 8));
    return response;
}

Bytes ObdResponder::ClearDtcs(const Bytes& request, DtcMemory& dtcs) {
    if (request.size() != 1) return {};
    dtcs.Clear(DtcMemory::kAllGroups);
    return {static_cast<uint8_t>(kClearDtcs + sid::kPositiveOffset)};
}

Bytes ObdResponder::VehicleInfo(const Bytes& request, const std::string& vin) {
    if (request.size() != 2) return {};
    const uint8_t positive = kVehicleInfo + sid::kPositiveOffset;
    if (request[1] == 0x00) return {positive, 0x00, 0x40, 0x00, 0x00, 0x00};  // only 02
    if (request[1] != 0x02) return {};
    Bytes response{positive, 0x02, 0x01};  // one data item
    response.insert(response.end(), vin.begin(), vin.end());
    return response;
}

}  // namespace pdusim
