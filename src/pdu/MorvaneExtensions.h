// The maker's extensions of its D-PDU API: the direct CAN functions and their record.
// Another vendor's library does not export these.
#pragma once

#include "pdu/PduFunctions.h"

// The notification handle the library signals when direct CAN frames are waiting:
// an eventfd descriptor on POSIX, an event HANDLE on Windows.
#if defined(_WIN32)
typedef void* SE_EVENT_HANDLE;
#else
typedef int SE_EVENT_HANDLE;
#endif

extern "C" {

enum : UNUM32 {
    SE_RECEIVE_MSG = 0,
    SE_CHIP_STATE_MSG = 1,
    SE_TRANSMIT_MSG = 2,
};

enum : UNUM16 {
    SE_FLAG_RECEIVE_FRAME = 0x01,
    SE_FLAG_ERROR_FRAME = 0x02,
    SE_FLAG_REMOTE_FRAME = 0x04,
    SE_FLAG_EXTENDED_ID = 0x08,
    SE_FLAG_TX_FRAME = 0x10,
    SE_FLAG_BUFFER_OVERRUN = 0x20,
};

enum : UNUM32 {
    SE_CHIP_BUS_OFF = 0,
    SE_CHIP_ERROR_ACTIVE = 1,
    SE_CHIP_ERROR_PASSIVE = 2,
    SE_CHIP_WARNING_96 = 3,
};

struct SeCanMessage {
    UNUM32 msgType;
    UNUM32 timestamp;
    UNUM32 canId;  // chip state in SE_CHIP_STATE_MSG
    UNUM16 flags;  // Tx / Rx error counters in SE_CHIP_STATE_MSG
    UNUM8 dlc;
    UNUM8 data[8];
    UNUM8 reserved;
};

#define QUILLON_PDUSE_FUNCTIONS(X)                                                            \
    X(PDUSECanWrite, (UNUM32 hCLL, UNUM32 count, SeCanMessage * pMessages))                   \
    X(PDUSECanRead, (UNUM32 hCLL, UNUM32 * pCount, SeCanMessage * pMessages))                 \
    X(PDUSESetEventNotification, (UNUM32 hCLL, SE_EVENT_HANDLE * pEvent))                     \
    X(PDUSECanRequestChipState, (UNUM32 hCLL))

#define QUILLON_DECLARE_PDU_FN(name, params) PDU_EXPORT T_PDU_ERROR PDU_CALL name params;
QUILLON_PDUSE_FUNCTIONS(QUILLON_DECLARE_PDU_FN)
#undef QUILLON_DECLARE_PDU_FN

#define QUILLON_DECLARE_PDU_FN_TYPE(name, params) typedef T_PDU_ERROR(PDU_CALL* PFN_##name) params;
QUILLON_PDUSE_FUNCTIONS(QUILLON_DECLARE_PDU_FN_TYPE)
#undef QUILLON_DECLARE_PDU_FN_TYPE
}

static_assert(sizeof(SeCanMessage) == 24);

// Vendor IOCTL short names (resolved with PDUGetObjectId, like the standard ones).
#define PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE "PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE"
