#include "SimSystem.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>

#include <arpa/inet.h>

#include <cstdio>

#include "DoIpTraffic.h"
#include "ItemFactory.h"
#include "MonitorService.h"
#include "WlanSettings.h"

namespace pdusim {
namespace {

// How long one link may run before the others and the host's calls get their turn.
constexpr auto kLinkBudget = std::chrono::microseconds(300);
// How long the scheduler stays out of the lock for a host call that waits for it.
constexpr auto kCallerGrace = std::chrono::milliseconds(2);
// How often the scheduler takes the DoIP frames of the sockets while a DoIP monitor link listens.
constexpr auto kDoIpTrafficPoll = std::chrono::milliseconds(2);
constexpr uint32_t kDoIpModuleType = 541;
constexpr uint32_t kDoIpCableId = 110;

std::string Hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    char part[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(part, sizeof part, i == 0 ? "%02X" : ":%02X", bytes[i]);
        text += part;
    }
    return text;
}

std::string LibraryDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&LibraryDirectory), &info) == 0 || info.dli_fname == nullptr) return ".";
    const std::string path = info.dli_fname;
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string MdfPath() {
    const char* overridden = std::getenv("PDUSIM_MDF");
    if (overridden != nullptr && *overridden != '\0') return overridden;
    return LibraryDirectory() + "/pdusim_mdf.xml";
}

}  // namespace

SimSystem& SimSystem::Instance() {
    static SimSystem instance;
    return instance;
}

SimSystem::~SimSystem() {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_constructed) Destruct(lock);
}

std::unique_lock<std::mutex> SimSystem::LockForCaller() {
    m_callersWaiting.fetch_add(1);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_callersWaiting.fetch_sub(1);
    return lock;
}

T_PDU_ERROR SimSystem::InjectedFailure(const char* function) const {
    return m_faults.FailureOf(function).value_or(PDU_STATUS_NOERROR);
}

T_PDU_ERROR SimSystem::InjectedFailure(const char* function, const std::string& name) const {
    return m_faults.FailureOf(std::string(function) + ":" + name).value_or(PDU_STATUS_NOERROR);
}

bool SimSystem::LoadCatalog(std::string& error) {
    m_catalog = MdfCatalog{};
    return m_catalog.Load(MdfPath(), error);
}

