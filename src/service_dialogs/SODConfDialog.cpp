#include "service_dialogs/SODConfDialog.h"

#include <cstdlib>
#include <cstring>

#include "pdu/MorvaneExtensions.h"
#include "pdu/PduApi.h"
#include "service_dialogs/ProxyComParamText.h"

using controls::Notification;

namespace {

// A decimal number cut to 16 bits; text that is no number gives 0.
uint16_t Port(const std::string& text)
{
    return static_cast<uint16_t>(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace

SODConfDialog::SODConfDialog(ui::Ui& ui, ServiceDialogHost& host)
    : ServiceDialog(ui, host, IDD, "PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG"),
      m_IpAddressEdit(IDC_IP_ADDRESS, "IP Address"),
      m_TlsPortEdit(IDC_TLS_PORT, "TLS Port"),
      m_NonTlsPortEdit(IDC_NON_TLS_PORT, "Non-TLS Port"),
      m_SendIoCtlButton(IDC_SEND_IOCTL, "Send IoCtl"),
      m_CancelButton(IDC_CANCEL, "Cancel")
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_IpAddressEdit, &m_TlsPortEdit, &m_NonTlsPortEdit, &m_SendIoCtlButton, &m_CancelButton})
        AddControl(*c);
    On(m_SendIoCtlButton, Notification::Clicked, [this] { OnBnClickedSendIoCtl(); });
    On(m_CancelButton, Notification::Clicked, [this] { Close(); });
}

bool SODConfDialog::OnInitDialog()
{
    const ProxyComParamText latest = ProxyComParamText::Latest();
    m_IpAddressEdit.SetWindowText(latest.address);
    m_TlsPortEdit.SetWindowText(latest.tlsPort);
    m_NonTlsPortEdit.SetWindowText(latest.port);
    return true;
}

std::vector<uint8_t> SODConfDialog::Record(const IpAddress& address, uint16_t nonTlsPort, uint16_t tlsPort)
{
    std::vector<uint8_t> record(address.bytes, address.bytes + address.Size());
    record.resize(address.Size() + 4);
    std::memcpy(record.data() + address.Size(), &nonTlsPort, 2);
    std::memcpy(record.data() + address.Size() + 2, &tlsPort, 2);
    return record;
}

void SODConfDialog::OnBnClickedSendIoCtl()
{
    uint32_t ioctl = 0;
    if (!ResolveIoCtl(PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG, ioctl)) return;
    // A text with both '.' and ':' counts as IPv4 here; the DoIP dialog tests in the other order.
    const std::string text = m_IpAddressEdit.GetWindowText();
    const int version = text.find('.') != std::string::npos ? 4 : text.find(':') != std::string::npos ? 6 : 0;
    IpAddress address;
    if (!IpAddress::Parse(text, version, address)) {
        m_ui.MessageBox("Error: Check IP Address format", "", ui::MB_OK);
        return;
    }
    const auto tlsPort = Port(m_TlsPortEdit.GetWindowText());
    const auto nonTlsPort = Port(m_NonTlsPortEdit.GetWindowText());
    std::vector<uint8_t> record = Record(address, nonTlsPort, tlsPort);
    PDU_IO_BYTEARRAY_DATA array{static_cast<UNUM32>(record.size()), record.data()};
    PDU_DATA_ITEM item{PDU_IT_IO_BYTEARRAY, &array};
    m_LastStatus = PduApi.PDUIoCtl(SelectedMainModule(), PDU_HANDLE_UNDEF, ioctl, &item, nullptr);
    if (m_LastStatus != PDU_STATUS_NOERROR)
        m_ui.MessageBox("PDUIoCtl failed for PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG", "", ui::MB_OK);
    Close();
}
