#include "Journal.h"

#include <cstdio>
#include <cstdlib>
#include <set>

#include "JournalText.h"
#include "pdu/MorvaneExtensions.h"

namespace pdusim {

void Journal::Open(const std::string& path) {
    std::lock_guard lock(m_mutex);
    m_path = path;
}

void Journal::OpenFromEnvironment() {
    const char* path = std::getenv("PDUSIM_JOURNAL");
    Open(path == nullptr ? "" : path);
}

bool Journal::Records(const std::string& ioCtlName) {
    // The standard's IOCTLs answer for themselves; of them only filter changes are journaled.
    static const std::set<std::string> standard = {
        "PDU_IOCTL_RESET", "PDU_IOCTL_CLEAR_TX_QUEUE", "PDU_IOCTL_SUSPEND_TX_QUEUE", "PDU_IOCTL_RESUME_TX_QUEUE",
        "PDU_IOCTL_CLEAR_RX_QUEUE", "PDU_IOCTL_READ_VBATT", "PDU_IOCTL_SET_PROG_VOLTAGE",
        "PDU_IOCTL_READ_PROG_VOLTAGE", "PDU_IOCTL_GENERIC", "PDU_IOCTL_SET_BUFFER_SIZE",
        "PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", "PDU_IOCTL_GET_CABLE_ID", "PDU_IOCTL_SEND_BREAK",
        "PDU_IOCTL_READ_IGNITION_SENSE_STATE", "PDU_IOCTL_VEHICLE_ID_REQUEST", "PDU_IOCTL_SET_ETH_SWITCH_STATE",
        "PDU_IOCTL_GET_ENTITY_STATUS", "PDU_IOCTL_GET_DIAGNOSTIC_POWER_MODE", "PDU_IOCTL_GET_ETH_PIN_OPTION",
        "PDU_IOCTL_RESET_TIMESTAMP"};
    return standard.count(ioCtlName) == 0;
}

void Journal::IoCtl(uint32_t hMod, uint32_t hCLL, const std::string& name, const PDU_DATA_ITEM* input,
                    T_PDU_ERROR result) {
    if (!IsOn() || !Records(name)) return;
    Write("PDUIoCtl", hMod, hCLL, name + " " + JournalText::IoCtlInput(name, input), result);
}

void Journal::SetComParam(const MdfCatalog& catalog, uint32_t hMod, uint32_t hCLL, const PDU_PARAM_ITEM& item,
                          T_PDU_ERROR result) {
    if (IsOn()) Write("PDUSetComParam", hMod, hCLL, JournalText::Param(catalog, item), result);
}

void Journal::SetUridTable(const MdfCatalog& catalog, uint32_t hMod, uint32_t hCLL,
                           const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table, T_PDU_ERROR result) {
    if (IsOn()) Write("PDUSetUniqueRespIdTable", hMod, hCLL, JournalText::UridTable(catalog, table), result);
}

void Journal::Write(const std::string& function, uint32_t hMod, uint32_t hCLL, const std::string& what,
                    T_PDU_ERROR result) {
    char handles[64];
    std::snprintf(handles, sizeof handles, " hMod=0x%x hCLL=0x%x ", hMod, hCLL);
    char answer[32];
    std::snprintf(answer, sizeof answer, " -> 0x%x\n", result);
    const std::string line = function + handles + what + answer;
    std::lock_guard lock(m_mutex);
    // Opened for each line: a reader sees every line at once, and nothing stays open after the run.
    if (FILE* file = std::fopen(m_path.c_str(), "a")) {
        std::fwrite(line.data(), 1, line.size(), file);
        std::fclose(file);
    }
}

}  // namespace pdusim