T_PDU_ERROR SimSystem::Construct(void* apiTag) {
    if (m_constructed) return PDU_ERR_SHARING_VIOLATION;
    m_faults = FaultInjection::FromEnvironment();
    m_journal.OpenFromEnvironment();
    m_wlan = WlanSettings::FromEnvironment();
    if (const auto failure = m_faults.FailureOf("PDUConstruct")) return *failure;
    std::string error;
    if (!LoadCatalog(error)) return PDU_ERR_FCT_FAILED;
    m_apiTag = apiTag;
    m_vehicle = std::make_unique<Vehicle>();
    m_vehicle->SetResponseDelayScale(m_faults.SlowFactor());
    m_doip = std::make_unique<DoIpNetwork>(DoIpNetwork::FromEnvironment(), *m_vehicle);
    m_errors = {m_catalog.ErrorCodeId("MRVNE_ERR_NO_ECU_RESPONSE"), m_catalog.ErrorCodeId("MRVNE_ERR_UNEXPECTED_FRAME"),
                m_catalog.ErrorCodeId("MRVNE_ERR_KLINE_INIT_FAILED"), m_catalog.ErrorCodeId("MRVNE_ERR_VCI_LOST")};
    m_modules = MakeSimModules(m_catalog);
    for (auto& module : m_modules) module->plugged = !m_faults.IsMissing(module->number);
    m_systemDoIp.reset();
    if (const MdfModuleType* type = m_catalog.FindModuleType(kDoIpModuleType)) {
        m_systemDoIp = std::make_unique<SimModule>();
        m_systemDoIp->handle = PDU_HANDLE_UNDEF;
        m_systemDoIp->type = type;
        m_systemDoIp->isDoIp = true;
        m_systemDoIp->plugged = false;  // no module of the list: only its links are found
        m_systemDoIp->connected = true;
    }
    m_nextDiscovered = kFirstDiscoveredHandle;
    ++m_generation;
    DoIpTraffic::Instance().SetListening(false);
    m_timeBase = std::chrono::steady_clock::now();
    m_trafficEpoch = m_timeBase;
    m_dispatcher = std::make_unique<CallbackDispatcher>();
    m_stopScheduler = false;
    m_scheduler = std::thread(&SimSystem::RunScheduler, this);
    m_constructed = true;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR SimSystem::Destruct(std::unique_lock<std::mutex>& lock) {
    if (!m_constructed) return PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
    m_constructed = false;
    m_stopScheduler = true;
    std::thread scheduler = std::move(m_scheduler);
    std::unique_ptr<CallbackDispatcher> dispatcher = std::move(m_dispatcher);
    std::unique_ptr<DoIpNetwork> doip = std::move(m_doip);
    lock.unlock();
    m_wake.notify_all();
    if (scheduler.joinable()) scheduler.join();
    dispatcher.reset();  // no callback runs once this returns (unless we are inside one)
    doip.reset();        // its threads are joined before the vehicle goes
    lock.lock();
    m_links.clear();
    m_modules.clear();
    m_systemDoIp.reset();
    DoIpTraffic::Instance().SetListening(false);
    m_systemEvents.Clear();
    m_systemEvents.callback = nullptr;
    m_vehicle.reset();
    return PDU_STATUS_NOERROR;
}

SimModule* SimSystem::FindModule(uint32_t hMod) {
    for (auto& module : m_modules)
        if (module->handle == hMod && module->plugged) return module.get();
    return nullptr;
}

SimModule* SimSystem::FindModuleByNumber(uint32_t number) {
    for (auto& module : m_modules)
        if (module->number == number) return module.get();
    return nullptr;
}

std::vector<SimModule*> SimSystem::PluggedModules() {
    std::vector<SimModule*> modules;
    for (auto& module : m_modules)
        if (module->plugged) modules.push_back(module.get());
    return modules;
}

ComLogicalLink* SimSystem::FindLink(uint32_t hMod, uint32_t hCLL) {
    const auto it = m_links.find(hCLL);
    if (it == m_links.end() || it->second->Module().handle != hMod) return nullptr;
    return it->second.get();
}

ComLogicalLink* SimSystem::FindLinkAnyModule(uint32_t hCLL) {
    const auto it = m_links.find(hCLL);
    return it == m_links.end() ? nullptr : it->second.get();
}

ComLogicalLink* SimSystem::CreateLink(SimModule& module, const MdfResource& resource, void* tag,
                                      std::vector<uint8_t> createFlags, bool doIpMonitor) {
    while (m_links.count(m_nextLink) != 0 || m_nextLink == 0 || m_nextLink == PDU_HANDLE_UNDEF) ++m_nextLink;
    const uint32_t handle = m_nextLink++;
    auto link = std::make_unique<ComLogicalLink>(handle, module, resource, m_catalog, tag, std::move(createFlags), doIpMonitor);
    ComLogicalLink* raw = link.get();
    m_links[handle] = std::move(link);
    return raw;
}

void SimSystem::DestroyLink(uint32_t hCLL) { m_links.erase(hCLL); }

void SimSystem::DestroyLinksOf(SimModule& module) {
    for (auto it = m_links.begin(); it != m_links.end();)
        it = &it->second->Module() == &module ? m_links.erase(it) : std::next(it);
}

CallbackDispatcher::Fence SimSystem::ForgetCallbacks(uint32_t hMod, uint32_t hCLL) {
    if (m_dispatcher == nullptr) return {};
    return m_dispatcher->Forget(hMod, hCLL);
}

CallbackDispatcher::Fence SimSystem::ReplaceCallback(EventQueue& queue, CALLBACKFNC callback, uint32_t hMod,
                                                     uint32_t hCLL, void* cllTag) {
    if (queue.callback == callback) return {};
    queue.callback = callback;
    CallbackDispatcher::Fence fence = ForgetCallbacks(hMod, hCLL);
    if (queue.Size() > 0) Post(queue, EventQueue::PushResult::Kept, hMod, hCLL, cllTag);
    return fence;
}

uint32_t SimSystem::ResourceStatus(const SimModule& module, uint32_t resourceId) const {
    uint32_t status = 0;
    for (const auto& [handle, link] : m_links) {
        if (&link->Module() != &module || link->Resource().id != resourceId) continue;
        status |= PDU_RSCST_IN_USE;
        if (link->lockMask != 0) status |= PDU_RSCST_LOCKED;
    }
    return status;
}

ComLogicalLink* SimSystem::LockHolder(const ComLogicalLink& link, uint32_t mask) {
    for (auto& [handle, other] : m_links)
        if (other.get() != &link && &other->Module() == &link.Module() &&
            other->Resource().id == link.Resource().id && (other->lockMask & mask) != 0)
            return other.get();
    return nullptr;
}

void SimSystem::SetLock(ComLogicalLink& link, uint32_t lockMask) {
    if (link.lockMask == lockMask) return;
    link.lockMask = lockMask;
    uint32_t held = 0;
    for (auto& [handle, other] : m_links)
        if (&other->Module() == &link.Module() && other->Resource().id == link.Resource().id) held |= other->lockMask;
    for (auto& [handle, other] : m_links)
        if (other.get() != &link && &other->Module() == &link.Module() && other->Resource().id == link.Resource().id)
            Emit(*other, ItemFactory::Info(Now(), PDU_INFO_RSC_LOCK_CHG, held));
}

T_PDU_ERROR SimSystem::Plug(uint32_t number, bool plugged) {
    SimModule* module = FindModuleByNumber(number);
    if (module == nullptr) return PDU_ERR_VALUE_NOT_SUPPORTED;
    if (module->plugged == plugged) return PDU_STATUS_NOERROR;
    if (!plugged) {
        const uint32_t lost = m_errors.vciLost;
        module->lastError = {PDU_ERR_EVT_LOST_COMM_TO_VCI, PDU_HANDLE_UNDEF, Now(), lost};
        for (auto& [handle, link] : m_links)
            if (&link->Module() == module) {
                link->lastError = {PDU_ERR_EVT_LOST_COMM_TO_VCI, PDU_HANDLE_UNDEF, Now(), lost};
                Emit(*link, ItemFactory::Error(PDU_HANDLE_UNDEF, nullptr, Now(), PDU_ERR_EVT_LOST_COMM_TO_VCI, lost));
                link->CancelAll(*this);
            }
        DeliverModule(*module, ItemFactory::Status(PDU_HANDLE_UNDEF, nullptr, Now(), PDU_MODST_NOT_AVAIL));
        module->connected = false;
    }
    module->plugged = plugged;
    UpdateDoIpEntities();
    DeliverSystem(ItemFactory::Info(Now(), PDU_INFO_MODULE_LIST_CHG, 0));
    return PDU_STATUS_NOERROR;
}

// Not at PDUConstruct: every host process would then hold port 13400, and answer broadcasts, without
// using DoIP at all.
void SimSystem::UpdateDoIpEntities() {
    if (m_doip == nullptr) return;
    const bool wanted = std::any_of(m_modules.begin(), m_modules.end(), [](const auto& module) {
        return module->isDoIp && module->plugged && module->connected;
    });
    if (wanted && !m_doip->Started()) m_doip->Start();
    if (!wanted && m_doip->Started()) m_doip->Stop();
}

bool SimSystem::AddDiscoveredEntity(uint32_t address, uint16_t logicalAddress, const std::vector<uint8_t>& eid) {
    for (auto& module : m_modules)
        if (module->discovered && module->entityAddress == address && module->logicalAddress == logicalAddress)
            return false;
    const MdfModuleType* type = m_catalog.FindModuleType(kDoIpModuleType);
    if (type == nullptr) return false;
    while (FindModuleByNumber(m_nextDiscovered) != nullptr || m_nextDiscovered == PDU_HANDLE_UNDEF) ++m_nextDiscovered;
    char ip[INET_ADDRSTRLEN] = {};
    in_addr in{};
    in.s_addr = address;
    ::inet_ntop(AF_INET, &in, ip, sizeof ip);
    char logical[8];
    std::snprintf(logical, sizeof logical, "0x%04X", logicalAddress);
    auto module = std::make_unique<SimModule>();
    module->number = m_nextDiscovered;
    module->handle = m_nextDiscovered++;
    module->type = type;
    module->vendorModuleName = "Type='MVCI_ISO_13400_DoIP_Entity'";
    module->vendorAdditionalInfo = "VendorName='Morvane AG' EID='" + Hex(eid) + "' LogicalAddress='" + logical +
                                   "' IPAddress='" + ip + "'";
    module->hwName = "Virtual DoIP Entity";
    module->cableId = kDoIpCableId;
    module->isDoIp = true;
    module->ethSwitchState = 1;
    module->discovered = true;
    module->entityAddress = address;
    module->logicalAddress = logicalAddress;
    m_modules.push_back(std::move(module));
    return true;
}

std::vector<SimModule*> SimSystem::DiscoveredEntities() {
    std::vector<SimModule*> found;
    for (auto& module : m_modules)
        if (module->discovered && module->plugged) found.push_back(module.get());
    return found;
}

std::vector<CallbackDispatcher::Fence> SimSystem::ClearDiscoveredEntities() {
    std::vector<CallbackDispatcher::Fence> fences;
    for (auto it = m_modules.begin(); it != m_modules.end();) {
        if (!(*it)->discovered) {
            ++it;
            continue;
        }
        DestroyLinksOf(**it);
        fences.push_back(ForgetCallbacks((*it)->handle, CallbackDispatcher::kAnyLink));
        fences.push_back(ForgetCallbacks((*it)->handle, PDU_HANDLE_UNDEF));
        it = m_modules.erase(it);
    }
    UpdateDoIpEntities();
    RefreshDoIpListening();
    return fences;
}

const MdfResource* SimSystem::DoIpResource() const {
    const MdfModuleType* type = m_catalog.FindModuleType(kDoIpModuleType);
    if (type == nullptr) return nullptr;
    for (uint32_t id : type->resourceIds) {
        const MdfResource* resource = m_catalog.FindResource(id);
        const MdfProtocol* protocol = resource != nullptr ? m_catalog.FindProtocol(resource->protocolId) : nullptr;
        if (protocol != nullptr && protocol->name.find("13400") != std::string::npos) return resource;
    }
    return nullptr;
}

std::optional<uint32_t> SimSystem::DoIpEntityAddress(const SimModule& module) const {
    if (module.discovered) return module.entityAddress;
    if (module.isDoIp && m_doip != nullptr) return m_doip->LocalAddress();
    return std::nullopt;
}

void SimSystem::RefreshDoIpListening() {
    const bool listening = std::any_of(m_links.begin(), m_links.end(), [](const auto& entry) {
        return entry.second->IsDoIpMonitor() && entry.second->State() != PDU_CLLST_OFFLINE;
    });
    const bool wasListening = DoIpTraffic::Instance().Listening();
    DoIpTraffic::Instance().SetListening(listening);
    // A scheduler with nothing to do waits without a bound: it must start polling the frames now.
    if (listening && !wasListening) WakeScheduler();
}

void SimSystem::DeliverDoIpTraffic() {
    if (!DoIpTraffic::Instance().Listening()) return;
    const std::vector<DoIpCapture> captures = DoIpTraffic::Instance().Take();
    if (captures.empty()) return;
    for (auto& [handle, link] : m_links)
        if (link->IsDoIpMonitor()) link->HearDoIp(captures, *this);
}

void SimSystem::Post(EventQueue& queue, EventQueue::PushResult pushed, uint32_t hMod, uint32_t hCLL, void* cllTag) {
    if (m_dispatcher == nullptr || queue.callback == nullptr) return;
    if (pushed != EventQueue::PushResult::DroppedNew)
        m_dispatcher->Post({queue.callback, PDU_EVT_DATA_AVAILABLE, hMod, hCLL, cllTag, m_apiTag});
    if (pushed != EventQueue::PushResult::Kept)
        m_dispatcher->Post({queue.callback, PDU_EVT_DATA_LOST, hMod, hCLL, cllTag, m_apiTag});
}

void SimSystem::DeliverSystem(PDU_EVENT_ITEM* item) {
    Post(m_systemEvents, m_systemEvents.Push(item), PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, nullptr);
}

void SimSystem::DeliverModule(SimModule& module, PDU_EVENT_ITEM* item) {
    Post(module.events, module.events.Push(item), module.handle, PDU_HANDLE_UNDEF, nullptr);
}

void SimSystem::Emit(ComLogicalLink& link, PDU_EVENT_ITEM* item) {
    Post(link.events, link.events.Push(item), link.Module().handle, link.Handle(), link.Tag());
}

uint32_t SimSystem::Stamp(SteadyTime time) const {
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::microseconds>(time - m_timeBase).count());
}

