// Base of the main window's modeless service dialogs: each belongs to the main dialog, which
// deletes it when it closes, and each sends its IOCTL the same way.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pdu/PduTypes.h"
#include "service_dialogs/ServiceDialogHost.h"
#include "ui/Dialog.h"

class ServiceDialog : public Dialog, public std::enable_shared_from_this<ServiceDialog> {
public:
    ServiceDialog(ui::Ui& ui, ServiceDialogHost& host, int templateId, std::string title);

    // The window may outlive the main dialog's hold for as long as its view needs the controls.
    std::shared_ptr<void> KeepAlive() override { return weak_from_this().lock(); }
    // The close box asks the main dialog to delete this dialog.
    void OnClose() override { Close(); }

    T_PDU_ERROR LastStatus() const { return m_LastStatus; }

protected:
    void Close();
    // PDUGetObjectId for an IOCTL's short name; false when it fails.
    bool ResolveIoCtl(const char* name, uint32_t& id);
    // PDUGetObjectId, then PDUIoCtl without an answer item; false when the id can't be had.
    bool SendIoCtl(const char* name, uint32_t hMod, PDU_DATA_ITEM& item);
    // A text the library may write through, as the API's CHAR8* wants it.
    static std::vector<char> TextCopy(const std::string& text);
    // The module selected in the main window's combo, PDU_HANDLE_UNDEF for none.
    uint32_t SelectedMainModule();

    ServiceDialogHost& m_host;
    T_PDU_ERROR m_LastStatus = PDU_STATUS_NOERROR;
};
