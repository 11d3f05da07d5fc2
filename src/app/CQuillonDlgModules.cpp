// The main dialog's module commands: parse the description files and construct the API, list,
// connect and disconnect modules.
#include <cstring>

#include "app/CQuillonDlg.h"
#include "app/TableRows.h"
#include "description/MDF_Parser.h"
#include "description/MdfTableConversion.h"
#include "description/ModuleDisplayName.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

// A library's texts are read no further than this: one without its terminator stops here, and
// a module's line with both texts still fits a log row.
constexpr size_t kMaxVendorText = 400;
// More modules than this is no list a library means; it is not read.
constexpr UNUM32 kMaxModules = 1024;

std::string Bounded(const char* text)
{
    return text ? std::string(text, strnlen(text, kMaxVendorText)) : std::string();
}

std::string Str(const char* text)
{
    return text ? Bounded(text) : "(null)";
}

bool Unterminated(const char* text)
{
    return text && strnlen(text, kMaxVendorText) == kMaxVendorText;
}

const char* ModuleStatusText(T_PDU_ERROR result, T_PDU_STATUS status)
{
    if (result != PDU_STATUS_NOERROR) return "N/A";
    switch (status) {
    case PDU_MODST_READY: return "PDU_MODST_READY";
    case PDU_MODST_NOT_READY: return "PDU_MODST_NOT_READY";
    case PDU_MODST_NOT_AVAIL: return "PDU_MODST_NOT_AVAIL";
    case PDU_MODST_AVAIL: return "PDU_MODST_AVAIL";
    default: return "UNKNOWN";
    }
}

// A fixed-size name of the version record, which need not end in a NUL.
std::string FixedText(const CHAR8 (&text)[64])
{
    return std::string(text, strnlen(text, sizeof text));
}

// Blank-separated tokens; a single quote opens a stretch up to the next one in which blanks don't cut.
std::vector<std::string> InfoTokens(const std::string& text)
{
    std::vector<std::string> tokens;
    std::string current;
    bool quoted = false;
    for (char c : text) {
        if (c == '\'') quoted = !quoted;
        if (c == ' ' && !quoted) {
            if (!current.empty()) tokens.push_back(current);
            current.clear();
            continue;
        }
        current += c;
    }
    if (!current.empty()) tokens.push_back(current);
    return tokens;
}

}  // namespace

void CQuillonDlg::OnBnClickedParseMdf()
{
    m_SelectedProtocolId = 0;
    if (!m_bApiUsable) {
        m_ui.MessageBox("Error in the selected MVCI module, check the log window!\n", "", ui::MB_OK);
        return;
    }
    std::lock_guard lock(PrintLock);  // the event thread reads the module array and tests the construction under it
    Log("%s", kShortSeparator);
    Log("Parsing MDF file...\n");
    const auto fail = [this](const char* text) {
        Log("%s", text);
        m_bApiUsable = false;
    };
    {
        MDF_Parser parser;
        if (!parser.Load(m_MdfPath)) {
            m_MdfPath.clear();
            return fail("Error during MDF_Parser initialisation!\n");
        }
        Log("MDF parser initialisation successful, MDF file loaded!\n");
        if (!parser.Parse()) return fail("Error during MDF parsing!\n");
        Log("MDF parsing completed!\n");
        if (!parser.FixReferences()) {
            m_MdfPath.clear();
            return fail("Error during fixing references!\n");
        }
        Log("Fixing references completed!\n");
        // The records point into the tables about to be rebuilt; they get their resources anew below.
        for (PduModuleRec& rec : m_pPduModules) rec.resources.clear();
        if (!ConvertTables(parser)) {
            m_bApiUsable = false;
            return;
        }
    }
    Log("%s", kShortSeparator);
    Log("Parsing CDF file...\n");
    if (!m_CdfParser.Load(m_CdfPath)) {
        m_CdfPath.clear();
        return fail("Error: CDF_Parser initialisation failed!\n");
    }
    Log("CDF parser initialisation successful, CDF file loaded!\n");
    if (!m_CdfParser.Parse()) return fail("Error: CDF parsing failed!\n");
    Log("CDF parsing completed!\n");

    if (m_bApiUsable && m_hPduApiDll && !m_bPduConstructed) {
        Log("%s", kShortSeparator);
        char options[] = "";
        m_LastPduStatus = PduApi.PDUConstruct(options, this);
        Log("Return of PDUConstruct:\n%s\n", PduStatusText(m_LastPduStatus));
        if (m_LastPduStatus != PDU_STATUS_NOERROR) {
            Log("%s", kShortSeparator);
            Log("Error during PDU-API construction.\n");
            m_bApiUsable = false;
            return;
        }
        m_bPduConstructed = true;
        m_LastPduStatus =
            PduApi.PDURegisterEventCallback(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &CQuillonDlg::SystemEventCallback);
    }
    if (m_ModuleCombo.GetCount() > 0) m_ModuleCombo.ResetContent();

    PDU_MODULE_ITEM* list = CallGetModuleIds();
    if (!ModuleListUsable(list)) return;
    m_nPduModules = static_cast<int>(list->NumEntries);
    LogModuleList(*list, true);
    FillModuleCombo(*list);
    PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    if (m_ModuleCombo.GetCount() > 0) {
        m_ModuleCombo.SetCurSel(0);
        OnCbnSelchangeModule();
    }
}

