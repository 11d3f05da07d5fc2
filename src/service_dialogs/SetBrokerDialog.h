// The broker's address: PDU_IOCTL_SET_BROKER_ADDR with the URL as text, sent on OK.
#pragma once

#include "controls/Button.h"
#include "controls/Edit.h"
#include "service_dialogs/ServiceDialog.h"

class SetBrokerDialog : public ServiceDialog {
public:
    static constexpr int IDD = 174;
    enum : int {
        IDC_BROKER_URL = 2052,
        IDC_OK = 1,
        IDC_CANCEL = 2,
    };

    SetBrokerDialog(ui::Ui& ui, ServiceDialogHost& host);

    void OnOK();

    controls::Edit m_BrokerUrlEdit;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
};
