#include "Vehicle.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <optional>

#include "KwpServer.h"
#include "RawCanNode.h"
#include "UdsServer.h"

namespace pdusim {
namespace {

constexpr char kRawCanProtocol[] = "ISO_11898_RAW";
constexpr uint32_t kCanClassicPayload = 7;  // single frame of ISO 15765-2, normal addressing
constexpr uint32_t kKwpEcuAddress = 0x10;
constexpr uint32_t kKwpFunctionalAddress = 0x33;
constexpr uint32_t kLargest11BitId = 0x7FF;

struct Route {
    uint32_t request = 0;
    uint32_t response = 0;
};

struct UdsNode {
    std::vector<Route> physical;
    std::vector<Route> functional;
    UdsServer server;
};

// One answer on the request's own time line: microseconds since the request.
struct TimedResponse {
    uint64_t atUs = 0;
    VehicleResponse response;
};

std::optional<uint32_t> Lookup(const std::vector<Route>& routes, uint32_t id) {
    for (const Route& route : routes)
        if (route.request == id) return route.response;
    return std::nullopt;
}

UdsEcuConfig EngineConfig(uint32_t delayUs) {
    UdsEcuConfig config;
    config.vin = Vehicle::kVin;
    config.partNumber = "0281QS0001";
    config.serialNumber = "ENG00012345";
    config.softwareVersion = "ENG SW 3.1.4";
    config.extraDids = {{0x010C, {0x0C, 0x80}, DidWrite::Never},   // engine speed 800 rpm (x0.25)
                        {0x0105, {0x7B}, DidWrite::Never},         // coolant 83 degC (+40)
                        {0x0200, {0x00, 0x00, 0x00, 0x01}, DidWrite::ExtendedSession}};  // variant coding
    config.dtcs = {{0x030100, 0x2F}, {0x042000, 0x28}, {0xC10000, 0x24}};  // P0301, P0420, U0100
    config.responseDelayUs = delayUs;
    config.seedStart = 0x1000;
    config.obd = true;
    return config;
}

UdsEcuConfig TransmissionConfig(uint32_t delayUs) {
    UdsEcuConfig config;
    config.vin = Vehicle::kVin;
    config.partNumber = "0501QS0002";
    config.serialNumber = "TCU00067890";
    config.softwareVersion = "TCU SW 2.0.7";
    config.extraDids = {{0x0110, {0x03}, DidWrite::Never}};  // selected gear
    config.dtcs = {{0x070000, 0x08}, {0x071500, 0x2F}};     // P0700, P0715
    config.responseDelayUs = delayUs;
    config.seedStart = 0x2000;
    return config;
}

std::vector<UdsNode> CanNodes() {
    std::vector<UdsNode> nodes;
    nodes.push_back({{{0x7E0, 0x7E8}, {0x18DA10F1, 0x18DAF110}},
                     {{0x7DF, 0x7E8}, {0x18DB33F1, 0x18DAF110}},
                     UdsServer(EngineConfig(5000))});
    nodes.push_back({{{0x7E1, 0x7E9}, {0x18DA18F1, 0x18DAF118}},
                     {{0x7DF, 0x7E9}, {0x18DB33F1, 0x18DAF118}},
                     UdsServer(TransmissionConfig(9000))});
    return nodes;
}

std::vector<UdsNode> DoipNodes() {
    std::vector<UdsNode> nodes;
    nodes.push_back({{{0x1001, 0x1001}}, {{0xE400, 0x1001}}, UdsServer(EngineConfig(2000))});
    nodes.push_back({{{0x1002, 0x1002}}, {{0xE400, 0x1002}}, UdsServer(TransmissionConfig(3000))});
    return nodes;
}

}  // namespace

struct Vehicle::Impl {
    explicit Impl(VehicleClock c) : clock(std::move(c)), canNodes(CanNodes()), doipNodes(DoipNodes()), kwp(kVin) {}

    std::vector<TimedResponse> AskUds(std::vector<UdsNode>& nodes, const VehicleRequest& request, bool can);
    std::vector<TimedResponse> AskKwp(const VehicleRequest& request);
    std::vector<TimedResponse> AskRawCan(const VehicleRequest& request);
    std::vector<VehicleResponse> Sequence(std::vector<TimedResponse> timed) const;

