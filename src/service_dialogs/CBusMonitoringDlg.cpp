#include "service_dialogs/CBusMonitoringDlg.h"

#include <cstdlib>

using controls::Notification;

CBusMonitoringDlg::CBusMonitoringDlg(ui::Ui& ui)
    : Dialog(ui, IDD, "BusMonitoring"),
      m_Group(IDC_GROUP, "PDU_BUS_TRC_CONFIG"),
      m_BusTypeNameEdit(IDC_BUS_TYPE_NAME, "BusTypeName"),
      m_Pin1Edit(IDC_PIN_1, "PDU_PIN_DATA"),
      m_Pin2Edit(IDC_PIN_2, "PDU_PIN_DATA 2"),
      m_ActivateEdit(IDC_ACTIVATE, "Activate"),
      m_MaxTraceFileSizeEdit(IDC_MAX_TRACE_FILE_SIZE, "MaxTraceFileSize"),
      m_TraceFilePathEdit(IDC_TRACE_FILE_PATH, "TraceFilePath"),
      m_TraceFileEdit(IDC_TRACE_FILE, "TraceFile"),
      m_OkButton(IDC_OK, "OK"),
      m_CancelButton(IDC_CANCEL, "Cancel")
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_Group, &m_BusTypeNameEdit, &m_Pin1Edit, &m_Pin2Edit, &m_ActivateEdit, &m_MaxTraceFileSizeEdit,
             &m_TraceFilePathEdit, &m_TraceFileEdit, &m_OkButton, &m_CancelButton})
        AddControl(*c);
    On(m_OkButton, Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, Notification::Clicked, [this] { EndDialog(ui::IDCANCEL); });
}

bool CBusMonitoringDlg::OnInitDialog()
{
    // Data exchange into the controls: the fields keep what the user gave last time.
    m_BusTypeNameEdit.SetWindowText(m_BusTypeName);
    m_Pin1Edit.SetWindowText(m_Pin1);
    m_Pin2Edit.SetWindowText(m_Pin2);
    m_ActivateEdit.SetWindowText(std::to_string(m_Activate));
    m_MaxTraceFileSizeEdit.SetWindowText(std::to_string(m_MaxTraceFileSize));
    m_TraceFilePathEdit.SetWindowText(m_TraceFilePath);
    m_TraceFileEdit.SetWindowText(m_TraceFile);
    return true;
}

namespace {

// The exchange of an unsigned field: blanks around a decimal number, nothing else.
bool ReadUnsigned(const std::string& text, uint32_t& value)
{
    const char* p = text.c_str();
    while (*p == ' ' || *p == '\t') ++p;
    if (*p < '0' || *p > '9') return false;
    char* end = nullptr;
    const unsigned long long n = std::strtoull(p, &end, 10);
    while (*end == ' ' || *end == '\t') ++end;
    if (*end != '\0' || n > 0xFFFFFFFFull) return false;
    value = static_cast<uint32_t>(n);
    return true;
}

}  // namespace

void CBusMonitoringDlg::OnOK()
{
    uint32_t activate = 0, maxSize = 0;
    if (!ReadUnsigned(m_ActivateEdit.GetWindowText(), activate) ||
        !ReadUnsigned(m_MaxTraceFileSizeEdit.GetWindowText(), maxSize)) {
        m_ui.MessageBox("Please enter a positive integer.", "BusMonitoring", ui::MB_OK | ui::MB_ICONWARNING);
        return;
    }
    m_BusTypeName = m_BusTypeNameEdit.GetWindowText();
    m_Pin1 = m_Pin1Edit.GetWindowText();
    m_Pin2 = m_Pin2Edit.GetWindowText();
    m_Activate = activate;
    m_MaxTraceFileSize = maxSize;
    m_TraceFilePath = m_TraceFilePathEdit.GetWindowText();
    m_TraceFile = m_TraceFileEdit.GetWindowText();
    EndDialog(ui::IDOK);
}
