#include "ComLogicalLink.h"

#include <algorithm>
#include <cstring>

#include "ItemFactory.h"
#include "ItemStore.h"

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
constexpr uint32_t kMinTesterPresentUs = 1000;    // so a zero time cannot spin the scheduler

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

std::vector<uint8_t> BigEndian32(uint32_t value) {
    return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value)};
}

const char* RespSourceParamOf(VehicleBus bus) {
    switch (bus) {
        case VehicleBus::KLine: return "CP_EcuRespSourceAddress";
        case VehicleBus::Ethernet: return "CP_DoIPLogicalEcuAddress";
        default: return "CP_CanRespUSDTId";
    }
}

}  // namespace

ComLogicalLink::ComLogicalLink(uint32_t handle, SimModule& module, const MdfResource& resource,
                               const MdfCatalog& catalog, void* tag, std::vector<uint8_t> createFlags)
    : m_handle(handle), m_module(module), m_resource(resource), m_tag(tag), m_createFlags(std::move(createFlags)) {
    const MdfProtocol* protocol = catalog.FindProtocol(resource.protocolId);
    const MdfProtocol* busType = catalog.FindBusType(resource.busTypeId);
    m_protocolName = protocol != nullptr ? protocol->name : std::string();
    m_bus = BusOf(m_protocolName);
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

void ComLogicalLink::SetState(T_PDU_STATUS state, LinkContext& context) {
    if (m_state == state) return;
    m_state = state;
    context.Emit(*this, ItemFactory::Status(PDU_HANDLE_UNDEF, nullptr, context.Stamp(std::chrono::steady_clock::now()),
                                            state));
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
                                  void* tag, uint32_t handle) {
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
    m_cops.push_back(cop);
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

void ComLogicalLink::ClearTxQueue(LinkContext& context) {
    const SteadyTime now = std::chrono::steady_clock::now();
    for (auto& cop : m_cops)
        if (!cop->started && !cop->done) Finish(*cop, PDU_COPST_CANCELLED, now, context);
}

std::optional<SteadyTime> ComLogicalLink::NextDue() const {
    SteadyTime next = kNever;
    bool foregroundSeen = false;
    for (const auto& cop : m_cops) {
        if (cop->done) return std::chrono::steady_clock::now();  // to be swept
        const bool runnable = cop->background || (!foregroundSeen && (cop->started || !m_txSuspended));
        if (!cop->background) foregroundSeen = true;
        if (runnable) next = std::min(next, cop->started ? cop->nextAction : SteadyTime{});
    }
    if (TesterPresentEnabled()) {
        next = std::min(next, m_testerPresentDue == kNever ? SteadyTime{} : m_testerPresentDue);
        if (!m_testerPresentAnswers.empty()) next = std::min(next, m_testerPresentAnswers.front().due);
    }
    if (next == kNever) return std::nullopt;
    return next;
}

void ComLogicalLink::Run(SteadyTime now, LinkContext& context) {
    for (int guard = 0; guard < 10000 && RunOnce(now, context); ++guard) {
    }
    RunTesterPresent(now, context);
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
        const bool runnable = cop->background || (!foregroundSeen && (cop->started || !m_txSuspended));
        if (!cop->background) foregroundSeen = true;
        if (!runnable || (cop->started && cop->nextAction > now)) continue;
        Step(*cop, now, context);
        progressed = true;
        if (!cop->background && !cop->done) foregroundSeen = true;
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
            m_active = m_working;
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
    cop.status = PDU_COPST_EXECUTING;
    context.Emit(*this, ItemFactory::Status(cop.handle, cop.tag, context.Stamp(now), PDU_COPST_EXECUTING));
    cop.nextAction = cop.type == PDU_COPT_DELAY ? now + milliseconds(cop.timeMs) : now;
    if (IsRaw()) cop.trafficPeriod = kTrafficPeriodMs;
}

void ComLogicalLink::StepSendRecv(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (!cop.awaiting) {
        if (cop.sendCycles == 0) {  // receive only
            cop.awaiting = true;
            cop.deadline = kNever;
            cop.nextTraffic = now;
        } else {
            Send(cop, now, context);
            if (cop.receiveCycles == 0) {
                CycleComplete(cop, now, context);
                return;
            }
        }
    }
    ReceiveDue(cop, now, context);
}

void ComLogicalLink::Send(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    cop.cycleStart = now;
    cop.sendsDone++;
    cop.receivedThisCycle = 0;
    cop.txDoneTimestamp = context.Stamp(now);
    cop.awaiting = true;
    const uint32_t p2Max = Param(cop.params, "CP_P2Max", 150000);
    cop.deadline = cop.receiveCycles == -1 ? kNever : now + microseconds(p2Max);
    cop.nextTraffic = now + milliseconds(cop.trafficPeriod);
    // A tester present sent "when the bus is idle" waits a full period after any request.
    if (TesterPresentEnabled() && Param(m_active, "CP_TesterPresentSendType", 1) == 1)
        m_testerPresentDue = TesterPresentPeriodEnd(now);
    SteadyTime due = now;
    for (VehicleResponse& response : context.TheVehicle().Request(BuildRequest(cop.params, cop.data, cop.Can29Bit()))) {
        due += microseconds(response.delayUs);
        cop.pending.push_back({due, std::move(response)});
    }
}

void ComLogicalLink::ReceiveDue(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    if (cop.trafficPeriod != 0 && (cop.sendCycles == 0 || cop.receiveCycles == -1) && now >= cop.nextTraffic)
        FeedBusTraffic(cop, now, context);
    while (!cop.pending.empty() && cop.pending.front().due <= now && !cop.done) {
        const PendingResponse response = std::move(cop.pending.front());
        cop.pending.pop_front();
        if (response.due > cop.deadline) continue;  // too late: the time-out came first
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
    if (cop.receiveCycles == -1 && cop.sendCycles != 0 && moreSends &&
        now >= cop.cycleStart + milliseconds(std::max<uint32_t>(cop.timeMs, 1))) {
        Send(cop, now, context);  // endless receive keeps the cyclic sends going
    } else if (now >= cop.deadline) {
        // With the positive answer suppressed, silence is the expected outcome.
        if (!(cop.receiveCycles == -2 && cop.receivedThisCycle > 0) && !cop.SuppressPositive())
            EmitError(cop, PDU_ERR_EVT_RX_TIMEOUT, 0, now, context);
        CycleComplete(cop, now, context);
        return;
    }
    ScheduleNext(cop);
}

void ComLogicalLink::FeedBusTraffic(ComPrimitive& cop, SteadyTime now, LinkContext& context) {
    for (auto& frame : context.TheVehicle().BusTraffic(m_trafficIndex++)) {
        VehicleResponse response;
        if (frame.size() >= 4) response.sourceAddress = (uint32_t{frame[0]} << 24) | (frame[1] << 16) | (frame[2] << 8) | frame[3];
        response.data = std::move(frame);
        cop.pending.push_back({now, std::move(response)});
    }
    cop.nextTraffic = now + milliseconds(cop.trafficPeriod);
}

void ComLogicalLink::ScheduleNext(ComPrimitive& cop) {
    SteadyTime next = cop.deadline;
    if (!cop.pending.empty()) next = std::min(next, cop.pending.front().due);
    if (cop.trafficPeriod != 0 && (cop.sendCycles == 0 || cop.receiveCycles == -1)) next = std::min(next, cop.nextTraffic);
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
    // Cyclic sends keep their period; at least a millisecond so a zero time cannot spin.
    cop.nextAction = std::max(now, cop.cycleStart + milliseconds(std::max<uint32_t>(cop.timeMs, 1)));
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

void ComLogicalLink::EmitError(ComPrimitive& cop, T_PDU_ERR_EVT code, uint32_t extra, SteadyTime now,
                               LinkContext& context) {
    const uint32_t stamp = context.Stamp(now);
    lastError = {code, cop.handle, stamp, extra};
    context.Emit(*this, ItemFactory::Error(cop.handle, cop.tag, stamp, code, extra));
}

void ComLogicalLink::EmitLinkError(T_PDU_ERR_EVT code, SteadyTime time, LinkContext& context) {
    const uint32_t stamp = context.Stamp(time);
    lastError = {code, PDU_HANDLE_UNDEF, stamp, 0};
    context.Emit(*this, ItemFactory::Error(PDU_HANDLE_UNDEF, nullptr, stamp, code, 0));
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
        if (data.empty() || (!IsPositive(data) && !IsResponsePending(data)))
            EmitLinkError(PDU_ERR_EVT_TESTER_PRESENT_ERROR, answer.due, context);
    }
    if (m_testerPresentDue == kNever) m_testerPresentDue = TesterPresentPeriodEnd(now);
    if (now < m_testerPresentDue) return;
    m_testerPresentDue = TesterPresentPeriodEnd(now);
    const auto id = m_paramIds.find("CP_TesterPresentMessage");
    const auto message = id == m_paramIds.end() ? m_active.end() : m_active.find(id->second);
    if (message == m_active.end() || message->second.Bytes().empty()) return;
    SteadyTime due = now;
    std::vector<VehicleResponse> answers =
        context.TheVehicle().Request(BuildRequest(m_active, message->second.Bytes(), false));
    if (answers.empty() && Param(m_active, "CP_TesterPresentReqRsp", 0) == 1)
        m_testerPresentAnswers.push_back({now + microseconds(Param(m_active, "CP_P2Max", 150000)), {}});
    for (VehicleResponse& answer : answers) {
        due += microseconds(answer.delayUs);
        m_testerPresentAnswers.push_back({due, std::move(answer)});
    }
}

void ComLogicalLink::Deliver(ComPrimitive& cop, const PendingResponse& pending, LinkContext& context) {
    const VehicleResponse& response = pending.response;
    bool known = true;
    const uint32_t urid = ResponseUrid(cop, response.sourceAddress, known);
    if (!known || !PassesFilters(response)) return;  // the VCI does not listen to that identifier
    const ExpectedResponse* expected = Match(cop, response.data, urid);
    if (expected == nullptr) return;
    ResultContent content;
    content.hCop = cop.handle;
    content.copTag = cop.tag;
    content.timestamp = context.Stamp(pending.due);
    content.data = response.data;
    content.uniqueRespId = urid;
    content.acceptanceId = expected->acceptanceId;
    content.txDoneTimestamp = cop.txDoneTimestamp;
    content.startMsgTimestamp = content.timestamp;
    if (response.segmented) content.rxFlags[3] |= 0x40;
    const bool can = m_bus == VehicleBus::Can;
    if ((IsRaw() && response.sourceAddress > 0x7FF) ||
        (can && !IsRaw() && ((response.sourceAddress & kCanExtendedMark) != 0 || response.sourceAddress > 0x7FF)))
        content.rxFlags[2] |= 0x01;
    content.withExtraInfo = !cop.txFlags.empty() && (cop.txFlags[0] & 0x20) != 0;
    content.header = BigEndian32(can && !IsRaw() ? response.sourceAddress & kCanIdMask : response.sourceAddress);
    context.Emit(*this, ItemFactory::Result(content));
    cop.receivedThisCycle++;
}

uint32_t ComLogicalLink::Param(const std::map<uint32_t, ParamValue>& set, const char* name, uint32_t fallback) const {
    const auto id = m_paramIds.find(name);
    if (id == m_paramIds.end()) return fallback;
    const auto value = set.find(id->second);
    return value == set.end() ? fallback : value->second.AsUnsigned();
}

uint32_t ComLogicalLink::UridParam(const UridEntry& entry, const ComPrimitive& cop, const char* name,
                                   uint32_t fallback) const {
    return Param(entry.params, name, Param(cop.params, name, fallback));
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
    const UridEntry none{};
    const UridEntry& first = m_urids.empty() ? none : m_urids.front();
    const auto unique = [&](const char* name, uint32_t fallback) { return Param(first.params, name, Param(params, name, fallback)); };
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
        if ((UridParam(entry, cop, name, PDU_ID_UNDEF) & mask) == (source & mask)) return entry.uniqueRespId;
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

bool ComLogicalLink::PassesFilters(const VehicleResponse& response) const {
    if (m_filters.empty()) return true;
    // Filters see the message as the result's extra info shows it: the 4-byte id, then the data.
    // Raw frames carry their id already, and only they are UUDT.
    std::vector<uint8_t> data = response.data;
    if (!IsRaw()) {
        data = BigEndian32(m_bus == VehicleBus::Can ? response.sourceAddress & kCanIdMask : response.sourceAddress);
        data.insert(data.end(), response.data.begin(), response.data.end());
    }
    bool anyPass = false, passed = false;
    for (const PDU_IO_FILTER_DATA& filter : m_filters) {
        if (!IsRaw() && IsUudtFilter(filter.FilterType)) continue;
        bool fits = filter.FilterCompareSize <= data.size();
        for (UNUM32 i = 0; i < filter.FilterCompareSize && fits; ++i)
            fits = (data[i] & filter.FilterMaskMessage[i]) == (filter.FilterPatternMessage[i] & filter.FilterMaskMessage[i]);
        const bool pass = filter.FilterType == PDU_FLT_PASS || filter.FilterType == PDU_FLT_PASS_UUDT;
        if (!pass && fits) return false;
        anyPass = anyPass || pass;
        passed = passed || (pass && fits);
    }
    return !anyPass || passed;
}

}  // namespace pdusim
