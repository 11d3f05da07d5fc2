#include "editors/ComParam_Dialog.h"

#include <algorithm>
#include <cstdio>

#include "description/ComParamValue.h"
#include "description/LoLiValueFamily.h"
#include "description/NumberText.h"
#include "editors/EditorFiles.h"
#include "editors/EditorOwner.h"
#include "editors/EditorResource.h"
#include "pdu/PduApi.h"
#include "platform/ProfileFile.h"

using controls::Notification;

namespace {

const char* const kOverflow = "Warning: ComParam value Overflow (Max or Min value is set)!";
const char* const kFilter = "ComParam|*.ini||";

std::string Format(const char* format, uint32_t number)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, format, number);
    return buffer;
}

void DropLast(std::string& text)
{
    if (!text.empty()) text.pop_back();
}

// Each of ',', ')', '(' that first stands past the start is spread over blanks everywhere, so
// that a structure's brackets become tokens of their own.
std::string SpreadTokens(std::string text)
{
    const std::pair<char, const char*> replacements[] = {{',', " "}, {')', " ) "}, {'(', " ( "}};
    for (const auto& [c, with] : replacements) {
        const size_t first = text.find(c);
        if (first == std::string::npos || first == 0) continue;
        std::string out;
        for (char ch : text) out += ch == c ? std::string(with) : std::string(1, ch);
        text = std::move(out);
    }
    return text;
}

bool IsBracket(const std::string& token)
{
    return token == "(" || token == ")";
}

// Each number of the text written again in `format`, read in `base`; brackets stay as tokens.
std::string Convert(const std::string& text, int base, const char* format)
{
    std::string out;
    for (const std::string& token : SplitBlanks(SpreadTokens(text)))
        out += IsBracket(token) ? token + " " : Format(format, ParseULong32(token, base));
    DropLast(out);
    return out;
}

std::string DecimalToHex(const std::string& text)
{
    return Convert(text, 0, "0x%x ");
}

std::string HexToDecimal(const std::string& text)
{
    return Convert(text, 16, "%d ");
}

const LoLiValueFamily kWithoutOwner;

}  // namespace

ComParam_Dialog::ComParam_Dialog(ui::Ui& ui, int mode, std::string protocolName, uint32_t hMod, uint32_t hCLL,
                                 std::vector<ComParamInfo>& records)
    : Dialog(ui, IDD_COMPARAM_DIALOG, "Edit ComParams"),
      m_ProtocolLabel(IDC_CP_PROTOCOL_LABEL, "Current Protocol"),
      m_ProtocolEdit(IDC_CP_PROTOCOL, "Protocol"),
      m_SelectLabel(IDC_CP_SELECT_LABEL, "Select ComParam"),
      m_ComParamCombo(IDC_CP_COMPARAM, "ComParam", false, true),
      m_ValueLabel(IDC_CP_VALUE_LABEL, "Edit ComParam Value"),
      m_DecLabel(IDC_CP_DEC_LABEL, "Dec :"),
      m_DecEdit(IDC_CP_DEC, "Dec"),
      m_HexLabel(IDC_CP_HEX_LABEL, "Hex :"),
      m_HexEdit(IDC_CP_HEX, "Hex"),
      m_SetParamButton(IDC_CP_SET_PARAM, "Set Param"),
      m_LoadButton(IDC_CP_LOAD, "Load"),
      m_SaveButton(IDC_CP_SAVE, "Save"),
      m_OkButton(ui::IDOK, "OK"),
      m_CancelButton(ui::IDCANCEL, "Cancel"),
      mode(mode),
      protocolName(std::move(protocolName)),
      hMod(hMod),
      hCLL(hCLL),
      records(records)
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_ProtocolLabel, &m_ProtocolEdit, &m_SelectLabel, &m_ComParamCombo, &m_ValueLabel, &m_DecLabel,
             &m_DecEdit, &m_HexLabel, &m_HexEdit, &m_SetParamButton, &m_LoadButton, &m_SaveButton, &m_OkButton,
             &m_CancelButton})
        AddControl(*c);
    m_ProtocolEdit.SetReadOnly(true);
    const auto click = [this](controls::Button& b, void (ComParam_Dialog::*h)()) {
        On(b, Notification::Clicked, [this, h] { (this->*h)(); });
    };
    click(m_OkButton, &ComParam_Dialog::OnOK);
    click(m_CancelButton, &ComParam_Dialog::OnCancel);
    click(m_LoadButton, &ComParam_Dialog::OnBnClickedLoad);
    click(m_SaveButton, &ComParam_Dialog::OnBnClickedSave);
    click(m_SetParamButton, &ComParam_Dialog::OnBnClickedSetParam);
    On(m_DecEdit, Notification::Change, [this] { OnEnChangeDec(); });
    On(m_HexEdit, Notification::Change, [this] { OnEnChangeHex(); });
    On(m_ComParamCombo, Notification::SelChange, [this] { OnCbnSelchangeComParam(); });
    On(m_ComParamCombo, Notification::EditChange, [this] { OnCbnEditchangeComParam(); });
}

