// Creates the widget for a toolkit-free control and keeps the two in step: user actions go to
// the control (which notifies its dialog), control changes from any thread come back queued.
#pragma once

#include <QWidget>

namespace controls {
class Control;
}

namespace ControlBinder {

// The widget for the control, bound both ways, named "control_<id>"; owned by `parent`.
QWidget* CreateWidget(controls::Control& control, QWidget* parent);

// Re-reads every bound control below `root` (after a timer tick or a "redraw now").
void SyncAll(QWidget* root);

}  // namespace ControlBinder