bool SimSystem::CanBusWatched(const ComLogicalLink& origin) const {
    if (MonitorService::Instance().Watching(origin.Module().handle)) return true;
    for (const auto& [handle, link] : m_links)
        if (link.get() != &origin && link->IsMonitor() && link->State() != PDU_CLLST_OFFLINE && link->SharesCanBus(origin))
            return true;
    return false;
}

void SimSystem::OnCanBus(const ComLogicalLink& origin, const std::vector<BusFrame>& frames) {
    MirrorToMonitor(origin.Module().handle, frames);
    for (auto& [handle, link] : m_links)
        if (link.get() != &origin && link->IsMonitor() && link->SharesCanBus(origin)) link->HearBusFrames(frames);
}

// The monitor service sees every frame of the module's links as transmitted or received.
void SimSystem::MirrorToMonitor(uint32_t hMod, const std::vector<BusFrame>& frames) {
    std::vector<MonitorItemContent> items;
    for (const BusFrame& frame : frames) {
        MonitorItemContent item;
        item.type = frame.fromTester ? KD_IT_CAN_TX : KD_IT_CAN_RX;
        item.timestamp = Stamp(frame.end);
        item.id = frame.id;
        item.extended = frame.extended;
        item.data = frame.data;
        items.push_back(std::move(item));
    }
    MonitorService::Instance().Mirror(hMod, items);
}

