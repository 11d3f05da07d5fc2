#include "monitor_link/CMoLiDlg.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "editors/CParameterDialog.h"
#include "editors/KdExceptionBox.h"
#include "logical_link/LinkHost.h"
#include "monitor_link/CFilterDlg.h"
#include "monitor_link/MonitorResource.h"

using controls::CListCtrlEx;
using controls::Notification;

namespace {

const controls::CListCtrlEx::Font kNormalFont{"Lucida Console", 70};
const controls::CListCtrlEx::Font kLargeFont{"Courier New", 90};
constexpr char kHotKeyLetters[] = {'s', 'l', 'f'};

// The window the service's notices go to: written by OnInitDialog, read by the callback.
std::mutex g_monitorLock;
std::weak_ptr<CMoLiDlg> g_monitorDialog;

}  // namespace

CMoLiDlg::CMoLiDlg(ui::Ui& ui)
    : CLinkBaseDlg(ui, IDD_MOLI),
      m_OpenButton(IDC_MOLI_OPEN, "Open"),
      m_CloseButton(IDC_MOLI_CLOSE, "Close"),
      m_CloseWindowButton(IDC_MOLI_CLOSE_WINDOW, "Close Window"),
      m_ClearScreenButton(IDC_MOLI_CLEAR_SCREEN, "Clear Screen"),
      m_MlParamButton(IDC_MOLI_ML_PARAM, "ML Param"),
      m_OnChangeRadio(IDC_MOLI_ON_CHANGE, "On Change", "ClampState"),
      m_ExplicitRadio(IDC_MOLI_EXPLICIT, "Explicit", "ClampState"),
      m_DisableScreenCheck(IDC_MOLI_DISABLE_SCREEN, "Disable Screen"),
      m_SuppressLeCheck(IDC_MOLI_SUPPRESS_LE, "Suppress LE"),
      m_LargeFontCheck(IDC_MOLI_LARGE_FONT, "Large Font"),
      m_NoMultiLineCheck(IDC_MOLI_NO_MULTILINE, "No MultiLine"),
      m_ResetCountersButton(IDC_MOLI_RESET_COUNTERS, "X"),
      m_FilterPositiveRadio(IDC_MOLI_FILTER_POSITIVE, "positiv", "ID-Filter"),
      m_FilterNegativeRadio(IDC_MOLI_FILTER_NEGATIVE, "negativ", "ID-Filter"),
      m_FilterOffRadio(IDC_MOLI_FILTER_OFF, "aus", "ID-Filter"),
      m_FilterEdit(IDC_MOLI_FILTER_TEXT, "ID-Filter"),
      m_MonCountEdit(IDC_MOLI_MONCOUNT, "MonCount:"),
      m_ItemsPerSecondEdit(IDC_MOLI_ITEMS_PER_SECOND, "Bus items/s:"),
      m_BusLoadEdit(IDC_MOLI_BUSLOAD, "Busload (%):"),
      m_List(IDC_MOLI_LIST, "List"),
      m_decoder(m_List, m_MonCountEdit, m_ItemsPerSecondEdit, m_BusLoadEdit),
      // Lives as long as the window: a notice that found the window still releases it.
      m_itemSemaphore(std::make_unique<platform::Semaphore>(0, 65535))
{
    RegisterControls();
    BindHandlers();
    m_decoder.SetTrace(&m_trace);
}

CMoLiDlg::~CMoLiDlg()
{
    // A window that never closed (the program ends) still ends its thread before its members go.
    StopReceiveThread();
    ReleaseLink();
}

std::shared_ptr<CMoLiDlg> CMoLiDlg::Self()
{
    return std::static_pointer_cast<CMoLiDlg>(weak_from_this().lock());
}

void CMoLiDlg::RegisterControls()
{
    controls::Control* table[] = {
        &m_OpenButton, &m_CloseButton, &m_CloseWindowButton, &m_ClearScreenButton, &m_MlParamButton,
        &m_OnChangeRadio, &m_ExplicitRadio, &m_DisableScreenCheck, &m_SuppressLeCheck, &m_LargeFontCheck,
        &m_NoMultiLineCheck, &m_ResetCountersButton, &m_FilterPositiveRadio, &m_FilterNegativeRadio,
        &m_FilterOffRadio, &m_FilterEdit, &m_MonCountEdit, &m_ItemsPerSecondEdit, &m_BusLoadEdit, &m_List,
    };
    for (controls::Control* c : table) AddControl(*c);
}