bool CQuillonDlg::ConvertTables(const MDF_Parser& parser)
{
    const DescriptionLog log = [this](const std::string& text) { LogText(text); };
    return ConvertErrorCodes(&parser.GetErrorCodes(), m_ErrorCodes, log) &&
           ConvertPinTypes(&parser.GetPinTypes(), m_PinTypes, log) &&
           ConvertResources(&parser.GetResources(), m_Resources, log) &&
           ConvertModuleTypes(&parser.GetModuleTypes(), m_ModuleTypes, log) &&
           ConvertBusTypes(&parser.GetBusTypes(), m_BusTypes, log) &&
           ConvertProtocols(&parser.GetProtocols(), m_Protocols, log) &&
           ConvertComParams(&parser.GetComParams(), m_ComParams, log);
}

// The status of every listed module, in the long form of Parse MDF or the short one of a list change.
void CQuillonDlg::LogModuleList(const PDU_MODULE_ITEM& list, bool longForm)
{
    for (UNUM32 i = 0; i < list.NumEntries; ++i) {
        const PDU_MODULE_DATA& m = list.pModuleData[i];
        T_PDU_STATUS status = 0;
        UNUM32 timestamp = 0, extra = 0;
        const T_PDU_ERROR rc = PduApi.PDUGetStatus(m.hMod, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra);
        m_LastPduStatus = rc;
        if (longForm) {
            Log("hMod: 0x%x, ModuleStatus: %s, \n   Module Type ID: %d,\n   Vendor Module Name: %s, \n"
                "   Vendor Additional Info: %s\n",
                m.hMod, ModuleStatusText(rc, status), static_cast<int>(m.ModuleTypeId), Str(m.pVendorModuleName).c_str(),
                Str(m.pVendorAdditionalInfo).c_str());
            if (Unterminated(m.pVendorModuleName) || Unterminated(m.pVendorAdditionalInfo))
                Log("Warning: a vendor text of module 0x%x has no end within %u characters; it is read that far.\n",
                    m.hMod, static_cast<unsigned>(kMaxVendorText));
        } else
            Log("hMod: 0x%x, ModuleStatus: %s\n", m.hMod, ModuleStatusText(rc, status));
    }
}

void CQuillonDlg::AddResourcesOfType(PduModuleRec& record)
{
    const ModuleTypeInfo* type = RowById(m_ModuleTypes, record.ModuleTypeId);
    if (!type) return;
    for (uint32_t resourceId : type->resourceIds) {
        if (const ResourceInfo* r = RowById(m_Resources, resourceId)) record.resources.push_back(r);
    }
}

