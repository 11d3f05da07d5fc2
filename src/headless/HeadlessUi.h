// The toolkit services without a window system: message boxes, file boxes and modal dialogs are
// answered by the script driver, timers fire while the driver waits.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <vector>

#include "ui/Ui.h"

class HeadlessUi : public ui::Ui {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr int kDefaultWidth = 1100;
    static constexpr int kDefaultHeight = 720;
    // Runs a modal dialog: the driver feeds it script commands until it ends.
    using ModalRunner = std::function<int(Dialog&)>;

    explicit HeadlessUi(std::ostream& out);

    int MessageBox(const std::string& text, const std::string& caption, unsigned type) override;
    int RunModal(Dialog& dialog) override;
    void ShowModeless(Dialog& dialog) override;
    void DestroyWindow(Dialog& dialog) override;
    ui::WindowRect GetWindowRect(Dialog& dialog) override;
    void MoveWindow(Dialog& dialog, int x, int y) override;
    std::optional<std::string> FileBox(const ui::FileBoxRequest& request) override;
    int PopupMenu(Dialog& owner, const std::vector<ui::MenuItem>& items) override;
    bool SetTimer(Dialog& dialog, unsigned id, unsigned periodMs) override;
    void KillTimer(Dialog& dialog, unsigned id) override;
    bool RegisterHotKey(Dialog& dialog, int id, char key) override;
    void UnregisterHotKey(Dialog& dialog, int id) override;
    void SetClipboardText(const std::string& text) override;
    void RedrawNow(Dialog& dialog) override {}

    // Script answers.
    // The next box must show `text`; with a caption, that caption too.
    void ExpectMessageBox(const std::string& text, std::optional<std::string> caption = std::nullopt);
    void QueueFileAnswer(std::optional<std::string> path);
    void QueueMenuAnswer(int command);
    // The answer named by the item's text; a menu without such an item fails the run.
    void QueueMenuText(const std::string& text);
    void SetModalRunner(ModalRunner runner) { m_modalRunner = std::move(runner); }

    // Presses Alt + `key`; false when no window registered it.
    bool PressHotKey(char key);
    // Fires due timers until `duration` has passed, or until `until` answers true.
    void Pump(std::chrono::milliseconds duration, const std::function<bool()>& until = {});
    // Forgets the timers of a dialog that goes away.
    void ForgetDialog(Dialog& dialog);

    // Open windows, oldest first (modal ones included while they run).
    std::vector<Dialog*> Windows() const;
    // Counts every window that opened; the newest one is the active window.
    uint64_t WindowsOpened() const;
    void PushWindow(Dialog& dialog);
    void RemoveWindow(Dialog& dialog);

    // The first failed expectation, empty while all went as expected.
    const std::string& Failure() const { return m_failure; }
    bool HasPendingBoxExpectation() const { return !m_expectedBoxes.empty(); }
    const std::string& Clipboard() const { return m_clipboard; }

private:
    struct Timer {
        unsigned periodMs;
        Clock::time_point due;
    };
    void FireDueTimers();

    std::ostream& m_out;
    struct ExpectedBox {
        std::string text;
        std::optional<std::string> caption;
    };
    std::deque<ExpectedBox> m_expectedBoxes;
    std::deque<std::optional<std::string>> m_fileAnswers;
    struct MenuAnswer {
        int command = 0;
        std::string text;  // when set, the command of the item with this text
    };
    std::deque<MenuAnswer> m_menuAnswers;
    ModalRunner m_modalRunner;
    std::map<std::pair<Dialog*, unsigned>, Timer> m_timers;
    std::map<char, std::pair<Dialog*, int>> m_hotKeys;
    std::vector<Dialog*> m_windows;
    std::map<Dialog*, ui::WindowRect> m_frames;
    uint64_t m_windowsOpened = 0;
    std::string m_failure;
    std::string m_clipboard;
    mutable std::mutex m_mutex;
};
