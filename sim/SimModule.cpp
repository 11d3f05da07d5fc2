#include "SimModule.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

namespace pdusim {
namespace {

struct ModulePlan {
    uint32_t typeId;
    const char* vendorModuleName;
    const char* vendorAdditionalInfo;
    const char* hwName;
    const char* serialText;
    uint32_t serial;
    uint32_t cableId;
    bool doIp;
};

// Display lines start with the model name, as hosts look the first word up in their tables.
constexpr ModulePlan kPlans[] = {
    {518, "ModuleName='ZentaStick'",
     "VendorName='Morvane AG' SerialNumber='ZS-100231' FirmwareVersion='3.2.1' ConnectionType='USB'",
     "ZentaStick", "ZS-100231", 100231, 100, false},
    {569, "ModuleName='BrontoMax'",
     "VendorName='Morvane AG' SerialNumber='BM-200417' FirmwareVersion='5.0.4' ConnectionType='WLAN'",
     "BrontoMax", "BM-200417", 200417, 104, false},
    {541, "Type='MVCI_ISO_13400_DoIP_Entity'",
     "VendorName='Morvane AG' EID='00:1A:37:00:00:01' LogicalAddress='0x1001' IPAddress='127.0.0.1'",
     "Virtual DoIP Entity", "", 1, 110, true},
    // Present only when PDUSIM_MODULES names them: a DoIP entity that reports the model name
    // itself, and a pass-thru device that no model table row names.
    {541, "ModuleName='MVCI_ISO_13400_DoIP_Entity'",
     "VendorName='Morvane AG' SerialNumber='DE-400009' FirmwareVersion='1.0.2' ConnectionType='ETH'",
     "Virtual DoIP Entity", "DE-400009", 400009, 110, true},
    {518, "ModuleName='VSI-2534'",
     "VendorName='Morvane AG' SerialNumber='VS-300112' FirmwareVersion='2.1.0' ConnectionType='USB'",
     "VSI-2534", "VS-300112", 300112, 100, false},
};

constexpr uint32_t kDefaultModuleCount = 3;

// The module numbers PDUSIM_MODULES lists ("1,2,3,5"); without it the first three.
std::set<uint32_t> ChosenModules() {
    std::set<uint32_t> chosen;
    const char* text = std::getenv("PDUSIM_MODULES");
    if (text == nullptr) {
        for (uint32_t n = 1; n <= kDefaultModuleCount; ++n) chosen.insert(n);
        return chosen;
    }
    std::istringstream in(text);
    std::string piece;
    while (std::getline(in, piece, ',')) chosen.insert(static_cast<uint32_t>(std::strtoul(piece.c_str(), nullptr, 10)));
    return chosen;
}

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
    const std::set<uint32_t> chosen = ChosenModules();
    uint32_t number = 0;
    for (const ModulePlan& plan : kPlans) {
        ++number;
        if (chosen.count(number) == 0) continue;
        const MdfModuleType* type = catalog.FindModuleType(plan.typeId);
        if (type == nullptr) continue;
        auto module = std::make_unique<SimModule>();
        module->number = number;
        module->handle = number;
        module->type = type;
        module->vendorModuleName = plan.vendorModuleName;
        module->vendorAdditionalInfo = plan.vendorAdditionalInfo;
        module->hwName = plan.hwName;
        module->serialText = plan.serialText;
        module->serialNumber = plan.serial;
        module->cableId = plan.cableId;
        module->isDoIp = plan.doIp;
        module->ethSwitchState = plan.doIp ? 1 : 0;  // the entity is awake
        modules.push_back(std::move(module));
    }
    return modules;
}

}  // namespace pdusim
