#include "ComLogicalLink.h"

#include <algorithm>

#include "ItemStore.h"
#include "vehicle/RawCanNode.h"

namespace pdusim {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr SteadyTime kNever = SteadyTime::max();
constexpr uint32_t kTrafficPeriodMs = 100;
constexpr size_t kEndedCopMemory = 1024;
constexpr uint32_t kDefaultUrid = 1;
constexpr uint32_t kCanExtendedMark = 0x80000000;  // bit 31 marks a 29-bit id, as the vehicle reads it
constexpr uint32_t kCanIdMask = 0x1FFFFFFF;
constexpr uint32_t kLargest11BitId = 0x7FF;
constexpr uint32_t kMinTesterPresentUs = 1000;    // so a zero time cannot spin the scheduler
constexpr uint32_t kDefaultCanBaud = 500000;
constexpr uint32_t kDefaultKLineBaud = 10400;
// A monitor that fell this far behind the bus (a host holding the lock) skips traffic periods.
constexpr auto kTrafficCatchUp = std::chrono::seconds(1);
// While the host is behind, a back-to-back cyclic ComPrimitive runs a cycle a millisecond: its
// items still overflow the queue (DATA_LOST), but the library does not spin.
constexpr auto kFullQueuePause = milliseconds(1);

// RxFlag bits
constexpr uint8_t kRx29BitId = 0x01;          // byte 2
constexpr uint8_t kRxSegmented = 0x40;        // byte 3 ...
constexpr uint8_t kRxTxDone = 0x08;
constexpr uint8_t kRxStartOfMessage = 0x02;
constexpr uint8_t kRxTransmitted = 0x01;

VehicleBus BusOf(const std::string& protocol) {
    if (protocol.find("13400") != std::string::npos) return VehicleBus::Ethernet;
    if (protocol.find("14230_2") != std::string::npos || protocol.find("K_Line") != std::string::npos ||
        protocol.find("9141") != std::string::npos)
        return VehicleBus::KLine;
    return VehicleBus::Can;
}

bool IsResponsePending(const std::vector<uint8_t>& data) {
    return data.size() >= 3 && data[0] == 0x7F && data[2] == 0x78;
}

bool IsPositive(const std::vector<uint8_t>& data) { return !data.empty() && data[0] != 0x7F; }

bool IsUudtFilter(uint32_t type) { return type == PDU_FLT_PASS_UUDT || type == PDU_FLT_BLOCK_UUDT; }

bool IsExtendedId(uint32_t id) { return (id & kCanExtendedMark) != 0 || (id & kCanIdMask) > kLargest11BitId; }

std::vector<uint8_t> BigEndian32(uint32_t value) {
    return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value)};
}

std::vector<uint8_t> FrameBytes(const BusFrame& frame) {
    std::vector<uint8_t> bytes = BigEndian32(frame.id);
    bytes.insert(bytes.end(), frame.data.begin(), frame.data.end());
    return bytes;
}

// A raw frame as the host writes it (4-byte id, then 0 to 8 bytes); none when no CAN bus could carry it.
std::optional<BusFrame> RawFrame(const std::vector<uint8_t>& bytes) {
    const std::optional<RawCanNode::Frame> parsed = RawCanNode::Parse(bytes);
    if (!parsed) return std::nullopt;
    BusFrame frame;
    frame.id = parsed->id & kCanIdMask;
    frame.extended = IsExtendedId(parsed->id);
    frame.data = parsed->data;
    return frame;
}

const char* RespSourceParamOf(VehicleBus bus) {
    switch (bus) {
        case VehicleBus::KLine: return "CP_EcuRespSourceAddress";
        case VehicleBus::Ethernet: return "CP_DoIPLogicalEcuAddress";
        default: return "CP_CanRespUSDTId";
    }
}

std::vector<uint32_t> PinNumbers(const MdfResource& resource) {
    std::vector<uint32_t> pins;
    for (const MdfPin& pin : resource.pins) pins.push_back(pin.pin);
    std::sort(pins.begin(), pins.end());
    return pins;
}

// Header bytes of a K-Line message besides the format byte: 3, or 4 with a length byte of its own.
size_t KLineOverhead(KLineFormat format, size_t dataBytes) {
    const size_t header = format == KLineFormat::Kwp2000 && dataBytes > 63 ? 4 : 3;
    return header + 1;  // and the checksum
}

}  // namespace

ComLogicalLink::ComLogicalLink(uint32_t handle, SimModule& module, const MdfResource& resource,
                               const MdfCatalog& catalog, void* tag, std::vector<uint8_t> createFlags, bool doIpMonitor)
    : m_handle(handle),
      m_module(module),
      m_resource(resource),
      m_tag(tag),
      m_createFlags(std::move(createFlags)),
      m_doIpMonitor(doIpMonitor) {
    const MdfProtocol* protocol = catalog.FindProtocol(resource.protocolId);
    const MdfProtocol* busType = catalog.FindBusType(resource.busTypeId);
    m_protocolName = protocol != nullptr ? protocol->name : std::string();
    m_bus = BusOf(m_protocolName);
    if (busType != nullptr && busType->name == "ISO_9141_2_UART") m_kLineFormat = KLineFormat::Iso9141;
    m_monitor = m_protocolName == "ISO_11898_RAW" && m_createFlags.size() > 3 && m_createFlags[3] == 1;
    // Bus type defaults first: they rule the physical layer over the protocol's own.
    for (const MdfProtocol* source : {busType, protocol}) {
        if (source == nullptr) continue;
        for (const MdfComParamRef& ref : source->comParams) {
            const MdfComParam* definition = catalog.FindComParam(ref.comParamId);
            if (definition == nullptr || m_working.count(definition->id) != 0) continue;
            m_working[definition->id] = ParamValue::FromDefault(*definition, ref.defaultValue);
            m_paramIds[definition->name] = definition->id;
        }
    }
    m_active = m_working;
    UridEntry entry{kDefaultUrid, {}};
    for (const auto& [id, value] : m_working)
        if (value.Class() == PDU_PC_UNIQUE_ID) entry.params[id] = value;
    if (!entry.params.empty()) m_urids.push_back(entry);
}

bool ComLogicalLink::SharesCanBus(const ComLogicalLink& other) const {
    return m_bus == VehicleBus::Can && other.m_bus == VehicleBus::Can && &m_module == &other.m_module &&
           m_resource.busTypeId == other.m_resource.busTypeId && PinNumbers(m_resource) == PinNumbers(other.m_resource);
}

uint32_t ComLogicalLink::Baud() const {
    return Param(m_active, "CP_Baudrate", m_bus == VehicleBus::KLine ? kDefaultKLineBaud : kDefaultCanBaud);
}

uint32_t ComLogicalLink::WireBaud(const LinkContext& context) const { return context.IdealBus() ? 0 : Baud(); }

void ComLogicalLink::SetState(T_PDU_STATUS state, LinkContext& context) {
    if (m_state == state) return;
    const T_PDU_STATUS previous = m_state;
    m_state = state;
    const SteadyTime now = std::chrono::steady_clock::now();
    if (m_doIpMonitor && previous == PDU_CLLST_OFFLINE) m_connectedAt = now;
    if (m_monitor && previous == PDU_CLLST_OFFLINE) {
        m_connectedAt = now;
        m_trafficEpoch = context.TrafficEpoch();
        m_nextTrafficPeriod = TrafficPeriodAt(now) + 1;
    }
    if (state == PDU_CLLST_OFFLINE) {
        m_busFrames.clear();
        m_doIpTcp.reset();
    }
    context.Emit(*this, ItemFactory::Status(PDU_HANDLE_UNDEF, nullptr, context.Stamp(now), state));
}

