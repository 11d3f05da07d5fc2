#include "service_dialogs/ServiceDialog.h"

#include "pdu/PduApi.h"

ServiceDialog::ServiceDialog(ui::Ui& ui, ServiceDialogHost& host, int templateId, std::string title)
    : Dialog(ui, templateId, std::move(title)), m_host(host)
{
}

void ServiceDialog::Close()
{
    EndDialog(ui::IDCANCEL);
    m_host.OnServiceDialogClosed(*this);
}

bool ServiceDialog::ResolveIoCtl(const char* name, uint32_t& id)
{
    id = PDU_ID_UNDEF;
    // Without a library the id can't be had, as from a library that isn't constructed.
    if (!m_host.IsLibraryLoaded()) {
        m_LastStatus = PDU_ERR_PDUAPI_NOT_CONSTRUCTED;
        return false;
    }
    std::string shortName = name;
    m_LastStatus = PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, shortName.data(), &id);
    return m_LastStatus == PDU_STATUS_NOERROR;
}

bool ServiceDialog::SendIoCtl(const char* name, uint32_t hMod, PDU_DATA_ITEM& item)
{
    uint32_t ioctl = 0;
    if (!ResolveIoCtl(name, ioctl)) return false;
    m_LastStatus = PduApi.PDUIoCtl(hMod, PDU_HANDLE_UNDEF, ioctl, &item, nullptr);
    return true;
}

std::vector<char> ServiceDialog::TextCopy(const std::string& text)
{
    std::vector<char> copy(text.begin(), text.end());
    copy.push_back('\0');
    return copy;
}

uint32_t ServiceDialog::SelectedMainModule()
{
    const std::vector<std::string> names = m_host.ModuleNames();
    const int sel = m_host.SelectedModuleIndex();
    if (sel < 0 || sel >= static_cast<int>(names.size())) return PDU_HANDLE_UNDEF;
    return m_host.GetModuleHandleByName(names[static_cast<size_t>(sel)]);
}
