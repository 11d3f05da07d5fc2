// The exported ISO 22900-2 functions. Each takes the library's lock, checks its arguments and
// the construction state, and answers with the standard's codes; none may crash on bad input.
#include <algorithm>
#include <cstring>

#include "IoCtlHandler.h"
#include "ItemFactory.h"
#include "ItemStore.h"
#include "MonitorService.h"
#include "SimSystem.h"
#include "pdu/PduFunctions.h"

using namespace pdusim;

namespace {

SimSystem& Sys() { return SimSystem::Instance(); }

// Common entry check: constructed, then any injected failure of this function.
T_PDU_ERROR Enter(const char* function) {
    if (!Sys().IsConstructed()) return PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
    return Sys().InjectedFailure(function);
}

T_PDU_ERROR FindModule(uint32_t hMod, SimModule*& module) {
    module = Sys().FindModule(hMod);
    return module != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_HANDLE;
}

T_PDU_ERROR FindConnectedLink(uint32_t hMod, uint32_t hCLL, ComLogicalLink*& link) {
    if (hMod == PDU_HANDLE_UNDEF) {  // a DoIP monitor link that belongs to no module
        link = Sys().FindLink(hMod, hCLL);
        return link != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_HANDLE;
    }
    SimModule* module = Sys().FindModule(hMod);
    if (module == nullptr) return PDU_ERR_INVALID_HANDLE;
    if (!module->connected) return PDU_ERR_MODULE_NOT_CONNECTED;
    link = Sys().FindLink(hMod, hCLL);
    return link != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_HANDLE;
}

void CopyText(char (&target)[64], const std::string& text) {
    std::strncpy(target, text.c_str(), sizeof(target) - 1);
    target[sizeof(target) - 1] = '\0';
}

constexpr uint32_t DateWord(uint32_t year, uint32_t month, uint32_t day, uint32_t week) {
    return ((year - 1970) << 24) | (month << 16) | (day << 8) | week;
}

bool ResourceMatches(const MdfResource& resource, const PDU_RSC_DATA& wanted) {
    if (resource.busTypeId != wanted.BusTypeId || resource.protocolId != wanted.ProtocolId) return false;
    for (UNUM32 i = 0; i < wanted.NumPinData; ++i) {
        const PDU_PIN_DATA& pin = wanted.pDLCPinData[i];
        const bool found = std::any_of(resource.pins.begin(), resource.pins.end(), [&](const MdfPin& p) {
            return p.pin == pin.DLCPinNumber && p.pinTypeId == pin.DLCPinTypeId;
        });
        if (!found) return false;
    }
    return true;
}

std::vector<uint32_t> MatchingResources(const SimModule& module, const PDU_RSC_DATA& wanted) {
    std::vector<uint32_t> ids;
    for (uint32_t id : module.type->resourceIds) {
        const MdfResource* resource = Sys().Catalog().FindResource(id);
        if (resource != nullptr && ResourceMatches(*resource, wanted)) ids.push_back(id);
    }
    return ids;
}

bool NeedsStartComm(const std::string& protocol) {
    return protocol.find("14230_2") != std::string::npos || protocol.find("K_Line") != std::string::npos;
}

T_PDU_ERROR CheckControl(T_PDU_COPT type, const PDU_COP_CTRL_DATA* control) {
    if (type < PDU_COPT_STARTCOMM || type > PDU_COPT_RESTORE_PARAM) return PDU_ERR_INVALID_PARAMETERS;
    if (control == nullptr) return PDU_STATUS_NOERROR;
    if (control->NumSendCycles < -1 || control->NumReceiveCycles < -2) return PDU_ERR_INVALID_PARAMETERS;
    if (type == PDU_COPT_SENDRECV && control->NumSendCycles == 0 && control->NumReceiveCycles == 0)
        return PDU_ERR_INVALID_PARAMETERS;
    if (control->NumPossibleExpectedResponses > 0 && control->pExpectedResponseArray == nullptr)
        return PDU_ERR_INVALID_PARAMETERS;
    for (UNUM32 i = 0; i < control->NumPossibleExpectedResponses; ++i) {
        const PDU_EXP_RESP_DATA& e = control->pExpectedResponseArray[i];
        if (e.NumMaskPatternBytes > 0 && (e.pMaskData == nullptr || e.pPatternData == nullptr))
            return PDU_ERR_INVALID_PARAMETERS;
        if (e.NumUniqueRespIds > 0 && e.pUniqueRespIds == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    }
    return PDU_STATUS_NOERROR;
}

constexpr uint32_t kLockPhysicalParams = 0x1;
constexpr uint32_t kLockTransmitQueue = 0x2;

T_PDU_ERROR CheckLinkState(const ComLogicalLink& link, T_PDU_COPT type) {
    if (link.State() == PDU_CLLST_OFFLINE) return PDU_ERR_CLL_NOT_CONNECTED;
    // A queued STARTCOMM counts: the host may queue its first request right behind it.
    const bool started = link.State() == PDU_CLLST_COMM_STARTED || link.StartCommPending();
    if (type == PDU_COPT_STOPCOMM && !started) return PDU_ERR_CLL_NOT_STARTED;
    if (type == PDU_COPT_SENDRECV && !started && NeedsStartComm(link.ProtocolName())) return PDU_ERR_CLL_NOT_STARTED;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR CheckLocks(ComLogicalLink& link, T_PDU_COPT type, const PDU_COP_CTRL_DATA* control) {
    const bool transmits = type == PDU_COPT_SENDRECV || type == PDU_COPT_STARTCOMM || type == PDU_COPT_STOPCOMM;
    if (transmits && Sys().LockHolder(link, kLockTransmitQueue) != nullptr) return PDU_ERR_RSC_LOCKED;
    const bool updates = type == PDU_COPT_UPDATEPARAM || (control != nullptr && control->TempParamUpdate != 0);
    if (updates && link.ChangesPhysicalParams() && Sys().LockHolder(link, kLockPhysicalParams) != nullptr)
        return PDU_ERR_RSC_LOCKED;
    return PDU_STATUS_NOERROR;
}

bool ValidLockMask(UNUM32 mask) { return mask != 0 && (mask & ~(kLockPhysicalParams | kLockTransmitQueue)) == 0; }

EventQueue* QueueOf(uint32_t hMod, uint32_t hCLL, T_PDU_ERROR& result) {
    result = PDU_STATUS_NOERROR;
    if (hMod == PDU_HANDLE_UNDEF && hCLL == PDU_HANDLE_UNDEF) return &Sys().SystemEvents();
    if (hMod == PDU_HANDLE_UNDEF) {
        ComLogicalLink* link = Sys().FindLink(hMod, hCLL);
        if (link == nullptr) result = PDU_ERR_INVALID_HANDLE;
        return link != nullptr ? &link->events : nullptr;
    }
    SimModule* module = Sys().FindModule(hMod);
    if (module == nullptr) {
        result = PDU_ERR_INVALID_HANDLE;
        return nullptr;
    }
    if (hCLL == PDU_HANDLE_UNDEF) return &module->events;
    ComLogicalLink* link = Sys().FindLink(hMod, hCLL);
    if (link == nullptr) result = PDU_ERR_INVALID_HANDLE;
    return link != nullptr ? &link->events : nullptr;
}

}  // namespace

extern "C" {

T_PDU_ERROR PDU_CALL PDUConstruct(CHAR8* OptionStr, void* pAPITag) {
    auto lock = Sys().LockForCaller();
    return Sys().Construct(pAPITag);
}

T_PDU_ERROR PDU_CALL PDUDestruct(void) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUDestruct")) return e;
    const T_PDU_ERROR result = Sys().Destruct(lock);
    // The monitor links end their threads, which may be in the host's callback: not under the lock.
    const std::vector<MonitorLink*> links = MonitorService::Instance().TakeAll();
    lock.unlock();
    for (MonitorLink* link : links) link->Release();
    return result;
}

T_PDU_ERROR PDU_CALL PDUModuleConnect(UNUM32 hMod) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUModuleConnect")) return e;
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    module->connected = true;
    Sys().UpdateDoIpEntities();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUModuleDisconnect(UNUM32 hMod) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUModuleDisconnect")) return e;
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    if (!module->connected) return PDU_ERR_MODULE_NOT_CONNECTED;
    Sys().DestroyLinksOf(*module);
    module->connected = false;
    Sys().UpdateDoIpEntities();
    Sys().RefreshDoIpListening();
    const CallbackDispatcher::Fence fence = Sys().ForgetCallbacks(hMod, CallbackDispatcher::kAnyLink);
    lock.unlock();
    fence.Wait();  // the host may free its links' tags now
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUGetTimestamp(UNUM32 hMod, UNUM32* pTimestamp) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetTimestamp")) return e;
    if (pTimestamp == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    *pTimestamp = Sys().Now();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUIoCtl(UNUM32 hMod, UNUM32 hCLL, UNUM32 IoCtlCommandId, PDU_DATA_ITEM* pInputData,
                              PDU_DATA_ITEM** pOutputData) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUIoCtl")) return e;
    const MdfNamedId* ioCtl = Sys().Catalog().FindIoCtl(IoCtlCommandId);
    if (ioCtl == nullptr) return HandleIoCtl(Sys(), lock, hMod, hCLL, IoCtlCommandId, pInputData, pOutputData);
    // The DoIP IOCTLs let the lock go while they wait for the network: the catalogue may be gone after.
    const std::string name = ioCtl->name;
    T_PDU_ERROR result = Sys().InjectedFailure("PDUIoCtl", name);
    if (result != PDU_STATUS_NOERROR) {
        if (pOutputData != nullptr) *pOutputData = nullptr;
    } else {
        result = HandleIoCtl(Sys(), lock, hMod, hCLL, IoCtlCommandId, pInputData, pOutputData);
    }
    if (Sys().IsConstructed()) Sys().TheJournal().IoCtl(hMod, hCLL, name, pInputData, result);
    return result;
}

T_PDU_ERROR PDU_CALL PDUGetVersion(UNUM32 hMod, PDU_VERSION_DATA* pVersionData) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetVersion")) return e;
    if (pVersionData == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    PDU_VERSION_DATA v{};
    v.MVCI_Part1StandardVersion = 0x02020000;
    v.MVCI_Part2StandardVersion = 0x02020000;
    v.HwSerialNumber = module->serialNumber;
    CopyText(v.HwName, module->hwName);
    v.HwVersion = 0x02010000;
    v.HwDate = DateWord(2025, 3, 14, 11);
    v.HwInterface = module->isDoIp ? 2 : 1;
    CopyText(v.FwName, module->hwName + " Firmware");
    v.FwVersion = 0x03020100;
    v.FwDate = DateWord(2026, 5, 20, 21);
    CopyText(v.VendorName, "Morvane AG");
    CopyText(v.PDUApiSwName, "Morvane D-PDU API Simulator");
    v.PDUApiSwVersion = 0x0B204300;
    v.PDUApiSwDate = DateWord(2026, 11, 2, 45);
    *pVersionData = v;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUGetStatus(UNUM32 hMod, UNUM32 hCLL, UNUM32 hCoP, T_PDU_STATUS* pStatusCode,
                                  UNUM32* pTimestamp, UNUM32* pExtraInfo) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetStatus")) return e;
    if (pStatusCode == nullptr || pTimestamp == nullptr || pExtraInfo == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    SimModule* module = hMod == PDU_HANDLE_UNDEF ? Sys().SystemDoIpModule() : Sys().FindModuleByNumber(hMod);
    if (module == nullptr || module->handle != hMod || (hMod == PDU_HANDLE_UNDEF && hCLL == PDU_HANDLE_UNDEF))
        return PDU_ERR_INVALID_HANDLE;
    *pTimestamp = Sys().Now();
    *pExtraInfo = 0;
    if (hCLL == PDU_HANDLE_UNDEF) {
        *pStatusCode = module->Status();
        return PDU_STATUS_NOERROR;
    }
    ComLogicalLink* link = Sys().FindLink(hMod, hCLL);
    if (link == nullptr) return PDU_ERR_INVALID_HANDLE;
    if (hCoP == PDU_HANDLE_UNDEF) {
        *pStatusCode = link->State();
        return PDU_STATUS_NOERROR;
    }
    return link->CopStatus(hCoP, *pStatusCode) ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_HANDLE;
}

T_PDU_ERROR PDU_CALL PDUGetLastError(UNUM32 hMod, UNUM32 hCLL, T_PDU_ERR_EVT* pErrorCode, UNUM32* phCoP,
                                     UNUM32* pTimestamp, UNUM32* pExtraErrorInfo) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetLastError")) return e;
    if (pErrorCode == nullptr || phCoP == nullptr || pTimestamp == nullptr || pExtraErrorInfo == nullptr)
        return PDU_ERR_INVALID_PARAMETERS;
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    LastError last = module->lastError;
    if (hCLL != PDU_HANDLE_UNDEF) {
        ComLogicalLink* link = Sys().FindLink(hMod, hCLL);
        if (link == nullptr) return PDU_ERR_INVALID_HANDLE;
        last = link->lastError;
    }
    *pErrorCode = last.code;
    *phCoP = last.hCop;
    *pTimestamp = last.timestamp;
    *pExtraErrorInfo = last.extra;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUGetResourceStatus(PDU_RSC_STATUS_ITEM* pResourceStatus) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetResourceStatus")) return e;
    if (pResourceStatus == nullptr || pResourceStatus->ItemType != PDU_IT_RSC_STATUS ||
        (pResourceStatus->NumEntries > 0 && pResourceStatus->pResourceStatusData == nullptr))
        return PDU_ERR_INVALID_PARAMETERS;
    for (UNUM32 i = 0; i < pResourceStatus->NumEntries; ++i) {
        PDU_RSC_STATUS_DATA& entry = pResourceStatus->pResourceStatusData[i];
        SimModule* module = Sys().FindModule(entry.hMod);
        if (module == nullptr) return PDU_ERR_INVALID_HANDLE;
        if (!module->Supports(entry.ResourceId)) return PDU_ERR_ID_NOT_SUPPORTED;
        entry.ResourceStatus = Sys().ResourceStatus(*module, entry.ResourceId);
    }
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUCreateComLogicalLink(UNUM32 hMod, PDU_RSC_DATA* pRscData, UNUM32 resourceId, void* pCllTag,
                                             UNUM32* phCLL, PDU_FLAG_DATA* pCllCreateFlag) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUCreateComLogicalLink")) return e;
    if (phCLL == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    std::vector<uint8_t> flags;
    if (pCllCreateFlag != nullptr && pCllCreateFlag->pFlagData != nullptr)
        flags.assign(pCllCreateFlag->pFlagData, pCllCreateFlag->pFlagData + std::min<UNUM32>(pCllCreateFlag->NumFlagBytes, 64));
    // Neither resource data nor id, on a DoIP module or on none: the DoIP monitor link.
    if (resourceId == PDU_ID_UNDEF && pRscData == nullptr) {
        SimModule* owner = hMod == PDU_HANDLE_UNDEF ? Sys().SystemDoIpModule() : Sys().FindModule(hMod);
        const MdfResource* resource = Sys().DoIpResource();
        if (owner != nullptr && owner->isDoIp && resource != nullptr) {
            if (!owner->connected) return PDU_ERR_MODULE_NOT_CONNECTED;
            *phCLL = Sys().CreateLink(*owner, *resource, pCllTag, std::move(flags), true)->Handle();
            return PDU_STATUS_NOERROR;
        }
    }
    SimModule* module = nullptr;
    if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
    if (!module->connected) return PDU_ERR_MODULE_NOT_CONNECTED;
    if (resourceId == PDU_ID_UNDEF) {
        if (pRscData == nullptr || (pRscData->NumPinData > 0 && pRscData->pDLCPinData == nullptr))
            return PDU_ERR_INVALID_PARAMETERS;
        const std::vector<uint32_t> ids = MatchingResources(*module, *pRscData);
        if (ids.empty()) return PDU_ERR_RESOURCE_ERROR;
        resourceId = ids.front();
    }
    const MdfResource* resource = Sys().Catalog().FindResource(resourceId);
    if (resource == nullptr || !module->Supports(resourceId)) return PDU_ERR_ID_NOT_SUPPORTED;
    *phCLL = Sys().CreateLink(*module, *resource, pCllTag, std::move(flags))->Handle();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUDestroyComLogicalLink(UNUM32 hMod, UNUM32 hCLL) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUDestroyComLogicalLink")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (link->State() != PDU_CLLST_OFFLINE) return PDU_ERR_CLL_CONNECTED;
    Sys().DestroyLink(hCLL);
    const CallbackDispatcher::Fence fence = Sys().ForgetCallbacks(hMod, hCLL);
    lock.unlock();
    fence.Wait();  // the host may free the link's tag now
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUConnect(UNUM32 hMod, UNUM32 hCLL) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUConnect")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (link->State() != PDU_CLLST_OFFLINE) return PDU_ERR_CLL_CONNECTED;
    link->SetState(PDU_CLLST_ONLINE, Sys());
    Sys().RefreshDoIpListening();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUDisconnect(UNUM32 hMod, UNUM32 hCLL) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUDisconnect")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (link->State() == PDU_CLLST_OFFLINE) return PDU_ERR_CLL_NOT_CONNECTED;
    link->CancelAll(Sys());
    Sys().SetLock(*link, 0);  // locks end with the connection
    link->SetState(PDU_CLLST_OFFLINE, Sys());
    Sys().RefreshDoIpListening();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDULockResource(UNUM32 hMod, UNUM32 hCLL, UNUM32 LockMask) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDULockResource")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (!ValidLockMask(LockMask)) return PDU_ERR_INVALID_PARAMETERS;
    if (Sys().LockHolder(*link, LockMask) != nullptr) return PDU_ERR_RSC_LOCKED_BY_OTHER_CLL;
    Sys().SetLock(*link, link->lockMask | LockMask);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUUnlockResource(UNUM32 hMod, UNUM32 hCLL, UNUM32 LockMask) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUUnlockResource")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (!ValidLockMask(LockMask)) return PDU_ERR_INVALID_PARAMETERS;
    if ((link->lockMask & LockMask) == 0) return PDU_ERR_RSC_NOT_LOCKED;
    Sys().SetLock(*link, link->lockMask & ~LockMask);
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUGetComParam(UNUM32 hMod, UNUM32 hCLL, UNUM32 ParamId, PDU_PARAM_ITEM** pParamItem) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetComParam")) return e;
    if (pParamItem == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    return link->GetParam(ParamId, pParamItem);
}

T_PDU_ERROR PDU_CALL PDUSetComParam(UNUM32 hMod, UNUM32 hCLL, PDU_PARAM_ITEM* pParamItem) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUSetComParam")) return e;
    if (pParamItem == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    ComLogicalLink* link = nullptr;
    T_PDU_ERROR result = FindConnectedLink(hMod, hCLL, link);
    if (result == PDU_STATUS_NOERROR) result = link->SetParam(*pParamItem);
    Sys().TheJournal().SetComParam(Sys().Catalog(), hMod, hCLL, *pParamItem, result);
    return result;
}

T_PDU_ERROR PDU_CALL PDUStartComPrimitive(UNUM32 hMod, UNUM32 hCLL, T_PDU_COPT CoPType, UNUM32 CoPDataSize,
                                          UNUM8* pCoPData, PDU_COP_CTRL_DATA* pCopCtrlData, void* pCoPTag,
                                          UNUM32* phCoP) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUStartComPrimitive")) return e;
    if (phCoP == nullptr || (CoPDataSize > 0 && pCoPData == nullptr)) return PDU_ERR_INVALID_PARAMETERS;
    if (const T_PDU_ERROR e = CheckControl(CoPType, pCopCtrlData)) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    if (const T_PDU_ERROR e = CheckLinkState(*link, CoPType)) return e;
    if (const T_PDU_ERROR e = CheckLocks(*link, CoPType, pCopCtrlData)) return e;
    const uint32_t handle = Sys().NewCopHandle();
    const std::vector<uint8_t> data(pCoPData, pCoPData + CoPDataSize);
    if (const T_PDU_ERROR e = link->Start(CoPType, data, pCopCtrlData, pCoPTag, handle, Sys())) return e;
    *phCoP = handle;
    Sys().WakeScheduler();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUCancelComPrimitive(UNUM32 hMod, UNUM32 hCLL, UNUM32 hCoP) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUCancelComPrimitive")) return e;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    const T_PDU_ERROR result = link->Cancel(hCoP, Sys());
    Sys().WakeScheduler();
    return result;
}

T_PDU_ERROR PDU_CALL PDUGetEventItem(UNUM32 hMod, UNUM32 hCLL, PDU_EVENT_ITEM** pEventItem) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetEventItem")) return e;
    if (pEventItem == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    T_PDU_ERROR result = PDU_STATUS_NOERROR;
    EventQueue* queue = QueueOf(hMod, hCLL, result);
    if (queue == nullptr) return result;
    *pEventItem = queue->Pop();
    return *pEventItem != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_EVENT_QUEUE_EMPTY;
}

T_PDU_ERROR PDU_CALL PDUDestroyItem(PDU_ITEM* pItem) {
    if (pItem == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    return ItemStore::Release(pItem) ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_PARAMETERS;
}

T_PDU_ERROR PDU_CALL PDURegisterEventCallback(UNUM32 hMod, UNUM32 hCLL, CALLBACKFNC EventCallbackFunction) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDURegisterEventCallback")) return e;
    T_PDU_ERROR result = PDU_STATUS_NOERROR;
    EventQueue* queue = QueueOf(hMod, hCLL, result);
    if (queue == nullptr) return result;
    ComLogicalLink* link = hCLL == PDU_HANDLE_UNDEF ? nullptr : Sys().FindLink(hMod, hCLL);
    const CallbackDispatcher::Fence fence =
        Sys().ReplaceCallback(*queue, EventCallbackFunction, hMod, hCLL, link != nullptr ? link->Tag() : nullptr);
    lock.unlock();
    fence.Wait();  // the callback replaced is not running any more
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL PDUGetObjectId(T_PDU_OBJT pduObjectType, CHAR8* pShortname, UNUM32* pPduObjectId) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetObjectId")) return e;
    if (pShortname == nullptr || pPduObjectId == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    *pPduObjectId = PDU_ID_UNDEF;
    if (const T_PDU_ERROR e = Sys().InjectedFailure("PDUGetObjectId", pShortname)) return e;
    return Sys().Catalog().ObjectId(pduObjectType, pShortname, *pPduObjectId) ? PDU_STATUS_NOERROR
                                                                             : PDU_ERR_INVALID_PARAMETERS;
}

T_PDU_ERROR PDU_CALL PDUGetModuleIds(PDU_MODULE_ITEM** pModuleIdList) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetModuleIds")) return e;
    if (pModuleIdList == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    std::vector<ModuleEntry> entries;
    for (SimModule* m : Sys().PluggedModules())
        entries.push_back({m->type->id, m->handle, m->vendorModuleName.c_str(), m->vendorAdditionalInfo.c_str(),
                           m->Status()});
    *pModuleIdList = ItemFactory::ModuleList(entries);
    return *pModuleIdList != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR PDU_CALL PDUGetResourceIds(UNUM32 hMod, PDU_RSC_DATA* pResourceIdData, PDU_RSC_ID_ITEM** pResourceIdList) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetResourceIds")) return e;
    if (pResourceIdData == nullptr || pResourceIdList == nullptr ||
        (pResourceIdData->NumPinData > 0 && pResourceIdData->pDLCPinData == nullptr))
        return PDU_ERR_INVALID_PARAMETERS;
    std::vector<RscIdEntry> entries;
    if (hMod == PDU_HANDLE_UNDEF) {
        for (SimModule* m : Sys().PluggedModules()) entries.push_back({m->handle, MatchingResources(*m, *pResourceIdData)});
    } else {
        SimModule* module = nullptr;
        if (const T_PDU_ERROR e = FindModule(hMod, module)) return e;
        entries.push_back({module->handle, MatchingResources(*module, *pResourceIdData)});
    }
    *pResourceIdList = ItemFactory::ResourceIds(entries);
    return *pResourceIdList != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR PDU_CALL PDUGetConflictingResources(UNUM32 resourceId, PDU_MODULE_ITEM* pInputModuleList,
                                                PDU_RSC_CONFLICT_ITEM** pOutputConflictList) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetConflictingResources")) return e;
    if (pOutputConflictList == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    const MdfResource* wanted = Sys().Catalog().FindResource(resourceId);
    if (wanted == nullptr) return PDU_ERR_ID_NOT_SUPPORTED;
    std::vector<SimModule*> modules = Sys().PluggedModules();
    if (pInputModuleList != nullptr && pInputModuleList->NumEntries > 0) {
        if (pInputModuleList->pModuleData == nullptr) return PDU_ERR_INVALID_PARAMETERS;
        modules.clear();
        for (UNUM32 i = 0; i < pInputModuleList->NumEntries; ++i)
            if (SimModule* m = Sys().FindModule(pInputModuleList->pModuleData[i].hMod)) modules.push_back(m);
    }
    std::vector<PDU_RSC_CONFLICT_DATA> conflicts;
    for (SimModule* m : modules)
        for (uint32_t id : m->type->resourceIds) {
            const MdfResource* other = Sys().Catalog().FindResource(id);
            if (other == nullptr || id == resourceId) continue;
            const bool sharesPin = std::any_of(other->pins.begin(), other->pins.end(), [&](const MdfPin& p) {
                return std::any_of(wanted->pins.begin(), wanted->pins.end(), [&](const MdfPin& q) { return p.pin == q.pin; });
            });
            if (sharesPin) conflicts.push_back({m->handle, id});
        }
    *pOutputConflictList = ItemFactory::Conflicts(conflicts);
    return *pOutputConflictList != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR PDU_CALL PDUGetUniqueRespIdTable(UNUM32 hMod, UNUM32 hCLL, PDU_UNIQUE_RESP_ID_TABLE_ITEM** pUniqueRespIdTable) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUGetUniqueRespIdTable")) return e;
    if (pUniqueRespIdTable == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    ComLogicalLink* link = nullptr;
    if (const T_PDU_ERROR e = FindConnectedLink(hMod, hCLL, link)) return e;
    *pUniqueRespIdTable = link->UridTableItem();
    return *pUniqueRespIdTable != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR PDU_CALL PDUSetUniqueRespIdTable(UNUM32 hMod, UNUM32 hCLL, PDU_UNIQUE_RESP_ID_TABLE_ITEM* pUniqueRespIdTable) {
    auto lock = Sys().LockForCaller();
    if (const T_PDU_ERROR e = Enter("PDUSetUniqueRespIdTable")) return e;
    if (pUniqueRespIdTable == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    ComLogicalLink* link = nullptr;
    T_PDU_ERROR result = FindConnectedLink(hMod, hCLL, link);
    if (result == PDU_STATUS_NOERROR) result = link->SetUridTable(*pUniqueRespIdTable);
    Sys().TheJournal().SetUridTable(Sys().Catalog(), hMod, hCLL, *pUniqueRespIdTable, result);
    return result;
}

}  // extern "C"
