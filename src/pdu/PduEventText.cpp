#include "pdu/PduEventText.h"

const char* PduStatusLine(T_PDU_STATUS status)
{
    switch (status) {
    case PDU_COPST_IDLE: return "PDU_COPST_IDLE.\n";
    case PDU_COPST_EXECUTING: return "PDU_COPST_EXECUTING.\n";
    case PDU_COPST_FINISHED: return "PDU_COPST_FINISHED.\n";
    case PDU_COPST_CANCELLED: return "PDU_COPST_CANCELLED.\n";
    case PDU_COPST_WAITING: return "PDU_COPST_WAITING.\n";
    case PDU_CLLST_OFFLINE: return "PDU_CLLST_OFFLINE.\n";
    case PDU_CLLST_ONLINE: return "PDU_CLLST_ONLINE.\n";
    case PDU_CLLST_COMM_STARTED: return "PDU_CLLST_COMM_STARTED.\n";
    default: return "";
    }
}

const char* PduErrorEventLine(T_PDU_ERR_EVT code)
{
    switch (code) {
    case PDU_ERR_EVT_FRAME_STRUCT: return "PDU_ERR_EVT_FRAME_STRUCT\n";
    case PDU_ERR_EVT_TX_ERROR: return "PDU_ERR_EVT_TX_ERROR\n";
    case PDU_ERR_EVT_TESTER_PRESENT_ERROR: return "PDU_ERR_EVT_TESTER_PRESENT_ERROR\n";
    case PDU_ERR_EVT_RX_TIMEOUT: return "PDU_ERR_EVT_RX_TIMEOUT\n";
    case PDU_ERR_EVT_RX_ERROR: return "PDU_ERR_EVT_RX_ERROR\n";
    case PDU_ERR_EVT_PROT_ERR: return "PDU_ERR_EVT_PROT_ERR\n";
    case PDU_ERR_EVT_LOST_COMM_TO_VCI: return "PDU_ERR_EVT_LOST_COMM_TO_VCI\n";
    case PDU_ERR_EVT_VCI_HARDWARE_FAULT: return "PDU_ERR_EVT_VCI_HARDWARE_FAULT\n";
    case PDU_ERR_EVT_INIT_ERROR: return "PDU_ERR_EVT_INIT_ERROR\n";
    default: return "Unknown error event\n";
    }
}

const char* PduInfoLine(T_PDU_INFO code)
{
    switch (code) {
    case PDU_INFO_MODULE_LIST_CHG: return "PDU_INFO_MODULE_LIST_CHG\n";
    case PDU_INFO_RSC_LOCK_CHG: return "PDU_INFO_RSC_LOCK_CHG\n";
    case PDU_INFO_PHYS_COMPARAM_CHG: return "PDU_INFO_PHYS_COMPARAM_CHG\n";
    default: return "";
    }
}
