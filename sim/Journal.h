// What the host sent where the API answers nothing: one decoded line per vendor IOCTL, per
// message filter IOCTL, per ComParam set and per URID table set, with the handles and the
// answer, appended to the file that PDUSIM_JOURNAL names (read at PDUConstruct).
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "pdu/PduTypes.h"

namespace pdusim {

class MdfCatalog;

class Journal {
public:
    // An empty path turns the journal off.
    void Open(const std::string& path);
    void OpenFromEnvironment();
    bool IsOn() const { return !m_path.empty(); }

    // The IOCTLs worth a line: the maker's and the message filter ones.
    static bool Records(const std::string& ioCtlName);
    void IoCtl(uint32_t hMod, uint32_t hCLL, const std::string& name, const PDU_DATA_ITEM* input, T_PDU_ERROR result);
    void SetComParam(const MdfCatalog& catalog, uint32_t hMod, uint32_t hCLL, const PDU_PARAM_ITEM& item,
                     T_PDU_ERROR result);
    void SetUridTable(const MdfCatalog& catalog, uint32_t hMod, uint32_t hCLL,
                      const PDU_UNIQUE_RESP_ID_TABLE_ITEM& table, T_PDU_ERROR result);

private:
    void Write(const std::string& function, uint32_t hMod, uint32_t hCLL, const std::string& what,
               T_PDU_ERROR result);

    std::mutex m_mutex;
    std::string m_path;
};

}  // namespace pdusim
