#include "controls/CheckBox.h"

namespace controls {

int CheckBox::GetCheck() const {
    std::lock_guard lock(Mutex());
    return m_state;
}

void CheckBox::SetCheck(int state) {
    {
        std::lock_guard lock(Mutex());
        m_state = state;
    }
    Changed();
}

void CheckBox::UserSetCheck(int state) {
    // The user can't reach a box that is hidden or disabled.
    if (!IsVisible() || !IsWindowEnabled())
        return;
    SetCheck(state);
    Notify(Notification::Clicked);
}

}  // namespace controls
