// The maker's monitor service, which PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE hands out: one object
// for the library's life. It opens the hardware of the simulated modules for monitoring and
// keeps the monitor links it created, one reference each, until that hardware is closed.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "MonitorLink.h"

namespace pdusim {

class MonitorService final : public KdMonitorService {
public:
    static MonitorService& Instance();

    void Reserved0() override;
    uint32_t GetType() override { return KD_OBJT_SERVICE; }
    // The service lives as long as the library: references change nothing.
    void Release() override {}
    void AddRef() override {}

    void ServiceReserved0() override;
    void ServiceReserved1() override;
    KdMonitorLink* GetMonitorLink(uint32_t id) override;
    void ServiceReserved3() override;
    void ServiceReserved4() override;
    uint32_t CreateMonitorLink(uint32_t hardwareType, const char* hardwareName, const char* busName,
                               int32_t channel) override;
    void ServiceReserved6() override;
    void ServiceReserved7() override;
    void ServiceReserved8() override;
    void ServiceReserved9() override;
    void ServiceReserved10() override;
    void ServiceReserved11() override;
    void ServiceReserved12() override;
    void ServiceReserved13() override;
    void ServiceReserved14() override;
    void ServiceReserved15() override;
    void OpenHardware(uint32_t hardwareType, const char* hardwareName, int32_t channel) override;
    void CloseHardware(uint32_t hardwareType, const char* hardwareName) override;

    // PDUDestruct: the service lets go of all hardware and links. Release what it returns
    // without the library's lock: a link ends its thread.
    std::vector<MonitorLink*> TakeAll();
    // Whether an open monitor link listens to the module's buses.
    bool Watching(uint32_t hMod);
    void Mirror(uint32_t hMod, const std::vector<MonitorItemContent>& frames);

private:
    MonitorService() = default;
    ~MonitorService();

    struct Hardware {
        uint32_t moduleHandle = 0;
        std::vector<std::string> busNames;
    };

    std::mutex m_lock;
    std::map<std::string, Hardware> m_hardware;  // by the name it was opened with
    std::map<uint32_t, MonitorLink*> m_links;
    uint32_t m_nextId = 1;
};

}  // namespace pdusim
