#pragma once

#include <string>

#include "controls/CToolTipComboBox.h"

namespace controls {

// A drop list with a check box on every line; the closed box shows the checked lines' texts.
// Never sorted: the owner addresses lines by the index it added them at.
class CCheckComboBox : public CToolTipComboBox {
public:
    explicit CCheckComboBox(int id = 0, std::string caption = {});

    // Writes the line's check state (its item data); CB_ERR for a bad index.
    int SetCheck(int index, int state);
    int GetCheck(int index) const;  // CB_ERR for a bad index
    // The user clicked the line's box: toggles it and reports a selection change.
    void UserToggleCheck(int index);

    // Checked lines joined by the list separator ";" and one blank.
    std::string GetCheckedText() const;

private:
    mutable std::string m_checkedText;
    mutable bool m_textValid = false;
    mutable uint64_t m_textVersion = 0;
};

}  // namespace controls

// The class keeps its own name outside the namespace as well.
using controls::CCheckComboBox;
