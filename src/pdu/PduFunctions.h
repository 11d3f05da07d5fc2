// The exported functions of an ISO 22900-2 D-PDU API library, as prototypes (for a library
// that implements them) and as pointer types (for a program that binds them at run time).
#pragma once

#include "pdu/PduTypes.h"

#if defined(_WIN32)
#define PDU_EXPORT __declspec(dllexport)
#else
#define PDU_EXPORT __attribute__((visibility("default")))
#endif

#define QUILLON_PDU_FUNCTIONS(X)                                                                       \
    X(PDUConstruct, (CHAR8 * OptionStr, void* pAPITag))                                                \
    X(PDUDestruct, (void))                                                                             \
    X(PDUModuleConnect, (UNUM32 hMod))                                                                 \
    X(PDUModuleDisconnect, (UNUM32 hMod))                                                              \
    X(PDUGetTimestamp, (UNUM32 hMod, UNUM32 * pTimestamp))                                             \
    X(PDUIoCtl, (UNUM32 hMod, UNUM32 hCLL, UNUM32 IoCtlCommandId, PDU_DATA_ITEM * pInputData,          \
                 PDU_DATA_ITEM * *pOutputData))                                                        \
    X(PDUGetVersion, (UNUM32 hMod, PDU_VERSION_DATA * pVersionData))                                   \
    X(PDUGetStatus, (UNUM32 hMod, UNUM32 hCLL, UNUM32 hCoP, T_PDU_STATUS * pStatusCode,                \
                     UNUM32 * pTimestamp, UNUM32 * pExtraInfo))                                        \
    X(PDUGetLastError, (UNUM32 hMod, UNUM32 hCLL, T_PDU_ERR_EVT * pErrorCode, UNUM32 * phCoP,          \
                        UNUM32 * pTimestamp, UNUM32 * pExtraErrorInfo))                                \
    X(PDUGetResourceStatus, (PDU_RSC_STATUS_ITEM * pResourceStatus))                                   \
    X(PDUCreateComLogicalLink, (UNUM32 hMod, PDU_RSC_DATA * pRscData, UNUM32 resourceId,               \
                                void* pCllTag, UNUM32* phCLL, PDU_FLAG_DATA* pCllCreateFlag))          \
    X(PDUDestroyComLogicalLink, (UNUM32 hMod, UNUM32 hCLL))                                            \
    X(PDUConnect, (UNUM32 hMod, UNUM32 hCLL))                                                          \
    X(PDUDisconnect, (UNUM32 hMod, UNUM32 hCLL))                                                       \
    X(PDULockResource, (UNUM32 hMod, UNUM32 hCLL, UNUM32 LockMask))                                    \
    X(PDUUnlockResource, (UNUM32 hMod, UNUM32 hCLL, UNUM32 LockMask))                                  \
    X(PDUGetComParam, (UNUM32 hMod, UNUM32 hCLL, UNUM32 ParamId, PDU_PARAM_ITEM * *pParamItem))        \
    X(PDUSetComParam, (UNUM32 hMod, UNUM32 hCLL, PDU_PARAM_ITEM * pParamItem))                         \
    X(PDUStartComPrimitive, (UNUM32 hMod, UNUM32 hCLL, T_PDU_COPT CoPType, UNUM32 CoPDataSize,         \
                             UNUM8 * pCoPData, PDU_COP_CTRL_DATA * pCopCtrlData, void* pCoPTag,        \
                             UNUM32* phCoP))                                                           \
    X(PDUCancelComPrimitive, (UNUM32 hMod, UNUM32 hCLL, UNUM32 hCoP))                                  \
    X(PDUGetEventItem, (UNUM32 hMod, UNUM32 hCLL, PDU_EVENT_ITEM * *pEventItem))                       \
    X(PDUDestroyItem, (PDU_ITEM * pItem))                                                              \
    X(PDURegisterEventCallback, (UNUM32 hMod, UNUM32 hCLL, CALLBACKFNC EventCallbackFunction))         \
    X(PDUGetObjectId, (T_PDU_OBJT pduObjectType, CHAR8 * pShortname, UNUM32 * pPduObjectId))           \
    X(PDUGetModuleIds, (PDU_MODULE_ITEM * *pModuleIdList))                                             \
    X(PDUGetResourceIds, (UNUM32 hMod, PDU_RSC_DATA * pResourceIdData, PDU_RSC_ID_ITEM * *pResourceIdList)) \
    X(PDUGetConflictingResources, (UNUM32 resourceId, PDU_MODULE_ITEM * pInputModuleList,              \
                                   PDU_RSC_CONFLICT_ITEM * *pOutputConflictList))                      \
    X(PDUGetUniqueRespIdTable, (UNUM32 hMod, UNUM32 hCLL, PDU_UNIQUE_RESP_ID_TABLE_ITEM * *pUniqueRespIdTable)) \
    X(PDUSetUniqueRespIdTable, (UNUM32 hMod, UNUM32 hCLL, PDU_UNIQUE_RESP_ID_TABLE_ITEM * pUniqueRespIdTable))

extern "C" {
#define QUILLON_DECLARE_PDU_FN(name, params) PDU_EXPORT T_PDU_ERROR PDU_CALL name params;
QUILLON_PDU_FUNCTIONS(QUILLON_DECLARE_PDU_FN)
#undef QUILLON_DECLARE_PDU_FN

#define QUILLON_DECLARE_PDU_FN_TYPE(name, params) typedef T_PDU_ERROR(PDU_CALL* PFN_##name) params;
QUILLON_PDU_FUNCTIONS(QUILLON_DECLARE_PDU_FN_TYPE)
#undef QUILLON_DECLARE_PDU_FN_TYPE
}
