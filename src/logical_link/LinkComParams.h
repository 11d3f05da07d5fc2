// A link's own ComParams and URID table: built from the description tables, completed with the
// values saved in the settings file, handed to the library, and saved back when the link closes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "description/ComParamInfo.h"
#include "description/ComParamValueFamily.h"
#include "description/DescriptionTables.h"
#include "description/UridTable.h"
#include "pdu/PduTypes.h"

// One URID block as the settings file holds it: "name=value" pairs joined by commas.
struct UridText {
    uint32_t id = 0;
    std::string items;
};

class LinkComParams {
public:
    // The full and the plain dialog differ in a few texts and in their value routines.
    enum class Variant { Full, Plain };
    using Log = std::function<void(const std::string&)>;

    struct Model {
        const std::vector<BusTypeInfo>* busTypes = nullptr;
        const std::vector<ProtocolInfo>* protocols = nullptr;
        const std::vector<ComParamInfo>* definitions = nullptr;
    };

    LinkComParams(Variant variant, ComParamValueFamily& family, Log log);

    // The two passes over the model. False when the model or the protocol id is missing; a
    // description default that overflows is logged and kept saturated.
    bool Build(const Model& model, uint32_t busTypeId, uint32_t protocolId);
    // Values of the section named after the protocol, then set in the library. False only when
    // there is no settings file: the link then ends its creation.
    bool LoadAndSetValues(const std::string& iniPath, const std::string& protocolName, uint32_t hMod, uint32_t hCLL,
                          T_PDU_ERROR& lastStatus);
    // URID blocks of the settings file into a table that the library gets; without one, the
    // library's own table is handed back to it.
    void LoadAndSetUridTable(const std::string& iniPath, const std::string& protocolName, uint32_t hMod, uint32_t hCLL);

    // The library's values of the link into value and appliedValue, before the editor opens.
    void FetchValues(uint32_t hMod, uint32_t hCLL);
    // After the editor: the values that differ from what the library holds.
    void SetChangedValues(uint32_t hMod, uint32_t hCLL, T_PDU_ERROR& lastStatus) { SetValues(hMod, hCLL, lastStatus, true); }
    // The URID editor's table copied into this link's own; false (and an empty table) when a
    // value could not be copied.
    bool AdoptUridTable(const UridTable& edited);
    void LogText(const std::string& text) { m_log(text); }

    // What the close writes.
    void SaveUridTable(const std::string& iniPath, const std::string& protocolName) const;
    void SaveValues(const std::string& iniPath, const std::string& protocolName) const;
    void FreeAll();

    std::vector<ComParamInfo> ProtocolComParams;
    std::vector<UridText> m_uridTexts;
    UridTable m_uridTable;

    static constexpr const char* kSeparator = "-------------------------------------------------------\n";

private:
    void AddEntry(const ComParamInfo& definition, const std::string& text);
    void SetValues(uint32_t hMod, uint32_t hCLL, T_PDU_ERROR& lastStatus, bool onlyChanged = false);
    void ReadUridTexts(const std::string& iniPath, const std::string& protocolName);
    bool FillUridTable();
    void LogFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    ComParamInfo* FindByName(const std::string& name);
    const ComParamInfo* FindById(uint32_t id) const;

    Variant m_variant;
    ComParamValueFamily& m_family;
    Log m_log;
};

// The text of a value as the settings file keeps it: numbers "%d" (or "0x%x" in URID sections,
// signed types sign-extended), byte fields "0x%x " per byte and long fields "%d " per element
// without the last blank, structures in their text form.
std::string ValueText(const void* value, uint32_t dataType, bool hexNumbers);