// The family of the owner; without one (a picker of a URID editor of the full window) the plain
// window's routines, whose limits need no link.
const ComParamValueFamily& ComParam_Dialog::Family() const
{
    EditorOwner* owner = Owner();
    return owner ? owner->ValueFamily() : kWithoutOwner;
}

ComParamInfo* ComParam_Dialog::FindWorking(const std::string& name)
{
    const auto it = std::find_if(working.begin(), working.end(), [&](const ComParamInfo& r) { return r.name == name; });
    return it == working.end() ? nullptr : &*it;
}

bool ComParam_Dialog::OnInitDialog()
{
    m_ProtocolEdit.SetWindowText(protocolName);
    if (records.empty()) return true;
    for (const ComParamInfo& record : records) {
        if (mode != PickUridComParam && record.comParamClass == PDU_PC_UNIQUE_ID) continue;
        ComParamInfo copy = record.CloneHeader();
        Family().CopyValue(&copy.value, record.value, record.dataType);
        working.push_back(std::move(copy));
    }
    // Byte by byte: std::string compares its characters as unsigned.
    std::stable_sort(working.begin(), working.end(),
                     [](const ComParamInfo& a, const ComParamInfo& b) { return a.name < b.name; });
    for (const ComParamInfo& record : working) m_ComParamCombo.AddString(record.name);
    if (mode == PickUridComParam) m_SetParamButton.EnableWindow(false);
    m_ComParamCombo.SetCurSel(0);
    OnCbnSelchangeComParam();
    return true;
}

std::string ComParam_Dialog::FormatValue(const ComParamInfo& record, bool withLongField) const
{
    const bool pick = mode == PickUridComParam;
    const void* value = record.value;
    std::string text;
    switch (record.dataType) {
    case PDU_PT_UNUM8:
    case PDU_PT_SNUM8:
        if (pick) return Format("0x%x", static_cast<uint32_t>(NumericValue(value, record.dataType)));
        // "%c": the number as its character; a 0 ends the text before it starts.
        if (const char c = static_cast<char>(NumericValue(value, record.dataType))) text = std::string(1, c);
        return text;
    case PDU_PT_UNUM16:
    case PDU_PT_UNUM32:
    case PDU_PT_SNUM16:
    case PDU_PT_SNUM32: {
        const auto number = static_cast<uint32_t>(NumericValue(value, record.dataType));
        const bool isSigned = record.dataType == PDU_PT_SNUM16 || record.dataType == PDU_PT_SNUM32;
        return Format(pick ? "0x%x" : isSigned ? "%d" : "%u", number);
    }
    case PDU_PT_BYTEFIELD: {
        const auto* field = static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(value);
        for (uint32_t i = 0; field->pDataArray && i < field->ParamActLen; ++i) text += Format("%d ", field->pDataArray[i]);
        break;
    }
    case PDU_PT_LONGFIELD: {
        if (!withLongField) return text;
        const auto* field = static_cast<const PDU_PARAM_LONGFIELD_DATA*>(value);
        for (uint32_t i = 0; field->pDataArray && i < field->ParamActLen; ++i) text += Format("%d ", field->pDataArray[i]);
        break;
    }
    case PDU_PT_STRUCTFIELD: StructToText(text, static_cast<const PDU_PARAM_STRUCTFIELD_DATA*>(value)); return text;
    default: return text;
    }
    DropLast(text);
    return text;
}

