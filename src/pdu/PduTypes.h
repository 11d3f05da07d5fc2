// Declarations of the ISO 22900-2 D-PDU API, written from the standard's facts.
// Every UNUM32/SNUM32 is 32 bits on every platform: a header that says "unsigned long"
// breaks the ABI on LP64 systems.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32) && !defined(_WIN64)
#define PDU_CALL __stdcall
#else
#define PDU_CALL
#endif

typedef uint8_t UNUM8;
typedef int8_t SNUM8;
typedef uint16_t UNUM16;
typedef int16_t SNUM16;
typedef uint32_t UNUM32;
typedef int32_t SNUM32;
typedef char CHAR8;

typedef uint32_t T_PDU_ERROR;
typedef uint32_t T_PDU_IT;
typedef uint32_t T_PDU_COPT;
typedef uint32_t T_PDU_OBJT;
typedef uint32_t T_PDU_STATUS;
typedef uint32_t T_PDU_INFO;
typedef uint32_t T_PDU_EVT_DATA;
typedef uint32_t T_PDU_PT;
typedef uint32_t T_PDU_PC;
typedef uint32_t T_PDU_CPST;
typedef uint32_t T_PDU_ERR_EVT;
typedef uint32_t T_PDU_FILTER;
typedef uint32_t T_PDU_QUEUE_MODE;

constexpr UNUM32 PDU_ID_UNDEF = 0xFFFFFFFEu;
constexpr UNUM32 PDU_HANDLE_UNDEF = 0xFFFFFFFFu;

// Return codes
enum : T_PDU_ERROR {
    PDU_STATUS_NOERROR = 0x00,
    PDU_ERR_FCT_FAILED = 0x01,
    PDU_ERR_RESERVED_1 = 0x10,
    PDU_ERR_COMM_PC_TO_VCI_FAILED = 0x11,
    PDU_ERR_PDUAPI_NOT_CONSTRUCTED = 0x20,
    PDU_ERR_SHARING_VIOLATION = 0x21,
    PDU_ERR_RESOURCE_BUSY = 0x30,
    PDU_ERR_RESOURCE_TABLE_CHANGED = 0x31,
    PDU_ERR_RESOURCE_ERROR = 0x32,
    PDU_ERR_CLL_NOT_CONNECTED = 0x40,
    PDU_ERR_CLL_NOT_STARTED = 0x41,
    PDU_ERR_INVALID_PARAMETERS = 0x50,
    PDU_ERR_INVALID_HANDLE = 0x60,
    PDU_ERR_VALUE_NOT_SUPPORTED = 0x61,
    PDU_ERR_ID_NOT_SUPPORTED = 0x62,
    PDU_ERR_COMPARAM_NOT_SUPPORTED = 0x63,
    PDU_ERR_COMPARAM_LOCKED = 0x64,
    PDU_ERR_TX_QUEUE_FULL = 0x70,
    PDU_ERR_EVENT_QUEUE_EMPTY = 0x71,
    PDU_ERR_VOLTAGE_NOT_SUPPORTED = 0x80,
    PDU_ERR_MUX_RSC_NOT_SUPPORTED = 0x81,
    PDU_ERR_CABLE_UNKNOWN = 0x82,
    PDU_ERR_NO_CABLE_DETECTED = 0x83,
    PDU_ERR_CLL_CONNECTED = 0x84,
    PDU_ERR_TEMPPARAM_NOT_ALLOWED = 0x90,
    PDU_ERR_RSC_LOCKED = 0xA0,
    PDU_ERR_RSC_LOCKED_BY_OTHER_CLL = 0xA1,
    PDU_ERR_RSC_NOT_LOCKED = 0xA2,
    PDU_ERR_MODULE_NOT_CONNECTED = 0xA3,
    PDU_ERR_API_SW_OUT_OF_DATE = 0xA4,
    PDU_ERR_MODULE_FW_OUT_OF_DATE = 0xA5,
    PDU_ERR_PIN_NOT_CONNECTED = 0xA6,
    PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED = 0xB0,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_FAILED = 0xB1,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_AUTHENTICATION_FAILED = 0xB2,
    PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS = 0xB3,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_INVALID_SOURCE_ADDRESS = 0xB4,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_NO_DATA_SOCKET_AVAILABLE = 0xB5,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_SOURCE_ADDRESS_CHANGED = 0xB6,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_SOURCE_ADDRESS_IN_USE = 0xB7,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_CONFIRMATION_REJECTED = 0xB8,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_TYPE_UNSUPPORTED = 0xB9,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_RESPONSE_CODE_UNKNOWN = 0xBA,
    PDU_ERR_DOIP_ROUTING_ACTIVATION_RESPONSE_TIMEOUT = 0xBB,
    PDU_ERR_DOIP_RESPONSE_TIMEOUT = 0xBC,
    PDU_ERR_TLS_REQUIRED = 0xBD,
    PDU_ERR_TLS_CONF_INCOMPLETE = 0xBE,
    PDU_ERR_TLS_VERSION_AGREEMENT_FAILED = 0xBF,
    PDU_ERR_TLS_CIPHER_AGREEMENT_FAILED = 0xC0,
    PDU_ERR_TLS_CERT_VERIFY_FAILED = 0xC1,
    PDU_ERR_TLS_VERSION_NOT_SUPPORTED = 0xC2,
    PDU_ERR_TLS_CIPHER_NOT_SUPPORTED = 0xC3,
};