void CMoLiDlg::BindHandlers()
{
    const auto click = [this](controls::Control& c, void (CMoLiDlg::*handler)()) {
        On(c, Notification::Clicked, [this, handler] { (this->*handler)(); });
    };
    using D = CMoLiDlg;
    click(m_OpenButton, &D::OnBnClickedOpen);
    click(m_CloseButton, &D::OnBnClickedClose);
    click(m_CloseWindowButton, &D::OnBnClickedCloseWindow);
    click(m_ClearScreenButton, &D::OnBnClickedClearScreen);
    click(m_MlParamButton, &D::OnBnClickedMlParam);
    // "On Change", "Explicit" and "No MultiLine" answer a click and do nothing on purpose.
    for (controls::Control* idle : {static_cast<controls::Control*>(&m_OnChangeRadio), static_cast<controls::Control*>(&m_ExplicitRadio),
                                    static_cast<controls::Control*>(&m_NoMultiLineCheck)})
        On(*idle, Notification::Clicked, [] {});
    click(m_DisableScreenCheck, &D::OnBnClickedDisableScreen);
    click(m_SuppressLeCheck, &D::OnBnClickedDisableScreen);
    click(m_LargeFontCheck, &D::OnBnClickedLargeFont);
    click(m_ResetCountersButton, &D::OnBnClickedResetCounters);
    click(m_FilterPositiveRadio, &D::OnBnClickedFilterPositive);
    click(m_FilterNegativeRadio, &D::OnBnClickedFilterNegative);
    click(m_FilterOffRadio, &D::OnBnClickedFilterOff);
}

std::string CMoLiDlg::IniPath() const
{
    return m_pMainDlg ? m_pMainDlg->GetIniPath() : std::string();
}

// ---------------------------------------------------------------- creation

void CMoLiDlg::InsertColumns()
{
    if (m_busTypeName.find("FLEXRAY") != std::string::npos) {
        const CListCtrlEx::Column columns[] = {{"D", CListCtrlEx::LVCFMT_LEFT, 14},  {"Time [ms]", CListCtrlEx::LVCFMT_RIGHT, 74},
                                               {"Cycle", CListCtrlEx::LVCFMT_RIGHT, 40}, {"ID", CListCtrlEx::LVCFMT_RIGHT, 58},
                                               {"L", CListCtrlEx::LVCFMT_RIGHT, 28},  {"Data", CListCtrlEx::LVCFMT_LEFT, 128},
                                               {"ASCII", CListCtrlEx::LVCFMT_LEFT, 50}};
        for (int i = 0; i < 7; ++i) m_List.InsertColumn(i, columns[i].heading, columns[i].format, columns[i].width);
        return;
    }
    const CListCtrlEx::Column columns[] = {{"D", CListCtrlEx::LVCFMT_LEFT, 32},  {"Time [ms]", CListCtrlEx::LVCFMT_RIGHT, 74},
                                           {"ID", CListCtrlEx::LVCFMT_RIGHT, 58}, {"L", CListCtrlEx::LVCFMT_RIGHT, 14},
                                           {"Data", CListCtrlEx::LVCFMT_LEFT, 128}, {"ASCII", CListCtrlEx::LVCFMT_LEFT, 70}};
    for (int i = 0; i < 6; ++i) m_List.InsertColumn(i, columns[i].heading, columns[i].format, columns[i].width);
}

void CMoLiDlg::PrepareWindow()
{
    m_List.SetFont(kNormalFont);
    m_bLinkOpen = false;
    m_decoder.Restart();
    m_decoder.SetBusTypeName(m_busTypeName);
    m_List.Prepare();
    InsertColumns();
    m_decoder.RefreshCounters();
    SetWindowText("(" + m_protocolName + ")-" + std::to_string(m_resourceId) + "-" + m_busTypeName);
    m_DisableScreenCheck.SetCheck(0);
    m_screenDisabled = false;
    m_decoder.SetScreenDisabled(false);
    m_decoder.SetFilter(MonitorLineDecoder::FILTER_OFF, {});
    SetWindowText(m_title);
}

void CMoLiDlg::StartHotKeysAndTimer()
{
    RegisterHotKeys();
    m_hTimer = m_ui.SetTimer(*this, m_timerId, kTimerPeriodMs) ? m_timerId : 0;
}

