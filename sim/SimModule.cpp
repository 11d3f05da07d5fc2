#include "SimModule.h"

#include <algorithm>

namespace pdusim {
namespace {

struct ModulePlan {
    uint32_t typeId;
    const char* vendorModuleName;
    const char* vendorAdditionalInfo;
    const char* hwName;
    uint32_t serial;
    uint32_t cableId;
    bool doIp;
};

// Display lines start with the model name, as hosts look the first word up in their tables.
constexpr ModulePlan kPlans[] = {
    {518, "ModuleName='ZentaStick'",
     "VendorName='Morvane AG' SerialNumber='ZS-100231' FirmwareVersion='3.2.1' ConnectionType='USB'",
     "ZentaStick", 100231, 100, false},
    {569, "ModuleName='BrontoMax'",
     "VendorName='Morvane AG' SerialNumber='BM-200417' FirmwareVersion='5.0.4' ConnectionType='WLAN'",
     "BrontoMax", 200417, 104, false},
    {541, "Type='MVCI_ISO_13400_DoIP_Entity'",
     "VendorName='Morvane AG' EID='00:1A:37:00:00:01' LogicalAddress='0x1001' IPAddress='127.0.0.1'",
     "Virtual DoIP Entity", 1, 110, true},
};

}  // namespace

bool SimModule::Supports(uint32_t resourceId) const {
    return type != nullptr &&
           std::find(type->resourceIds.begin(), type->resourceIds.end(), resourceId) != type->resourceIds.end();
}

bool SimModule::SupportsIoCtl(uint32_t ioCtlId) const {
    return type != nullptr && std::find(type->ioCtlIds.begin(), type->ioCtlIds.end(), ioCtlId) != type->ioCtlIds.end();
}

T_PDU_STATUS SimModule::Status() const {
    if (!plugged) return PDU_MODST_NOT_AVAIL;
    return connected ? PDU_MODST_READY : PDU_MODST_AVAIL;
}

std::vector<std::unique_ptr<SimModule>> MakeSimModules(const MdfCatalog& catalog) {
    std::vector<std::unique_ptr<SimModule>> modules;
    uint32_t number = 0;
    for (const ModulePlan& plan : kPlans) {
        ++number;
        const MdfModuleType* type = catalog.FindModuleType(plan.typeId);
        if (type == nullptr) continue;
        auto module = std::make_unique<SimModule>();
        module->number = number;
        module->handle = number;
        module->type = type;
        module->vendorModuleName = plan.vendorModuleName;
        module->vendorAdditionalInfo = plan.vendorAdditionalInfo;
        module->hwName = plan.hwName;
        module->serialNumber = plan.serial;
        module->cableId = plan.cableId;
        module->isDoIp = plan.doIp;
        modules.push_back(std::move(module));
    }
    return modules;
}

}  // namespace pdusim
