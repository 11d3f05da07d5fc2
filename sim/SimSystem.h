// The library's one instance: description catalogue, modules, links, the system event queue,
// the thread that runs ComPrimitives and the thread that calls the host's callbacks.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CallbackDispatcher.h"
#include "ComLogicalLink.h"
#include "DoIpNetwork.h"
#include "FaultInjection.h"
#include "ItemFactory.h"
#include "Journal.h"
#include "LinkContext.h"
#include "MdfCatalog.h"
#include "SimModule.h"

namespace pdusim {

class SimSystem : public LinkContext {
public:
    static SimSystem& Instance();
    ~SimSystem() override;

    // The lock of every exported function. The scheduler steps aside while a caller waits for it,
    // so that a host's calls (a cancel, a disconnect) are never held up by a busy link.
    std::unique_lock<std::mutex> LockForCaller();
    bool IsConstructed() const { return m_constructed; }
    // Failure code injected for this function, PDU_STATUS_NOERROR when none.
    T_PDU_ERROR InjectedFailure(const char* function) const;
    std::optional<uint32_t> InjectedThrow(const char* method) const { return m_faults.ThrowOf(method); }
    // ... of one IOCTL or one object name: "PDUIoCtl:<short name>", "PDUGetObjectId:<short name>".
    T_PDU_ERROR InjectedFailure(const char* function, const std::string& name) const;
    Journal& TheJournal() { return m_journal; }
    const PDU_IO_WLAN_SIGNAL_DATA& WlanAnswer() const { return m_wlan; }

    T_PDU_ERROR Construct(void* apiTag);
    T_PDU_ERROR Destruct(std::unique_lock<std::mutex>& lock);

    const MdfCatalog& Catalog() const { return m_catalog; }
    SimModule* FindModule(uint32_t hMod);  // plugged modules only
    SimModule* FindModuleByNumber(uint32_t number);
    std::vector<SimModule*> PluggedModules();
    ComLogicalLink* FindLink(uint32_t hMod, uint32_t hCLL);
    ComLogicalLink* FindLinkAnyModule(uint32_t hCLL);

    ComLogicalLink* CreateLink(SimModule& module, const MdfResource& resource, void* tag,
                               std::vector<uint8_t> createFlags, bool doIpMonitor = false);
    void DestroyLink(uint32_t hCLL);
    void DestroyLinksOf(SimModule& module);
    // Callbacks of the queue that were not called yet are dropped; wait on the fence with the lock
    // released, and no callback of the queue runs any more. kAnyLink: every link of the module.
    CallbackDispatcher::Fence ForgetCallbacks(uint32_t hMod, uint32_t hCLL);
    // A changed callback of a queue: the old one is not called any more, the new one hears of what waits.
    CallbackDispatcher::Fence ReplaceCallback(EventQueue& queue, CALLBACKFNC callback, uint32_t hMod, uint32_t hCLL,
                                              void* cllTag);
    uint32_t ResourceStatus(const SimModule& module, uint32_t resourceId) const;
    // Another link on the same resource of the same module that holds any lock of `mask`.
    ComLogicalLink* LockHolder(const ComLogicalLink& link, uint32_t mask);
    // Raises PDU_INFO_RSC_LOCK_CHG on the other links of the resource when the locks change.
    void SetLock(ComLogicalLink& link, uint32_t lockMask);
    uint32_t NewCopHandle() { return m_nextCop++; }
    void WakeScheduler() { m_wake.notify_all(); }

    // Hot plug: raises PDU_INFO_MODULE_LIST_CHG on the system queue.
    T_PDU_ERROR Plug(uint32_t number, bool plugged);
    // The vehicle's DoIP entities are on the network while a DoIP module is connected.
    void UpdateDoIpEntities();
    // DoIP entities a vehicle identification found become modules; false when already known.
    bool AddDiscoveredEntity(uint32_t address, uint16_t logicalAddress, const std::vector<uint8_t>& eid);
    std::vector<SimModule*> DiscoveredEntities();
    // Forgets them with their links; wait on the fences with the lock released.
    std::vector<CallbackDispatcher::Fence> ClearDiscoveredEntities();
    void AnnounceModuleList() { DeliverSystem(ItemFactory::Info(Now(), PDU_INFO_MODULE_LIST_CHG, 0)); }
    // Counts constructions: a call that let the lock go sees whether the library it came from is gone.
    uint64_t Generation() const { return m_generation; }
    // The owner of DoIP monitor links created without a module (PDU_HANDLE_UNDEF).
    SimModule* SystemDoIpModule() { return m_systemDoIp.get(); }
    const MdfResource* DoIpResource() const;
    // DoIP frames are kept only while a DoIP monitor link is online.
    void RefreshDoIpListening();

    EventQueue& SystemEvents() { return m_systemEvents; }
    void DeliverSystem(PDU_EVENT_ITEM* item);
    void DeliverModule(SimModule& module, PDU_EVENT_ITEM* item);
    void Emit(ComLogicalLink& link, PDU_EVENT_ITEM* item) override;
    uint32_t Stamp(SteadyTime time) const override;
    Vehicle& TheVehicle() override { return *m_vehicle; }
    const VendorErrors& Errors() const override { return m_errors; }
    bool IdealBus() const override { return m_faults.SlowFactor() == 0; }
    SteadyTime TrafficEpoch() const override { return m_trafficEpoch; }
    bool CanBusWatched(const ComLogicalLink& origin) const override;
    void OnCanBus(const ComLogicalLink& origin, const std::vector<BusFrame>& frames) override;
    void PhysicalParamsChanged(ComLogicalLink& origin, const std::vector<ParamChange>& changes) override;
    std::optional<uint32_t> DoIpEntityAddress(const SimModule& module) const override;
    void MirrorToMonitor(uint32_t hMod, const std::vector<BusFrame>& frames);
    void ResetTimestamps() { m_timeBase = std::chrono::steady_clock::now(); }
    uint32_t Now() const { return Stamp(std::chrono::steady_clock::now()); }

private:
    static constexpr uint32_t kFirstDiscoveredHandle = 0x100;
    SimSystem() = default;
    void DeliverDoIpTraffic();
    void RunScheduler();
    void LetCallersIn();
    void Post(EventQueue& queue, EventQueue::PushResult pushed, uint32_t hMod, uint32_t hCLL, void* cllTag);
    bool LoadCatalog(std::string& error);

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_constructed = false;
    bool m_stopScheduler = false;
    void* m_apiTag = nullptr;
    FaultInjection m_faults;
    Journal m_journal;
    PDU_IO_WLAN_SIGNAL_DATA m_wlan{};
    MdfCatalog m_catalog;
    std::unique_ptr<Vehicle> m_vehicle;
    std::unique_ptr<DoIpNetwork> m_doip;  // uses m_vehicle: goes first
    std::vector<std::unique_ptr<SimModule>> m_modules;
    std::unique_ptr<SimModule> m_systemDoIp;  // outlives the links: see Destruct
    uint32_t m_nextDiscovered = kFirstDiscoveredHandle;
    uint64_t m_generation = 0;
    std::map<uint32_t, std::unique_ptr<ComLogicalLink>> m_links;
    EventQueue m_systemEvents;
    std::unique_ptr<CallbackDispatcher> m_dispatcher;
    std::thread m_scheduler;
    SteadyTime m_timeBase = std::chrono::steady_clock::now();
    SteadyTime m_trafficEpoch = std::chrono::steady_clock::now();
    VendorErrors m_errors;
    std::atomic<int> m_callersWaiting{0};
    uint32_t m_nextLink = 1;
    uint32_t m_nextCop = 1;
};

}  // namespace pdusim
