// The maker's direct CAN functions: frames written to a link on MSP_MRVNE_CAN are echoed as
// SE_TRANSMIT_MSG and answered by the vehicle's raw CAN node; the host's eventfd is signalled.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "SimSystem.h"
#include "pdu/MorvaneExtensions.h"
#include "vehicle/Wire.h"

using namespace pdusim;

namespace {

constexpr size_t kFrameQueueCapacity = 100000;
constexpr UNUM32 kIdMask = 0x1FFFFFFF;
constexpr UNUM32 kAnsweredFramesPerWrite = 10000;  // a burst beyond this is echoed, not answered

T_PDU_ERROR FindDirectLink(uint32_t hCLL, ComLogicalLink*& link) {
    if (!SimSystem::Instance().IsConstructed()) return PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
    link = SimSystem::Instance().FindLinkAnyModule(hCLL);
    if (link == nullptr || !link->IsDirectCan()) return PDU_ERR_INVALID_HANDLE;
    return PDU_STATUS_NOERROR;
}

void Queue(ComLogicalLink& link, const SeCanMessage& message) {
    if (link.directCanFrames.size() >= kFrameQueueCapacity) {
        link.directCanFrames.pop_front();
        if (!link.directCanFrames.empty()) link.directCanFrames.front().flags |= SE_FLAG_BUFFER_OVERRUN;
    }
    link.directCanFrames.push_back(message);
}

void Signal(const ComLogicalLink& link) {
    if (link.directCanEventFd < 0) return;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(link.directCanEventFd, &one, sizeof(one));
}

std::vector<uint8_t> FrameBytes(const SeCanMessage& message) {
    const UNUM32 id = message.canId & kIdMask;
    std::vector<uint8_t> frame = {static_cast<uint8_t>(id >> 24), static_cast<uint8_t>(id >> 16),
                                  static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)};
    frame.insert(frame.end(), message.data, message.data + std::min<UNUM8>(message.dlc, 8));
    return frame;
}

bool IsExtended(const SeCanMessage& message) {
    return (message.flags & SE_FLAG_EXTENDED_ID) != 0 || (message.canId & kIdMask) > 0x7FF;
}

// What the bus saw of one frame and its answers, for monitor links on the same bus.
void Publish(const ComLogicalLink& link, std::vector<BusFrame>& frames, uint32_t id, bool extended,
             const uint8_t* data, size_t size, SteadyTime start) {
    const uint32_t baud = SimSystem::Instance().IdealBus() ? 0 : link.Baud();
    const SteadyTime end = start + std::chrono::microseconds(CanFrameUs(extended, size, baud));
    frames.push_back({id & kIdMask, extended, std::vector<uint8_t>(data, data + size), start, end});
}

void Answer(ComLogicalLink& link, const SeCanMessage& sent, std::vector<BusFrame>* frames) {
    VehicleRequest request{VehicleBus::Can, "ISO_11898_RAW", sent.canId & kIdMask, false, FrameBytes(sent)};
    SteadyTime at = std::chrono::steady_clock::now();
    if (frames != nullptr) {
        Publish(link, *frames, sent.canId, IsExtended(sent), sent.data, std::min<UNUM8>(sent.dlc, 8), at);
        frames->back().fromTester = true;
        at = frames->back().end;
    }
    for (const VehicleResponse& response : SimSystem::Instance().TheVehicle().Request(request)) {
        if (response.data.size() < 4) continue;
        SeCanMessage received{};
        received.msgType = SE_RECEIVE_MSG;
        received.timestamp = SimSystem::Instance().Now();
        received.canId = ((uint32_t{response.data[0]} << 24) | (response.data[1] << 16) | (response.data[2] << 8) |
                          response.data[3]) & kIdMask;
        received.flags = SE_FLAG_RECEIVE_FRAME | (received.canId > 0x7FF ? SE_FLAG_EXTENDED_ID : 0);
        received.dlc = static_cast<UNUM8>(std::min<size_t>(response.data.size() - 4, 8));
        std::memcpy(received.data, response.data.data() + 4, received.dlc);
        Queue(link, received);
        if (frames != nullptr) {
            Publish(link, *frames, received.canId, IsExtended(received), received.data,
                    received.dlc, at + std::chrono::microseconds(response.delayUs));
            at = frames->back().end;
        }
    }
}

