#include "service_dialogs/SetBrokerDialog.h"

#include <vector>

#include "pdu/MorvaneExtensions.h"
#include "pdu/PduApi.h"

using controls::Notification;

SetBrokerDialog::SetBrokerDialog(ui::Ui& ui, ServiceDialogHost& host)
    : ServiceDialog(ui, host, IDD, "Dialog"),
      m_BrokerUrlEdit(IDC_BROKER_URL, "Broker URL"),
      m_OkButton(IDC_OK, "OK"),
      m_CancelButton(IDC_CANCEL, "Cancel")
{
    AddControl(m_BrokerUrlEdit);
    AddControl(m_OkButton);
    AddControl(m_CancelButton);
    On(m_OkButton, Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, Notification::Clicked, [this] { Close(); });
}

void SetBrokerDialog::OnOK()
{
    std::vector<char> url = TextCopy(m_BrokerUrlEdit.GetWindowText());
    PDU_DATA_ITEM item{PDU_IT_IO_BROKER_ADDR, url.data()};
    // As with the trace options: the answer is not read, a failed id ends silently.
    if (SendIoCtl(PDU_IOCTL_SET_BROKER_ADDR, PDU_HANDLE_UNDEF, item)) Close();
}
