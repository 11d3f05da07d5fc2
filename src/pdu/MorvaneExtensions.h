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

// The maker's IOCTLs beyond the standard's (resolved by name like those).
#define PDU_IOCTL_BUS_TRACE "PDU_IOCTL_BUS_TRACE"
#define PDU_IOCTL_GET_WLAN_SIGNAL_DATA "PDU_IOCTL_GET_WLAN_SIGNAL_DATA"
#define PDU_IOCTL_SET_TRACE_OPTIONS "PDU_IOCTL_SET_TRACE_OPTIONS"
#define PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG "PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG"
#define PDU_IOCTL_SET_BROKER_ADDR "PDU_IOCTL_SET_BROKER_ADDR"
#define PDU_IOCTL_GET_PROXY_COM_PARAMS "PDU_IOCTL_GET_PROXY_COM_PARAMS"
#define PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST "PDU_IOCTL_MS_CLEAR_DOIP_ENTITY_LIST"
// Simulator only: plug / unplug a simulated module (input PDU_IT_IO_UNUM32, module number from 1).
#define PDU_IOCTL_MRVNE_SIM_PLUG_MODULE "PDU_IOCTL_MRVNE_SIM_PLUG_MODULE"
#define PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE "PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE"

// The maker's item types.
enum : T_PDU_IT {
    PDU_IT_IO_WLAN_SIGNAL_DATA = 0x1806,
    PDU_IT_IO_TRACE_OPTIONS = 0x1807,
    PDU_IT_IO_BROKER_ADDR = 0x1303,  // the maker reuses this number for the broker's text
    PDU_IT_IO_PROXY_COM_PARAM_REQUEST = 0x10001805,
    PDU_IT_IO_PROXY_COM_PARAM = 0x10001806,
};

extern "C" {

// Data of PDU_IOCTL_BUS_TRACE, sent as a PDU_IT_IO_BYTEARRAY of 40 bytes.
struct PDU_BUS_TRC_CONFIG {
    UNUM32 BusTypeId;
    UNUM32 NumPins;
    PDU_PIN_DATA* pPins;
    UNUM32 Activate;
    UNUM32 MaxTraceFileSize;
    CHAR8* pTraceFilePath;
    CHAR8* pTraceFile;
};

// Answer of PDU_IOCTL_GET_WLAN_SIGNAL_DATA; validMask bit n marks field n after it as valid.
struct PDU_IO_WLAN_SIGNAL_DATA {
    UNUM32 Mode;  // 0 no connection, 1 access point, 2 infrastructure
    UNUM32 ValidMask;
    UNUM32 Channel;
    UNUM32 FrequencyMHz;
    UNUM32 ChannelWidthMHz;
    float TxPowerDbm;
    UNUM32 LinkSpeedMbit;
    SNUM32 RssiDbm;
    SNUM32 SnrDbm;
    SNUM32 NoiseDbm;
    SNUM16 SignalQuality;
    CHAR8 Ssid[32];  // not terminated
};

// Data of PDU_IOCTL_SET_TRACE_OPTIONS.
struct PDU_IO_TRACE_OPTIONS {
    UNUM32 Version;  // 1
    CHAR8* pTracePath;
    UNUM32 TraceDetail;
};

// Answer of PDU_IOCTL_GET_PROXY_COM_PARAMS.
struct PDU_IO_PROXY_COM_PARAM_DATA {
    UNUM8 IpVersion;
    UNUM8 IpAddress[16];  // IPv4 in the last four bytes
    UNUM16 Port;
    UNUM16 TlsPort;
    UNUM8 SessionPsk[32];
    CHAR8* pUri;  // at most 512 characters
    UNUM8 AckCode;
};

}  // extern "C"

#if defined(__x86_64__) || defined(_M_X64)
static_assert(sizeof(PDU_BUS_TRC_CONFIG) == 40);
static_assert(offsetof(PDU_IO_WLAN_SIGNAL_DATA, Ssid) == 42);
static_assert(offsetof(PDU_IO_TRACE_OPTIONS, TraceDetail) == 16);
static_assert(offsetof(PDU_IO_PROXY_COM_PARAM_DATA, Port) == 18);
static_assert(offsetof(PDU_IO_PROXY_COM_PARAM_DATA, SessionPsk) == 22);
static_assert(offsetof(PDU_IO_PROXY_COM_PARAM_DATA, pUri) == 56);
static_assert(offsetof(PDU_IO_PROXY_COM_PARAM_DATA, AckCode) == 64);
#endif
