#include "editors/URID_Table_Dialog.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "description/ComParamValue.h"
#include "description/LoLiValueFamily.h"
#include "description/NumberText.h"
#include "editors/ComParam_Dialog.h"
#include "editors/EditorFiles.h"
#include "editors/EditorResource.h"
#include "pdu/PduApi.h"
#include "platform/ProfileFile.h"

using controls::Notification;
using controls::TreeCtrl;

namespace {

const char* const kFilter = "URIDtable|*.ini||";
const char* const kUndefined = "PDU_ID_UNDEF";
constexpr uint32_t kUndefinedId = 0xFFFFFFFE;  // PDU_ID_UNDEF
constexpr uint32_t kNoHandle = 0xFFFFFFFF;

const LoLiValueFamily kValues;

std::string Hex(uint32_t number)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%x", number);
    return buffer;
}

// What stands right of the first '=' once the blanks are gone; empty without one.
std::string RightOfEquals(const std::string& text)
{
    const std::string packed = editors::WithoutBlanks(text);
    const size_t equals = packed.find('=');
    return equals == std::string::npos ? std::string() : packed.substr(equals + 1);
}

bool IsValidIdentifier(const std::string& id)
{
    if (id == kUndefined || id == "0") return true;
    const uint32_t number = ParseULong32(id, 0);
    return number != 0 && number != 0xFFFFFFFF;
}

}  // namespace

URID_Table_Dialog::URID_Table_Dialog(ui::Ui& ui, std::string protocolName, uint32_t hMod, uint32_t hCLL,
                                     const std::vector<ComParamInfo>& records)
    : Dialog(ui, IDD_URID_TABLE_DIALOG, "Edit URID Table"),
      m_ProtocolLabel(IDC_URID_PROTOCOL_LABEL, "Current Protocol"),
      m_ProtocolEdit(IDC_URID_PROTOCOL, "Protocol"),
      m_Tree(IDC_URID_TREE, "Tree"),
      m_OkButton(ui::IDOK, "OK"),
      m_CancelButton(ui::IDCANCEL, "Cancel"),
      m_LoadButton(IDC_URID_LOAD, "Load"),
      m_SaveButton(IDC_URID_SAVE, "Save"),
      protocolName(std::move(protocolName)),
      hMod(hMod),
      hCLL(hCLL),
      records(records)
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_ProtocolLabel, &m_ProtocolEdit, &m_Tree, &m_OkButton, &m_CancelButton, &m_LoadButton, &m_SaveButton})
        AddControl(*c);
    m_ProtocolEdit.SetReadOnly(true);
    On(m_OkButton, Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, Notification::Clicked, [this] { OnCancel(); });
    On(m_LoadButton, Notification::Clicked, [this] { OnBnClickedLoad(); });
    On(m_SaveButton, Notification::Clicked, [this] { OnBnClickedSave(); });
    On(m_Tree, Notification::BeginLabelEdit, [this] { OnTvnBeginlabeledit(); });
    On(m_Tree, Notification::EndLabelEdit, [this] { OnTvnEndlabeledit(); });
    On(m_Tree, Notification::ContextMenu, [this] { OnRClickTree(); });
}

bool URID_Table_Dialog::OnInitDialog()
{
    m_ProtocolEdit.SetWindowText(protocolName);
    rootItem = m_Tree.InsertItem("URID-Table");
    for (const ComParamInfo& record : records) {
        if (record.comParamClass != PDU_PC_UNIQUE_ID) continue;
        ComParamInfo copy = record.CloneHeader();
        kValues.CopyValue(&copy.value, record.value, record.dataType);
        uniqueParams.push_back(std::move(copy));
    }
    FillFromLibrary();
    m_Tree.Expand(rootItem);
    return true;
}

const ComParamInfo* URID_Table_Dialog::FindUnique(uint32_t id) const
{
    const auto it = std::find_if(uniqueParams.begin(), uniqueParams.end(), [id](const ComParamInfo& r) { return r.id == id; });
    return it == uniqueParams.end() ? nullptr : &*it;
}

void URID_Table_Dialog::FillFromLibrary()
{
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* library = nullptr;
    const T_PDU_ERROR result = PduApi.PDUGetUniqueRespIdTable(hMod, hCLL, &library);
    if (result == PDU_STATUS_NOERROR && library && library->pUniqueData) {
        for (UNUM32 e = 0; e < library->NumEntries; ++e) {
            const PDU_ECU_UNIQUE_RESP_DATA& entry = library->pUniqueData[e];
            const std::string text = entry.UniqueRespIdentifier == kUndefinedId
                                         ? std::string("URID=") + kUndefined
                                         : "URID=" + std::to_string(static_cast<int32_t>(entry.UniqueRespIdentifier));
            const Handle urid = m_Tree.InsertItem(text, rootItem);
            for (UNUM32 p = 0; entry.pParams && p < entry.NumParamItems; ++p) {
                const PDU_PARAM_ITEM& param = entry.pParams[p];
                const ComParamInfo* record = param.pComParamData ? FindUnique(param.ComParamId) : nullptr;
                if (!record) continue;
                const Handle item = m_Tree.InsertItem(ParamText(*record, param), urid);
                m_Tree.SetItemData(item, param.ComParamId);
            }
            m_Tree.Expand(urid);
        }
    }
    if (library) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(library));
}

