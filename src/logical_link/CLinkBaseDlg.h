// Base of the dialogs that own one ComLogicalLink. The main dialog knows its links only
// through this base: which module a link is on, and how to close it.
#pragma once

#include <cstdint>
#include <string>

#include "pdu/PduTypes.h"
#include "ui/Dialog.h"

class CQuillonDlg;

class CLinkBaseDlg : public Dialog {
public:
    using Dialog::Dialog;

    // Disconnects and destroys the link, takes the dialog out of the main dialog's lists and
    // closes its window.
    virtual void CloseLink() = 0;

    UNUM32 m_hMod = PDU_HANDLE_UNDEF;
    UNUM32 m_hCLL = PDU_HANDLE_UNDEF;
    UNUM32 m_resourceId = PDU_ID_UNDEF;
    CQuillonDlg* m_pMainDlg = nullptr;
};