// Item types
enum : T_PDU_IT {
    PDU_IT_IO_UNUM32 = 0x1000,
    PDU_IT_IO_PROG_VOLTAGE = 0x1001,
    PDU_IT_IO_BYTEARRAY = 0x1002,
    PDU_IT_IO_FILTER = 0x1003,
    PDU_IT_IO_EVENT_QUEUE_PROPERTY = 0x1004,
    PDU_IT_RSC_STATUS = 0x1100,
    PDU_IT_PARAM = 0x1200,
    PDU_IT_RESULT = 0x1300,
    PDU_IT_STATUS = 0x1301,
    PDU_IT_ERROR = 0x1302,
    PDU_IT_INFO = 0x1303,
    PDU_IT_RSC_ID = 0x1400,
    PDU_IT_RSC_CONFLICT = 0x1500,
    PDU_IT_MODULE_ID = 0x1600,
    PDU_IT_UNIQUE_RESP_ID_TABLE = 0x1700,
    PDU_IT_IO_VEHICLE_ID_REQUEST = 0x1800,
    PDU_IT_IO_ETH_SWITCH_STATE = 0x1801,
    PDU_IT_IO_ENTITY_ADDRESS = 0x1802,
    PDU_IT_IO_ENTITY_STATUS = 0x1803,
};

// ComPrimitive types
enum : T_PDU_COPT {
    PDU_COPT_STARTCOMM = 0x8001,
    PDU_COPT_STOPCOMM = 0x8002,
    PDU_COPT_UPDATEPARAM = 0x8003,
    PDU_COPT_SENDRECV = 0x8004,
    PDU_COPT_DELAY = 0x8005,
    PDU_COPT_RESTORE_PARAM = 0x8006,
};

// Object types
enum : T_PDU_OBJT {
    PDU_OBJT_PROTOCOL = 0x8021,
    PDU_OBJT_BUSTYPE = 0x8022,
    PDU_OBJT_IO_CTRL = 0x8023,
    PDU_OBJT_COMPARAM = 0x8024,
    PDU_OBJT_PINTYPE = 0x8025,
    PDU_OBJT_RESOURCE = 0x8026,
};

// Status values
enum : T_PDU_STATUS {
    PDU_COPST_IDLE = 0x8010,
    PDU_COPST_EXECUTING = 0x8011,
    PDU_COPST_FINISHED = 0x8012,
    PDU_COPST_CANCELLED = 0x8013,
    PDU_COPST_WAITING = 0x8014,
    PDU_CLLST_OFFLINE = 0x8050,
    PDU_CLLST_ONLINE = 0x8051,
    PDU_CLLST_COMM_STARTED = 0x8052,
    PDU_MODST_READY = 0x8060,
    PDU_MODST_NOT_READY = 0x8061,
    PDU_MODST_NOT_AVAIL = 0x8062,
    PDU_MODST_AVAIL = 0x8063,
};

// Info codes
enum : T_PDU_INFO {
    PDU_INFO_MODULE_LIST_CHG = 0x8070,
    PDU_INFO_RSC_LOCK_CHG = 0x8071,
    PDU_INFO_PHYS_COMPARAM_CHG = 0x8072,
};

