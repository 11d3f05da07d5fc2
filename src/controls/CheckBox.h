#pragma once

#include "controls/Control.h"

namespace controls {

// State word: 0 unchecked, 1 checked, 2 indeterminate; views may OR in focus/pressed bits.
class CheckBox : public Control {
public:
    using Control::Control;
    int GetCheck() const;
    void SetCheck(int state);  // by program: no notification
    void UserSetCheck(int state);  // as a user: sets, then notifies Clicked

private:
    int m_state = 0;
};

}  // namespace controls
