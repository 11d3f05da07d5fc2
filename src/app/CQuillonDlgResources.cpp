// Resource selection: module, protocol, bus type, cable and pins narrow the choice down to one
// resource of the description file, which PDUGetResourceIds confirms or corrects.
#include <cstdio>
#include <cstdlib>

#include "app/CQuillonDlg.h"
#include "app/TableRows.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"

namespace {

void AddIfAbsent(controls::ComboBox& combo, const std::string& text)
{
    if (combo.FindStringExact(-1, text) < 0) combo.AddString(text);
}

}  // namespace

int CQuillonDlg::ResourcePins(const ResourceInfo& resource, PinAssignment pins[4])
{
    int count = 0;
    for (const PinAssignment& pin : resource.pins) {
        if (pin.pinOnModule == PDU_ID_UNDEF) break;
        pins[count++] = pin;
    }
    return count;
}

std::string CQuillonDlg::PinListText(const uint32_t* dlcPins, int count)
{
    char text[32];
    switch (count) {
    case 0: std::snprintf(text, sizeof text, "No pins"); break;
    case 1: std::snprintf(text, sizeof text, "Pins %d", static_cast<int>(dlcPins[0])); break;
    case 2: std::snprintf(text, sizeof text, "Pins %d & %d", static_cast<int>(dlcPins[0]), static_cast<int>(dlcPins[1])); break;
    case 3:
        std::snprintf(text, sizeof text, "Pins %d & %d & %d", static_cast<int>(dlcPins[0]), static_cast<int>(dlcPins[1]),
                      static_cast<int>(dlcPins[2]));
        break;
    default:
        std::snprintf(text, sizeof text, "Pins %d & %d & %d & %d", static_cast<int>(dlcPins[0]),
                      static_cast<int>(dlcPins[1]), static_cast<int>(dlcPins[2]), static_cast<int>(dlcPins[3]));
        break;
    }
    return text;
}

// The DLC pins of a resource through a cable; false when a pin isn't mapped (or there is no cable).
bool CQuillonDlg::MapPins(const ResourceInfo& resource, const CableInfo* cable, uint32_t dlcPins[4], int& count) const
{
    PinAssignment pins[4];
    count = ResourcePins(resource, pins);
    for (int i = 0; i < count; ++i) {
        if (!cable || !cable->HasModulePin(pins[i].pinOnModule)) return false;
        try {
            dlcPins[i] = cable->GetDlcPin(pins[i].pinOnModule);
        } catch (...) {
            return false;
        }
    }
    return true;
}

const ResourceInfo* CQuillonDlg::FindResource(const std::string& shortName) const
{
    for (const PduModuleRec& module : m_pPduModules) {
        for (const ResourceInfo* r : module.resources) {
            if (r->name == shortName) return r;
        }
    }
    return nullptr;
}

bool CQuillonDlg::BeginSelectionHandler(controls::ComboBox& combo, std::string HistoryEntry::*field, std::string& text)
{
    if (!m_bApiUsable) return false;
    const int sel = combo.GetCurSel();
    if (sel < 0) return false;
    text = combo.GetLBText(sel);
    if (!m_bReplayingHistory) m_CurrentEntry.*field = text;
    return true;
}

void CQuillonDlg::OnCbnSelchangeModule()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    std::string text;
    if (!BeginSelectionHandler(m_ModuleCombo, &HistoryEntry::MVCIModule, text)) return;
    m_CurrentModuleIndex = m_ModuleCombo.GetCurSel();
    m_pSelectedModule = FindModule(text);
    if (!m_pSelectedModule) return;
    ResetSelectionControls();
    for (controls::Edit* e : {&m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit}) e->SetWindowText("");
    if (m_ModuleCombo.GetCheck(m_CurrentModuleIndex) <= 0) return;  // a module that isn't ready offers nothing
    FillProtocolCombo(*m_pSelectedModule);
    SelectFirstAndRun(m_ProtocolCombo, &CQuillonDlg::OnCbnSelchangeProtocol);
}

// The protocols of the module's resources, in the order of their first use.
void CQuillonDlg::FillProtocolCombo(const PduModuleRec& module)
{
    for (const ResourceInfo* r : module.resources) {
        if (const ProtocolInfo* p = RowById(m_Protocols, r->protocolId)) AddIfAbsent(m_ProtocolCombo, p->name);
    }
}

void CQuillonDlg::SelectFirstAndRun(controls::ComboBox& combo, void (CQuillonDlg::*handler)())
{
    if (combo.GetCount() == 0) return;
    combo.SetCurSel(0);
    (this->*handler)();
}

bool CQuillonDlg::MatchesSelectedIds(const ResourceInfo& resource) const
{
    return resource.protocolId == m_SelectedProtocolId && resource.busTypeId == m_SelectedBusTypeId;
}