void ComLogicalLink::CancelAll(LinkContext& context) {
    const SteadyTime now = std::chrono::steady_clock::now();
    for (auto& cop : m_cops)
        if (!cop->done) Finish(*cop, PDU_COPST_CANCELLED, now, context);
    m_cops.clear();
    directCanFrames.clear();
}

T_PDU_ERROR ComLogicalLink::GetParam(uint32_t id, PDU_PARAM_ITEM** item) const {
    const auto it = m_working.find(id);
    if (it == m_working.end()) return PDU_ERR_ID_NOT_SUPPORTED;
    *item = it->second.ToItem();
    return *item != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR ComLogicalLink::SetParam(const PDU_PARAM_ITEM& item) {
    const auto it = m_working.find(item.ComParamId);
    if (it == m_working.end()) return PDU_ERR_ID_NOT_SUPPORTED;
    ParamValue candidate = it->second;
    const T_PDU_ERROR result = candidate.AssignFrom(item);
    if (result == PDU_STATUS_NOERROR) it->second = candidate;
    return result;
}

PDU_UNIQUE_RESP_ID_TABLE_ITEM* ComLogicalLink::UridTableItem() const {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_UNIQUE_RESP_ID_TABLE_ITEM));
    const size_t entries = layout.Add(sizeof(PDU_ECU_UNIQUE_RESP_DATA) * m_urids.size());
    std::vector<size_t> paramArrays, payloads;
    for (const UridEntry& entry : m_urids) {
        paramArrays.push_back(layout.Add(sizeof(PDU_PARAM_ITEM) * entry.params.size()));
        for (const auto& [id, value] : entry.params) payloads.push_back(layout.Add(value.PayloadSize()));
    }
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* table = At<PDU_UNIQUE_RESP_ID_TABLE_ITEM>(block, head);
    *table = {PDU_IT_UNIQUE_RESP_ID_TABLE, static_cast<UNUM32>(m_urids.size()),
              At<PDU_ECU_UNIQUE_RESP_DATA>(block, entries)};
    size_t payload = 0;
    for (size_t e = 0; e < m_urids.size(); ++e) {
        auto* params = At<PDU_PARAM_ITEM>(block, paramArrays[e]);
        table->pUniqueData[e] = {m_urids[e].uniqueRespId, static_cast<UNUM32>(m_urids[e].params.size()), params};
        size_t p = 0;
        for (const auto& [id, value] : m_urids[e].params)
            value.WritePayload(params[p++], At<void>(block, payloads[payload++]));
    }
    return table;
}

