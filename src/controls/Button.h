#pragma once

#include "controls/Control.h"

namespace controls {

class Button : public Control {
public:
    using Control::Control;
    // The user pressed it: notifies Clicked (a disabled or hidden button ignores the press).
    void Click();
};

}  // namespace controls