void CMoLiDlg::StopTimer()
{
    if (m_hTimer) m_ui.KillTimer(*this, m_timerId);
    m_hTimer = 0;
}

bool CMoLiDlg::OnInitDialog()
{
    PrepareWindow();
    // The monitor service's CAN frames are what a trace holds; the DoIP window has none.
    m_List.AddMenuCommand(ID_SAVE_CANDUMP, "Save trace as candump log...", [this] { OnSaveTrace(TraceWriter::Format::Candump); });
    m_List.AddMenuCommand(ID_SAVE_ASC, "Save trace as Vector ASC...", [this] { OnSaveTrace(TraceWriter::Format::Asc); });
    {
        std::lock_guard lock(g_monitorLock);
        g_monitorDialog = Self();
    }
    StartReceiveThread();

    if (!m_pMonitorService) {
        OnCancel();
        return false;
    }
    try {
        m_pMonitorService->OpenHardware(m_hardwareType, m_hardwareName, -1);
    } catch (const KdException&) {
        OnCancel();
        return false;
    }
    try {
        const uint32_t id = m_pMonitorService->CreateMonitorLink(m_hardwareType, m_hardwareName, m_busName, -1);
        KdMonitorLink* link = m_pMonitorService->GetMonitorLink(id);
        {
            std::lock_guard lock(m_threadLock);
            m_pMoLi = link;
        }
        if (link) link->SetEventCallback(&CMoLiDlg::OnMonitorEvent);
    } catch (const KdException& e) {
        ShowException(e);
    }
    StartHotKeysAndTimer();
    return true;
}

void CMoLiDlg::RegisterHotKeys()
{
    for (int i = 0; i < 3; ++i) {
        if (!m_ui.RegisterHotKey(*this, HOTKEY_SAVE + i, kHotKeyLetters[i]))
            m_ui.MessageBox("Fehler beim registrieren des Hotkeys!", "", ui::MB_OK);
    }
    m_bHotKeysRegistered = true;
}

void CMoLiDlg::UnregisterHotKeys()
{
    if (!m_bHotKeysRegistered) return;
    for (int i = 0; i < 3; ++i) m_ui.UnregisterHotKey(*this, HOTKEY_SAVE + i);
    m_bHotKeysRegistered = false;
}

// ---------------------------------------------------------------- receive thread

void CMoLiDlg::OnMonitorEvent(uint32_t handle, KdObject* object)
{
    std::shared_ptr<CMoLiDlg> dialog;
    {
        std::lock_guard lock(g_monitorLock);
        dialog = g_monitorDialog.lock();
    }
    if (!dialog || !object) return;
    dialog->m_itemQueue.Put(object, handle);
    dialog->m_itemSemaphore->Release();
}

