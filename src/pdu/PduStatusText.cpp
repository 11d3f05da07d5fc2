#include "pdu/PduStatusText.h"

namespace {

struct PduErrorRow {
    uint32_t code;
    const char* text;
};

// 0xBC (DOIP_RESPONSE_TIMEOUT of newer editions) has no row on purpose.
constexpr PduErrorRow PduErrorTable[] = {
    {0x00, "PDU_STATUS_NOERROR: PDU function call successful"},
    {0x01, "PDU_ERR_FCT_FAILED: PDU function call failed"},
    {0x10, "PDU_ERR_RESERVED_1: Reserved by ISO22900-2 (formerly PDU_ERR_DEVICE_NOT_CONNECTED)"},
    {0x11, "PDU_ERR_COMM_PC_TO_VCI_FAILED: Communication between host and VCI failed"},
    {0x20, "PDU_ERR_PDUAPI_NOT_CONSTRUCTED: PDU API construct has not been called before"},
    {0x21, "PDU_ERR_SHARING_VIOLATION: Function called again without destruct before. The PDU API "
           "implementation might be used by another application"},
    {0x30, "PDU_ERR_RESOURCE_BUSY: Resource busy. Resource already in use"},
    {0x31, "PDU_ERR_RESOURCE_TABLE_CHANGED: VCI resource/capabilities changed e.g. due to changing of "
           "cables or unplugging one of the VCIs"},
    {0x32, "PDU_ERR_RESOURCE_ERROR: Invalid resource input data /settings"},
    {0x40, "PDU_ERR_CLL_NOT_CONNECTED"},
    {0x41, "PDU_ERR_CLL_NOT_STARTED"},
    {0x50, "PDU_ERR_INVALID_PARAMETERS: At least one of the option attributes has invalid parameters"},
    {0x60, "PDU_ERR_INVALID_HANDLE"},
    {0x61, "PDU_ERR_VALUE_NOT_SUPPORTED: At least one of the option values is not being supported by "
           "the PDU driver"},
    {0x62, "PDU_ERR_ID_NOT_SUPPORTED"},
    {0x63, "PDU_ERR_COMPARAM_NOT_SUPPORTED: At least one of the option attributes is not being "
           "supported by the PDU driver"},
    {0x64, "PDU_ERR_COMPARAM_LOCKED"},
    {0x70, "PDU_ERR_TX_QUEUE_FULL: The ComLogicalLinks transmit queue is full; the ComPrimitive could "
           "not be started"},
    {0x71, "PDU_ERR_EVENT_QUEUE_EMPTY"},
    {0x80, "PDU_ERR_VOLTAGE_NOT_SUPPORTED"},
    {0x81, "PDU_ERR_MUX_RSC_NOT_SUPPORTED"},
    {0x82, "PDU_ERR_CABLE_UNKNOWN"},
    {0x83, "PDU_ERR_NO_CABLE_DETECTED"},
    {0x84, "PDU_ERR_CLL_CONNECTED"},
    {0x90, "PDU_ERR_TEMPPARAM_NOT_ALLOWED"},
    {0xA0, "PDU_ERR_RSC_LOCKED"},
    {0xA1, "PDU_ERR_RSC_LOCKED_BY_OTHER_CLL"},
    {0xA2, "PDU_ERR_RSC_NOT_LOCKED"},
    {0xA3, "PDU_ERR_MODULE_NOT_CONNECTED: Module not available, or already in use."},
    {0xA4, "PDU_ERR_API_SW_OUT_OF_DATE"},
    {0xA5, "PDU_ERR_MODULE_FW_OUT_OF_DATE"},
    {0xA6, "PDU_ERR_PIN_NOT_CONNECTED"},
    {0xB0, "PDU_ERR_IP_PROTOCOL_NOT_SUPPORTED"},
    {0xB1, "PDU_ERR_DOIP_ROUTING_ACTIVATION FAILED"},
    {0xB2, "PDU_ERR_DOIP_ROUTING_ACTIVATION AUTHENTICATION_FAILED"},
    {0xB3, "PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS"},
    {0xB4, "PDU_ERR_DOIP_ROUTING_ACTIVATION_INVALID_SOURCE_ADDRESS"},
    {0xB5, "PDU_ERR_DOIP_ROUTING_ACTIVATION_NO_DATA_SOCKET_AVAILABLE"},
    {0xB6, "PDU_ERR_DOIP_ROUTING_ACTIVATION_SOURCE_ADDRESS_CHANGED"},
    {0xB7, "PDU_ERR_DOIP_ROUTING_ACTIVATION_SOURCE_ADDRESS_IN_USE"},
    {0xB8, "PDU_ERR_DOIP_ROUTING_ACTIVATION_CONFIRMATION_REJECTED"},
    {0xB9, "PDU_ERR_DOIP_ROUTING_ACTIVATION_TYPE_UNSUPPORTED"},
    {0xBA, "PDU_ERR_DOIP_ROUTING_ACTIVATION_RESPONSE_CODE_UNKNOWN"},
    {0xBB, "PDU_ERR_DOIP_ROUTING_ACTIVATION_RESPONSE_TIMEOUT"},
    {0xBD, "PDU_ERR_TLS_REQUIRED"},
    {0xBE, "PDU_ERR_TLS_CONF_INCOMPLETE"},
    {0xBF, "PDU_ERR_TLS_VERSION_AGREEMENT_FAILED"},
    {0xC0, "PDU_ERR_TLS_CIPHER_AGREEMENT_FAILED"},
    {0xC1, "PDU_ERR_TLS_CERT_VERIFY_FAILED"},
    {0xC2, "PDU_ERR_TLS_VERSION_NOT_SUPPORTED"},
    {0xC3, "PDU_ERR_TLS_CIPHER_NOT_SUPPORTED"},
};
static_assert(sizeof(PduErrorTable) / sizeof(PduErrorTable[0]) == 51);

struct StateRow {
    uint32_t value;
    const char* name;
};

constexpr StateRow kStateNames[] = {
    {0x8010, "PDU_COPST_IDLE"},        {0x8011, "PDU_COPST_EXECUTING"},
    {0x8012, "PDU_COPST_FINISHED"},    {0x8013, "PDU_COPST_CANCELLED"},
    {0x8014, "PDU_COPST_WAITING"},     {0x8050, "PDU_CLLST_OFFLINE"},
    {0x8051, "PDU_CLLST_ONLINE"},      {0x8052, "PDU_CLLST_COMM_STARTED"},
    {0x8060, "PDU_MODST_READY"},       {0x8061, "PDU_MODST_NOT_READY"},
    {0x8062, "PDU_MODST_NOT_AVAIL"},   {0x8063, "PDU_MODST_AVAIL"},
};

}  // namespace

const char* PduStatusText(uint32_t code)
{
    for (const PduErrorRow& row : PduErrorTable) {
        if (row.code == code) return row.text;
    }
    return "Unknown error...";
}

const char* PduStateName(uint32_t value)
{
    for (const StateRow& row : kStateNames) {
        if (row.value == value) return row.name;
    }
    return "UNKNOWN_STATUS";
}
