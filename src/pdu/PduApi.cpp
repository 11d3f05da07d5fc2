#include "pdu/PduApi.h"

#include <iterator>

PduApiTable PduApi;

namespace {

// One failing stand-in per signature: whatever the arguments, the call fails cleanly.
template <typename Fn>
struct FailingStandIn;

template <typename... Args>
struct FailingStandIn<T_PDU_ERROR(PDU_CALL*)(Args...)> {
    static T_PDU_ERROR PDU_CALL Call(Args...) { return PDU_ERR_FCT_FAILED; }
};

template <typename Fn>
void BindSlot(Fn& slot, void* hModule, PduSymbolLookup lookup, const char* name)
{
    void* address = lookup(hModule, name);
    slot = address ? reinterpret_cast<Fn>(address) : &FailingStandIn<Fn>::Call;
}

}  // namespace

const char* const kPduApiLookupOrder[33] = {
    "PDUConstruct", "PDUDestruct", "PDUModuleConnect", "PDUModuleDisconnect", "PDUGetTimestamp",
    "PDUIoCtl", "PDUGetVersion", "PDUGetStatus", "PDUGetLastError", "PDUGetResourceStatus",
    "PDUCreateComLogicalLink", "PDUDestroyComLogicalLink", "PDUConnect", "PDUDisconnect",
    "PDULockResource", "PDUUnlockResource", "PDUGetComParam", "PDUSetComParam",
    "PDUStartComPrimitive", "PDUCancelComPrimitive", "PDUGetEventItem", "PDUDestroyItem",
    "PDURegisterEventCallback", "PDUGetObjectId", "PDUGetModuleIds", "PDUGetResourceIds",
    "PDUGetConflictingResources", "PDUGetUniqueRespIdTable", "PDUSetUniqueRespIdTable",
    "PDUSECanWrite", "PDUSECanRead", "PDUSESetEventNotification", "PDUSECanRequestChipState",
};

void BindPduApi(void* hModule, PduSymbolLookup lookup)
{
    PduApiTable& t = PduApi;
    BindSlot(t.PDUConstruct, hModule, lookup, "PDUConstruct");
    BindSlot(t.PDUDestruct, hModule, lookup, "PDUDestruct");
    BindSlot(t.PDUModuleConnect, hModule, lookup, "PDUModuleConnect");
    BindSlot(t.PDUModuleDisconnect, hModule, lookup, "PDUModuleDisconnect");
    lookup(hModule, "PDUGetTimestamp");  // dropped
    BindSlot(t.PDUIoCtl, hModule, lookup, "PDUIoCtl");
    BindSlot(t.PDUGetVersion, hModule, lookup, "PDUGetVersion");
    BindSlot(t.PDUGetStatus, hModule, lookup, "PDUGetStatus");
    lookup(hModule, "PDUGetLastError");  // dropped
    BindSlot(t.PDUGetResourceStatus, hModule, lookup, "PDUGetResourceStatus");
    BindSlot(t.PDUCreateComLogicalLink, hModule, lookup, "PDUCreateComLogicalLink");
    BindSlot(t.PDUDestroyComLogicalLink, hModule, lookup, "PDUDestroyComLogicalLink");
    BindSlot(t.PDUConnect, hModule, lookup, "PDUConnect");
    BindSlot(t.PDUDisconnect, hModule, lookup, "PDUDisconnect");
    lookup(hModule, "PDULockResource");    // dropped
    lookup(hModule, "PDUUnlockResource");  // dropped
    BindSlot(t.PDUGetComParam, hModule, lookup, "PDUGetComParam");
    BindSlot(t.PDUSetComParam, hModule, lookup, "PDUSetComParam");
    BindSlot(t.PDUStartComPrimitive, hModule, lookup, "PDUStartComPrimitive");
    BindSlot(t.PDUCancelComPrimitive, hModule, lookup, "PDUCancelComPrimitive");
    BindSlot(t.PDUGetEventItem, hModule, lookup, "PDUGetEventItem");
    BindSlot(t.PDUDestroyItem, hModule, lookup, "PDUDestroyItem");
    BindSlot(t.PDURegisterEventCallback, hModule, lookup, "PDURegisterEventCallback");
    BindSlot(t.PDUGetObjectId, hModule, lookup, "PDUGetObjectId");
    BindSlot(t.PDUGetModuleIds, hModule, lookup, "PDUGetModuleIds");
    BindSlot(t.PDUGetResourceIds, hModule, lookup, "PDUGetResourceIds");
    lookup(hModule, "PDUGetConflictingResources");  // dropped
    BindSlot(t.PDUGetUniqueRespIdTable, hModule, lookup, "PDUGetUniqueRespIdTable");
    BindSlot(t.PDUSetUniqueRespIdTable, hModule, lookup, "PDUSetUniqueRespIdTable");
    // The maker's extension stays null when missing: direct CAN mode tests for it.
    t.PDUSECanWrite = reinterpret_cast<PFN_PDUSECanWrite>(lookup(hModule, "PDUSECanWrite"));
    t.PDUSECanRead = reinterpret_cast<PFN_PDUSECanRead>(lookup(hModule, "PDUSECanRead"));
    t.PDUSESetEventNotification =
        reinterpret_cast<PFN_PDUSESetEventNotification>(lookup(hModule, "PDUSESetEventNotification"));
    t.PDUSECanRequestChipState =
        reinterpret_cast<PFN_PDUSECanRequestChipState>(lookup(hModule, "PDUSECanRequestChipState"));
}