T_PDU_ERROR ComLogicalLink::SetUridTable(const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table) {
    if (table.ItemType != PDU_IT_UNIQUE_RESP_ID_TABLE || (table.NumEntries > 0 && table.pUniqueData == nullptr))
        return PDU_ERR_INVALID_PARAMETERS;
    std::vector<UridEntry> urids;
    for (UNUM32 e = 0; e < table.NumEntries; ++e) {
        const PDU_ECU_UNIQUE_RESP_DATA& source = table.pUniqueData[e];
        if (source.NumParamItems > 0 && source.pParams == nullptr) return PDU_ERR_INVALID_PARAMETERS;
        UridEntry entry{source.UniqueRespIdentifier, {}};
        for (UNUM32 p = 0; p < source.NumParamItems; ++p) {
            const PDU_PARAM_ITEM& item = source.pParams[p];
            const auto it = m_working.find(item.ComParamId);
            if (it == m_working.end() || it->second.Class() != PDU_PC_UNIQUE_ID) return PDU_ERR_ID_NOT_SUPPORTED;
            ParamValue value = it->second;
            const T_PDU_ERROR result = value.AssignFrom(item);
            if (result != PDU_STATUS_NOERROR) return result;
            entry.params[item.ComParamId] = value;
        }
        urids.push_back(entry);
    }
    m_urids = std::move(urids);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ComLogicalLink::Start(T_PDU_COPT type, const std::vector<uint8_t>& data, const PDU_COP_CTRL_DATA* control,
                                  void* tag, uint32_t handle, LinkContext& context) {
    auto cop = std::make_shared<ComPrimitive>();
    cop->handle = handle;
    cop->type = type;
    cop->data = data;
    cop->tag = tag;
    bool temporary = false;
    if (control != nullptr) {
        cop->timeMs = control->Time;
        cop->sendCycles = control->NumSendCycles;
        cop->receiveCycles = control->NumReceiveCycles;
        temporary = control->TempParamUpdate != 0;
        if (control->TxFlag.NumFlagBytes > 0 && control->TxFlag.pFlagData != nullptr)
            cop->txFlags.assign(control->TxFlag.pFlagData,
                                control->TxFlag.pFlagData + std::min<UNUM32>(control->TxFlag.NumFlagBytes, 64));
        for (UNUM32 i = 0; i < control->NumPossibleExpectedResponses; ++i) {
            const PDU_EXP_RESP_DATA& source = control->pExpectedResponseArray[i];
            ExpectedResponse expected{source.ResponseType, source.AcceptanceId, {}, {}, {}};
            const UNUM32 n = std::min<UNUM32>(source.NumMaskPatternBytes, 4096);
            if (n > 0) {
                expected.mask.assign(source.pMaskData, source.pMaskData + n);
                expected.pattern.assign(source.pPatternData, source.pPatternData + n);
            }
            if (source.NumUniqueRespIds > 0 && source.pUniqueRespIds != nullptr)
                expected.uniqueRespIds.assign(source.pUniqueRespIds, source.pUniqueRespIds + source.NumUniqueRespIds);
            cop->expected.push_back(std::move(expected));
        }
    } else if (type == PDU_COPT_SENDRECV) {
        cop->sendCycles = 1;
        cop->receiveCycles = 1;
    }
    if (type == PDU_COPT_STARTCOMM || type == PDU_COPT_STOPCOMM) {
        // Cycles and time are SENDRECV's; a StartCommunication is one request, one answer.
        cop->sendCycles = 1;
        cop->receiveCycles = 1;
        cop->timeMs = 0;
    }
    if (temporary && (type == PDU_COPT_UPDATEPARAM || type == PDU_COPT_RESTORE_PARAM || type == PDU_COPT_DELAY))
        return PDU_ERR_TEMPPARAM_NOT_ALLOWED;
    // A temporary update uses the working set once; the working set then falls back to the active one.
    cop->params = temporary ? m_working : m_active;
    if (temporary) m_working = m_active;
    cop->background = type == PDU_COPT_SENDRECV && (cop->sendCycles == -1 || cop->receiveCycles == -1);
    const bool queuedBehind =
        !cop->background && std::any_of(m_cops.begin(), m_cops.end(), [](const auto& c) { return !c->done && !c->background; });
    m_cops.push_back(cop);
    if (m_txSuspended || queuedBehind)
        context.Emit(*this, ItemFactory::Status(handle, tag, context.Stamp(std::chrono::steady_clock::now()), PDU_COPST_IDLE));
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ComLogicalLink::Cancel(uint32_t hCop, LinkContext& context) {
    for (auto& cop : m_cops) {
        if (cop->handle != hCop || cop->done) continue;
        Finish(*cop, PDU_COPST_CANCELLED, std::chrono::steady_clock::now(), context);
        return PDU_STATUS_NOERROR;
    }
    return PDU_ERR_INVALID_HANDLE;
}

bool ComLogicalLink::CopStatus(uint32_t hCop, T_PDU_STATUS& status) const {
    for (const auto& cop : m_cops)
        if (cop->handle == hCop) {
            status = cop->status;
            return true;
        }
    const auto it = m_endedCops.find(hCop);
    if (it == m_endedCops.end()) return false;
    status = it->second;
    return true;
}

bool ComLogicalLink::StartCommPending() const {
    return std::any_of(m_cops.begin(), m_cops.end(),
                       [](const auto& cop) { return cop->type == PDU_COPT_STARTCOMM && !cop->done; });
}

bool ComLogicalLink::ChangesPhysicalParams() const {
    for (const auto& [id, value] : m_working) {
        if (value.Class() != PDU_PC_BUSTYPE) continue;
        const auto active = m_active.find(id);
        if (active == m_active.end() || !(active->second == value)) return true;
    }
    return false;
}

bool ComLogicalLink::AdoptPhysicalParam(const ParamChange& change) {
    const auto active = m_active.find(change.after.Id());
    if (active == m_active.end()) return false;
    const auto working = m_working.find(change.after.Id());
    if (working != m_working.end() && working->second == active->second) working->second = change.after;
    active->second = change.after;
    return true;
}

void ComLogicalLink::HearBusFrames(const std::vector<BusFrame>& frames) {
    if (!m_monitor || m_state == PDU_CLLST_OFFLINE) return;
    for (const BusFrame& frame : frames)
        if (frame.end >= m_connectedAt) m_busFrames.emplace(frame.end, frame);
}

void ComLogicalLink::ClearTxQueue(LinkContext& context) {
    const SteadyTime now = std::chrono::steady_clock::now();
    for (auto& cop : m_cops)
        if (!cop->started && !cop->done) Finish(*cop, PDU_COPST_CANCELLED, now, context);
}

// Foreground ComPrimitives run one after another; cyclic and endless ones beside them. A
// suspended queue starts nothing new.
bool ComLogicalLink::Runnable(const ComPrimitive& cop, bool foregroundSeen) const {
    if (cop.background) return cop.started || !m_txSuspended;
    return !foregroundSeen && (cop.started || !m_txSuspended);
}

std::optional<SteadyTime> ComLogicalLink::NextDue() const {
    SteadyTime next = kNever;
    bool foregroundSeen = false;
    for (const auto& cop : m_cops) {
        if (cop->done) return std::chrono::steady_clock::now();  // to be swept
        const bool runnable = Runnable(*cop, foregroundSeen);
        if (!cop->background) foregroundSeen = true;
        if (runnable) next = std::min(next, cop->started ? cop->nextAction : SteadyTime{});
    }
    if (TesterPresentEnabled()) {
        next = std::min(next, m_testerPresentDue == kNever ? SteadyTime{} : m_testerPresentDue);
        if (!m_testerPresentAnswers.empty()) next = std::min(next, m_testerPresentAnswers.front().due);
    }
    // The socket is looked at every millisecond while something is on its way.
    if (m_doIpTcp && AwaitsDoIp())
        next = std::min(next, std::chrono::steady_clock::now() + milliseconds(1));
    if (m_monitor && m_state != PDU_CLLST_OFFLINE) {
        next = std::min(next, TrafficDue(m_nextTrafficPeriod));
        if (!m_busFrames.empty()) next = std::min(next, m_busFrames.begin()->first);
    }
    if (next == kNever) return std::nullopt;
    return next;
}

void ComLogicalLink::Run(LinkContext& context, SteadyTime budgetEnd) {
    SteadyTime now = std::chrono::steady_clock::now();
    if (m_doIpTcp) ReceiveDoIp(now, context);
    while (RunOnce(now, context)) {
        now = std::chrono::steady_clock::now();
        if (now >= budgetEnd) break;
    }
    RunTesterPresent(now, context);
    if (m_monitor) RunMonitor(now, context);
    for (const auto& cop : m_cops)
        if (cop->done) {
            if (m_endedCops.size() >= kEndedCopMemory) m_endedCops.erase(m_endedCops.begin());
            m_endedCops[cop->handle] = cop->status;
        }
    m_cops.erase(std::remove_if(m_cops.begin(), m_cops.end(), [](const auto& cop) { return cop->done; }),
                 m_cops.end());
}

bool ComLogicalLink::RunOnce(SteadyTime now, LinkContext& context) {
    bool progressed = false;
    bool foregroundSeen = false;
    const auto cops = m_cops;  // a step may not add, but keep the walk stable
    for (const auto& cop : cops) {
        if (cop->done) continue;
        const bool runnable = Runnable(*cop, foregroundSeen);
        if (!cop->background) foregroundSeen = true;
        if (!runnable || (cop->started && cop->nextAction > now)) continue;
        Step(*cop, now, context);
        progressed = true;
    }
    return progressed;
}

void ComLogicalLink::Step(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (!cop.started) {
        Begin(cop, now, context);
        return;
    }
    switch (cop.type) {
        case PDU_COPT_SENDRECV: StepSendRecv(cop, now, context); break;
        case PDU_COPT_STARTCOMM:
        case PDU_COPT_STOPCOMM:
            // With PDU bytes the request goes to the vehicle like a SENDRECV; the state follows at the end.
            if (cop.data.empty()) Finish(cop, PDU_COPST_FINISHED, now, context);
            else StepSendRecv(cop, now, context);
            break;
        case PDU_COPT_UPDATEPARAM:
            ActivateWorkingSet(context);
            Finish(cop, PDU_COPST_FINISHED, now, context);
            break;
        case PDU_COPT_RESTORE_PARAM:
            m_working = m_active;
            Finish(cop, PDU_COPST_FINISHED, now, context);
            break;
        default: Finish(cop, PDU_COPST_FINISHED, now, context); break;
    }
}

void ComLogicalLink::Begin(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    cop.started = true;
    SetCopStatus(cop, PDU_COPST_EXECUTING, now, context);
    cop.nextAction = cop.type == PDU_COPT_DELAY ? now + milliseconds(cop.timeMs) : now;
    // A monitor link hears the traffic itself and hands it to its receiving ComPrimitives.
    if (IsRaw() && !m_monitor) cop.trafficPeriod = kTrafficPeriodMs;
}

void ComLogicalLink::SetCopStatus(ComPrimitive& cop, T_PDU_STATUS status, SteadyTime now, LinkContext& context) {
    cop.status = status;
    context.Emit(*this, ItemFactory::Status(cop.handle, cop.tag, context.Stamp(now), status));
}

void ComLogicalLink::ActivateWorkingSet(LinkContext& context) {
    std::vector<ParamChange> changes;
    for (const auto& [id, value] : m_working) {
        if (value.Class() != PDU_PC_BUSTYPE) continue;
        const auto active = m_active.find(id);
        if (active != m_active.end() && !(active->second == value)) changes.push_back({active->second, value});
    }
    m_active = m_working;
    if (!changes.empty()) context.PhysicalParamsChanged(*this, changes);
}

void ComLogicalLink::StepSendRecv(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (!cop.awaiting) {
        if (cop.sendCycles == 0) {  // receive only
            cop.awaiting = true;
            cop.deadline = kNever;
            cop.nextTraffic = now;
        } else {
            if (!Send(cop, now, context)) {  // no bus can carry it
                EmitError(cop, PDU_ERR_EVT_TX_ERROR, 0, now, context);
                CycleComplete(cop, now, context);
                return;
            }
            if (cop.receiveCycles == 0) {
                CycleComplete(cop, now, context);
                return;
            }
        }
    }
    ReceiveDue(cop, now, context);
}

bool ComLogicalLink::Send(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (cop.status == PDU_COPST_WAITING) SetCopStatus(cop, PDU_COPST_EXECUTING, now, context);
    cop.cycleStart = now;
    cop.sendsDone++;  // a send that fails counts as well: the cycle is over
    cop.receivedThisCycle = 0;
    cop.unexpectedThisCycle = false;
    std::optional<BusFrame> own;
    if (IsRaw()) {
        own = RawFrame(cop.data);
        if (!own) return false;
    }
    const VehicleRequest request = BuildRequest(cop.params, cop.data, cop.Can29Bit());
    const bool watched = m_bus == VehicleBus::Can && context.CanBusWatched(*this);
    std::vector<BusFrame> frames;
    cop.txDone = now + microseconds(RequestWire(cop.params, request, now, context, watched ? &frames : nullptr));
    cop.txDoneValid = true;
    cop.awaiting = true;
    const uint32_t p2Max = Param(cop.params, "CP_P2Max", 150000);
    cop.deadline = cop.receiveCycles == -1 ? kNever : cop.txDone + microseconds(p2Max);
    cop.nextTraffic = now + milliseconds(cop.trafficPeriod);
    // A tester present sent "when the bus is idle" waits a full period after any request.
    if (TesterPresentEnabled() && Param(m_active, "CP_TesterPresentSendType", 1) == 1)
        m_testerPresentDue = TesterPresentPeriodEnd(now);
    if (m_monitor) {
        own->start = now;
        own->end = cop.txDone;
        EmitFrame(*own, &cop, true, nullptr, context);
    }
    if (m_bus == VehicleBus::Ethernet && !m_doIpMonitor && SendOverDoIp(cop, request, context)) return true;
    // Answers follow the end of the request; each takes its own time on the bus.
    SteadyTime cursor = cop.txDone;
    for (VehicleResponse& response : context.TheVehicle().Request(request)) {
        const SteadyTime start = cursor + microseconds(response.delayUs);
        cursor = start + microseconds(ResponseWire(cop.params, response, start, context, watched ? &frames : nullptr));
        cop.pending.push_back({start, cursor, std::move(response)});
    }
    if (!frames.empty()) context.OnCanBus(*this, frames);
    return true;
}

void ComLogicalLink::ReceiveDue(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (cop.trafficPeriod != 0 && TakesBusFrames(cop) && now >= cop.nextTraffic) FeedBusTraffic(cop, now, context);
    IndicateStarts(cop, now, context);
    while (!cop.pending.empty() && cop.pending.front().due <= now && !cop.done) {
        const PendingResponse response = std::move(cop.pending.front());
        cop.pending.pop_front();
        if (response.start > cop.deadline) continue;  // too late: the time-out came first
        if (IsResponsePending(response.response.data) && Param(cop.params, "CP_RC78Handling", 2) != 0) {
            cop.deadline = response.due + microseconds(Param(cop.params, "CP_P2Star", 5050000));
            continue;
        }
        const bool positive = IsPositive(response.response.data);
        cop.positiveSeen = cop.positiveSeen || positive;
        if (positive && cop.SuppressPositive() && !IsRaw()) continue;  // it went out, but nobody wants it
        Deliver(cop, response, context);
        if (cop.receiveCycles > 0 && cop.receivedThisCycle >= cop.receiveCycles) {
            CycleComplete(cop, now, context);
            return;
        }
    }
    const bool moreSends = cop.sendCycles == -1 || cop.sendsDone < cop.sendCycles;
    // An answer that began before the time-out counts, however long it takes.
    const bool arriving = std::any_of(cop.pending.begin(), cop.pending.end(),
                                      [&](const PendingResponse& p) { return p.start <= cop.deadline; });
    if (cop.receiveCycles == -1 && cop.sendCycles != 0 && moreSends &&
        now >= cop.cycleStart + milliseconds(std::max<uint32_t>(cop.timeMs, 1))) {
        if (!Send(cop, now, context)) EmitError(cop, PDU_ERR_EVT_TX_ERROR, 0, now, context);  // endless receive keeps the cyclic sends going
    } else if (now >= cop.deadline && !arriving) {
        // With the positive answer suppressed, silence is the expected outcome.
        if (!(cop.receiveCycles == -2 && cop.receivedThisCycle > 0) && !cop.SuppressPositive()) EmitTimeout(cop, now, context);
        CycleComplete(cop, now, context);
        return;
    }
    ScheduleNext(cop);
}

// With CP_StartMsgIndEnable the host hears of a message when its first frame (CAN) or first
// byte (K-Line) arrives, before the message is complete.
void ComLogicalLink::IndicateStarts(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (IsRaw() || m_bus == VehicleBus::Ethernet || Param(cop.params, "CP_StartMsgIndEnable", 0) == 0) return;
    for (PendingResponse& pending : cop.pending) {
        if (pending.indicated || pending.start > now) continue;
        pending.indicated = true;
        const VehicleResponse& response = pending.response;
        if (pending.start > cop.deadline || (m_bus == VehicleBus::Can && !response.segmented)) continue;
        bool known = true;
        const uint32_t urid = ResponseUrid(cop, response.sourceAddress, known);
        if (!known || !PassesFilters(FilterView(response))) continue;
        ResultContent content;
        content.hCop = cop.handle;
        content.copTag = cop.tag;
        content.timestamp = context.Stamp(pending.start);
        content.uniqueRespId = urid;
        content.rxFlags[3] |= kRxStartOfMessage;
        if (m_bus == VehicleBus::Can && IsExtendedId(response.sourceAddress)) content.rxFlags[2] |= kRx29BitId;
        content.timestampFlags = kStartMsgValid | (cop.txDoneValid ? kTxDoneValid : 0);
        content.txDoneTimestamp = cop.txDoneValid ? context.Stamp(cop.txDone) : 0;
        content.startMsgTimestamp = content.timestamp;
        if (cop.ExtraInfo()) ExtraInfoOf(cop, response, content);
        context.Emit(*this, ItemFactory::Result(content));
    }
}

void ComLogicalLink::FeedBusTraffic(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    for (auto& frame : context.TheVehicle().BusTraffic(m_trafficIndex++)) {
        VehicleResponse response;
        if (frame.size() >= 4) response.sourceAddress = (uint32_t{frame[0]} << 24) | (frame[1] << 16) | (frame[2] << 8) | frame[3];
        response.data = std::move(frame);
        // Before answers still on their way, so that those do not hold it up.
        const auto at = std::find_if(cop.pending.begin(), cop.pending.end(), [&](const PendingResponse& p) { return p.due > now; });
        cop.pending.insert(at, {now, now, std::move(response)});
    }
    cop.nextTraffic = now + milliseconds(cop.trafficPeriod);
}

void ComLogicalLink::ScheduleNext(ComPrimitive& cop) {
    // An answer that began in time moves the time-out to its end.
    const bool arriving = std::any_of(cop.pending.begin(), cop.pending.end(),
                                      [&](const PendingResponse& p) { return p.start <= cop.deadline; });
    SteadyTime next = arriving ? kNever : cop.deadline;
    const bool indicating = Param(cop.params, "CP_StartMsgIndEnable", 0) != 0;
    for (const PendingResponse& pending : cop.pending) {
        next = std::min(next, pending.due);
        if (indicating && !pending.indicated) next = std::min(next, pending.start);
    }
    if (cop.trafficPeriod != 0 && TakesBusFrames(cop)) next = std::min(next, cop.nextTraffic);
    const bool moreSends = cop.sendCycles == -1 || cop.sendsDone < cop.sendCycles;
    if (cop.receiveCycles == -1 && cop.sendCycles != 0 && moreSends)
        next = std::min(next, cop.cycleStart + milliseconds(std::max<uint32_t>(cop.timeMs, 1)));
    cop.nextAction = next;
}

void ComLogicalLink::CycleComplete(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    cop.awaiting = false;
    cop.pending.clear();
    const bool moreSends = cop.sendCycles == -1 || cop.sendsDone < cop.sendCycles;
    if (!moreSends || cop.sendCycles == 0) {
        Finish(cop, PDU_COPST_FINISHED, now, context);
        return;
    }
    if (cop.timeMs == 0) {  // back to back, as the bus allows: as fast as the host takes the items
        cop.nextAction = events.AtLimit() ? now + kFullQueuePause : std::max(now, cop.txDone);
        return;
    }
    // Between cycles it waits, even when a slow host has already used up the cycle time: the
    // items of a cycle do not depend on the machine's load.
    cop.nextAction = std::max(now, cop.cycleStart + milliseconds(cop.timeMs));
    SetCopStatus(cop, PDU_COPST_WAITING, now, context);
}

void ComLogicalLink::Finish(ComPrimitive& cop, T_PDU_STATUS status, SteadyTime now, LinkContext& context) {
    if (cop.done) return;
    cop.done = true;
    cop.status = status;
    cop.pending.clear();
    if (status == PDU_COPST_FINISHED && cop.type == PDU_COPT_STARTCOMM &&
        (m_bus != VehicleBus::KLine || cop.data.empty() || cop.positiveSeen))
        SetState(PDU_CLLST_COMM_STARTED, context);
    if (status == PDU_COPST_FINISHED && cop.type == PDU_COPT_STOPCOMM && m_state == PDU_CLLST_COMM_STARTED)
        SetState(PDU_CLLST_ONLINE, context);
    context.Emit(*this, ItemFactory::Status(cop.handle, cop.tag, context.Stamp(now), status));
}

void ComLogicalLink::EmitTimeout(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    const VendorErrors& errors = context.Errors();
    // A K-Line ECU that stays silent on its StartCommunication never woke up.
    if (cop.type == PDU_COPT_STARTCOMM && m_bus == VehicleBus::KLine && !cop.unexpectedThisCycle &&
        cop.receivedThisCycle == 0) {
        EmitError(cop, PDU_ERR_EVT_INIT_ERROR, errors.kLineInitFailed, now, context);
        return;
    }
    EmitError(cop, PDU_ERR_EVT_RX_TIMEOUT, cop.unexpectedThisCycle ? errors.unexpectedFrame : errors.noEcuResponse,
              now, context);
}

void ComLogicalLink::EmitError(ComPrimitive& cop, T_PDU_ERR_EVT code, uint32_t extra, SteadyTime now,
                               LinkContext& context) {
    const uint32_t stamp = context.Stamp(now);
    lastError = {code, cop.handle, stamp, extra};
    context.Emit(*this, ItemFactory::Error(cop.handle, cop.tag, stamp, code, extra));
}

void ComLogicalLink::EmitLinkError(T_PDU_ERR_EVT code, uint32_t extra, SteadyTime time, LinkContext& context) {
    const uint32_t stamp = context.Stamp(time);
    lastError = {code, PDU_HANDLE_UNDEF, stamp, extra};
    context.Emit(*this, ItemFactory::Error(PDU_HANDLE_UNDEF, nullptr, stamp, code, extra));
}

bool ComLogicalLink::TesterPresentEnabled() const {
    return m_state == PDU_CLLST_COMM_STARTED && !IsRaw() && Param(m_active, "CP_TesterPresentHandling", 0) == 1;
}

SteadyTime ComLogicalLink::TesterPresentPeriodEnd(SteadyTime from) const {
    return from + microseconds(std::max(Param(m_active, "CP_TesterPresentTime", 2000000), kMinTesterPresentUs));
}

void ComLogicalLink::RunTesterPresent(SteadyTime now, LinkContext& context) {
    if (!TesterPresentEnabled()) {
        m_testerPresentDue = kNever;
        m_testerPresentAnswers.clear();
        return;
    }
    while (!m_testerPresentAnswers.empty() && m_testerPresentAnswers.front().due <= now) {
        const PendingResponse answer = std::move(m_testerPresentAnswers.front());
        m_testerPresentAnswers.pop_front();
        const std::vector<uint8_t>& data = answer.response.data;
        if (data.empty())
            EmitLinkError(PDU_ERR_EVT_TESTER_PRESENT_ERROR, context.Errors().noEcuResponse, answer.due, context);
        else if (!IsPositive(data) && !IsResponsePending(data))
            EmitLinkError(PDU_ERR_EVT_TESTER_PRESENT_ERROR, 0, answer.due, context);
    }
    if (m_testerPresentDue == kNever) m_testerPresentDue = TesterPresentPeriodEnd(now);
    if (now < m_testerPresentDue) return;
    m_testerPresentDue = TesterPresentPeriodEnd(now);
    const auto id = m_paramIds.find("CP_TesterPresentMessage");
    const auto message = id == m_paramIds.end() ? m_active.end() : m_active.find(id->second);
    if (message == m_active.end() || message->second.Bytes().empty()) return;
    const VehicleRequest request = BuildRequest(m_active, message->second.Bytes(), false);
    const bool watched = m_bus == VehicleBus::Can && context.CanBusWatched(*this);
    std::vector<BusFrame> frames;
    const SteadyTime txDone = now + microseconds(RequestWire(m_active, request, now, context, watched ? &frames : nullptr));
    std::vector<VehicleResponse> answers = context.TheVehicle().Request(request);
    if (answers.empty() && Param(m_active, "CP_TesterPresentReqRsp", 0) == 1) {
        const SteadyTime timeout = txDone + microseconds(Param(m_active, "CP_P2Max", 150000));
        m_testerPresentAnswers.push_back({timeout, timeout, {}});
    }
    SteadyTime cursor = txDone;
    for (VehicleResponse& answer : answers) {
        const SteadyTime start = cursor + microseconds(answer.delayUs);
        cursor = start + microseconds(ResponseWire(m_active, answer, start, context, watched ? &frames : nullptr));
        m_testerPresentAnswers.push_back({start, cursor, std::move(answer)});
    }
    if (!frames.empty()) context.OnCanBus(*this, frames);
}

void ComLogicalLink::Deliver(ComPrimitive& cop, const PendingResponse& pending, LinkContext& context) {
    const VehicleResponse& response = pending.response;
    if (m_monitor) {  // every frame shows; those that fit belong to the ComPrimitive
        std::optional<BusFrame> frame = RawFrame(response.data);
        if (!frame) return;
        frame->start = pending.start;
        frame->end = pending.due;
        const std::vector<uint8_t> bytes = FrameBytes(*frame);
        if (!PassesFilters(bytes)) return;
        const ExpectedResponse* expected = Match(cop, bytes, PDU_ID_UNDEF);
        if (expected == nullptr) cop.unexpectedThisCycle = true;
        else cop.receivedThisCycle++;
        EmitFrame(*frame, expected != nullptr ? &cop : nullptr, false, expected, context);
        return;
    }
    bool known = true;
    const uint32_t urid = ResponseUrid(cop, response.sourceAddress, known);
    if (!known || !PassesFilters(FilterView(response))) return;  // the VCI does not listen to that identifier
    const ExpectedResponse* expected = Match(cop, response.data, urid);
    if (expected == nullptr) {
        cop.unexpectedThisCycle = true;
        return;
    }
    ResultContent content;
    content.hCop = cop.handle;
    content.copTag = cop.tag;
    content.timestamp = context.Stamp(pending.due);
    content.data = response.data;
    content.uniqueRespId = urid;
    content.acceptanceId = expected->acceptanceId;
    content.timestampFlags = kStartMsgValid | (cop.txDoneValid ? kTxDoneValid : 0);
    content.txDoneTimestamp = cop.txDoneValid ? context.Stamp(cop.txDone) : 0;
    content.startMsgTimestamp = context.Stamp(pending.start);
    if (response.segmented) content.rxFlags[3] |= kRxSegmented;
    const bool can = m_bus == VehicleBus::Can;
    if ((IsRaw() && response.sourceAddress > kLargest11BitId) || (can && !IsRaw() && IsExtendedId(response.sourceAddress)))
        content.rxFlags[2] |= kRx29BitId;
    if (cop.ExtraInfo()) ExtraInfoOf(cop, response, content);
    context.Emit(*this, ItemFactory::Result(content));
    cop.receivedThisCycle++;
}

// What the bus carried around the data: the CAN id; a K-Line message's header and checksum;
// the DoIP source and target addresses.
void ComLogicalLink::ExtraInfoOf(const ComPrimitive& cop, const VehicleResponse& response, ResultContent& content) const {
    content.withExtraInfo = true;
    switch (m_bus) {
        case VehicleBus::Can:
            content.header = BigEndian32(IsRaw() ? response.sourceAddress : response.sourceAddress & kCanIdMask);
            break;
        case VehicleBus::KLine: {
            const auto tester = static_cast<uint8_t>(Param(cop.params, "CP_TesterSourceAddress", 0xF1));
            const KLineFrame frame = FrameKLine(response.data, m_kLineFormat, true, false, tester,
                                                static_cast<uint8_t>(response.sourceAddress));
            content.header = frame.header;
            content.footer = {frame.checksum};
            break;
        }
        case VehicleBus::Ethernet: {
            const uint32_t tester = Param(cop.params, "CP_DoIPLogicalTesterAddress", 0x0E00);
            content.header = {static_cast<uint8_t>(response.sourceAddress >> 8), static_cast<uint8_t>(response.sourceAddress),
                              static_cast<uint8_t>(tester >> 8), static_cast<uint8_t>(tester)};
            break;
        }
    }
}

void ComLogicalLink::EmitFrame(const BusFrame& frame, ComPrimitive* cop, bool transmitted,
                               const ExpectedResponse* expected, LinkContext& context) {
    ResultContent content;
    content.hCop = cop != nullptr ? cop->handle : PDU_HANDLE_UNDEF;
    content.copTag = cop != nullptr ? cop->tag : nullptr;
    content.timestamp = context.Stamp(frame.end);
    content.data = FrameBytes(frame);
    if (frame.extended) content.rxFlags[2] |= kRx29BitId;
    if (transmitted) content.rxFlags[3] |= kRxTransmitted | kRxTxDone;
    content.acceptanceId = expected != nullptr ? expected->acceptanceId : 0;
    content.timestampFlags = kStartMsgValid;
    content.startMsgTimestamp = context.Stamp(frame.start);
    if (transmitted) {
        content.timestampFlags |= kTxDoneValid;
        content.txDoneTimestamp = content.timestamp;
    } else if (cop != nullptr && cop->txDoneValid) {
        content.timestampFlags |= kTxDoneValid;
        content.txDoneTimestamp = context.Stamp(cop->txDone);
    }
    if (cop != nullptr && cop->ExtraInfo()) {
        content.withExtraInfo = true;
        content.header = BigEndian32(frame.id);
    }
    context.Emit(*this, ItemFactory::Result(content));
}

bool ComLogicalLink::SendOverDoIp(ComPrimitive& cop, const VehicleRequest& request, LinkContext& context) {
    const auto tester = static_cast<uint16_t>(Param(cop.params, "CP_DoIPLogicalTesterAddress", 0x0E00));
    // Routing is activated for one source address: another one needs a connection of its own.
    if (m_doIpTcp && (m_doIpTcp->Failed() || m_doIpTcp->TesterAddress() != tester)) m_doIpTcp.reset();
    if (!m_doIpTcp) {
        const std::optional<uint32_t> entity = context.DoIpEntityAddress(m_module);
        if (!entity) return false;
        m_doIpTcp = std::make_unique<DoIpTcpTester>(*entity, tester);
        m_doIpTcp->Pump();
        if (m_doIpTcp->Failed()) {
            m_doIpTcp.reset();
            return false;
        }
    }
    m_doIpTcp->SendDiagnostic(static_cast<uint16_t>(request.targetAddress), request.data);
    cop.viaDoIpTcp = true;
    return true;
}

bool ComLogicalLink::AwaitsDoIp() const {
    return std::any_of(m_cops.begin(), m_cops.end(),
                       [](const auto& cop) { return !cop->done && cop->awaiting && cop->viaDoIpTcp; });
}

// Each answer goes to the oldest ComPrimitive that waits for one over the connection.
void ComLogicalLink::ReceiveDoIp(SteadyTime now, LinkContext& context) {
    m_doIpTcp->Pump();
    if (m_doIpTcp->Failed() && !m_doIpTcp->WasReady()) {
        // Refused before any request went out (another link holds the tester address, or no
        // entity listens): the vehicle answers inside the library, as for a link without an entity.
        for (const auto& cop : m_cops)
            if (!cop->done && cop->awaiting && cop->viaDoIpTcp) AnswerInside(*cop, now, context);
        m_doIpTcp.reset();
        return;
    }
    for (DoIpTcpTester::Message& message : m_doIpTcp->TakeMessages()) {
        const auto cop = std::find_if(m_cops.begin(), m_cops.end(),
                                      [](const auto& c) { return !c->done && c->awaiting && c->viaDoIpTcp; });
        if (cop == m_cops.end()) continue;
        VehicleResponse response;
        response.sourceAddress = message.source;
        response.data = std::move(message.data);
        (*cop)->pending.push_back({message.time, message.time, std::move(response)});
        (*cop)->nextAction = std::min((*cop)->nextAction, now);
    }
    if (m_doIpTcp->Failed()) m_doIpTcp.reset();  // the next request connects anew
}

void ComLogicalLink::AnswerInside(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    cop.viaDoIpTcp = false;
    SteadyTime cursor = now;
    for (VehicleResponse& response : context.TheVehicle().Request(BuildRequest(cop.params, cop.data, false))) {
        const SteadyTime start = cursor + microseconds(response.delayUs);
        cursor = start + microseconds(ResponseWire(cop.params, response, start, context, nullptr));
        cop.pending.push_back({start, cursor, std::move(response)});
    }
    cop.nextAction = std::min(cop.nextAction, now);
}

// Each frame goes to the endless receive that waits for frames, else it shows on its own.
void ComLogicalLink::HearDoIp(const std::vector<DoIpCapture>& captures, LinkContext& context) {
    if (m_state == PDU_CLLST_OFFLINE) return;
    ComPrimitive* receiver = nullptr;
    for (const auto& cop : m_cops)
        if (!cop->done && cop->type == PDU_COPT_SENDRECV && cop->background && cop->sendCycles == 0) {
            receiver = cop.get();
            break;
        }
    // Frames may come before the scheduler's turn began it: it says EXECUTING before its first result.
    const SteadyTime now = std::chrono::steady_clock::now();
    if (receiver != nullptr && !receiver->started) Step(*receiver, now, context);
    if (receiver != nullptr && !receiver->awaiting) Step(*receiver, now, context);
    for (const DoIpCapture& capture : captures) {
        if (capture.time < m_connectedAt) continue;
        ResultContent content;
        content.hCop = receiver != nullptr ? receiver->handle : PDU_HANDLE_UNDEF;
        content.copTag = receiver != nullptr ? receiver->tag : nullptr;
        content.timestamp = context.Stamp(capture.time);
        content.data = capture.frame;
        content.timestampFlags = kStartMsgValid;
        content.startMsgTimestamp = content.timestamp;
        content.withExtraInfo = true;
        content.header = DoIpTraffic::Header(capture);
        context.Emit(*this, ItemFactory::Result(content));
    }
}

// A frame of the bus on a monitor link: a receiving ComPrimitive whose expected responses fit
// takes it, else it shows on its own.
void ComLogicalLink::HearFrame(const BusFrame& frame, LinkContext& context) {
    const std::vector<uint8_t> bytes = FrameBytes(frame);
    if (!PassesFilters(bytes)) return;
    for (const auto& cop : m_cops) {
        if (cop->done || !cop->awaiting || !TakesBusFrames(*cop)) continue;
        const ExpectedResponse* expected = Match(*cop, bytes, PDU_ID_UNDEF);
        if (expected == nullptr) continue;
        EmitFrame(frame, cop.get(), false, expected, context);
        cop->receivedThisCycle++;
        if (cop->receiveCycles > 0 && cop->receivedThisCycle >= cop->receiveCycles)
            CycleComplete(*cop, std::chrono::steady_clock::now(), context);
        return;
    }
    EmitFrame(frame, nullptr, false, nullptr, context);
}

void ComLogicalLink::RunMonitor(SteadyTime now, LinkContext& context) {
    if (m_state == PDU_CLLST_OFFLINE) return;
    if (now - TrafficDue(m_nextTrafficPeriod) > kTrafficCatchUp) m_nextTrafficPeriod = TrafficPeriodAt(now);
    const uint32_t baud = WireBaud(context);
    for (; TrafficDue(m_nextTrafficPeriod) <= now; ++m_nextTrafficPeriod) {
        SteadyTime at = TrafficDue(m_nextTrafficPeriod);
        for (const std::vector<uint8_t>& raw : context.TheVehicle().BusTraffic(m_nextTrafficPeriod)) {
            std::optional<BusFrame> frame = RawFrame(raw);
            if (!frame) continue;
            frame->start = at;
            at += microseconds(CanFrameUs(frame->extended, frame->data.size(), baud));
            frame->end = at;
            m_busFrames.emplace(frame->end, std::move(*frame));
        }
    }
    while (!m_busFrames.empty() && m_busFrames.begin()->first <= now) {
        const BusFrame frame = std::move(m_busFrames.begin()->second);
        m_busFrames.erase(m_busFrames.begin());
        HearFrame(frame, context);
    }
}

SteadyTime ComLogicalLink::TrafficDue(uint32_t period) const {
    return m_trafficEpoch + milliseconds(uint64_t{period} * kTrafficPeriodMs);
}

uint32_t ComLogicalLink::TrafficPeriodAt(SteadyTime time) const {
    if (time < m_trafficEpoch) return 0;
    return static_cast<uint32_t>((time - m_trafficEpoch) / milliseconds(kTrafficPeriodMs));
}

uint32_t ComLogicalLink::RequestWire(const std::map<uint32_t, ParamValue>& params, const VehicleRequest& request,
                                     SteadyTime start, LinkContext& context, std::vector<BusFrame>* frames) const {
    switch (m_bus) {
        case VehicleBus::Can: {
            if (IsRaw()) {
                std::optional<BusFrame> frame = RawFrame(request.data);
                if (!frame) return 0;
                const uint32_t duration = CanFrameUs(frame->extended, frame->data.size(), WireBaud(context));
                if (frames != nullptr) {
                    frame->start = start;
                    frame->end = start + microseconds(duration);
                    frame->fromTester = true;
                    frames->push_back(std::move(*frame));
                }
                return duration;
            }
            const uint32_t ecu = FirstUridParam(params, "CP_CanRespUSDTId", 0x7E8) | (request.targetAddress & kCanExtendedMark);
            return IsoTpWire(params, request.data, request.targetAddress, ecu, true, start, context, frames);
        }
        case VehicleBus::KLine:
            return UartUs(request.data.size() + KLineOverhead(m_kLineFormat, request.data.size()), WireBaud(context));
        case VehicleBus::Ethernet: return context.IdealBus() ? 0 : EthernetUs(request.data.size());
    }
    return 0;
}

uint32_t ComLogicalLink::ResponseWire(const std::map<uint32_t, ParamValue>& params, const VehicleResponse& response,
                                      SteadyTime start, LinkContext& context, std::vector<BusFrame>* frames) const {
    switch (m_bus) {
        case VehicleBus::Can: {
            if (IsRaw()) {
                std::optional<BusFrame> frame = RawFrame(response.data);
                if (!frame) return 0;
                const uint32_t duration = CanFrameUs(frame->extended, frame->data.size(), WireBaud(context));
                if (frames != nullptr) {
                    frame->start = start;
                    frame->end = start + microseconds(duration);
                    frames->push_back(std::move(*frame));
                }
                return duration;
            }
            return IsoTpWire(params, response.data, response.sourceAddress, TesterIdFor(params, response.sourceAddress),
                             false, start, context, frames);
        }
        case VehicleBus::KLine:
            return UartUs(response.data.size() + KLineOverhead(m_kLineFormat, response.data.size()), WireBaud(context));
        case VehicleBus::Ethernet: return context.IdealBus() ? 0 : EthernetUs(response.data.size());
    }
    return 0;
}

uint32_t ComLogicalLink::IsoTpWire(const std::map<uint32_t, ParamValue>& params, const std::vector<uint8_t>& message,
                                   uint32_t senderId, uint32_t receiverId, bool fromTester, SteadyTime start,
                                   LinkContext& context, std::vector<BusFrame>* frames) const {
    IsoTpChannel channel;
    channel.extendedId = IsExtendedId(senderId);
    channel.baud = WireBaud(context);
    const auto testerFiller = static_cast<uint8_t>(Param(params, "CP_CanFillerByte", 0x55));
    channel.senderFiller = fromTester ? testerFiller : kEcuFillerByte;
    channel.receiverFiller = fromTester ? kEcuFillerByte : testerFiller;
    if (!fromTester) {  // the tester's flow control asks for what its ComParams say
        channel.blockSize = static_cast<uint8_t>(Param(params, "CP_BlockSize", 0));
        channel.stMin = context.IdealBus() ? 0 : static_cast<uint8_t>(Param(params, "CP_StMin", 0));
    }
    const IsoTpTransfer transfer = SegmentIsoTp(message, channel);
    if (frames != nullptr) {
        const uint32_t frameUs = CanFrameUs(channel.extendedId, 8, channel.baud);
        for (const IsoTpFrame& frame : transfer.frames) {
            const SteadyTime begin = start + microseconds(frame.startUs);
            frames->push_back({(frame.fromSender ? senderId : receiverId) & kCanIdMask, channel.extendedId, frame.data,
                               begin, begin + microseconds(frameUs), frame.fromSender == fromTester});
        }
    }
    return transfer.durationUs;
}

// The id the tester's flow control goes out on towards an ECU that answers from ecuId.
uint32_t ComLogicalLink::TesterIdFor(const std::map<uint32_t, ParamValue>& params, uint32_t ecuId) const {
    const uint32_t mark = ecuId & kCanExtendedMark;
    const uint32_t id = ecuId & kCanIdMask;
    for (const UridEntry& entry : m_urids)
        if ((UridParam(entry, params, "CP_CanRespUSDTId", PDU_ID_UNDEF) & kCanIdMask) == id)
            return UridParam(entry, params, "CP_CanPhysReqId", 0x7E0) | mark;
    if (id >= 0x7E8 && id <= 0x7EF) return (id - 8) | mark;  // the OBD pairs
    if ((id >> 16) == 0x18DA) return (id & 0xFFFF0000) | ((id & 0xFF) << 8) | ((id >> 8) & 0xFF) | mark;
    return FirstUridParam(params, "CP_CanPhysReqId", 0x7E0) | mark;
}

uint32_t ComLogicalLink::Param(const std::map<uint32_t, ParamValue>& set, const char* name, uint32_t fallback) const {
    const auto id = m_paramIds.find(name);
    if (id == m_paramIds.end()) return fallback;
    const auto value = set.find(id->second);
    return value == set.end() ? fallback : value->second.AsUnsigned();
}

uint32_t ComLogicalLink::UridParam(const UridEntry& entry, const std::map<uint32_t, ParamValue>& params,
                                   const char* name, uint32_t fallback) const {
    return Param(entry.params, name, Param(params, name, fallback));
}

uint32_t ComLogicalLink::FirstUridParam(const std::map<uint32_t, ParamValue>& params, const char* name,
                                        uint32_t fallback) const {
    if (m_urids.empty()) return Param(params, name, fallback);
    return UridParam(m_urids.front(), params, name, fallback);
}

VehicleRequest ComLogicalLink::BuildRequest(const std::map<uint32_t, ParamValue>& params,
                                            const std::vector<uint8_t>& data, bool can29Bit) const {
    VehicleRequest request;
    request.bus = m_bus;
    request.protocol = IsDirectCan() ? "ISO_11898_RAW" : m_protocolName;
    request.data = data;
    if (IsRaw()) {
        if (data.size() >= 4)
            request.targetAddress = (uint32_t{data[0]} << 24) | (data[1] << 16) | (data[2] << 8) | data[3];
        return request;
    }
    request.functional = Param(params, "CP_RequestAddrMode", 1) == 2;
    const auto unique = [&](const char* name, uint32_t fallback) { return FirstUridParam(params, name, fallback); };
    if (m_bus == VehicleBus::Can) {
        request.targetAddress = request.functional ? Param(params, "CP_CanFuncReqId", 0x7DF) : unique("CP_CanPhysReqId", 0x7E0);
        if (can29Bit) request.targetAddress |= kCanExtendedMark;
    } else if (m_bus == VehicleBus::KLine) {
        request.targetAddress = request.functional ? Param(params, "CP_FuncReqTargetAddr", 0x33)
                                                   : unique("CP_EcuRespSourceAddress", 0x10);
    } else {
        request.targetAddress = request.functional ? Param(params, "CP_DoIPLogicalFunctionalAddress", 0xE400)
                                                   : unique("CP_DoIPLogicalEcuAddress", 0x1001);
    }
    return request;
}

uint32_t ComLogicalLink::ResponseUrid(const ComPrimitive& cop, uint32_t source, bool& known) const {
    known = true;
    if (IsRaw()) return PDU_ID_UNDEF;
    const char* name = RespSourceParamOf(m_bus);
    // The mark of a 29-bit id is no part of the id itself.
    const uint32_t mask = m_bus == VehicleBus::Can ? kCanIdMask : 0xFFFFFFFF;
    for (const UridEntry& entry : m_urids)
        if ((UridParam(entry, cop.params, name, PDU_ID_UNDEF) & mask) == (source & mask)) return entry.uniqueRespId;
    known = m_urids.empty();  // without a table the link takes what it gets
    return PDU_ID_UNDEF;
}

const ExpectedResponse* ComLogicalLink::Match(const ComPrimitive& cop, const std::vector<uint8_t>& data,
                                              uint32_t urid) const {
    static const ExpectedResponse kAny{};
    if (cop.expected.empty()) return &kAny;
    for (const ExpectedResponse& expected : cop.expected) {
        if (expected.mask.size() > data.size()) continue;
        bool fits = true;
        for (size_t i = 0; i < expected.mask.size() && fits; ++i) fits = (data[i] & expected.mask[i]) == expected.pattern[i];
        if (fits && !expected.uniqueRespIds.empty())
            fits = std::find(expected.uniqueRespIds.begin(), expected.uniqueRespIds.end(), urid) !=
                   expected.uniqueRespIds.end();
        if (fits) return &expected;
    }
    return nullptr;
}

T_PDU_ERROR ComLogicalLink::StartFilters(const PDU_IO_FILTER_LIST& list) {
    if (list.NumFilterEntries > 0 && list.pFilterData == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    for (UNUM32 i = 0; i < list.NumFilterEntries; ++i) {
        const PDU_IO_FILTER_DATA& filter = list.pFilterData[i];
        const bool knownType = filter.FilterType == PDU_FLT_PASS || filter.FilterType == PDU_FLT_BLOCK ||
                               filter.FilterType == PDU_FLT_PASS_UUDT || filter.FilterType == PDU_FLT_BLOCK_UUDT;
        if (!knownType || filter.FilterCompareSize > 12) return PDU_ERR_INVALID_PARAMETERS;
    }
    for (UNUM32 i = 0; i < list.NumFilterEntries; ++i) {
        StopFilter(list.pFilterData[i].FilterNumber);
        m_filters.push_back(list.pFilterData[i]);
    }
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR ComLogicalLink::StopFilter(uint32_t number) {
    const auto it = std::find_if(m_filters.begin(), m_filters.end(),
                                 [&](const PDU_IO_FILTER_DATA& f) { return f.FilterNumber == number; });
    if (it == m_filters.end()) return PDU_ERR_INVALID_PARAMETERS;
    m_filters.erase(it);
    return PDU_STATUS_NOERROR;
}

std::vector<uint8_t> ComLogicalLink::FilterView(const VehicleResponse& response) const {
    if (IsRaw()) return response.data;  // raw frames carry their id already
    std::vector<uint8_t> data =
        BigEndian32(m_bus == VehicleBus::Can ? response.sourceAddress & kCanIdMask : response.sourceAddress);
    data.insert(data.end(), response.data.begin(), response.data.end());
    return data;
}

bool ComLogicalLink::PassesFilters(const std::vector<uint8_t>& message) const {
    if (m_filters.empty()) return true;
    bool anyPass = false, passed = false;
    for (const PDU_IO_FILTER_DATA& filter : m_filters) {
        if (!IsRaw() && IsUudtFilter(filter.FilterType)) continue;  // only raw frames are UUDT
        bool fits = filter.FilterCompareSize <= message.size();
        for (UNUM32 i = 0; i < filter.FilterCompareSize && fits; ++i)
            fits = (message[i] & filter.FilterMaskMessage[i]) == (filter.FilterPatternMessage[i] & filter.FilterMaskMessage[i]);
        const bool pass = filter.FilterType == PDU_FLT_PASS || filter.FilterType == PDU_FLT_PASS_UUDT;
        if (!pass && fits) return false;
        anyPass = anyPass || pass;
        passed = passed || (pass && fits);
    }
    return !anyPass || passed;
}

}  // namespace pdusim