// PDUSIM_CHIP_STATE="<state>,<tx errors>,<rx errors>" (numbers in C notation) sets what the next
// chip state request answers, read at each request so a test can change it between two.
void SetChipStateFromEnvironment(SeCanMessage& state) {
    const char* text = std::getenv("PDUSIM_CHIP_STATE");
    if (text == nullptr || *text == '\0') return;
    char* end = nullptr;
    state.canId = static_cast<UNUM32>(std::strtoul(text, &end, 0));
    const unsigned long tx = *end == ',' ? std::strtoul(end + 1, &end, 0) : 0;
    const unsigned long rx = *end == ',' ? std::strtoul(end + 1, &end, 0) : 0;
    state.flags = static_cast<UNUM16>((tx & 0xFF) | ((rx & 0xFF) << 8));
}

}  // namespace

extern "C" {

T_PDU_ERROR PDU_CALL PDUSECanWrite(UNUM32 hCLL, UNUM32 count, SeCanMessage* pMessages) {
    auto lock = SimSystem::Instance().LockForCaller();
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindDirectLink(hCLL, link)) return e;
    if (count > 0 && pMessages == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    if (link->State() == PDU_CLLST_OFFLINE) return PDU_ERR_CLL_NOT_CONNECTED;
    const bool watched = SimSystem::Instance().CanBusWatched(*link);
    std::vector<BusFrame> frames;
    for (UNUM32 i = 0; i < count; ++i) {
        SeCanMessage echo = pMessages[i];
        echo.msgType = SE_TRANSMIT_MSG;
        echo.timestamp = SimSystem::Instance().Now();
        echo.flags |= SE_FLAG_TX_FRAME;
        Queue(*link, echo);
        if (i < kAnsweredFramesPerWrite) Answer(*link, pMessages[i], watched ? &frames : nullptr);
    }
    if (!frames.empty()) {
        SimSystem::Instance().OnCanBus(*link, frames);
        SimSystem::Instance().WakeScheduler();
    }
    if (count > 0) Signal(*link);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUSECanRead(UNUM32 hCLL, UNUM32* pCount, SeCanMessage* pMessages) {
    auto lock = SimSystem::Instance().LockForCaller();
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindDirectLink(hCLL, link)) return e;
    if (pCount == nullptr || (*pCount > 0 && pMessages == nullptr)) return PDU_ERR_INVALID_PARAMETERS;
    UNUM32 n = 0;
    while (n < *pCount && !link->directCanFrames.empty()) {
        pMessages[n++] = link->directCanFrames.front();
        link->directCanFrames.pop_front();
    }
    *pCount = n;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUSESetEventNotification(UNUM32 hCLL, SE_EVENT_HANDLE* pEvent) {
    auto lock = SimSystem::Instance().LockForCaller();
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindDirectLink(hCLL, link)) return e;
    if (pEvent == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    link->directCanEventFd = *pEvent;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUSECanRequestChipState(UNUM32 hCLL) {
    auto lock = SimSystem::Instance().LockForCaller();
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindDirectLink(hCLL, link)) return e;
    SeCanMessage state{};
    state.msgType = SE_CHIP_STATE_MSG;
    state.timestamp = SimSystem::Instance().Now();
    state.canId = link->State() == PDU_CLLST_OFFLINE ? SE_CHIP_BUS_OFF : SE_CHIP_ERROR_ACTIVE;
    SetChipStateFromEnvironment(state);
    Queue(*link, state);
    Signal(*link);
    return PDU_STATUS_NOERROR;
}

}  // extern "C"
