#include "headless/HeadlessUi.h"

#include <algorithm>
#include <thread>

#include "ui/Dialog.h"

namespace {

std::string TrimLineEnds(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
}

}  // namespace

HeadlessUi::HeadlessUi(std::ostream& out) : m_out(out) {}

int HeadlessUi::MessageBox(const std::string& text, const std::string& caption, unsigned type)
{
    const std::string shown = TrimLineEnds(text);
    m_out << "[box] " << shown << std::endl;
    std::lock_guard lock(m_mutex);
    if (!m_expectedBoxes.empty()) {
        const ExpectedBox expected = m_expectedBoxes.front();
        m_expectedBoxes.pop_front();
        if (expected.text != shown && expected.text != text && m_failure.empty())
            m_failure = "box: expected \"" + expected.text + "\" but the box showed \"" + shown + "\"";
        if (expected.caption && *expected.caption != caption && m_failure.empty())
            m_failure = "box: expected the caption \"" + *expected.caption + "\" but the box had \"" + caption + "\"";
    }
    if (type & ui::MB_YESNO) return ui::IDYES;
    return ui::IDOK;
}

int HeadlessUi::RunModal(Dialog& dialog)
{
    if (!m_modalRunner) {
        dialog.OnInitDialog();
        dialog.EndDialog(ui::IDCANCEL);
        return ui::IDCANCEL;
    }
    return m_modalRunner(dialog);
}

void HeadlessUi::ShowModeless(Dialog& dialog)
{
    PushWindow(dialog);
}

void HeadlessUi::DestroyWindow(Dialog& dialog)
{
    RemoveWindow(dialog);
    ForgetDialog(dialog);
}

// Without a screen every window is the size of the desktop bench's first view, at the origin,
// until the logic moves it.
ui::WindowRect HeadlessUi::GetWindowRect(Dialog& dialog)
{
    std::lock_guard lock(m_mutex);
    const auto it = m_frames.find(&dialog);
    return it != m_frames.end() ? it->second : ui::WindowRect{0, 0, kDefaultWidth, kDefaultHeight};
}

void HeadlessUi::MoveWindow(Dialog& dialog, int x, int y)
{
    const ui::WindowRect old = GetWindowRect(dialog);
    std::lock_guard lock(m_mutex);
    m_frames[&dialog] = ui::WindowRect{x, y, x + old.Width(), y + old.Height()};
}

std::optional<std::string> HeadlessUi::FileBox(const ui::FileBoxRequest& request)
{
    std::lock_guard lock(m_mutex);
    std::optional<std::string> answer;
    if (!m_fileAnswers.empty()) {
        answer = m_fileAnswers.front();
        m_fileAnswers.pop_front();
    }
    m_out << "[file] " << (request.save ? "save" : "open") << " filter=" << request.filter
          << " ext=" << request.defaultExtension << " dir=" << request.initialDir << " -> "
          << (answer ? *answer : std::string("cancel")) << std::endl;
    return answer;
}

int HeadlessUi::PopupMenu(Dialog& owner, const std::vector<ui::MenuItem>& items)
{
    std::lock_guard lock(m_mutex);
    m_out << "[menu]";
    for (const ui::MenuItem& item : items) {
        if (item.command) m_out << " " << item.command << ":" << item.text << (item.checked ? "*" : "");
    }
    m_out << std::endl;
    if (m_menuAnswers.empty()) return 0;
    const MenuAnswer answer = m_menuAnswers.front();
    m_menuAnswers.pop_front();
    if (answer.text.empty()) return answer.command;
    for (const ui::MenuItem& item : items) {
        if (item.command && item.text == answer.text) return item.command;
    }
    if (m_failure.empty()) m_failure = "menu: no item \"" + answer.text + "\"";
    return 0;
}

bool HeadlessUi::SetTimer(Dialog& dialog, unsigned id, unsigned periodMs)
{
    std::lock_guard lock(m_mutex);
    m_timers[{&dialog, id}] = Timer{periodMs, Clock::now() + std::chrono::milliseconds(periodMs)};
    return true;
}

