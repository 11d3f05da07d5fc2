#include "controls/Edit.h"

namespace controls {

std::string Edit::GetWindowText() const {
    std::lock_guard lock(Mutex());
    return m_text;
}

void Edit::SetWindowText(const std::string& text) {
    {
        std::lock_guard lock(Mutex());
        m_text = text;
    }
    Changed();
    // The platform's edit reports every text change, the program's own included.
    Notify(Notification::Change);
}

bool Edit::IsReadOnly() const {
    std::lock_guard lock(Mutex());
    return m_readOnly;
}

void Edit::SetReadOnly(bool readOnly) {
    {
        std::lock_guard lock(Mutex());
        m_readOnly = readOnly;
    }
    Changed();
}

}  // namespace controls
