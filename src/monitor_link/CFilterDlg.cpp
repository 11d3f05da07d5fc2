#include "monitor_link/CFilterDlg.h"

#include "platform/ProfileFile.h"

namespace {

constexpr const char* kSection = "Filter";
constexpr const char* kMissing = "NULL";
constexpr uint32_t kValueSize = 65535;

std::string ReadFilter(const std::string& path, int n)
{
    return platform::ProfileFile::GetString(path, kSection, std::to_string(n), kMissing, kValueSize);
}

}  // namespace

CFilterDlg::CFilterDlg(ui::Ui& ui)
    : Dialog(ui, IDD, "Bus-Monitor Filter"),
      m_List(IDC_LIST, "Filters"),
      m_OkButton(ui::IDOK, "OK"),
      m_CancelButton(ui::IDCANCEL, "Cancel")
{
    AddControl(m_List);
    AddControl(m_OkButton);
    AddControl(m_CancelButton);
    On(m_OkButton, controls::Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, controls::Notification::Clicked, [this] { EndDialog(ui::IDCANCEL); });
    On(m_List, controls::Notification::DoubleClick, [this] { OnOK(); });
}

bool CFilterDlg::OnInitDialog()
{
    SetWindowText("Bus-Monitor Filter");
    m_List.ResetContent();
    for (int n = 0; n < kMaxFilters; ++n) {
        const std::string text = ReadFilter(m_path, n);
        if (text == kMissing) break;
        m_List.InsertString(n, text);
    }
    return true;
}

void CFilterDlg::OnOK()
{
    m_selection = m_List.GetText(m_List.GetCurSel());
    EndDialog(ui::IDOK);
}

void CFilterDlg::SaveFilter(ui::Ui& ui, const std::string& iniPath, const std::string& text)
{
    if (text.empty()) return;
    int n = 0;
    for (; n < kMaxFilters; ++n) {
        const std::string saved = ReadFilter(iniPath, n);
        if (saved == kMissing) break;
        if (saved == text) {
            ui.MessageBox("Filter already saved.", "", ui::MB_OK);
            return;
        }
    }
    // Beyond the last key that fits nothing is written, as the key's buffer allows no more.
    if (n == kMaxFilters) return;
    platform::ProfileFile::WriteString(iniPath, kSection, std::to_string(n).c_str(), text.c_str());
    ui.MessageBox("Filter saved.", "", ui::MB_OK);
}
