#include "logical_link/CLinkBaseDlg.h"

#include <cstdio>
#include <mutex>
#include <unordered_map>

#include "description/LoLiValueFamily.h"
#include "editors/ComParam_Dialog.h"
#include "editors/URID_Table_Dialog.h"
#include "logical_link/LinkHost.h"
#include "logical_link/LinkResource.h"
#include "logical_link/WorkerThread.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/ProfileFile.h"

namespace {

// Items of one round of a receive thread, after which it lets others at the link for a while.
constexpr int kMaxEventsPerRound = 1000;

// A folder read from the settings file: at most 260 characters.
constexpr uint32_t kFolderBuffer = 261;

// Never destroyed: a library may call back while the process ends.
std::mutex& TagMutex()
{
    static auto* const mutex = new std::mutex;
    return *mutex;
}

std::unordered_map<void*, std::weak_ptr<CLinkBaseDlg>>& Tags()
{
    static auto* const tags = new std::unordered_map<void*, std::weak_ptr<CLinkBaseDlg>>;
    return *tags;
}

std::atomic<CLinkBaseDlg::ApiTagHandler> g_apiTagHandler{nullptr};

}  // namespace

void CLinkBaseDlg::SetApiTagHandler(ApiTagHandler handler)
{
    g_apiTagHandler = handler;
}

void CLinkBaseDlg::RaiseForApiTag(void* apiTag)
{
    if (const ApiTagHandler handler = g_apiTagHandler; handler && apiTag) handler(apiTag);
}

CLinkBaseDlg::CLinkBaseDlg(ui::Ui& ui, int templateId) : Dialog(ui, templateId, ""), m_timerId(TimerIdOf(templateId)) {}

CLinkBaseDlg::~CLinkBaseDlg()
{
    if (!m_tagRegistered) return;
    std::lock_guard lock(TagMutex());
    Tags().erase(this);
}

unsigned CLinkBaseDlg::TimerIdOf(int templateId)
{
    switch (templateId) {
    case IDD_LOLI_PLAIN: return 666;
    case IDD_LOLI_KELDA: return 667;
    default: return 668;
    }
}

void CLinkBaseDlg::RegisterLinkTag()
{
    std::lock_guard lock(TagMutex());
    Tags()[this] = weak_from_this();
    m_tagRegistered = true;
}

std::shared_ptr<CLinkBaseDlg> CLinkBaseDlg::FromLinkTag(void* tag)
{
    if (!tag) return nullptr;
    std::lock_guard lock(TagMutex());
    const auto it = Tags().find(tag);
    return it == Tags().end() ? nullptr : it->second.lock();
}

void CLinkBaseDlg::MoveTo(int x, int y)
{
    m_ui.MoveWindow(*this, x, y);
}

void CLinkBaseDlg::PlaceLeftOf(Dialog& reference)
{
    const ui::WindowRect ref = m_ui.GetWindowRect(reference);
    MoveTo(ref.left - m_ui.GetWindowRect(*this).Width(), ref.top);
}

void CLinkBaseDlg::PlaceRightOf(Dialog& reference)
{
    const ui::WindowRect ref = m_ui.GetWindowRect(reference);
    MoveTo(ref.right, ref.top);
}

void CLinkBaseDlg::PlaceLeftOfCenter(Dialog& reference)
{
    const ui::WindowRect ref = m_ui.GetWindowRect(reference);
    MoveTo((ref.left + ref.right) / 2 - m_ui.GetWindowRect(*this).Width(), ref.top);
}

void CLinkBaseDlg::PlaceRightOfCenter(Dialog& reference)
{
    const ui::WindowRect ref = m_ui.GetWindowRect(reference);
    MoveTo((ref.left + ref.right) / 2, ref.top);
}