void CQuillonDlg::OnCbnSelchangeProtocol()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    std::string text;
    if (!BeginSelectionHandler(m_ProtocolCombo, &HistoryEntry::Protocol, text)) return;
    m_BustypeCombo.ResetContent();
    if (const ProtocolInfo* p = RowByName(m_Protocols, text)) m_SelectedProtocolId = p->id;
    if (!m_pSelectedModule) return;
    for (const ResourceInfo* r : m_pSelectedModule->resources) {
        if (r->protocolId != m_SelectedProtocolId) continue;
        if (const BusTypeInfo* b = RowById(m_BusTypes, r->busTypeId)) AddIfAbsent(m_BustypeCombo, b->name);
    }
    SelectFirstAndRun(m_BustypeCombo, &CQuillonDlg::OnCbnSelchangeBustype);
}

void CQuillonDlg::OnCbnSelchangeBustype()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    std::string text;
    if (!BeginSelectionHandler(m_BustypeCombo, &HistoryEntry::Bustype, text)) return;
    m_PinsCombo.ResetContent();
    if (const BusTypeInfo* b = RowByName(m_BusTypes, text)) m_SelectedBusTypeId = b->id;
    m_CableCombo.ResetContent();
    if (!m_pSelectedModule) return;
    for (const ResourceInfo* r : m_pSelectedModule->resources) {
        if (!MatchesSelectedIds(*r)) continue;
        for (const auto& [id, cable] : m_CdfParser.GetCables()) {
            uint32_t dlc[4];
            int count = 0;
            if (!MapPins(*r, &cable, dlc, count)) continue;
            char text[300];
            std::snprintf(text, sizeof text, "%d %s", static_cast<int>(id), cable.GetName().c_str());
            AddIfAbsent(m_CableCombo, text);
        }
    }
    if (m_CableCombo.GetCount() == 0) {
        ClearResourceSelection();
        return;
    }
    m_CableCombo.SetCurSel(SelectCableIndex(*m_pSelectedModule));
    OnCbnSelchangeCable();
}

// A chain that stops before the pins leaves no resource: "Open LoLi" must not take the one before.
void CQuillonDlg::ClearResourceSelection()
{
    for (controls::Edit* e : {&m_ResourceShortNameEdit, &m_ResourceStatusEdit, &m_InfoProtocolEdit, &m_InfoBustypeEdit,
                              &m_InfoPinsEdit})
        e->SetWindowText("");
    m_SelectedMdfResourceId = 0xFFFFFFFF;
    m_SelectedResourceId = 0;
}

void CQuillonDlg::OnCbnSelchangeCable()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    std::string text;
    if (!BeginSelectionHandler(m_CableCombo, &HistoryEntry::Cable, text)) return;
    m_PinsCombo.ResetContent();
    m_pSelectedCable = m_CdfParser.FindCable(static_cast<uint32_t>(std::atoi(text.c_str())));
    if (!m_pSelectedModule) return;
    for (const ResourceInfo* r : m_pSelectedModule->resources) {
        if (!MatchesSelectedIds(*r)) continue;
        uint32_t dlc[4];
        int count = 0;
        if (MapPins(*r, m_pSelectedCable, dlc, count)) AddIfAbsent(m_PinsCombo, PinListText(dlc, count));
    }
    if (m_PinsCombo.GetCount() == 0) {
        ClearResourceSelection();
        return;
    }
    int index = 0;
    if (m_PinsCombo.GetCount() > 1) {
        // The usual CAN pin pair is the preferred default.
        for (int i = 0; i < m_PinsCombo.GetCount(); ++i) {
            if (m_PinsCombo.GetLBText(i) == "Pins 6 & 14") {
                index = i;
                break;
            }
        }
    }
    m_PinsCombo.SetCurSel(index);
    OnCbnSelchangePins();
}

void CQuillonDlg::OnCbnSelchangePins()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    std::string text;
    if (!BeginSelectionHandler(m_PinsCombo, &HistoryEntry::Pins, text)) return;
    m_SelectedMdfResourceId = 0xFFFFFFFF;
    if (m_pSelectedModule) {
        for (const ResourceInfo* r : m_pSelectedModule->resources) {
            if (!MatchesSelectedIds(*r)) continue;
            uint32_t dlc[4];
            int count = 0;
            if (!MapPins(*r, m_pSelectedCable, dlc, count) || PinListText(dlc, count) != text) continue;
            m_SelectedMdfResourceId = r->id;
            m_ResourceShortNameEdit.SetWindowText(r->name);
            break;
        }
    }
    UpdateResourceSelection();
}

void CQuillonDlg::SelectTyped(controls::ComboBox& combo, void (CQuillonDlg::*handler)())
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    const int index = combo.FindStringExact(-1, combo.GetWindowText());
    if (index < 0) return;
    combo.SetCurSel(index);
    (this->*handler)();
}

void CQuillonDlg::OnCbnEditchangeModule()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    const int index = m_ModuleCombo.FindStringExact(-1, m_ModuleCombo.GetWindowText());
    if (index < 0) return;
    m_CurrentModuleIndex = index;
    m_ModuleCombo.SetCurSel(index);
    OnCbnSelchangeModule();
}

