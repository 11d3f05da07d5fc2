#include "controls/Control.h"

namespace controls {

Control::Control(int id, std::string caption) : m_id(id), m_caption(std::move(caption)) {}

std::string Control::Caption() const {
    std::lock_guard lock(m_mutex);
    return m_caption;
}

std::string Control::PlainCaption() const {
    std::lock_guard lock(m_mutex);
    std::string plain;
    plain.reserve(m_caption.size());
    for (size_t i = 0; i < m_caption.size(); ++i) {
        // "&&" stands for a literal ampersand.
        if (m_caption[i] == '&' && ++i == m_caption.size())
            break;
        plain += m_caption[i];
    }
    return plain;
}

void Control::SetCaption(std::string caption) {
    {
        std::lock_guard lock(m_mutex);
        m_caption = std::move(caption);
    }
    Changed();
}

bool Control::IsVisible() const {
    std::lock_guard lock(m_mutex);
    return m_visible;
}

void Control::ShowWindow(bool show) {
    {
        std::lock_guard lock(m_mutex);
        m_visible = show;
    }
    Changed();
}

bool Control::IsWindowEnabled() const {
    std::lock_guard lock(m_mutex);
    return m_enabled;
}

void Control::EnableWindow(bool enable) {
    {
        std::lock_guard lock(m_mutex);
        m_enabled = enable;
    }
    Changed();
}

int Control::OffsetX() const {
    std::lock_guard lock(m_mutex);
    return m_offsetX;
}

void Control::MoveBy(int dx) {
    {
        std::lock_guard lock(m_mutex);
        m_offsetX += dx;
    }
    Changed();
}

void Control::SetNotifier(Notifier notifier) {
    std::lock_guard lock(m_mutex);
    m_notifier = std::move(notifier);
}

int Control::AddObserver(Observer observer) {
    std::lock_guard lock(m_observerMutex);
    int token = m_nextToken++;
    m_observers.emplace_back(token, std::move(observer));
    return token;
}

void Control::RemoveObserver(int token) {
    // Taking the lock waits for a notification in flight, so the observer's owner may go away
    // as soon as this returns.
    std::lock_guard lock(m_observerMutex);
    std::erase_if(m_observers, [token](const auto& entry) { return entry.first == token; });
}

// Handlers run without the control's lock: they read and write other controls, possibly ones a
// worker holds.
void Control::Notify(Notification n) {
    Notifier notifier;
    {
        std::lock_guard lock(m_mutex);
        notifier = m_notifier;
    }
    if (notifier)
        notifier(m_id, n);
}

// Callers release the control's lock first, so an observer may read the control from any thread.
void Control::Changed() {
    std::lock_guard lock(m_observerMutex);
    for (const auto& entry : m_observers)
        entry.second(*this);
}

}  // namespace controls
