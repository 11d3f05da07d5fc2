#include "service_dialogs/SetTraceOptionsDialog.h"

#include <cstdlib>
#include <vector>

#include "pdu/MorvaneExtensions.h"
#include "pdu/PduApi.h"

using controls::Notification;

SetTraceOptionsDialog::SetTraceOptionsDialog(ui::Ui& ui, ServiceDialogHost& host)
    : ServiceDialog(ui, host, IDD, "PDU_IOCTL_SET_TRACE_OPTIONS"),
      m_TracePathEdit(IDC_TRACE_PATH, "Trace Path"),
      m_TraceDetailEdit(IDC_TRACE_DETAIL, "Trace Detail"),
      m_TraceDetailHint(IDC_TRACE_DETAIL_HINT, "(0=normal 1=with protocol detail)"),
      m_OkButton(IDC_OK, "OK"),
      m_CancelButton(IDC_CANCEL, "Cancel")
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_TracePathEdit, &m_TraceDetailEdit, &m_TraceDetailHint, &m_OkButton, &m_CancelButton})
        AddControl(*c);
    On(m_OkButton, Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, Notification::Clicked, [this] { Close(); });
}

void SetTraceOptionsDialog::OnOK()
{
    std::vector<char> path = TextCopy(m_TracePathEdit.GetWindowText());
    const long detail = std::strtol(m_TraceDetailEdit.GetWindowText().c_str(), nullptr, 10);
    PDU_IO_TRACE_OPTIONS options{1, path.data(), static_cast<UNUM32>(detail)};
    PDU_DATA_ITEM item{PDU_IT_IO_TRACE_OPTIONS, &options};
    // The answer is not read; a failed id ends silently and the window stays.
    if (SendIoCtl(PDU_IOCTL_SET_TRACE_OPTIONS, PDU_HANDLE_UNDEF, item)) Close();
}