void HeadlessUi::KillTimer(Dialog& dialog, unsigned id)
{
    std::lock_guard lock(m_mutex);
    m_timers.erase({&dialog, id});
}

bool HeadlessUi::RegisterHotKey(Dialog& dialog, int id, char key)
{
    std::lock_guard lock(m_mutex);
    return m_hotKeys.emplace(key, std::make_pair(&dialog, id)).second;
}

void HeadlessUi::UnregisterHotKey(Dialog& dialog, int id)
{
    std::lock_guard lock(m_mutex);
    for (auto it = m_hotKeys.begin(); it != m_hotKeys.end();)
        it = it->second == std::make_pair(&dialog, id) ? m_hotKeys.erase(it) : std::next(it);
}

bool HeadlessUi::PressHotKey(char key)
{
    std::pair<Dialog*, int> holder;
    {
        std::lock_guard lock(m_mutex);
        const auto it = m_hotKeys.find(key);
        if (it == m_hotKeys.end()) return false;
        holder = it->second;
    }
    holder.first->OnHotKey(holder.second);
    return true;
}

void HeadlessUi::SetClipboardText(const std::string& text)
{
    std::lock_guard lock(m_mutex);
    m_clipboard = text;
}

void HeadlessUi::ExpectMessageBox(const std::string& text, std::optional<std::string> caption)
{
    std::lock_guard lock(m_mutex);
    m_expectedBoxes.push_back(ExpectedBox{TrimLineEnds(text), std::move(caption)});
}

void HeadlessUi::QueueFileAnswer(std::optional<std::string> path)
{
    std::lock_guard lock(m_mutex);
    m_fileAnswers.push_back(std::move(path));
}

void HeadlessUi::QueueMenuAnswer(int command)
{
    std::lock_guard lock(m_mutex);
    m_menuAnswers.push_back(MenuAnswer{command, {}});
}

void HeadlessUi::QueueMenuText(const std::string& text)
{
    std::lock_guard lock(m_mutex);
    m_menuAnswers.push_back(MenuAnswer{0, text});
}

void HeadlessUi::FireDueTimers()
{
    std::vector<std::pair<Dialog*, unsigned>> due;
    {
        std::lock_guard lock(m_mutex);
        const auto now = Clock::now();
        for (auto& [key, timer] : m_timers) {
            if (timer.due > now) continue;
            due.push_back(key);
            timer.due = now + std::chrono::milliseconds(timer.periodMs);
        }
    }
    for (auto& [dialog, id] : due) {
        bool stillSet;
        {
            std::lock_guard lock(m_mutex);
            stillSet = m_timers.count({dialog, id}) != 0;
        }
        if (stillSet) dialog->OnTimer(id);
    }
}

void HeadlessUi::Pump(std::chrono::milliseconds duration, const std::function<bool()>& until)
{
    const auto end = Clock::now() + duration;
    for (;;) {
        FireDueTimers();
        if (until && until()) return;
        if (Clock::now() >= end) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void HeadlessUi::ForgetDialog(Dialog& dialog)
{
    std::lock_guard lock(m_mutex);
    m_frames.erase(&dialog);
    for (auto it = m_timers.begin(); it != m_timers.end();) {
        it = it->first.first == &dialog ? m_timers.erase(it) : std::next(it);
    }
    for (auto it = m_hotKeys.begin(); it != m_hotKeys.end();)
        it = it->second.first == &dialog ? m_hotKeys.erase(it) : std::next(it);
}

std::vector<Dialog*> HeadlessUi::Windows() const
{
    std::lock_guard lock(m_mutex);
    return m_windows;
}

void HeadlessUi::PushWindow(Dialog& dialog)
{
    std::lock_guard lock(m_mutex);
    if (std::find(m_windows.begin(), m_windows.end(), &dialog) != m_windows.end()) return;
    m_windows.push_back(&dialog);
    ++m_windowsOpened;
}

uint64_t HeadlessUi::WindowsOpened() const
{
    std::lock_guard lock(m_mutex);
    return m_windowsOpened;
}

void HeadlessUi::RemoveWindow(Dialog& dialog)
{
    std::lock_guard lock(m_mutex);
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), &dialog), m_windows.end());
}