    std::mutex mutex;
    VehicleClock clock;
    uint32_t delayScale = 1;
    std::vector<UdsNode> canNodes;
    std::vector<UdsNode> doipNodes;
    KwpServer kwp;
};

std::vector<TimedResponse> Vehicle::Impl::AskUds(std::vector<UdsNode>& nodes, const VehicleRequest& request,
                                                 bool can) {
    const uint32_t mark = can ? request.targetAddress & RawCanNode::kExtendedFlag : 0;
    const uint32_t target = can ? request.targetAddress & RawCanNode::kIdMask : request.targetAddress;
    // A 29-bit frame that carries a small id is not the 11-bit frame of that id: nobody listens.
    if (mark != 0 && target <= kLargest11BitId) return {};
    std::vector<TimedResponse> out;
    for (UdsNode& node : nodes) {
        bool functional = request.functional;
        std::optional<uint32_t> source = Lookup(node.physical, target);
        if (!source) {
            source = Lookup(node.functional, target);
            functional = functional || source.has_value();
        }
        // A functional request without an address goes to the usual functional id.
        if (!source && request.functional && target == 0) source = node.functional.front().response;
        if (!source) continue;
        uint64_t at = 0;
        for (EcuAnswer& answer : node.server.Handle(request.data, functional, clock())) {
            at += answer.delayUs;
            const bool segmented = can && answer.data.size() > kCanClassicPayload;
            out.push_back({at, {*source | mark, std::move(answer.data), 0, segmented}});
        }
    }
    return out;
}

std::vector<TimedResponse> Vehicle::Impl::AskKwp(const VehicleRequest& request) {
    // Target 0: a link without addressing talks to the only K-Line ECU.
    const uint32_t target = request.targetAddress;
    if (target != kKwpEcuAddress && target != kKwpFunctionalAddress && target != 0) return {};
    std::vector<TimedResponse> out;
    uint64_t at = 0;
    for (EcuAnswer& answer : kwp.Handle(request.data, clock())) {
        at += answer.delayUs;
        out.push_back({at, {kKwpEcuAddress, std::move(answer.data), 0, false}});
    }
    return out;
}

std::vector<TimedResponse> Vehicle::Impl::AskRawCan(const VehicleRequest& request) {
    const std::optional<RawCanNode::Frame> frame = RawCanNode::Parse(request.data);
    if (!frame) return {};
    const std::optional<RawCanNode::Frame> answer = RawCanNode::Answer(*frame);
    if (!answer) return {};
    return {{RawCanNode::kResponseDelayUs, {answer->id, RawCanNode::Encode(*answer), 0, false}}};
}

std::vector<VehicleResponse> Vehicle::Impl::Sequence(std::vector<TimedResponse> timed) const {
    std::stable_sort(timed.begin(), timed.end(),
                     [](const TimedResponse& a, const TimedResponse& b) { return a.atUs < b.atUs; });
    std::vector<VehicleResponse> out;
    uint64_t previous = 0;
    for (TimedResponse& item : timed) {
        const uint64_t scaled = (item.atUs - previous) * delayScale;
        previous = item.atUs;
        item.response.delayUs = static_cast<uint32_t>(std::min<uint64_t>(scaled, std::numeric_limits<uint32_t>::max()));
        out.push_back(std::move(item.response));
    }
    return out;
}

Vehicle::Vehicle() : Vehicle(&std::chrono::steady_clock::now) {}

Vehicle::Vehicle(VehicleClock clock)
    : m_impl(std::make_unique<Impl>(clock ? std::move(clock) : VehicleClock(&std::chrono::steady_clock::now))) {}

Vehicle::~Vehicle() = default;

std::vector<VehicleResponse> Vehicle::Request(const VehicleRequest& request) {
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    switch (request.bus) {
        case VehicleBus::Can:
            if (request.protocol == kRawCanProtocol) return m_impl->Sequence(m_impl->AskRawCan(request));
            return m_impl->Sequence(m_impl->AskUds(m_impl->canNodes, request, true));
        case VehicleBus::KLine: return m_impl->Sequence(m_impl->AskKwp(request));
        case VehicleBus::Ethernet: return m_impl->Sequence(m_impl->AskUds(m_impl->doipNodes, request, false));
    }
    return {};
}

bool Vehicle::ListensOnDoIp(uint32_t address) const {
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    for (const UdsNode& node : m_impl->doipNodes)
        if (Lookup(node.physical, address) || Lookup(node.functional, address)) return true;
    return false;
}

std::vector<std::vector<uint8_t>> Vehicle::BusTraffic(uint32_t periodIndex) {
    return RawCanNode::Traffic(periodIndex);
}

void Vehicle::SetResponseDelayScale(uint32_t factor) {
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    m_impl->delayScale = factor;
}

void Vehicle::Reset() {
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    for (UdsNode& node : m_impl->canNodes) node.server.PowerOn();
    for (UdsNode& node : m_impl->doipNodes) node.server.PowerOn();
    m_impl->kwp.PowerOn();
}

}  // namespace pdusim