void ComParam_Dialog::OnCbnSelchangeComParam()
{
    if (!currentName.empty() && (!currentText.empty() || cleared)) {
        if (ComParamInfo* record = FindWorking(currentName)) Family().TextToValue(&record->value, currentText, record->dataType);
    }
    currentText.clear();
    cleared = false;
    const int sel = m_ComParamCombo.GetCurSel();
    if (sel >= 0) {
        const std::string name = m_ComParamCombo.GetLBText(sel);
        if (name == currentName) return;
        currentName = name;
    }
    const ComParamInfo* record = FindWorking(currentName);
    if (record && record->value) currentText = FormatValue(*record, true);
    m_DecEdit.SetWindowText(currentText);
}

void ComParam_Dialog::OnCbnEditchangeComParam()
{
    const int hit = m_ComParamCombo.FindStringExact(-1, m_ComParamCombo.GetWindowText());
    if (hit < 0) return;
    m_ComParamCombo.SetCurSel(hit);
    OnCbnSelchangeComParam();
}

// A text that its ComParam can't hold warns (except while saving) and stops the mirroring.
bool ComParam_Dialog::ValueOverflows(const std::string& text)
{
    if (currentName.empty()) return false;
    const ComParamInfo* record = FindWorking(currentName);
    if (!record) return false;
    void* scratch = nullptr;
    const bool held = Family().TextToValue(&scratch, text, record->dataType);
    Family().FreeValue(&scratch, record->dataType);
    if (held) return false;
    if (!saving) m_ui.MessageBox(kOverflow, "", ui::MB_OK);
    return true;
}

void ComParam_Dialog::OnEnChangeDec()
{
    currentName = m_ComParamCombo.GetWindowText();
    currentText = m_DecEdit.GetWindowText();
    if (ValueOverflows(currentText)) return;
    if (NumberTextsDiffer(mirrorText, currentText) != 0) {
        const std::string hex = DecimalToHex(currentText);
        mirrorText = currentText;
        m_HexEdit.SetWindowText(hex);
    }
    if (currentText.empty()) cleared = true;
}

void ComParam_Dialog::OnEnChangeHex()
{
    currentName = m_ComParamCombo.GetWindowText();
    currentText = m_HexEdit.GetWindowText();
    if (currentText == "0x ") currentText = "0x0 ";
    if (ValueOverflows(currentText)) return;
    const std::string decimal = HexToDecimal(currentText);
    if (NumberTextsDiffer(currentText, mirrorText) != 0) {
        mirrorText = decimal;
        m_DecEdit.SetWindowText(decimal);
    }
    if (currentText.empty()) cleared = true;
}

// After a failed Set Param: the value the library reported, appended to the text on display
// for a field (the box then shows both).
void ComParam_Dialog::RefreshDecText()
{
    const ComParamInfo* record = FindWorking(currentName);
    if (!record || !record->value || record->dataType == PDU_PT_LONGFIELD) return;
    const std::string text = FormatValue(*record, false);
    const bool field = record->dataType == PDU_PT_BYTEFIELD || record->dataType == PDU_PT_STRUCTFIELD;
    currentText = field ? currentText + text : text;
    m_DecEdit.SetWindowText(currentText);
}

void ComParam_Dialog::OnBnClickedSetParam()
{
    OnCbnSelchangeComParam();
    const int sel = m_ComParamCombo.GetCurSel();
    if (sel < 0 || sel >= static_cast<int>(working.size())) return;
    const ComParamInfo& selected = working[static_cast<size_t>(sel)];
    for (ComParamInfo& record : records)
        if (record.id == selected.id) SetParamOf(record, selected);
}

