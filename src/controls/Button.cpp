#include "controls/Button.h"

namespace controls {

void Button::Click() {
    if (!IsVisible() || !IsWindowEnabled())
        return;
    Notify(Notification::Clicked);
}

}  // namespace controls