// Callback event types
enum : T_PDU_EVT_DATA {
    PDU_EVT_DATA_AVAILABLE = 0x0801,
    PDU_EVT_DATA_LOST = 0x0802,
};

// ComParam data types
enum : T_PDU_PT {
    PDU_PT_UNUM8 = 0x101,
    PDU_PT_SNUM8 = 0x102,
    PDU_PT_UNUM16 = 0x103,
    PDU_PT_SNUM16 = 0x104,
    PDU_PT_UNUM32 = 0x105,
    PDU_PT_SNUM32 = 0x106,
    PDU_PT_BYTEFIELD = 0x107,
    PDU_PT_STRUCTFIELD = 0x108,
    PDU_PT_LONGFIELD = 0x109,
};

// ComParam classes
enum : T_PDU_PC {
    PDU_PC_TIMING = 1,
    PDU_PC_INIT = 2,
    PDU_PC_COM = 3,
    PDU_PC_ERRHDL = 4,
    PDU_PC_BUSTYPE = 5,
    PDU_PC_UNIQUE_ID = 6,
    PDU_PC_TESTER_PRESENT = 7,
};

// Struct types of STRUCTFIELD ComParams
enum : T_PDU_CPST {
    PDU_CPST_SESSION_TIMING = 1,
    PDU_CPST_ACCESS_TIMING = 2,
};

// Error event codes
enum : T_PDU_ERR_EVT {
    PDU_ERR_EVT_NOERROR = 0x000,
    PDU_ERR_EVT_FRAME_STRUCT = 0x100,
    PDU_ERR_EVT_TX_ERROR = 0x101,
    PDU_ERR_EVT_TESTER_PRESENT_ERROR = 0x102,
    PDU_ERR_EVT_RX_TIMEOUT = 0x103,
    PDU_ERR_EVT_RX_ERROR = 0x104,
    PDU_ERR_EVT_PROT_ERR = 0x105,
    PDU_ERR_EVT_LOST_COMM_TO_VCI = 0x106,
    PDU_ERR_EVT_VCI_HARDWARE_FAULT = 0x107,
    PDU_ERR_EVT_INIT_ERROR = 0x108,
    PDU_ERR_EVT_RSC_LOCKED = 0x109,
};

// IOCTL message filter types
enum : T_PDU_FILTER {
    PDU_FLT_PASS = 0x00000001,
    PDU_FLT_BLOCK = 0x00000002,
    PDU_FLT_PASS_UUDT = 0x00000011,
    PDU_FLT_BLOCK_UUDT = 0x00000012,
};

// Resource status bits
constexpr UNUM32 PDU_RSCST_IN_USE = 0x00000001;
constexpr UNUM32 PDU_RSCST_NOT_AVAILABLE = 0x00000002;
constexpr UNUM32 PDU_RSCST_LOCKED = 0x00000004;

