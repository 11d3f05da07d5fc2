// A ComLogicalLink: its resource, state, ComParam sets, URID table, filters, event queue,
// and the ComPrimitives it runs. All members are guarded by the library's lock.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ComPrimitive.h"
#include "DoIpTester.h"
#include "DoIpTraffic.h"
#include "EventQueue.h"
#include "ItemFactory.h"
#include "LinkContext.h"
#include "MdfCatalog.h"
#include "SimModule.h"
#include "pdu/MorvaneExtensions.h"
#include "vehicle/Wire.h"

namespace pdusim {

struct UridEntry {
    uint32_t uniqueRespId = 0;
    std::map<uint32_t, ParamValue> params;
};

class ComLogicalLink {
public:
    ComLogicalLink(uint32_t handle, SimModule& module, const MdfResource& resource, const MdfCatalog& catalog,
                   void* tag, std::vector<uint8_t> createFlags, bool doIpMonitor = false);

    uint32_t Handle() const { return m_handle; }
    SimModule& Module() { return m_module; }
    const SimModule& Module() const { return m_module; }
    const MdfResource& Resource() const { return m_resource; }
    const std::string& ProtocolName() const { return m_protocolName; }
    void* Tag() const { return m_tag; }
    T_PDU_STATUS State() const { return m_state; }
    bool IsDirectCan() const { return m_protocolName == "MSP_MRVNE_CAN"; }
    // A raw CAN link created with create flags byte 3 == 1: it shows every frame of its bus.
    bool IsMonitor() const { return m_monitor; }
    // Created without resource data or id on a DoIP module or on none: it shows every DoIP frame
    // of the simulator's sockets.
    bool IsDoIpMonitor() const { return m_doIpMonitor; }
    void HearDoIp(const std::vector<DoIpCapture>& captures, LinkContext& context);
    bool SharesCanBus(const ComLogicalLink& other) const;
    uint32_t Baud() const;

    void SetState(T_PDU_STATUS state, LinkContext& context);
    // Ends every ComPrimitive with PDU_COPST_CANCELLED (disconnect, lost module).
    void CancelAll(LinkContext& context);

    T_PDU_ERROR GetParam(uint32_t id, PDU_PARAM_ITEM** item) const;
    T_PDU_ERROR SetParam(const PDU_PARAM_ITEM& item);
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* UridTableItem() const;
    T_PDU_ERROR SetUridTable(const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table);

    // A ComPrimitive that has to wait behind another or behind a suspended queue says PDU_COPST_IDLE.
    T_PDU_ERROR Start(T_PDU_COPT type, const std::vector<uint8_t>& data, const PDU_COP_CTRL_DATA* control,
                      void* tag, uint32_t handle, LinkContext& context);
    T_PDU_ERROR Cancel(uint32_t hCop, LinkContext& context);
    // Status of a ComPrimitive, also after it ended; false for a handle the link never had.
    bool CopStatus(uint32_t hCop, T_PDU_STATUS& status) const;
    // A STARTCOMM is queued: what follows it may be queued behind it.
    bool StartCommPending() const;
    // Whether UPDATEPARAM would change a physical (bus type) ComParam of the resource.
    bool ChangesPhysicalParams() const;
    // Another link of the resource made this physical ComParam active; false when this link lacks it.
    // A value the host set but did not activate yet stays.
    bool AdoptPhysicalParam(const ParamChange& change);
    // Frames another link put on the bus; kept for the time they are complete.
    void HearBusFrames(const std::vector<BusFrame>& frames);

    std::optional<SteadyTime> NextDue() const;
    // Runs what is due, stopping at the budget's end so that the host's calls get their turn.
    void Run(LinkContext& context, SteadyTime budgetEnd);

    T_PDU_ERROR StartFilters(const PDU_IO_FILTER_LIST& list);
    T_PDU_ERROR StopFilter(uint32_t number);
    void ClearFilters() { m_filters.clear(); }
    void SuspendTxQueue(bool suspended) { m_txSuspended = suspended; }
    void ClearTxQueue(LinkContext& context);

