#include "logical_link/UIThread.h"

#include <cstdio>

#include "logical_link/LoLiDialogKeldaPDUAPI.h"

UIThread::UIThread(std::recursive_mutex& printLock) : m_printLock(printLock) {}

UIThread::~UIThread()
{
    ExitThread();
}

void UIThread::ExitThread()
{
    PostThreadMessage(kQuitMessage, 0);
    if (m_thread.joinable()) {
        if (m_thread.get_id() == std::this_thread::get_id())
            m_thread.detach();
        else
            m_thread.join();
    }
}

bool UIThread::CreateThread()
{
    std::lock_guard lock(m_mutex);
    if (m_thread.joinable()) return true;
    m_running = true;
    m_thread = std::thread([this] { Run(); });
    return true;
}

void UIThread::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_cv.wait(lock, [this] { return !m_messages.empty(); });
        const auto [message, wParam] = m_messages.front();
        m_messages.pop_front();
        if (message == kQuitMessage) {
            m_quitValue = static_cast<uint8_t>(wParam);
            break;
        }
    }
    m_running = false;
}

void UIThread::PostThreadMessage(unsigned message, uintptr_t wParam)
{
    std::lock_guard lock(m_mutex);
    if (!m_running) return;
    m_messages.emplace_back(message, wParam);
    m_cv.notify_one();
}

uint8_t UIThread::QuitValue() const
{
    std::lock_guard lock(m_mutex);
    return m_quitValue;
}

bool UIThread::IsLoopRunning() const
{
    std::lock_guard lock(m_mutex);
    return m_running;
}

void UIThread::Print(PrintListCtrl& log, int column, const char* text)
{
    std::lock_guard lock(m_printLock);
    log.PrintText(column, text);
}

void UIThread::PrintFormat(PrintListCtrl& log, int column, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    {
        std::lock_guard lock(m_printLock);
        log.PrintV(column, format, args);
    }
    va_end(args);
}

void UIThread::PrintBatch(PrintListCtrl& log, int column, std::string_view text)
{
    if (text.empty()) return;
    std::lock_guard lock(m_printLock);
    log.PrintBatch(column, text);
}

void UIThread::FlushLog(PrintListCtrl& log)
{
    log.Flush();
}

void UIThread::ClearLog(PrintListCtrl& log)
{
    std::lock_guard lock(m_printLock);
    log.Clear();
}

void UIThread::AddActiveCoP(LoLiDialogKeldaPDUAPI& dialog, uint32_t handle)
{
    char text[32];
    std::snprintf(text, sizeof text, "%u (0x%x)", handle, handle);
    std::lock_guard lock(dialog.CoPLock);
    if (text[0]) dialog.m_activeCoPs.emplace_back(text);
}

void UIThread::RemoveActiveCoP(LoLiDialogKeldaPDUAPI& dialog, uint32_t handle)
{
    char text[32];
    std::snprintf(text, sizeof text, "%d", static_cast<int32_t>(handle));
    {
        std::lock_guard lock(dialog.CoPLock);
        auto& list = dialog.m_activeCoPs;
        for (auto it = list.begin(); it != list.end(); ++it) {
            if (it->substr(0, it->find(' ')) == text) {
                list.erase(it);
                break;
            }
        }
    }
    if (dialog.m_syncMode) dialog.SignalSyncEvent();
}

void UIThread::ClearActiveCoPs(LoLiDialogKeldaPDUAPI& dialog)
{
    std::lock_guard lock(dialog.CoPLock);
    dialog.m_activeCoPs.clear();
}

void UIThread::RefreshActiveCoPCombo(LoLiDialogKeldaPDUAPI& dialog)
{
    std::lock_guard comboLock(dialog.CoPComboLock);
    std::lock_guard lock(dialog.CoPLock);
    controls::ComboBox& combo = dialog.m_CancelCombo;
    std::vector<std::string> wanted;
    for (const std::string& entry : dialog.m_activeCoPs)
        if (!entry.empty()) wanted.push_back(entry);
    // Rebuilding an unchanged list would only make the view repaint every tick.
    const auto items = combo.Items();
    bool same = items.size() == wanted.size() && combo.GetWindowText().empty() && combo.GetCurSel() < 0;
    for (size_t i = 0; same && i < items.size(); ++i) same = items[i].text == wanted[i];
    if (same) return;
    combo.ResetContent();
    for (const std::string& entry : wanted) combo.AddString(entry);
}
