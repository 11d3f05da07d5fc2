#include "editors/CParameterDialog.h"

#include <algorithm>

#include "editors/KdExceptionBox.h"

using controls::Notification;

namespace {

constexpr int IDC_SAVE_AS = 144;
constexpr int IDC_NAMES = 147;
constexpr int IDC_LOAD = 149;
constexpr int IDC_VALUE = 151;
constexpr int IDC_SET = 153;
constexpr int IDC_NAME = 155;
constexpr int IDC_SHOW_HEX = 164;
constexpr int IDC_SET_IS_DEAD = 165;

}  // namespace

CParameterDialog::CParameterDialog(ui::Ui& ui)
    : Dialog(ui, IDD, "Parameters"),
      m_OkButton(ui::IDOK, "OK"),
      m_SaveAsButton(IDC_SAVE_AS, "Save As..."),
      m_NameList(IDC_NAMES, "Names"),
      m_LoadButton(IDC_LOAD, "Load"),
      m_ValueEdit(IDC_VALUE, "Value"),
      m_SetButton(IDC_SET, "Set"),
      m_NameEdit(IDC_NAME, "Name"),
      m_ShowHexCheck(IDC_SHOW_HEX, "Show Hex"),
      m_SetIsDeadStatic(IDC_SET_IS_DEAD, "Set is dead"),
      m_params(ui)
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_OkButton, &m_SaveAsButton, &m_NameList, &m_LoadButton, &m_ValueEdit, &m_SetButton, &m_NameEdit,
             &m_ShowHexCheck, &m_SetIsDeadStatic})
        AddControl(*c);
    m_SetButton.EnableWindow(false);
    On(m_OkButton, Notification::Clicked, [this] { OnOK(); });
    On(m_SaveAsButton, Notification::Clicked, [this] { OnBnClickedSaveAs(); });
    On(m_LoadButton, Notification::Clicked, [this] { OnBnClickedLoad(); });
    On(m_SetButton, Notification::Clicked, [this] { OnBnClickedSet(); });
    On(m_NameList, Notification::DoubleClick, [this] { OnDblClkNames(); });
    On(m_ShowHexCheck, Notification::Clicked, [] {});
}

bool CParameterDialog::OnInitDialog()
{
    m_NameList.ResetContent();
    if (!m_pSet) return true;
    try {
        const uint32_t count = m_pSet->GetCount();
        for (uint32_t i = 0; i < count; ++i) {
            const char* name = m_pSet->GetName(i);
            m_NameList.AddString(name ? name : "");
        }
    } catch (const KdException& e) {
        ShowKdException(m_ui, e);
    }
    return true;
}

void CParameterDialog::StoreEdits()
{
    const std::string name = m_NameEdit.GetWindowText();
    if (name.empty() || !m_pSet) return;
    m_params.SetText(*m_pSet, name.c_str(), m_ValueEdit.GetWindowText().c_str());
}

void CParameterDialog::OnDblClkNames()
{
    StoreEdits();
    const std::string name = m_NameList.GetText(m_NameList.GetCurSel());
    if (!m_pSet || name.empty()) return;
    const int length = m_params.GetText(*m_pSet, name.c_str(), nullptr, 0, m_ShowHexCheck.GetCheck() != 0);
    std::string value;
    if (length > 0) {
        value.resize(static_cast<size_t>(length));
        value.resize(static_cast<size_t>(
            std::max(0, m_params.GetText(*m_pSet, name.c_str(), value.data(), value.size(), m_ShowHexCheck.GetCheck() != 0))));
    }
    m_NameEdit.SetWindowText(name);
    m_ValueEdit.SetWindowText(value);
}

void CParameterDialog::OnOK()
{
    StoreEdits();
    EndDialog(ui::IDOK);
}

bool CParameterDialog::AskFile(bool save, std::string& path)
{
    ui::FileBoxRequest request;
    request.save = save;
    request.defaultExtension = ".ini";
    request.filter = "Parmeterfile|*.ini||";
    const auto chosen = m_ui.FileBox(request);
    if (!chosen) {
        m_ui.MessageBox("Canceled!", "Info", ui::MB_OK);
        return false;
    }
    path = *chosen;
    return true;
}

void CParameterDialog::OnBnClickedSaveAs()
{
    StoreEdits();
    std::string path;
    if (AskFile(true, path) && m_pSet) m_params.Save(*m_pSet, path);
}

void CParameterDialog::OnBnClickedLoad()
{
    std::string path;
    if (AskFile(false, path) && m_pSet) m_params.Load(*m_pSet, path);
}

void CParameterDialog::OnBnClickedSet()
{
    if (m_NameEdit.GetWindowText().empty()) return;
    StoreEdits();
    m_NameEdit.SetWindowText("");
    m_ValueEdit.SetWindowText("");
}