PDU_MODULE_ITEM* CQuillonDlg::CallGetModuleIds()
{
    Log("%s", kShortSeparator);
    Log("Calling PDUGetModuleIds...\n");
    PDU_MODULE_ITEM* list = nullptr;
    m_LastPduStatus = PduApi.PDUGetModuleIds(&list);
    Log("%s", kShortSeparator);
    Log("Return of PDUGetModuleIds:\n%s\n", PduStatusText(m_LastPduStatus));
    return list;
}

// A list without modules ends the command; the library gets back what it handed out.
bool CQuillonDlg::ModuleListUsable(PDU_MODULE_ITEM* list)
{
    // What the library got wrong is said before the list is refused.
    if (list && list->ItemType != PDU_IT_MODULE_ID)
        Log("Error: PDUGetModuleIds delivered an item of type 0x%x instead of PDU_IT_MODULE_ID.\n", list->ItemType);
    else if (list && list->NumEntries > 0 && !list->pModuleData)
        Log("Error: PDUGetModuleIds delivered %u modules without their data.\n", list->NumEntries);
    else if (list && list->NumEntries > kMaxModules)
        Log("Error: PDUGetModuleIds delivered %u modules, more than %u.\n", list->NumEntries, kMaxModules);
    if (!list || list->NumEntries == 0 || !list->pModuleData || list->ItemType != PDU_IT_MODULE_ID ||
        list->NumEntries > kMaxModules) {
        Log("Error: No PduApi module found!");
        m_bApiUsable = false;
        if (list) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
        return false;
    }
    m_bApiUsable = true;
    Log("%s", kShortSeparator);
    Log("Number of modules found: %d\n", static_cast<int>(list->NumEntries));
    return true;
}

// Handle and type of a listed module; a type the description file knows also gets its display
// name and resources. Answers whether the type is known.
bool CQuillonDlg::FillModuleRecord(const PDU_MODULE_DATA& data, PduModuleRec& record)
{
    record.hMod = data.hMod;
    record.ModuleTypeId = data.ModuleTypeId;
    if (!RowById(m_ModuleTypes, data.ModuleTypeId)) return false;
    record.displayName = BuildModuleDisplayName(Bounded(data.pVendorModuleName).c_str(),
                                                Bounded(data.pVendorAdditionalInfo).c_str());
    AddResourcesOfType(record);
    return true;
}

void CQuillonDlg::FillModuleCombo(const PDU_MODULE_ITEM& list)
{
    std::lock_guard lock(PrintLock);  // the event thread reads the array under it
    m_pSelectedModule = nullptr;
    m_pPduModules.assign(list.NumEntries, PduModuleRec{});
    for (UNUM32 i = 0; i < list.NumEntries; ++i) {
        PduModuleRec& rec = m_pPduModules[i];
        if (!FillModuleRecord(list.pModuleData[i], rec)) continue;
        const int index = m_ModuleCombo.AddString(rec.displayName);
        m_ModuleCombo.SetCheck(index, list.pModuleData[i].ModuleStatus == PDU_MODST_READY);
    }
}

PduModuleRec* CQuillonDlg::FindModule(const std::string& name)
{
    for (PduModuleRec& rec : m_pPduModules) {
        if (rec.displayName == name) return &rec;
    }
    return nullptr;
}

void CQuillonDlg::SetModuleChecked(bool checked)
{
    const int sel = m_ModuleCombo.GetCurSel();
    if (sel >= 0) m_ModuleCombo.SetCheck(sel, checked ? 1 : 0);
}

