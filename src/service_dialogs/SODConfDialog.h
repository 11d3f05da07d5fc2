// Service oriented diagnostics: PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG with the proxy's address
// and its two ports as one byte array in host order, 8 bytes for IPv4, 20 for IPv6.
#pragma once

#include <cstdint>
#include <vector>

#include "controls/Button.h"
#include "controls/Edit.h"
#include "service_dialogs/IpAddress.h"
#include "service_dialogs/ServiceDialog.h"

class SODConfDialog : public ServiceDialog {
public:
    static constexpr int IDD = 169;
    enum : int {
        IDC_IP_ADDRESS = 2050,
        IDC_TLS_PORT = 2027,
        IDC_NON_TLS_PORT = 2051,
        IDC_SEND_IOCTL = 1,
        IDC_CANCEL = 2,
    };

    SODConfDialog(ui::Ui& ui, ServiceDialogHost& host);

    bool OnInitDialog() override;
    void OnBnClickedSendIoCtl();
    // The IOCTL's byte array: the address, the non-TLS port, the TLS port.
    static std::vector<uint8_t> Record(const IpAddress& address, uint16_t nonTlsPort, uint16_t tlsPort);

    controls::Edit m_IpAddressEdit;
    controls::Edit m_TlsPortEdit;
    controls::Edit m_NonTlsPortEdit;
    controls::Button m_SendIoCtlButton;
    controls::Button m_CancelButton;
};