// name=0x.. with signed numbers sign-extended; a byte field as its bytes joined by commas;
// a structure or long field by its name alone.
std::string URID_Table_Dialog::ParamText(const ComParamInfo& record, const PDU_PARAM_ITEM& param) const
{
    std::string text = record.name;
    if (IsNumericDataType(param.ComParamDataType))
        return text + "=" + Hex(static_cast<uint32_t>(NumericValue(param.pComParamData, param.ComParamDataType)));
    if (param.ComParamDataType != PDU_PT_BYTEFIELD) return text;
    const auto* field = static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(param.pComParamData);
    for (uint32_t i = 0; field->pDataArray && i < field->ParamActLen; ++i)
        text += (i == 0 ? "=" : ",") + Hex(field->pDataArray[i]);
    return text;
}

std::vector<TreeCtrl::Handle> URID_Table_Dialog::UridItems() const
{
    return m_Tree.Children(rootItem);
}

URID_Table_Dialog::Check URID_Table_Dialog::CheckUrid(Handle urid, std::string& shown) const
{
    shown = RightOfEquals(m_Tree.GetItemText(urid));
    if (!IsValidIdentifier(shown)) return Check::BadIdentifier;
    if (!m_Tree.ItemHasChildren(urid) && shown != kUndefined) return Check::NoParams;
    return Check::Valid;
}

// The box for a URID that can't go into a table; false when there was one.
bool URID_Table_Dialog::ShowCheck(Check check, const std::string& shown)
{
    if (check == Check::BadIdentifier)
        m_ui.MessageBox("Incorrect URID table identifier found in table Nr: " + shown + ".", "", ui::MB_OK);
    else if (check == Check::NoParams)
        m_ui.MessageBox("The URID table: " + shown + " has no ComParams!", "", ui::MB_OK);
    return check == Check::Valid;
}

void URID_Table_Dialog::OnOK()
{
    const std::vector<Handle> urids = UridItems();
    if (urids.empty()) {
        m_ui.MessageBox("No valid URID table found!", "", ui::MB_OK);
        ownerLoLi = nullptr;
        EndDialog(ui::IDOK);
        return;
    }
    for (Handle urid : urids) {
        std::string shown;
        if (!ShowCheck(CheckUrid(urid, shown), shown)) return;
    }
    try {
        BuildTable(urids);
    } catch (const std::bad_alloc&) {
        table.reset();
        m_ui.MessageBox("Error: Could not create the new URID table!", "", ui::MB_OK);
        return;
    }
    uniqueParams.clear();
    EndDialog(ui::IDOK);
}

// A parameter whose id is none of the link's unique-id ComParams (a key unknown to a loaded file)
// has no type to be sent with: it stays out of the table.
void URID_Table_Dialog::BuildTable(const std::vector<Handle>& urids)
{
    table = std::make_unique<UridTable>(kValues);
    for (Handle urid : urids) {
        const std::string id = RightOfEquals(m_Tree.GetItemText(urid));
        std::vector<std::pair<const ComParamInfo*, std::string>> params;
        for (Handle param : m_Tree.Children(urid)) {
            if (const ComParamInfo* record = FindUnique(static_cast<uint32_t>(m_Tree.GetItemData(param))))
                params.emplace_back(record, RightOfEquals(m_Tree.GetItemText(param)));
        }
        const size_t entry =
            table->AddEntry(id == kUndefined ? kUndefinedId : ParseULong32(id, 0), static_cast<uint32_t>(params.size()));
        for (size_t i = 0; i < params.size(); ++i) {
            const auto& [record, value] = params[i];
            PDU_PARAM_ITEM& item = table->Param(entry, i);
            item = PDU_PARAM_ITEM{PDU_IT_PARAM, record->id, record->dataType, record->comParamClass, nullptr};
            if (!value.empty()) kValues.TextToValue(&item.pComParamData, value, record->dataType);
        }
    }
}

void URID_Table_Dialog::OnCancel()
{
    uniqueParams.clear();
    table.reset();
    EndDialog(ui::IDCANCEL);
}

void URID_Table_Dialog::OnTvnBeginlabeledit()
{
    currentItem = m_Tree.GetEditItem();
    textBefore = m_Tree.GetItemText(currentItem);
}

// Nothing checks the text here: Save and OK do.
void URID_Table_Dialog::OnTvnEndlabeledit()
{
    textAfter = m_Tree.GetEditText();
    m_Tree.SetItemText(currentItem, textAfter != textBefore ? textAfter : textBefore);
}