void CQuillonDlg::OnBnClickedGetModuleIds()
{
    if (!m_bPduConstructed) return;
    PDU_MODULE_ITEM* list = CallGetModuleIds();
    const auto destroy = [&list] {
        if (list) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
    };
    if (m_LastPduStatus == PDU_ERR_PDUAPI_NOT_CONSTRUCTED) {
        Log("Error: No PduApi module found!");
        m_bApiUsable = true;  // set where the next case clears it; kept as it has always been
        return destroy();
    }
    if (!ModuleListUsable(list)) return;
    for (UNUM32 i = 0; i < list->NumEntries; ++i) {
        const PDU_MODULE_DATA& m = list->pModuleData[i];
        Log("\n         ModuleTypeId: %u", m.ModuleTypeId);
        Log("\n                  Mod: %u", m.hMod);
        Log("\n    pVendorModuleName: %s", Str(m.pVendorModuleName).c_str());
        Log("\npVendorAdditionalInfo: ");
        bool first = true;
        for (const std::string& token : InfoTokens(Bounded(m.pVendorAdditionalInfo))) {
            if (token.size() < 3) continue;
            Log(first ? "%s" : "\n                       %s", token.c_str());
            first = false;
        }
        Log("\n         ModuleStatus: %s\n", PduStateName(m.ModuleStatus));
    }
    destroy();
}

void CQuillonDlg::OnBnClickedModuleConnect()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    const int sel = m_ModuleCombo.GetCurSel();
    if (sel < 0) {
        m_ProtocolCombo.ResetContent();
        return;
    }
    m_CurrentModuleIndex = sel;
    m_pSelectedModule = FindModule(m_ModuleCombo.GetLBText(sel));
    if (!m_pSelectedModule) return;
    PduModuleRec& module = *m_pSelectedModule;
    m_ProtocolCombo.ResetContent();
    FillProtocolCombo(module);
    m_LastPduStatus = PduApi.PDUModuleConnect(module.hMod);
    Log("%s", kShortSeparator);
    Log("Return of PDUModuleConnect:\n%s\n", PduStatusText(m_LastPduStatus));
    if (m_LastPduStatus != PDU_STATUS_NOERROR) return;

    T_PDU_STATUS status = 0;
    UNUM32 timestamp = 0, extra = 0;
    m_LastPduStatus = PduApi.PDUGetStatus(module.hMod, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra);
    if (m_LastPduStatus == PDU_STATUS_NOERROR) {
        if (status == PDU_MODST_READY) {
            SetModuleChecked(true);
            if (m_MonitorVciCombo.FindStringExact(-1, module.displayName) < 0)
                m_MonitorVciCombo.AddString(module.displayName);
            m_MonitorVciCombo.SetCurSel(0);
        } else if (status == PDU_MODST_NOT_READY) {
            SetModuleChecked(false);
            return;
        }
    }
    m_LastPduStatus = PduApi.PDURegisterEventCallback(module.hMod, PDU_HANDLE_UNDEF, &CQuillonDlg::ModuleEventCallback);
    LogVersionInfo(module);
    SelectFirstAndRun(m_ProtocolCombo, &CQuillonDlg::OnCbnSelchangeProtocol);
    UpdateResourceSelection();
}

