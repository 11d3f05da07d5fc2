#include "DoIpIoCtl.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <vector>

#include "DoIpTester.h"
#include "ItemFactory.h"
#include "SimSystem.h"

namespace pdusim {
namespace {

using Clock = std::chrono::steady_clock;

// ISO 13400-2's A_DoIP_Ctrl: what a time of 0 stands for.
constexpr uint32_t kDefaultWaitMs = 2000;
// No wait of the library lasts longer than this, whatever the host asks.
constexpr uint32_t kLongestWaitMs = 60000;
constexpr uint32_t kMaxDestinations = 64;
constexpr uint32_t kActivationPin = 8;  // ISO 13400-4: the DLC's Ethernet activation line
constexpr uint32_t kPinOption1 = 1;     // Ethernet on DLC pins 3, 11, 12 and 13
constexpr uint32_t kLargestDlcPin = 16;
constexpr size_t kVinLength = 17;
constexpr size_t kEidLength = 6;
constexpr size_t kIdentificationLength = 32;
constexpr size_t kEntityStatusWithSize = 7;

struct DiscoveryPlan {
    std::vector<uint8_t> request;
    std::vector<uint32_t> destinations;  // network order, loopback only
    uint32_t timeMs = kDefaultWaitMs;
    bool unicastOnly = true;
};

struct FoundEntity {
    uint32_t address = 0;
    uint16_t logicalAddress = 0;
    std::vector<uint8_t> eid;
};

bool InputIs(const DoIpIoCtlCall& call, T_PDU_IT type) {
    return call.input != nullptr && call.input->ItemType == type && call.input->pData != nullptr;
}

T_PDU_ERROR NeedConnectedModule(const DoIpIoCtlCall& call) {
    if (call.module == nullptr) return PDU_ERR_INVALID_HANDLE;
    return call.module->connected ? PDU_STATUS_NOERROR : PDU_ERR_MODULE_NOT_CONNECTED;
}

// At system level any module may be meant; a module named must be connected.
T_PDU_ERROR NeedConnectedIfNamed(const DoIpIoCtlCall& call) {
    return call.module == nullptr ? PDU_STATUS_NOERROR : NeedConnectedModule(call);
}

uint32_t Bounded(uint32_t ms) { return ms == 0 ? kDefaultWaitMs : std::min(ms, kLongestWaitMs); }

bool IsLoopback(uint32_t networkOrder) { return (ntohl(networkOrder) >> 24) == 127; }

// "00:1A:37:00:00:01", "00-1A-...", "001A37000001": twelve hex digits, separators between bytes.
bool ParseEid(const char* text, std::vector<uint8_t>& eid) {
    std::string digits;
    for (size_t i = 0; text[i] != '\0' && i < 64; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (std::isxdigit(c)) digits += static_cast<char>(c);
        else if (c != ':' && c != '-' && c != ' ' && c != '.') return false;
    }
    if (digits.size() != 2 * kEidLength) return false;
    eid.clear();
    for (size_t i = 0; i < digits.size(); i += 2) eid.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return true;
}

T_PDU_ERROR Plan(const PDU_IO_VEHICLE_ID_REQUEST& request, DiscoveryPlan& plan) {
    if (request.PreselectionMode > 2 || request.CombinationMode > 3) return PDU_ERR_INVALID_PARAMETERS;
    uint16_t type = DoIpFrame::kVehicleIdRequest;
    std::vector<uint8_t> payload;
    if (request.PreselectionMode != 0) {
        if (request.PreselectionValue == nullptr) return PDU_ERR_INVALID_PARAMETERS;
        const char* value = request.PreselectionValue;
        if (request.PreselectionMode == 1) {
            if (strnlen(value, kVinLength + 1) != kVinLength) return PDU_ERR_INVALID_PARAMETERS;
            type = DoIpFrame::kVehicleIdRequestVin;
            payload.assign(value, value + kVinLength);
        } else {
            if (!ParseEid(value, payload)) return PDU_ERR_INVALID_PARAMETERS;
            type = DoIpFrame::kVehicleIdRequestEid;
        }
    }
    plan.request = DoIpFrame(type, payload).Encode();
    if (request.NumDestinationAddresses > kMaxDestinations ||
        (request.NumDestinationAddresses > 0 && request.pDestinationAddresses == nullptr))
        return PDU_ERR_INVALID_PARAMETERS;
    for (UNUM32 i = 0; i < request.NumDestinationAddresses; ++i) {
        const PDU_IP_ADDR_INFO& destination = request.pDestinationAddresses[i];
        if (destination.IpVersion == 6) return PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED;
        if (destination.IpVersion != 4 || destination.pAddress == nullptr) return PDU_ERR_INVALID_PARAMETERS;
        uint32_t address = 0;
        std::memcpy(&address, destination.pAddress, sizeof address);
        // The limited broadcast would leave the machine: the loopback network's own takes its place.
        if (address == 0xFFFFFFFF) address = DoIpUdpTester::BroadcastAddress();
        if (address == DoIpUdpTester::BroadcastAddress()) plan.unicastOnly = false;
        if (IsLoopback(address)) plan.destinations.push_back(address);
    }
    if (request.NumDestinationAddresses == 0) {
        plan.destinations.push_back(DoIpUdpTester::BroadcastAddress());
        plan.unicastOnly = false;
    }
    plan.timeMs = Bounded(request.VehicleDiscoveryTime);
    return PDU_STATUS_NOERROR;
}

// Every answer within the discovery time; unicast requests end when each address has answered.
std::vector<FoundEntity> Discover(const DiscoveryPlan& plan, bool& socketOk) {
    std::vector<FoundEntity> found;
    DoIpUdpTester tester;
    socketOk = tester.Ok();
    if (!socketOk || plan.destinations.empty()) return found;
    for (uint32_t destination : plan.destinations) tester.Send(destination, plan.request);
    std::set<uint32_t> waiting(plan.destinations.begin(), plan.destinations.end());
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(plan.timeMs);
    while (!(plan.unicastOnly && waiting.empty())) {
        const std::optional<DoIpUdpTester::Answer> answer = tester.Receive(deadline);
        if (!answer) break;
        const std::vector<uint8_t>& payload = answer->frame.Payload();
        if (answer->frame.Type() != DoIpFrame::kVehicleIdResponse || payload.size() < kIdentificationLength) continue;
        waiting.erase(answer->address);
        FoundEntity entity{answer->address, answer->frame.U16At(kVinLength),
                           std::vector<uint8_t>(payload.begin() + kVinLength + 2, payload.begin() + kVinLength + 2 + kEidLength)};
        const bool known = std::any_of(found.begin(), found.end(), [&](const FoundEntity& f) {
            return f.address == entity.address && f.logicalAddress == entity.logicalAddress;
        });
        if (!known) found.push_back(std::move(entity));
    }
    return found;
}

T_PDU_ERROR VehicleIdRequest(DoIpIoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedConnectedIfNamed(call)) return e;
    if (!InputIs(call, PDU_IT_IO_VEHICLE_ID_REQUEST)) return PDU_ERR_INVALID_PARAMETERS;
    DiscoveryPlan plan;
    if (const T_PDU_ERROR e = Plan(*static_cast<const PDU_IO_VEHICLE_ID_REQUEST*>(call.input->pData), plan)) return e;
    const uint64_t generation = call.system.Generation();
    call.lock.unlock();
    bool socketOk = false;
    const std::vector<FoundEntity> found = Discover(plan, socketOk);
    call.lock.lock();
    if (!call.system.IsConstructed() || call.system.Generation() != generation) return PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
    if (!socketOk) return PDU_ERR_FCT_FAILED;
    bool added = false;
    for (const FoundEntity& entity : found)
        added = call.system.AddDiscoveredEntity(entity.address, entity.logicalAddress, entity.eid) || added;
    if (added) call.system.AnnounceModuleList();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ClearEntityList(DoIpIoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedConnectedIfNamed(call)) return e;
    const bool any = !call.system.DiscoveredEntities().empty();
    const std::vector<CallbackDispatcher::Fence> fences = call.system.ClearDiscoveredEntities();
    if (any) call.system.AnnounceModuleList();
    call.lock.unlock();
    for (const CallbackDispatcher::Fence& fence : fences) fence.Wait();  // their links' tags are free now
    call.lock.lock();
    return PDU_STATUS_NOERROR;
}

// Entity status (0x4001) or power mode (0x4003), asked of the discovered entity with the logical
// address; 0 names whichever one entity was discovered.
T_PDU_ERROR AskEntity(DoIpIoCtlCall& call, uint16_t requestType, uint16_t answerType) {
    if (const T_PDU_ERROR e = NeedConnectedIfNamed(call)) return e;
    if (!InputIs(call, PDU_IT_IO_ENTITY_ADDRESS) || call.output == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    *call.output = nullptr;
    const auto& address = *static_cast<const PDU_IO_ENTITY_ADDRESS_DATA*>(call.input->pData);
    std::vector<uint32_t> targets;
    for (SimModule* entity : call.system.DiscoveredEntities())
        if (address.LogicalAddress == 0 || entity->logicalAddress == address.LogicalAddress)
            targets.push_back(entity->entityAddress);
    if (targets.empty()) return PDU_ERR_INVALID_PARAMETERS;
    if (targets.size() > 1) return PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS;
    const uint32_t target = targets.front();
    const uint64_t generation = call.system.Generation();
    call.lock.unlock();
    std::optional<DoIpFrame> answer;
    bool socketOk = false;
    {
        DoIpUdpTester tester;
        socketOk = tester.Ok() && tester.Send(target, DoIpFrame(requestType, {}).Encode());
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(Bounded(address.DoIPCtrlTimeout));
        while (socketOk && !answer) {
            std::optional<DoIpUdpTester::Answer> got = tester.Receive(deadline);
            if (!got) break;
            if (got->address == target && got->frame.Type() == answerType) answer = std::move(got->frame);
        }
    }
    call.lock.lock();
    if (!call.system.IsConstructed() || call.system.Generation() != generation) return PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
    if (!socketOk) return PDU_ERR_FCT_FAILED;
    if (!answer) return PDU_ERR_DOIP_RESPONSE_TIMEOUT;
    const std::vector<uint8_t>& payload = answer->Payload();
    if (answerType == DoIpFrame::kPowerModeResponse) {
        *call.output = ItemFactory::Unum32(payload.at(0));  // the codec let only one byte through
    } else {
        PDU_IO_ENTITY_STATUS_DATA status{payload.at(0), payload.at(1), payload.at(2),
                                         payload.size() >= kEntityStatusWithSize ? answer->U32At(3) : 0};
        *call.output = ItemFactory::Data(PDU_IT_IO_ENTITY_STATUS, &status, sizeof status);
    }
    return *call.output != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR PinValue(DoIpIoCtlCall& call, uint32_t& pin) {
    if (const T_PDU_ERROR e = NeedConnectedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_UNUM32) || call.output == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    pin = *static_cast<const uint32_t*>(call.input->pData);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR Reply(DoIpIoCtlCall& call, uint32_t value) {
    *call.output = ItemFactory::Unum32(value);
    return *call.output != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR SetSwitchState(DoIpIoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedConnectedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_ETH_SWITCH_STATE)) return PDU_ERR_INVALID_PARAMETERS;
    const auto& state = *static_cast<const PDU_IO_ETH_SWITCH_STATE*>(call.input->pData);
    if (state.EthernetActPinNumber != kActivationPin || state.EthernetSenseState > 1) return PDU_ERR_INVALID_PARAMETERS;
    call.module->ethSwitchState = state.EthernetSenseState;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR GetSwitchState(DoIpIoCtlCall& call) {
    uint32_t pin = 0;
    if (const T_PDU_ERROR e = PinValue(call, pin)) return e;
    if (pin != kActivationPin) return PDU_ERR_INVALID_PARAMETERS;
    return Reply(call, call.module->ethSwitchState);
}

// Option 1 of ISO 13400-4; pins that carry no Ethernet say 0.
T_PDU_ERROR GetPinOption(DoIpIoCtlCall& call) {
    uint32_t pin = 0;
    if (const T_PDU_ERROR e = PinValue(call, pin)) return e;
    if (pin == 0 || pin > kLargestDlcPin) return PDU_ERR_INVALID_PARAMETERS;
    const bool ethernet = pin == 3 || pin == kActivationPin || pin == 11 || pin == 12 || pin == 13;
    return Reply(call, ethernet ? kPinOption1 : 0);
}

}  // namespace

bool IsDoIpSystemIoCtl(const std::string& name) {
    return name == "PDU_IOCTL_VEHICLE_ID_REQUEST" || name == "PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST" ||
           name == "PDU_IOCTL_GET_ENTITY_STATUS" || name == "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE";
}

bool HandleDoIpIoCtl(const std::string& name, DoIpIoCtlCall& call, T_PDU_ERROR& result) {
    if (name == "PDU_IOCTL_VEHICLE_ID_REQUEST") result = VehicleIdRequest(call);
    else if (name == "PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST") result = ClearEntityList(call);
    else if (name == "PDU_IOCTL_GET_ENTITY_STATUS")
        result = AskEntity(call, DoIpFrame::kEntityStatusRequest, DoIpFrame::kEntityStatusResponse);
    else if (name == "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE")
        result = AskEntity(call, DoIpFrame::kPowerModeRequest, DoIpFrame::kPowerModeResponse);
    else if (name == "PDU_IOCTL_SET_ETH_SWITCH_STATE") result = SetSwitchState(call);
    else if (name == "PDU_IOCTL_GET_ETH_SWITCH_STATE") result = GetSwitchState(call);
    else if (name == "PDU_IOCTL_GET_ETH_PIN_OPTION") result = GetPinOption(call);
    else return false;
    return true;
}

}  // namespace pdusim