void URID_Table_Dialog::OnRClickTree()
{
    const Handle item = m_Tree.GetSelectedItem();
    // Only a click on the selected item itself opens a menu.
    if (!item || m_Tree.GetHitItem() != item) return;
    currentItem = item;
    const Handle parent = m_Tree.GetParentItem(item);
    std::vector<ui::MenuItem> menu;
    if (parent == TreeCtrl::kRoot)
        menu = {{ID_URIDROOT_ADDNEWURID, "&Add new URID"}};
    else if (m_Tree.GetParentItem(parent) == TreeCtrl::kRoot)
        menu = {{ID_URID_ADDNEWPARAM, "&Add new Param"}, {ID_URID_DELETEURID, "&Delete URID"}};
    else
        menu = {{ID_PARAM_DELETEPARAM, "&Delete Param"}};
    switch (m_ui.PopupMenu(*this, menu)) {
    case ID_URIDROOT_ADDNEWURID: OnAddNewUrid(); break;
    case ID_URID_ADDNEWPARAM: OnAddNewParam(); break;
    case ID_URID_DELETEURID:
    case ID_PARAM_DELETEPARAM: OnDeleteItem(); break;
    default: break;
    }
}

void URID_Table_Dialog::OnAddNewUrid()
{
    m_Tree.InsertItem("URID = _", rootItem);
    m_Tree.Expand(rootItem);
}

void URID_Table_Dialog::OnAddNewParam()
{
    const Handle urid = currentItem;
    ComParam_Dialog picker(m_ui, ComParam_Dialog::PickUridComParam, protocolName, kNoHandle, kNoHandle, uniqueParams);
    picker.ownerLoLi = ownerLoLi;
    if (m_ui.RunModal(picker) != ui::IDOK || picker.selectedIndex < 0) return;
    const ComParamInfo& record = uniqueParams[static_cast<size_t>(picker.selectedIndex)];
    const Handle item = m_Tree.InsertItem(record.name + "=" + picker.resultText, urid);
    m_Tree.SetItemData(item, record.id);
    m_Tree.Expand(urid);
}

void URID_Table_Dialog::OnDeleteItem()
{
    m_Tree.DeleteItem(m_Tree.GetSelectedItem());
}

void URID_Table_Dialog::OnBnClickedSave()
{
    const std::vector<Handle> urids = UridItems();
    if (urids.empty()) {
        m_ui.MessageBox("No URID table in the list or empty URID table to save", "", ui::MB_OK);
        return;
    }
    const std::optional<std::string> path = editors::AskIniFile(m_ui, Owner(), true, kFilter);
    if (!path) return;
    bool fileCreated = false;
    for (Handle urid : urids) {
        std::string shown;
        if (!ShowCheck(CheckUrid(urid, shown), shown)) return;  // what was written stays
        SaveUrid(*path, urid, fileCreated);
    }
}

// The file is created anew before the first parameter of the whole save: sections written
// before that (a URID without parameters) and other protocols' tables go with it.
void URID_Table_Dialog::SaveUrid(const std::string& path, Handle urid, bool& fileCreated)
{
    const std::string section = "URID_" + protocolName + "=" + RightOfEquals(m_Tree.GetItemText(urid));
    const std::vector<Handle> params = m_Tree.Children(urid);
    if (params.empty()) {
        platform::ProfileFile::WriteString(path, section.c_str(), ";NULL", "0");
        return;
    }
    if (!fileCreated) platform::ProfileFile::Empty(path);
    fileCreated = true;
    for (Handle param : params) {
        const std::string text = editors::WithoutBlanks(m_Tree.GetItemText(param));
        const size_t equals = text.find('=');
        const std::string key = text.substr(0, equals);
        const std::string value = equals == std::string::npos ? std::string() : text.substr(equals + 1);
        platform::ProfileFile::WriteString(path, section.c_str(), key.c_str(), value.c_str());
    }
}

void URID_Table_Dialog::ResetTree()
{
    m_Tree.DeleteAllItems();
    rootItem = m_Tree.InsertItem("URID-Table");
}

void URID_Table_Dialog::OnBnClickedLoad()
{
    const std::optional<std::string> path = editors::AskIniFile(m_ui, Owner(), false, kFilter);
    if (!path) return;
    ResetTree();
    const std::vector<std::string> sections = editors::ReadNames(*path, nullptr);
    if (sections.empty()) {
        m_ui.MessageBox("No URID table found in the ini file", "", ui::MB_OK);
        return;
    }
    for (const std::string& section : sections) {
        if (section.find("URID") == std::string::npos || section.find(protocolName) == std::string::npos) continue;
        const size_t equals = section.find('=');
        const std::string id = equals == std::string::npos ? std::string() : section.substr(equals + 1);
        const Handle urid = m_Tree.InsertItem("URID=" + id, rootItem);
        for (const std::string& key : editors::ReadNames(*path, section.c_str())) {
            const auto it = std::find_if(uniqueParams.begin(), uniqueParams.end(),
                                         [&](const ComParamInfo& r) { return r.name == key; });
            const Handle item = m_Tree.InsertItem(key + "=" + editors::ReadValue(*path, section, key), urid);
            m_Tree.SetItemData(item, it == uniqueParams.end() ? 0 : it->id);
        }
        m_Tree.Expand(urid);
    }
    m_Tree.Expand(rootItem);
}