void ComParam_Dialog::SetParamOf(ComParamInfo& record, const ComParamInfo& selected)
{
    const ComParamValueFamily& family = Family();
    const std::string invalid = "Error: Invalid string value for ComParam " + record.name + "!";
    family.CopyValue(&record.value, selected.value, record.dataType);
    PDU_PARAM_ITEM item{PDU_IT_PARAM, record.id, record.dataType, record.comParamClass, nullptr};
    if (!family.CopyValue(&item.pComParamData, record.value, record.dataType)) {
        m_ui.MessageBox(invalid, "", ui::MB_OK);
        family.FreeValue(&item.pComParamData, record.dataType);
        return;
    }
    // The library's errors are composed as the log would have them, but nothing shows them: the
    // value simply returns to what the library holds.
    PDU_PARAM_ITEM* old = nullptr;
    if (PduApi.PDUGetComParam(hMod, hCLL, record.id, &old) == PDU_STATUS_NOERROR &&
        PduApi.PDUSetComParam(hMod, hCLL, &item) != PDU_STATUS_NOERROR) {
        ComParamInfo* shown = FindWorking(selected.name);
        if (shown && old && family.CopyValue(&shown->value, old->pComParamData, shown->dataType))
            RefreshDecText();
        else
            m_ui.MessageBox(invalid, "", ui::MB_OK);
    }
    if (old) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(old));
    family.FreeValue(&item.pComParamData, record.dataType);
}

std::string ComParam_Dialog::SectionName() const
{
    return mode == PickUridComParam ? protocolName + "_URID" : protocolName;
}

void ComParam_Dialog::OnBnClickedLoad()
{
    const std::optional<std::string> path = editors::AskIniFile(m_ui, Owner(), false, kFilter);
    if (!path || protocolName.empty()) return;
    const std::vector<std::string> keys = editors::ReadNames(*path, SectionName().c_str());
    if (keys.empty()) {
        m_ui.MessageBox("No ComParam in the ini file", "", ui::MB_OK);
        return;
    }
    // What the box holds is committed now, so that the values read next are the ones shown.
    OnCbnSelchangeComParam();
    currentName.clear();
    for (const std::string& key : keys) {
        const std::string value = editors::ReadValue(*path, SectionName(), key);
        for (ComParamInfo& record : working)
            if (record.name == key) Family().TextToValue(&record.value, value, record.dataType);
    }
    m_ComParamCombo.SetCurSel(0);
    OnCbnSelchangeComParam();
}

void ComParam_Dialog::OnBnClickedSave()
{
    const std::optional<std::string> path = editors::AskIniFile(m_ui, Owner(), true, kFilter);
    if (!path || protocolName.empty()) return;
    const std::string section = SectionName();
    const int remembered = m_ComParamCombo.GetCurSel();
    saving = true;
    for (int i = 0; i < m_ComParamCombo.GetCount(); ++i) {
        m_ComParamCombo.SetCurSel(i);
        OnCbnSelchangeComParam();
        platform::ProfileFile::WriteString(*path, section.c_str(), m_ComParamCombo.GetLBText(i).c_str(),
                                           m_DecEdit.GetWindowText().c_str());
    }
    m_ComParamCombo.SetCurSel(remembered);
    OnCbnSelchangeComParam();
    saving = false;
}

void ComParam_Dialog::OnOK()
{
    OnCbnSelchangeComParam();
    if (mode == PickUridComParam) {
        const int sel = m_ComParamCombo.GetCurSel();
        OnCbnSelchangeComParam();
        resultText = m_DecEdit.GetWindowText();
        resultText = m_HexEdit.GetWindowText();
        if (sel >= 0 && sel < static_cast<int>(working.size())) {
            const uint32_t id = working[static_cast<size_t>(sel)].id;
            const auto it = std::find_if(records.begin(), records.end(), [id](const ComParamInfo& r) { return r.id == id; });
            selectedIndex = it == records.end() ? -1 : static_cast<int>(it - records.begin());
        }
    } else {
        for (const ComParamInfo& copy : working)
            for (ComParamInfo& record : records)
                if (record.id == copy.id) Family().CopyValue(&record.value, copy.value, record.dataType);
    }
    FreeWorking();
    ownerLoLi = ownerKelda = nullptr;
    EndDialog(ui::IDOK);
}

void ComParam_Dialog::OnCancel()
{
    FreeWorking();
    selectedIndex = -1;
    resultText.clear();
    EndDialog(ui::IDCANCEL);
}