bool CLinkBaseDlg::EditorRefusesClose()
{
    const std::pair<Dialog*, const char*> editors[] = {
        {m_pComParamDlg, "ComParam dialog still open!"},
        {m_pUridDlg, "UniqueResponseIdTable dialog still open!"},
        {m_pIoCtlFilterDlg, "IoCtlFilter dialog still open!"},
    };
    for (const auto& [editor, text] : editors) {
        if (!editor) continue;
        m_ui.MessageBox(text, "", ui::MB_OK);
        return true;
    }
    return false;
}

bool CLinkBaseDlg::DestroyLinkForClose(T_PDU_ERROR& status)
{
    if (m_hMod == PDU_HANDLE_UNDEF) {
        PduApi.PDUDestroyComLogicalLink(m_hMod, m_hCLL);
        return true;
    }
    T_PDU_STATUS state = 0;
    UNUM32 timestamp = 0, extra = 0;
    status = PduApi.PDUGetStatus(m_hMod, m_hCLL, PDU_HANDLE_UNDEF, &state, &timestamp, &extra);
    if (status == PDU_STATUS_NOERROR && state != PDU_CLLST_OFFLINE) {
        m_ui.MessageBox("Logical-Link is online, disconnect the LoLi before close.", "", ui::MB_OK);
        return false;
    }
    // A failed status read loses the handle without destroying the link, by design.
    if (status == PDU_STATUS_NOERROR) PduApi.PDUDestroyComLogicalLink(m_hMod, m_hCLL);
    return true;
}

void CLinkBaseDlg::LoadPduHistory(controls::ComboBox& combo)
{
    constexpr uint32_t kValueBuffer = 65536;
    const std::string ini = m_pMainDlg ? m_pMainDlg->GetIniPath() : std::string();
    for (int i = 0;; ++i) {
        const std::string text = platform::ProfileFile::GetString(ini, "PDU", std::to_string(i), "", kValueBuffer);
        if (text.empty()) break;
        combo.AddString(text);
    }
}

void CLinkBaseDlg::SavePduHistory(controls::ComboBox& combo)
{
    const std::string ini = m_pMainDlg ? m_pMainDlg->GetIniPath() : std::string();
    std::vector<std::pair<std::string, std::string>> keys;
    for (int i = 0; i < combo.GetCount(); ++i) {
        combo.SetCurSel(i);
        const std::string text = combo.GetWindowText();
        if (!text.empty()) keys.emplace_back(std::to_string(i), text);
    }
    platform::ProfileFile::WriteStrings(ini, "PDU", keys);
}

void CLinkBaseDlg::SaveAndFreeLinkSettings(controls::ComboBox& pduCombo, LinkComParams& params)
{
    const std::string& lastFolder = m_lastFolder;
    const std::string ini = m_pMainDlg ? m_pMainDlg->GetIniPath() : std::string();
    SavePduHistory(pduCombo);
    params.SaveUridTable(ini, m_protocolName);
    params.m_uridTable.Clear();
    params.SaveValues(ini, m_protocolName);
    if (!lastFolder.empty())
        platform::ProfileFile::WriteString(ini, "Directory", m_protocolName.c_str(), lastFolder.c_str());
    params.FreeAll();
}

// ---------------------------------------------------------------- the editors

const ComParamValueFamily& CLinkBaseDlg::ValueFamily() const
{
    static const LoLiValueFamily values;
    return values;
}

std::string CLinkBaseDlg::InitialFolder() const
{
    if (!m_lastFolder.empty()) return m_lastFolder;
    const std::string ini = m_pMainDlg ? m_pMainDlg->GetIniPath() : std::string();
    return platform::ProfileFile::GetString(ini, "Directory", m_protocolName, "", kFolderBuffer);
}

// A cancelled box reports nothing and changes nothing: the folder chosen before stays.
void CLinkBaseDlg::RememberPath(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    if (slash != std::string::npos) m_lastFolder = path.substr(0, slash == 0 ? 1 : slash);
}