    EventQueue events;
    LastError lastError;
    std::deque<SeCanMessage> directCanFrames;
    int directCanEventFd = -1;
    uint32_t lockMask = 0;

private:
    bool Runnable(const ComPrimitive& cop, bool foregroundSeen) const;
    bool RunOnce(SteadyTime now, LinkContext& context);
    void Step(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void Begin(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void SetCopStatus(ComPrimitive& cop, T_PDU_STATUS status, SteadyTime now, LinkContext& context);
    void StepSendRecv(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    bool Send(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void ReceiveDue(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void IndicateStarts(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void FeedBusTraffic(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void CycleComplete(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void Finish(ComPrimitive& cop, T_PDU_STATUS status, SteadyTime now, LinkContext& context);
    void ScheduleNext(ComPrimitive& cop);
    void Deliver(ComPrimitive& cop, const PendingResponse& response, LinkContext& context);
    void EmitTimeout(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    void EmitError(ComPrimitive& cop, T_PDU_ERR_EVT code, uint32_t extra, SteadyTime now, LinkContext& context);
    void EmitLinkError(T_PDU_ERR_EVT code, uint32_t extra, SteadyTime stamp, LinkContext& context);
    void ActivateWorkingSet(LinkContext& context);

    // The bus: what a message costs in time, and the frames it puts there.
    uint32_t RequestWire(const std::map<uint32_t, ParamValue>& params, const VehicleRequest& request, SteadyTime start,
                         LinkContext& context, std::vector<BusFrame>* frames) const;
    uint32_t ResponseWire(const std::map<uint32_t, ParamValue>& params, const VehicleResponse& response,
                          SteadyTime start, LinkContext& context, std::vector<BusFrame>* frames) const;
    uint32_t IsoTpWire(const std::map<uint32_t, ParamValue>& params, const std::vector<uint8_t>& message,
                       uint32_t senderId, uint32_t receiverId, bool fromTester, SteadyTime start, LinkContext& context,
                       std::vector<BusFrame>* frames) const;
    uint32_t TesterIdFor(const std::map<uint32_t, ParamValue>& params, uint32_t ecuId) const;
    void ExtraInfoOf(const ComPrimitive& cop, const VehicleResponse& response, ResultContent& content) const;

    // Monitor links: frames on the bus that belong to no ComPrimitive of their own, and traffic.
    void EmitFrame(const BusFrame& frame, ComPrimitive* cop, bool transmitted, const ExpectedResponse* expected,
                   LinkContext& context);
    void HearFrame(const BusFrame& frame, LinkContext& context);
    void RunMonitor(SteadyTime now, LinkContext& context);
    // UDS over DoIP: the request goes over TCP to the entity; false when no entity is there for it.
    bool SendOverDoIp(ComPrimitive& cop, const VehicleRequest& request, LinkContext& context);
    void ReceiveDoIp(SteadyTime now, LinkContext& context);
    void AnswerInside(ComPrimitive& cop, SteadyTime now, LinkContext& context);
    bool AwaitsDoIp() const;
    SteadyTime TrafficDue(uint32_t period) const;
    uint32_t TrafficPeriodAt(SteadyTime time) const;
    uint32_t WireBaud(const LinkContext& context) const;
    bool TesterPresentEnabled() const;
    SteadyTime TesterPresentPeriodEnd(SteadyTime from) const;
    void RunTesterPresent(SteadyTime now, LinkContext& context);

    uint32_t Param(const std::map<uint32_t, ParamValue>& set, const char* name, uint32_t fallback) const;
    uint32_t UridParam(const UridEntry& entry, const std::map<uint32_t, ParamValue>& params, const char* name,
                       uint32_t fallback) const;
    // The unique id ComParam of the URID table's first entry, else of the set.
    uint32_t FirstUridParam(const std::map<uint32_t, ParamValue>& params, const char* name, uint32_t fallback) const;
    VehicleRequest BuildRequest(const std::map<uint32_t, ParamValue>& params, const std::vector<uint8_t>& data,
                                bool can29Bit) const;
    uint32_t ResponseUrid(const ComPrimitive& cop, uint32_t source, bool& known) const;
    const ExpectedResponse* Match(const ComPrimitive& cop, const std::vector<uint8_t>& data, uint32_t urid) const;
    // Filters see the 4-byte response id, then the data; raw frames as they are.
    std::vector<uint8_t> FilterView(const VehicleResponse& response) const;
    bool PassesFilters(const std::vector<uint8_t>& message) const;
    bool IsRaw() const { return m_protocolName == "ISO_11898_RAW" || IsDirectCan(); }
    bool TakesBusFrames(const ComPrimitive& cop) const { return cop.sendCycles == 0 || cop.receiveCycles == -1; }

    uint32_t m_handle;
    SimModule& m_module;
    const MdfResource m_resource;
    std::string m_protocolName;
    VehicleBus m_bus = VehicleBus::Can;
    KLineFormat m_kLineFormat = KLineFormat::Kwp2000;
    void* m_tag;
    std::vector<uint8_t> m_createFlags;
    T_PDU_STATUS m_state = PDU_CLLST_OFFLINE;
    std::map<std::string, uint32_t> m_paramIds;
    std::map<uint32_t, ParamValue> m_working;
    std::map<uint32_t, ParamValue> m_active;
    std::vector<UridEntry> m_urids;
    std::vector<PDU_IO_FILTER_DATA> m_filters;
    bool m_txSuspended = false;
    std::deque<std::shared_ptr<ComPrimitive>> m_cops;
    std::map<uint32_t, T_PDU_STATUS> m_endedCops;
    uint32_t m_trafficIndex = 0;
    SteadyTime m_testerPresentDue = SteadyTime::max();
    std::deque<PendingResponse> m_testerPresentAnswers;  // an empty answer: none came in time
    bool m_monitor = false;
    bool m_doIpMonitor = false;
    std::unique_ptr<DoIpTcpTester> m_doIpTcp;
    SteadyTime m_connectedAt{};
    std::multimap<SteadyTime, BusFrame> m_busFrames;  // by the time they are complete
    SteadyTime m_trafficEpoch{};
    uint32_t m_nextTrafficPeriod = 0;
};

}  // namespace pdusim