extern "C" {

struct PDU_ITEM {
    T_PDU_IT ItemType;
};

struct PDU_MODULE_DATA {
    UNUM32 ModuleTypeId;
    UNUM32 hMod;
    CHAR8* pVendorModuleName;
    CHAR8* pVendorAdditionalInfo;
    T_PDU_STATUS ModuleStatus;
};

struct PDU_MODULE_ITEM {
    T_PDU_IT ItemType;
    UNUM32 NumEntries;
    PDU_MODULE_DATA* pModuleData;
};

struct PDU_RSC_ID_ITEM_DATA {
    UNUM32 hMod;
    UNUM32 NumIds;
    UNUM32* pResourceIdArray;
};

struct PDU_RSC_ID_ITEM {
    T_PDU_IT ItemType;
    UNUM32 NumModules;
    PDU_RSC_ID_ITEM_DATA* pResourceIdDataArray;
};

struct PDU_PIN_DATA {
    UNUM32 DLCPinNumber;
    UNUM32 DLCPinTypeId;
};

struct PDU_RSC_DATA {
    UNUM32 BusTypeId;
    UNUM32 ProtocolId;
    UNUM32 NumPinData;
    PDU_PIN_DATA* pDLCPinData;
};

struct PDU_RSC_STATUS_DATA {
    UNUM32 hMod;
    UNUM32 ResourceId;
    UNUM32 ResourceStatus;
};

struct PDU_RSC_STATUS_ITEM {
    T_PDU_IT ItemType;
    UNUM32 NumEntries;
    PDU_RSC_STATUS_DATA* pResourceStatusData;
};

struct PDU_RSC_CONFLICT_DATA {
    UNUM32 hMod;
    UNUM32 ResourceId;
};

struct PDU_RSC_CONFLICT_ITEM {
    T_PDU_IT ItemType;
    UNUM32 NumEntries;
    PDU_RSC_CONFLICT_DATA* pRscConflictData;
};

struct PDU_VERSION_DATA {
    UNUM32 MVCI_Part1StandardVersion;
    UNUM32 MVCI_Part2StandardVersion;
    UNUM32 HwSerialNumber;
    CHAR8 HwName[64];
    UNUM32 HwVersion;
    UNUM32 HwDate;
    UNUM32 HwInterface;
    CHAR8 FwName[64];
    UNUM32 FwVersion;
    UNUM32 FwDate;
    CHAR8 VendorName[64];
    CHAR8 PDUApiSwName[64];
    UNUM32 PDUApiSwVersion;
    UNUM32 PDUApiSwDate;
};

struct PDU_EVENT_ITEM {
    T_PDU_IT ItemType;
    UNUM32 hCop;
    void* pCoPTag;
    UNUM32 Timestamp;
    void* pData;
};

struct PDU_INFO_DATA {
    T_PDU_INFO InfoCode;
    UNUM32 ExtraInfoData;
};

struct PDU_ERROR_DATA {
    T_PDU_ERR_EVT ErrorCodeId;
    UNUM32 ExtraErrorInfoId;
};

struct PDU_FLAG_DATA {
    UNUM32 NumFlagBytes;
    UNUM8* pFlagData;
};

struct PDU_EXTRA_INFO {
    UNUM32 NumHeaderBytes;
    UNUM32 NumFooterBytes;
    UNUM8* pHeaderBytes;
    UNUM8* pFooterBytes;
};

struct PDU_RESULT_DATA {
    PDU_FLAG_DATA RxFlag;
    UNUM32 UniqueRespIdentifier;
    UNUM32 AcceptanceId;
    PDU_FLAG_DATA TimestampFlags;
    UNUM32 TxMsgDoneTimestamp;
    UNUM32 StartMsgTimestamp;
    PDU_EXTRA_INFO* pExtraInfo;
    UNUM32 NumDataBytes;
    UNUM8* pDataBytes;
};

struct PDU_EXP_RESP_DATA {
    UNUM32 ResponseType;  // 0 positive, 1 negative
    UNUM32 AcceptanceId;
    UNUM32 NumMaskPatternBytes;
    UNUM8* pMaskData;
    UNUM8* pPatternData;
    UNUM32 NumUniqueRespIds;
    UNUM32* pUniqueRespIds;
};

struct PDU_COP_CTRL_DATA {
    UNUM32 Time;
    SNUM32 NumSendCycles;     // -1 infinite/cyclic
    SNUM32 NumReceiveCycles;  // -1 infinite, -2 "is multiple"
    UNUM32 TempParamUpdate;
    PDU_FLAG_DATA TxFlag;
    UNUM32 NumPossibleExpectedResponses;
    PDU_EXP_RESP_DATA* pExpectedResponseArray;
};

struct PDU_PARAM_ITEM {
    T_PDU_IT ItemType;
    UNUM32 ComParamId;
    T_PDU_PT ComParamDataType;
    T_PDU_PC ComParamClass;
    void* pComParamData;
};

struct PDU_PARAM_BYTEFIELD_DATA {
    UNUM32 ParamMaxLen;
    UNUM32 ParamActLen;
    UNUM8* pDataArray;
};

struct PDU_PARAM_LONGFIELD_DATA {
    UNUM32 ParamMaxLen;
    UNUM32 ParamActLen;
    UNUM32* pDataArray;
};

struct PDU_PARAM_STRUCTFIELD_DATA {
    T_PDU_CPST ComParamStructType;
    UNUM32 ParamMaxEntries;
    UNUM32 ParamActEntries;
    void* pStructArray;
};

struct PDU_PARAM_STRUCT_SESS_TIMING {
    UNUM16 session;
    UNUM8 P2Max_high;
    UNUM8 P2Max_low;
    UNUM8 P2Star_high;
    UNUM8 P2Star_low;
};

struct PDU_PARAM_STRUCT_ACCESS_TIMING {
    UNUM8 P2Min;
    UNUM8 P2Max;
    UNUM8 P3Min;
    UNUM8 P3Max;
    UNUM8 P4Min;
    UNUM8 TimingSet;
};

struct PDU_ECU_UNIQUE_RESP_DATA {
    UNUM32 UniqueRespIdentifier;
    UNUM32 NumParamItems;
    PDU_PARAM_ITEM* pParams;
};

struct PDU_UNIQUE_RESP_ID_TABLE_ITEM {
    T_PDU_IT ItemType;
    UNUM32 NumEntries;
    PDU_ECU_UNIQUE_RESP_DATA* pUniqueData;
};

struct PDU_DATA_ITEM {
    T_PDU_IT ItemType;
    void* pData;
};

struct PDU_IO_PROG_VOLTAGE_DATA {
    UNUM32 ProgVoltage_mv;
    UNUM32 PinOnDLC;
};

struct PDU_IO_BYTEARRAY_DATA {
    UNUM32 DataSize;
    UNUM8* pData;
};

struct PDU_IO_FILTER_DATA {
    T_PDU_FILTER FilterType;
    UNUM32 FilterNumber;
    UNUM32 FilterCompareSize;
    UNUM8 FilterMaskMessage[12];
    UNUM8 FilterPatternMessage[12];
};

struct PDU_IO_FILTER_LIST {
    UNUM32 NumFilterEntries;
    PDU_IO_FILTER_DATA* pFilterData;
};

struct PDU_IO_EVENT_QUEUE_PROPERTY_DATA {
    UNUM32 QueueSize;
    T_PDU_QUEUE_MODE QueueMode;
};

struct PDU_IP_ADDR_INFO {
    UNUM32 IpVersion;
    UNUM8* pAddress;
};

struct PDU_IO_VEHICLE_ID_REQUEST {
    UNUM32 PreselectionMode;
    CHAR8* PreselectionValue;
    UNUM32 CombinationMode;
    UNUM32 VehicleDiscoveryTime;
    UNUM32 NumDestinationAddresses;
    PDU_IP_ADDR_INFO* pDestinationAddresses;
};

struct PDU_IO_ETH_SWITCH_STATE {
    UNUM32 EthernetSenseState;
    UNUM32 EthernetActPinNumber;
};

struct PDU_IO_ENTITY_ADDRESS_DATA {
    UNUM32 LogicalAddress;
    UNUM32 DoIPCtrlTimeout;
};

struct PDU_IO_ENTITY_STATUS_DATA {
    UNUM32 EntityType;
    UNUM32 TcpClientsMax;
    UNUM32 TcpClients;
    UNUM32 MaxDataSize;
};

typedef void(PDU_CALL* CALLBACKFNC)(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL, void* pCllTag,
                                    void* pAPITag);

}  // extern "C"

#if defined(__x86_64__) || defined(_M_X64)
static_assert(sizeof(PDU_MODULE_ITEM) == 16);
static_assert(sizeof(PDU_MODULE_DATA) == 32);
static_assert(sizeof(PDU_RSC_DATA) == 24);
static_assert(sizeof(PDU_EVENT_ITEM) == 32);
static_assert(sizeof(PDU_FLAG_DATA) == 16);
static_assert(sizeof(PDU_RESULT_DATA) == 72);
static_assert(sizeof(PDU_COP_CTRL_DATA) == 48);
static_assert(sizeof(PDU_EXP_RESP_DATA) == 48);
static_assert(sizeof(PDU_PARAM_ITEM) == 24);
static_assert(sizeof(PDU_VERSION_DATA) == 296);
static_assert(sizeof(PDU_IO_FILTER_DATA) == 36);
static_assert(sizeof(PDU_IO_VEHICLE_ID_REQUEST) == 40);
static_assert(sizeof(PDU_PARAM_STRUCT_SESS_TIMING) == 6);
static_assert(sizeof(PDU_PARAM_STRUCT_ACCESS_TIMING) == 6);
#endif
