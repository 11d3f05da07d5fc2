#include "controls/CCheckComboBox.h"

namespace controls {

CCheckComboBox::CCheckComboBox(int id, std::string caption)
    : CToolTipComboBox(id, std::move(caption), false, false) {}

int CCheckComboBox::SetCheck(int index, int state) {
    int result = SetItemData(index, static_cast<uintptr_t>(static_cast<unsigned>(state)));
    if (result < 0)
        return result;
    {
        std::lock_guard lock(Mutex());
        m_textValid = false;
    }
    Changed();
    return result;
}

int CCheckComboBox::GetCheck(int index) const {
    std::lock_guard lock(Mutex());
    if (index < 0 || index >= static_cast<int>(m_items.size()))
        return CB_ERR;
    return static_cast<int>(m_items[index].data);
}

void CCheckComboBox::UserToggleCheck(int index) {
    if (!IsVisible() || !IsWindowEnabled() || GetCheck(index) == CB_ERR)
        return;
    SetCheck(index, GetCheck(index) ? 0 : 1);
    Notify(Notification::SelChange);
}

std::string CCheckComboBox::GetCheckedText() const {
    std::lock_guard lock(Mutex());
    // Lines added or removed since the cache was built make it stale as well.
    if (m_textValid && m_textVersion == m_contentVersion)
        return m_checkedText;
    m_checkedText.clear();
    for (const Item& item : m_items) {
        if (item.data == 0)
            continue;
        if (!m_checkedText.empty())
            m_checkedText += "; ";
        m_checkedText += item.text;
    }
    m_textValid = true;
    m_textVersion = m_contentVersion;
    return m_checkedText;
}

}  // namespace controls
