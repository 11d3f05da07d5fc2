// The library's one instance: description catalogue, modules, links, the system event queue,
// the thread that runs ComPrimitives and the thread that calls the host's callbacks.
#pragma once

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
#include "FaultInjection.h"
#include "LinkContext.h"
#include "MdfCatalog.h"
#include "SimModule.h"

namespace pdusim {

class SimSystem : public LinkContext {
public:
    static SimSystem& Instance();
    ~SimSystem() override;

    // Lock for every call; the scheduler and the direct CAN functions take it too.
    std::mutex& Mutex() { return m_mutex; }
    bool IsConstructed() const { return m_constructed; }
    // Failure code injected for this function, PDU_STATUS_NOERROR when none.
    T_PDU_ERROR InjectedFailure(const char* function) const;

    T_PDU_ERROR Construct(void* apiTag);
    T_PDU_ERROR Destruct(std::unique_lock<std::mutex>& lock);

    const MdfCatalog& Catalog() const { return m_catalog; }
    SimModule* FindModule(uint32_t hMod);  // plugged modules only
    SimModule* FindModuleByNumber(uint32_t number);
    std::vector<SimModule*> PluggedModules();
    ComLogicalLink* FindLink(uint32_t hMod, uint32_t hCLL);
    ComLogicalLink* FindLinkAnyModule(uint32_t hCLL);

    ComLogicalLink* CreateLink(SimModule& module, const MdfResource& resource, void* tag,
                               std::vector<uint8_t> createFlags);
    void DestroyLink(uint32_t hCLL);
    void DestroyLinksOf(SimModule& module);
    uint32_t ResourceStatus(const SimModule& module, uint32_t resourceId) const;
    // Another link on the same resource of the same module that holds any lock of `mask`.
    ComLogicalLink* LockHolder(const ComLogicalLink& link, uint32_t mask);
    // Raises PDU_INFO_RSC_LOCK_CHG on the other links of the resource when the locks change.
    void SetLock(ComLogicalLink& link, uint32_t lockMask);
    uint32_t NewCopHandle() { return m_nextCop++; }
    void WakeScheduler() { m_wake.notify_all(); }

    // Hot plug: raises PDU_INFO_MODULE_LIST_CHG on the system queue.
    T_PDU_ERROR Plug(uint32_t number, bool plugged);

    EventQueue& SystemEvents() { return m_systemEvents; }
    void DeliverSystem(PDU_EVENT_ITEM* item);
    void DeliverModule(SimModule& module, PDU_EVENT_ITEM* item);
    void Emit(ComLogicalLink& link, PDU_EVENT_ITEM* item) override;
    uint32_t Stamp(SteadyTime time) const override;
    Vehicle& TheVehicle() override { return *m_vehicle; }
    void ResetTimestamps() { m_timeBase = std::chrono::steady_clock::now(); }
    uint32_t Now() const { return Stamp(std::chrono::steady_clock::now()); }

private:
    SimSystem() = default;
    void RunScheduler();
    void Post(EventQueue& queue, EventQueue::PushResult pushed, uint32_t hMod, uint32_t hCLL, void* cllTag);
    bool LoadCatalog(std::string& error);

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_constructed = false;
    bool m_stopScheduler = false;
    void* m_apiTag = nullptr;
    FaultInjection m_faults;
    MdfCatalog m_catalog;
    std::unique_ptr<Vehicle> m_vehicle;
    std::vector<std::unique_ptr<SimModule>> m_modules;
    std::map<uint32_t, std::unique_ptr<ComLogicalLink>> m_links;
    EventQueue m_systemEvents;
    std::unique_ptr<CallbackDispatcher> m_dispatcher;
    std::thread m_scheduler;
    SteadyTime m_timeBase = std::chrono::steady_clock::now();
    uint32_t m_nextLink = 1;
    uint32_t m_nextCop = 1;
};

}  // namespace pdusim
