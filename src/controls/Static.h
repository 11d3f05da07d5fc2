#pragma once

#include "controls/Control.h"

namespace controls {

// A label, a group box or a picture: only its caption and visibility matter.
class Static : public Control {
public:
    using Control::Control;
};

}  // namespace controls