void CMoLiDlg::StartReceiveThread()
{
    std::lock_guard lock(m_threadLock);
    if (m_rxThread.Exists()) return;
    m_rxThread.running = 0;
    m_rxThread.Start([this] { ReceiveThread(); });
    while (m_rxThread.running == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    m_threadEnded = 0;
}

void CMoLiDlg::ReceiveThread()
{
    m_rxThread.running = 1;
    while (m_rxThread.running == 1) {
        m_itemSemaphore->Wait();
        uint32_t handle = 0;
        for (KdObject* object = m_itemQueue.Get(&handle); object; object = m_itemQueue.Get(&handle)) {
            if (object->GetType() == KD_OBJT_EVENT) {
                std::lock_guard lock(m_threadLock);
                // A window that let go of its link drops what still comes.
                if (m_pMoLi) m_decoder.DecodeMonitorEvent(m_pMoLi, handle);
            }
            object->Release();
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    }
    m_threadEnded = 1;
}

// Ends the thread and waits for it; the thread is ours to join, so nothing outlives the window.
void CMoLiDlg::StopReceiveThread()
{
    if (!m_rxThread.Exists()) return;
    m_rxThread.running = 0;
    m_itemSemaphore->Release();
    while (m_threadEnded == 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    m_rxThread.Release();
    m_itemQueue.Clear();
}

// ---------------------------------------------------------------- open and close

void CMoLiDlg::ShowException(const KdException& e) { ShowKdException(m_ui, e); }

void CMoLiDlg::OnBnClickedOpen()
{
    if (m_bLinkOpen) {
        m_ui.MessageBox("MoLi is already opened", "Error", ui::MB_OK);
        return;
    }
    if (!m_pMoLi) {
        m_ui.MessageBox("MoLi-Pointer=0!", "Error", ui::MB_OK);
        return;
    }
    try {
        m_pMoLi->Open();
        m_bLinkOpen = true;
    } catch (const KdException& e) {
        ShowException(e);
    }
}

void CMoLiDlg::OnBnClickedClose()
{
    if (!m_bLinkOpen) {
        m_ui.MessageBox("MoLi is already closed", "Error", ui::MB_OK);
        return;
    }
    if (m_decoder.GetFilterMode() != MonitorLineDecoder::FILTER_OFF)
        m_decoder.SetFilter(MonitorLineDecoder::FILTER_OFF, {});
    if (!m_pMoLi) {
        m_ui.MessageBox("MoLi-Pointer=0!", "Error", ui::MB_OK);
        return;
    }
    try {
        m_pMoLi->Close(0);
        m_bLinkOpen = false;
    } catch (const KdException& e) {
        ShowException(e);
    }
}

// Clears the link under the thread lock first, so the thread never decodes with a released one.
void CMoLiDlg::ReleaseLink()
{
    KdMonitorLink* link = nullptr;
    {
        std::lock_guard lock(m_threadLock);
        link = m_pMoLi;
        m_pMoLi = nullptr;
    }
    if (link) link->Release();
}

void CMoLiDlg::OnBnClickedCloseWindow()
{
    if (m_bLinkOpen) {
        m_ui.MessageBox("MoLi is not closed", "Error", ui::MB_OK);
        return;
    }
    ForgetAsMonitorWindow();
    ReleaseLink();
    StopReceiveThread();
    if (m_pMonitorService) {
        try {
            m_pMonitorService->CloseHardware(m_hardwareType, m_hardwareName);
        } catch (const KdException&) {
        }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(m_closeSettleMs));
    UnregisterHotKeys();
    StopTimer();
    OnOK();
}

void CMoLiDlg::OnOK() { EndWindow(ui::IDOK); }

// A failed start: the thread ends with the window, not left waiting for a notice that can't come.
void CMoLiDlg::OnCancel()
{
    StopReceiveThread();
    EndWindow(ui::IDCANCEL);
}

// Notices stop coming here; the pointer stays empty, as a later window took it from an earlier.
void CMoLiDlg::ForgetAsMonitorWindow()
{
    std::lock_guard lock(g_monitorLock);
    if (g_monitorDialog.lock().get() == this) g_monitorDialog.reset();
}

void CMoLiDlg::EndWindow(int code)
{
    ForgetAsMonitorWindow();
    EndDialog(code);
    if (m_pMainDlg) m_pMainDlg->OnLinkClosed(this);
}

void CMoLiDlg::DetachService()
{
    if (!m_pMonitorService) return;
    if (m_bLinkOpen && m_pMoLi) {
        try {
            m_pMoLi->Close(0);
        } catch (const KdException&) {
        }
    }
    m_bLinkOpen = false;
    ReleaseLink();
    try {
        m_pMonitorService->CloseHardware(m_hardwareType, m_hardwareName);
    } catch (const KdException&) {
    }
    m_pMonitorService = nullptr;
}

// ---------------------------------------------------------------- buttons

void CMoLiDlg::OnTimer(unsigned id)
{
    if (id != m_timerId) return;
    m_List.Flush();
    m_MonCountEdit.SetWindowText(std::to_string(static_cast<long>(m_decoder.MonCount())));
}

void CMoLiDlg::OnBnClickedClearScreen() { m_List.Clear(); }

void CMoLiDlg::OnSaveTrace(TraceWriter::Format format)
{
    ui::FileBoxRequest request;
    request.save = true;
    request.defaultExtension = TraceWriter::Extension(format);
    request.filter = format == TraceWriter::Format::Candump ? "candump log (*.log)|*.log||" : "Vector ASC (*.asc)|*.asc||";
    request.fileName = std::string("trace.") + request.defaultExtension;
    if (const std::optional<std::string> path = m_ui.FileBox(request)) SaveTrace(*path, format);
}

bool CMoLiDlg::SaveTrace(const std::string& path, TraceWriter::Format format)
{
    const TraceStore::Snapshot trace = m_trace.Take();
    if (!TraceWriter::Save(trace, format, path)) {
        m_ui.MessageBox("Could not write the trace to " + path, "Error", ui::MB_OK | ui::MB_ICONERROR);
        return false;
    }
    m_ui.MessageBox(std::to_string(trace.Size()) + " frames saved to " + path, "Trace", ui::MB_OK);
    return true;
}

void CMoLiDlg::OnBnClickedResetCounters() { m_decoder.ResetCounters(); }

void CMoLiDlg::OnBnClickedDisableScreen()
{
    m_screenDisabled = m_DisableScreenCheck.GetCheck() != 0;
    m_decoder.SetScreenDisabled(m_screenDisabled);
    m_decoder.SetSuppressLinkEvents(m_SuppressLeCheck.GetCheck() != 0);
}

void CMoLiDlg::OnBnClickedLargeFont()
{
    // Each deletion moves the later columns up, so every other one stays: kept as the header
    // has always grown.
    for (int i = 0; i < 6; ++i) m_List.DeleteColumn(i);
    const bool large = m_LargeFontCheck.GetCheck() != 0;
    m_List.InsertColumn(0, "D", CListCtrlEx::LVCFMT_LEFT, 14);
    m_List.InsertColumn(1, "Time [ms]", CListCtrlEx::LVCFMT_RIGHT, large ? 82 : 74);
    m_List.InsertColumn(2, "ID", CListCtrlEx::LVCFMT_RIGHT, large ? 70 : 58);
    m_List.InsertColumn(3, "L", CListCtrlEx::LVCFMT_RIGHT, 14);
    m_List.InsertColumn(4, "Data", CListCtrlEx::LVCFMT_LEFT, large ? 320 : 128);
    m_List.InsertColumn(5, "ASCII", CListCtrlEx::LVCFMT_LEFT, 70);
    m_List.SetFont(large ? kLargeFont : kNormalFont);
    m_screenDisabled = m_DisableScreenCheck.GetCheck() != 0;
    m_decoder.SetScreenDisabled(m_screenDisabled);
}

void CMoLiDlg::SetIdFilter(uint32_t mode)
{
    std::vector<int> ids;
    const std::string text = m_FilterEdit.GetWindowText();
    size_t start = 0;
    // Every piece between commas counts, an empty one as 0; an empty edit gives no id at all.
    while (!text.empty()) {
        const size_t comma = text.find(',', start);
        const std::string piece = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        ids.push_back(static_cast<int>(std::strtoul(piece.c_str(), nullptr, 0)));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    m_decoder.SetFilter(mode, std::move(ids));
}

void CMoLiDlg::OnBnClickedFilterOff() { m_decoder.SetFilter(MonitorLineDecoder::FILTER_OFF, {}); }

void CMoLiDlg::OnBnClickedMlParam()
{
    CParameterDialog editor(m_ui);
    // A window that let go of its link edits no set.
    editor.SetParams(m_pMoLi);
    m_ui.RunModal(editor);
    if (!m_bLinkOpen || !m_pMoLi) return;
    try {
        m_pMoLi->ApplyParams();
    } catch (const KdException& e) {
        ShowException(e);
    }
}

// ---------------------------------------------------------------- hot keys

void CMoLiDlg::OnHotKey(int id)
{
    if (id == HOTKEY_SAVE) {
        m_filterText = m_FilterEdit.GetWindowText();
        CFilterDlg::SaveFilter(m_ui, IniPath(), m_filterText);
        return;
    }
    if (id == HOTKEY_LOAD) {
        CFilterDlg filters(m_ui);
        filters.SetIniPath(IniPath());
        if (m_ui.RunModal(filters) == ui::IDOK && !filters.m_selection.empty()) {
            m_filterText = filters.m_selection;
            m_FilterEdit.SetWindowText(m_filterText);
        }
        return;
    }
    if (id != HOTKEY_FILL) return;
    if (!m_decoder.IsCollecting()) {
        m_decoder.SetCollecting(true);
        return;
    }
    std::string text;
    char piece[32];
    for (uint32_t collected : m_decoder.CollectedIds()) {
        std::snprintf(piece, sizeof piece, "0x%x, ", collected);
        text += piece;
    }
    if (text.size() >= 2) text.resize(text.size() - 2);
    m_filterText = text;
    m_FilterEdit.SetWindowText(m_filterText);
    m_decoder.SetCollecting(false);
}