void SimSystem::PhysicalParamsChanged(ComLogicalLink& origin, const std::vector<ParamChange>& changes) {
    for (auto& [handle, other] : m_links) {
        if (other.get() == &origin || &other->Module() != &origin.Module() || other->Resource().id != origin.Resource().id)
            continue;
        for (const ParamChange& change : changes)
            if (other->AdoptPhysicalParam(change))
                Emit(*other, ItemFactory::Info(Now(), PDU_INFO_PHYS_COMPARAM_CHG, change.after.Id()));
    }
}

void SimSystem::LetCallersIn() {
    const SteadyTime until = std::chrono::steady_clock::now() + kCallerGrace;
    while (m_callersWaiting.load() > 0 && std::chrono::steady_clock::now() < until) std::this_thread::yield();
}

void SimSystem::RunScheduler() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopScheduler) {
        DeliverDoIpTraffic();
        SteadyTime next = SteadyTime::max();
        if (DoIpTraffic::Instance().Listening()) next = std::chrono::steady_clock::now() + kDoIpTrafficPoll;
        for (auto& [handle, link] : m_links) {
            link->Run(*this, std::chrono::steady_clock::now() + kLinkBudget);
            if (const auto due = link->NextDue()) next = std::min(next, *due);
        }
        if (next <= std::chrono::steady_clock::now()) {
            // More is due at once (a back-to-back cyclic send): the host's calls come first.
            lock.unlock();
            LetCallersIn();
            lock.lock();
            continue;
        }
        if (next == SteadyTime::max()) m_wake.wait(lock);
        else m_wake.wait_until(lock, next);
    }
}

}  // namespace pdusim