void CQuillonDlg::OnCbnEditchangeProtocol() { SelectTyped(m_ProtocolCombo, &CQuillonDlg::OnCbnSelchangeProtocol); }
void CQuillonDlg::OnCbnEditchangeBustype() { SelectTyped(m_BustypeCombo, &CQuillonDlg::OnCbnSelchangeBustype); }
void CQuillonDlg::OnCbnEditchangeCable() { SelectTyped(m_CableCombo, &CQuillonDlg::OnCbnSelchangeCable); }
void CQuillonDlg::OnCbnEditchangePins() { SelectTyped(m_PinsCombo, &CQuillonDlg::OnCbnSelchangePins); }

void CQuillonDlg::ShowResourceStatus(uint32_t hMod, uint32_t resourceId)
{
    PDU_RSC_STATUS_DATA data{hMod, resourceId, 0};
    PDU_RSC_STATUS_ITEM item{PDU_IT_RSC_STATUS, 1, &data};
    m_LastPduStatus = PduApi.PDUGetResourceStatus(&item);
    std::string text;
    if (m_LastPduStatus != PDU_STATUS_NOERROR) {
        text = PduStatusText(m_LastPduStatus);
    } else {
        const UNUM32 status = data.ResourceStatus;
        text += (status & PDU_RSCST_IN_USE) ? "USED |" : "NOT_USED |";
        text += (status & PDU_RSCST_NOT_AVAILABLE) ? "NOT_AVAILABLE |" : "AVAILABLE |";
        text += (status & PDU_RSCST_LOCKED) ? "LOCKED" : "NOT_LOCKED";
    }
    m_ResourceStatusEdit.SetWindowText(text);
}

void CQuillonDlg::UpdateResourceSelection()
{
    std::lock_guard lock(PrintLock);  // the module records may be rebuilt by the event thread
    if (!m_bApiUsable) return;
    const ResourceInfo* r = FindResource(m_ResourceShortNameEdit.GetWindowText());
    if (!r) return;
    const uint32_t hMod = m_pSelectedModule ? m_pSelectedModule->hMod : PDU_HANDLE_UNDEF;
    ShowResourceStatus(hMod, r->id);
    if (const ProtocolInfo* p = RowById(m_Protocols, r->protocolId)) {
        m_InfoProtocolEdit.SetWindowText(p->name);
        m_LoLiCreateFlagsEdit.SetWindowText("0x40");  // each new resource starts from the default flags
    }
    if (const BusTypeInfo* b = RowById(m_BusTypes, r->busTypeId)) m_InfoBustypeEdit.SetWindowText(b->name);
    PinAssignment pins[4];
    const int pinCount = ResourcePins(*r, pins);
    if (pinCount == 0) return;

    uint32_t dlc[4];
    int mapped = 0;
    m_RscPins.clear();
    for (int i = 0; i < pinCount; ++i) {
        if (!m_pSelectedCable || !m_pSelectedCable->HasModulePin(pins[i].pinOnModule)) break;
        try {
            dlc[mapped] = m_pSelectedCable->GetDlcPin(pins[i].pinOnModule);
        } catch (...) {
            break;
        }
        m_RscPins.push_back(PDU_PIN_DATA{dlc[mapped], pins[i].pinTypeId});
        ++mapped;
    }
    m_InfoPinsEdit.SetWindowText(PinListText(dlc, mapped));
    m_pRscData = std::make_unique<PDU_RSC_DATA>(
        PDU_RSC_DATA{r->busTypeId, r->protocolId, static_cast<UNUM32>(m_RscPins.size()), m_RscPins.data()});

    PDU_RSC_ID_ITEM* list = nullptr;
    m_LastPduStatus = PduApi.PDUGetResourceIds(hMod, m_pRscData.get(), &list);
    Log("%s", kShortSeparator);
    Log("Return of PDUGetResourceIds:\n%s\n", PduStatusText(m_LastPduStatus));
    m_SelectedResourceId = 0;
    const bool hasEntries = list && list->NumModules > 0 && list->pResourceIdDataArray;
    if (list && list->pResourceIdDataArray) {
        Log("%s", kShortSeparator);
        Log("Number of matching resource IDs: %d on num modules: %d\n",
            hasEntries ? static_cast<int>(list->pResourceIdDataArray[0].NumIds) : 0, static_cast<int>(list->NumModules));
    }
    const PDU_RSC_ID_ITEM_DATA* first = hasEntries ? &list->pResourceIdDataArray[0] : nullptr;
    if (first && first->NumIds > 0 && first->pResourceIdArray) {
        if (first->hMod != hMod) {
            Log("%s", kShortSeparator);
            Log("Resource found on other module than requested.\n");
            PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
            return;
        }
        m_SelectedResourceId = first->pResourceIdArray[0];
        Log("%s", kShortSeparator);
        Log("Selected resource ID: %d\n", static_cast<int>(m_SelectedResourceId));
    } else {
        m_SelectedResourceId = r->id;
        Log("%s", kShortSeparator);
        Log("Selected resource ID from MDF: %d\n", static_cast<int>(m_SelectedResourceId));
    }
    // Whatever the library handed out goes back to it.
    if (list) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(list));
}
