#include "MonitorService.h"

#include <algorithm>
#include <cstring>

#include "SimSystem.h"

namespace pdusim {
namespace {

std::string Text(const char* text) { return text != nullptr ? text : ""; }

constexpr uint32_t kPassThruType = 527;

// A module answers to its model's name, alone or followed by more ("ZentaStick#ZS-100231"), or
// to its serial number. A pass-thru device (type 527) is found by name whatever its module type.
bool AnswersTo(const SimModule& module, uint32_t hardwareType, const std::string& name) {
    if (module.isDoIp || module.type == nullptr) return false;
    if (hardwareType != kPassThruType && module.type->id != hardwareType) return false;
    if (!module.serialText.empty() && name == module.serialText) return true;
    return !module.hwName.empty() && name.compare(0, module.hwName.size(), module.hwName) == 0;
}

// A bus is named by its type's short name or by the channel a bench shows ("CAN1", "KLINE2",
// "LIN1"): a channel stands for the first bus of its kind that the hardware has.
std::string BusOfName(const std::string& name, const std::vector<std::string>& buses) {
    if (std::find(buses.begin(), buses.end(), name) != buses.end()) return name;
    const std::pair<const char*, const char*> kinds[] = {{"CAN", "CAN"}, {"KLINE", "UART"}, {"LIN", "LIN"}};
    for (const auto& [channel, kind] : kinds) {
        if (name.rfind(channel, 0) != 0 || name.size() == std::strlen(channel)) continue;
        if (name.find_first_not_of("0123456789", std::strlen(channel)) != std::string::npos) continue;
        for (const std::string& bus : buses)
            if (bus.find(kind) != std::string::npos && bus.find("FTCAN") == std::string::npos) return bus;
    }
    return {};
}

}  // namespace

MonitorService& MonitorService::Instance() {
    static MonitorService service;
    return service;
}

MonitorService::~MonitorService() {
    for (MonitorLink* link : TakeAll()) link->Release();
}

void MonitorService::Reserved0() { ThrowIfInjected("Reserved0"); }
void MonitorService::ServiceReserved0() { ThrowIfInjected("ServiceReserved0"); }
void MonitorService::ServiceReserved1() { ThrowIfInjected("ServiceReserved1"); }
void MonitorService::ServiceReserved3() { ThrowIfInjected("ServiceReserved3"); }
void MonitorService::ServiceReserved4() { ThrowIfInjected("ServiceReserved4"); }
void MonitorService::ServiceReserved6() { ThrowIfInjected("ServiceReserved6"); }
void MonitorService::ServiceReserved7() { ThrowIfInjected("ServiceReserved7"); }
void MonitorService::ServiceReserved8() { ThrowIfInjected("ServiceReserved8"); }
void MonitorService::ServiceReserved9() { ThrowIfInjected("ServiceReserved9"); }
void MonitorService::ServiceReserved10() { ThrowIfInjected("ServiceReserved10"); }
void MonitorService::ServiceReserved11() { ThrowIfInjected("ServiceReserved11"); }
void MonitorService::ServiceReserved12() { ThrowIfInjected("ServiceReserved12"); }
void MonitorService::ServiceReserved13() { ThrowIfInjected("ServiceReserved13"); }
void MonitorService::ServiceReserved14() { ThrowIfInjected("ServiceReserved14"); }
void MonitorService::ServiceReserved15() { ThrowIfInjected("ServiceReserved15"); }

void MonitorService::OpenHardware(uint32_t hardwareType, const char* hardwareName, int32_t channel) {
    ThrowIfInjected("OpenHardware");
    const std::string name = Text(hardwareName);
    Hardware found;
    {
        SimSystem& system = SimSystem::Instance();
        auto lock = system.LockForCaller();
        for (SimModule* module : system.PluggedModules()) {
            if (!AnswersTo(*module, hardwareType, name)) continue;
            found.moduleHandle = module->handle;
            for (uint32_t resourceId : module->type->resourceIds)
                if (const MdfResource* resource = system.Catalog().FindResource(resourceId))
                    if (const MdfProtocol* bus = system.Catalog().FindBusType(resource->busTypeId))
                        found.busNames.push_back(bus->name);
        }
    }
    if (found.moduleHandle == 0) throw KdException(0x301, "Hardware not found", "OpenHardware");
    std::lock_guard lock(m_lock);
    m_hardware[name] = std::move(found);
}

void MonitorService::CloseHardware(uint32_t hardwareType, const char* hardwareName) {
    ThrowIfInjected("CloseHardware");
    std::vector<MonitorLink*> released;
    {
        std::lock_guard lock(m_lock);
        const auto hardware = m_hardware.find(Text(hardwareName));
        if (hardware == m_hardware.end()) throw KdException(0x302, "Hardware is not open", "CloseHardware");
        m_hardware.erase(hardware);
        for (auto it = m_links.begin(); it != m_links.end();) {
            if (it->second->HardwareName() != Text(hardwareName)) {
                ++it;
                continue;
            }
            released.push_back(it->second);
            it = m_links.erase(it);
        }
    }
    for (MonitorLink* link : released) link->Release();
}

uint32_t MonitorService::CreateMonitorLink(uint32_t hardwareType, const char* hardwareName, const char* busName,
                                           int32_t channel) {
    ThrowIfInjected("CreateMonitorLink");
    std::lock_guard lock(m_lock);
    const auto hardware = m_hardware.find(Text(hardwareName));
    if (hardware == m_hardware.end()) throw KdException(0x302, "Hardware is not open", "CreateMonitorLink");
    const std::string bus = BusOfName(Text(busName), hardware->second.busNames);
    if (bus.empty()) throw KdException(0x303, "The hardware has no such bus", "CreateMonitorLink");
    const uint32_t id = m_nextId++;
    m_links[id] = new MonitorLink(id, hardware->second.moduleHandle, Text(hardwareName), bus);
    return id;
}

KdMonitorLink* MonitorService::GetMonitorLink(uint32_t id) {
    ThrowIfInjected("GetMonitorLink");
    std::lock_guard lock(m_lock);
    const auto it = m_links.find(id);
    if (it == m_links.end()) throw KdException(0x304, "No monitor link of that id", "GetMonitorLink");
    it->second->AddRef();
    return it->second;
}

std::vector<MonitorLink*> MonitorService::TakeAll() {
    std::lock_guard lock(m_lock);
    std::vector<MonitorLink*> links;
    for (auto& [id, link] : m_links) links.push_back(link);
    m_links.clear();
    m_hardware.clear();
    m_nextId = 1;  // a new session numbers its links from 1 again
    return links;
}

bool MonitorService::Watching(uint32_t hMod) {
    std::lock_guard lock(m_lock);
    return std::any_of(m_links.begin(), m_links.end(),
                       [&](const auto& entry) { return entry.second->ModuleHandle() == hMod && entry.second->IsOpen(); });
}

void MonitorService::Mirror(uint32_t hMod, const std::vector<MonitorItemContent>& frames) {
    std::lock_guard lock(m_lock);
    for (auto& [id, link] : m_links)
        if (link->ModuleHandle() == hMod) link->Mirror(frames);
}

}  // namespace pdusim