void CQuillonDlg::LogVersionInfo(const PduModuleRec& module)
{
    Log("\n************* Get module version Info **************\n\n");
    PDU_VERSION_DATA v{};
    m_LastPduStatus = PduApi.PDUGetVersion(module.hMod, &v);
    if (m_LastPduStatus != PDU_STATUS_NOERROR) {
        Log("Error: Could not get module version Info!");
        return;
    }
    const auto byte = [](UNUM32 word, int shift) { return static_cast<int>((word >> shift) & 0xFF); };
    Log("%s", kShortSeparator);
    Log("Module Short Name      : %s\n", module.displayName.c_str());
    Log("Module Vendor Name     : %s\n", FixedText(v.VendorName).c_str());
    Log("Module HwName          : %s\n", FixedText(v.HwName).c_str());
    Log("Module SerialNumber    : %d\n", static_cast<int>(v.HwSerialNumber));
    Log("Module FW Name         : %s\n", FixedText(v.FwName).c_str());
    Log("Module FW-Version      : %d.%d.%d\n", byte(v.FwVersion, 24), byte(v.FwVersion, 16), byte(v.FwVersion, 8));
    Log("Module FW-Date         : %d.%d.%d (Calendar week %d)\n", byte(v.FwDate, 8), byte(v.FwDate, 16),
        byte(v.FwDate, 24) + 1970, byte(v.FwDate, 0));
    Log("Module PDU-API SW Name : %s\n", FixedText(v.PDUApiSwName).c_str());
    Log("Module PDU-API Version : %d.%d.%d\n", byte(v.PDUApiSwVersion, 24), byte(v.PDUApiSwVersion, 16),
        byte(v.PDUApiSwVersion, 8));
    Log("Module PDU-API SW Date : %d.%d.%d (Calendar week %d)\n", byte(v.PDUApiSwDate, 8),
        byte(v.PDUApiSwDate, 16), byte(v.PDUApiSwDate, 24) + 1970, byte(v.PDUApiSwDate, 0));
}

void CQuillonDlg::OnBnClickedModuleDisconnect()
{
    std::unique_lock lock(PrintLock);  // the module records may be rebuilt by the event thread
    m_SelectedProtocolId = 0;
    const int sel = m_ModuleCombo.GetCurSel();
    if (sel < 0) {
        m_ProtocolCombo.ResetContent();
        return;
    }
    PduModuleRec* module = FindModule(m_ModuleCombo.GetLBText(sel));
    if (!module) return;
    const T_PDU_ERROR result = PduApi.PDUModuleDisconnect(module->hMod);
    m_LastPduStatus = result;
    if (result == PDU_STATUS_NOERROR) {
        const int index = m_MonitorVciCombo.FindStringExact(-1, module->displayName);
        if (index >= 0) m_MonitorVciCombo.DeleteString(index);
        m_MonitorVciCombo.SetCurSel(0);
        // Closing a link waits for its threads, which log under PrintLock.
        const UNUM32 hMod = module->hMod;
        lock.unlock();
        CloseLinksOnModule();
        lock.lock();
        module = FindModule(m_ModuleCombo.GetLBText(sel));
        if (module && module->hMod != hMod) module = nullptr;
    }
    Log("%s", kShortSeparator);
    Log("Return of PDUModuleDisConnect:\n%s\n", PduStatusText(result));
    if (!module) return;  // the module list changed meanwhile

    T_PDU_STATUS status = 0;
    UNUM32 timestamp = 0, extra = 0;
    const T_PDU_ERROR rc =
        PduApi.PDUGetStatus(module->hMod, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, &status, &timestamp, &extra);
    m_LastPduStatus = rc;
    if (rc == PDU_ERR_INVALID_HANDLE) {
        SetModuleChecked(false);
    } else if (rc == PDU_STATUS_NOERROR) {
        if (status == PDU_MODST_READY) SetModuleChecked(true);
        if (status == PDU_MODST_NOT_AVAIL || status == PDU_MODST_AVAIL) SetModuleChecked(false);
        if (status == PDU_MODST_NOT_READY) {
            SetModuleChecked(true);
            return;
        }
    }
    ResetSelectionControls();
    for (controls::Edit* e : {&m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit}) e->SetWindowText("");
}

void CQuillonDlg::CloseLinksOnModule()
{
    UNUM32 hMod = 0;
    {
        std::lock_guard lock(PrintLock);
        const PduModuleRec* module = SelectedModuleRecord();
        if (!module) return;
        hMod = module->hMod;
    }
    for (size_t i = 0; i < m_LinkDialogs.size();) {
        CLinkBaseDlg* link = m_LinkDialogs[i];
        if (link->m_hMod != hMod) {
            ++i;
            continue;
        }
        const size_t before = m_LinkDialogs.size();
        link->CloseLink();
        // A link that failed to take itself out must not hold the walk.
        if (m_LinkDialogs.size() == before) ++i;
    }
}
