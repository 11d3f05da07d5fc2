// Base of the toolkit-free controls. The dialogs' logic reads and writes controls from the UI
// thread and from worker threads, so every control carries its own lock; views observe changes
// and repaint on their own thread.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace controls {

// What a control reports to its dialog (the toolkit's notification codes).
enum class Notification {
    Clicked,     // button pressed, check box toggled by the user
    SelChange,   // combo/list selection changed by the user
    EditChange,  // text typed into a combo's edit field by the user
    Change,      // an edit's text changed (by program or user)
    DoubleClick,
    ContextMenu,
    KeyChar,
    SetFocus,    // the control got the keyboard focus from the user
    CloseUp,     // a combo's drop-down list closed
    BeginLabelEdit, // a tree item's in-place edit began
    EndLabelEdit,   // ... and ended
};

class Control {
public:
    using Notifier = std::function<void(int id, Notification)>;
    using Observer = std::function<void(const Control&)>;

    Control(int id, std::string caption);
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    int Id() const { return m_id; }
    // A copy: another thread may set the caption meanwhile.
    std::string Caption() const;
    // Caption without the mnemonic marker ("&Unload" -> "Unload").
    std::string PlainCaption() const;
    void SetCaption(std::string caption);

    bool IsVisible() const;
    void ShowWindow(bool show);
    bool IsWindowEnabled() const;
    void EnableWindow(bool enable);
    // Pixel offset the logic asks for ("shift left by 150 pixels"); views apply it if they can.
    int OffsetX() const;
    void MoveBy(int dx);

    // The dialog that owns the control receives its notifications.
    void SetNotifier(Notifier notifier);
    // Views observe every change; observers run on the thread that made the change.
    int AddObserver(Observer observer);
    void RemoveObserver(int token);

protected:
    void Notify(Notification n);
    void Changed();
    std::recursive_mutex& Mutex() const { return m_mutex; }

private:
    const int m_id;
    std::string m_caption;
    bool m_visible = true;
    bool m_enabled = true;
    int m_offsetX = 0;
    Notifier m_notifier;
    std::vector<std::pair<int, Observer>> m_observers;
    int m_nextToken = 1;
    mutable std::recursive_mutex m_mutex;
    mutable std::mutex m_observerMutex;
};

}  // namespace controls