void CLinkBaseDlg::EditComParams(LinkComParams& params, bool plainOwner, T_PDU_ERROR& lastStatus)
{
    if (params.ProtocolComParams.empty()) {
        m_ui.MessageBox("ProtocolComParams array empty!", "", ui::MB_OK);
        return;
    }
    params.FetchValues(m_hMod, m_hCLL);
    if (m_pComParamDlg) {
        m_ui.MessageBox("The ComParam dialog is already open!", "", ui::MB_OK);
        return;
    }
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::EditLinkComParams, m_protocolName, m_hMod, m_hCLL,
                           params.ProtocolComParams);
    (plainOwner ? dialog.ownerLoLi : dialog.ownerKelda) = this;
    m_pComParamDlg = &dialog;
    const int code = m_ui.RunModal(dialog);
    m_pComParamDlg = nullptr;
    if (code != ui::IDOK) {
        params.LogText(LinkComParams::kSeparator);
        params.LogText("Cancel editing, ComParam values not set!\n");
        return;
    }
    params.SetChangedValues(m_hMod, m_hCLL, lastStatus);
}

void CLinkBaseDlg::EditUridTable(LinkComParams& params, bool plainOwner)
{
    if (params.ProtocolComParams.empty()) {
        m_ui.MessageBox("ProtocolComParams array empty!", "", ui::MB_OK);
        return;
    }
    if (m_pUridDlg) {
        m_ui.MessageBox("The UridTable dialog is already open!", "", ui::MB_OK);
        return;
    }
    URID_Table_Dialog dialog(m_ui, m_protocolName, m_hMod, m_hCLL, params.ProtocolComParams);
    (plainOwner ? dialog.ownerLoLi : dialog.ownerKelda) = this;
    m_pUridDlg = &dialog;
    const int code = m_ui.RunModal(dialog);
    m_pUridDlg = nullptr;
    if (code != ui::IDOK) {
        params.LogText(LinkComParams::kSeparator);
        params.LogText("Cancel editing, URID table not set!\n");
        return;
    }
    if (!dialog.table) {
        params.LogText("Error: Invalid UridTable pointer!\n");
        return;
    }
    const bool usable = params.AdoptUridTable(*dialog.table);
    dialog.table.reset();
    if (!usable) {
        params.LogText("Error: Could not set a new URID table!\n");
        return;
    }
    params.LogText(LinkComParams::kSeparator);
    params.LogText("Setting the new URID Table...!\n");
    const T_PDU_ERROR result = PduApi.PDUSetUniqueRespIdTable(m_hMod, m_hCLL, params.m_uridTable.Item());
    params.LogText(LinkComParams::kSeparator);
    params.LogText(std::string("Return of PDUSetUniqueRespIdTable:\n") + PduStatusText(result) + "\n");
}

CLinkBaseDlg::EventRound CLinkBaseDlg::ReadEventRound(WorkerThread& worker,
                                                     const std::function<bool(const PDU_EVENT_ITEM&)>& onItem,
                                                     const std::function<void(const std::string&)>& report)
{
    for (int count = 0;; ++count) {
        if (worker.killed || worker.stop) return EventRound::Stopped;
        if (count == kMaxEventsPerRound) {
            report("Warning: PDUGetEventItem still delivers after " + std::to_string(kMaxEventsPerRound) +
                   " items; the link reads on after a pause.\n");
            return EventRound::Capped;
        }
        PDU_EVENT_ITEM* item = nullptr;
        const T_PDU_ERROR result = PduApi.PDUGetEventItem(m_hMod, m_hCLL, &item);
        if (result == PDU_ERR_EVENT_QUEUE_EMPTY || result == PDU_ERR_INVALID_HANDLE) return EventRound::Drained;
        // Any other answer counts as an item; without one there is nothing to read until the next event.
        if (!item) {
            report(std::string("Error: PDUGetEventItem delivered no item:\n") + PduStatusText(result) + "\n");
            return EventRound::Drained;
        }
        if (!onItem(*item)) {
            char text[96];
            std::snprintf(text, sizeof text, "Error: event item of unknown type 0x%x; the link reads no more events.\n",
                          item->ItemType);
            report(text);
            return EventRound::Stopped;
        }
        PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
    }
}
