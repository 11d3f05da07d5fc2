// Creates the widget for a toolkit-free control and keeps the two in step: user actions go to
// the control (which notifies its dialog), control changes from any thread come back queued.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPixmap;

namespace controls {
class Control;
class Edit;
class Static;
}

namespace ControlBinder {

// The widget for the control, bound both ways, named "control_<id>"; owned by `parent`.
QWidget* CreateWidget(controls::Control& control, QWidget* parent);

// Re-reads every bound control below `root` (after a timer tick or a "redraw now").
void SyncAll(QWidget* root);

// A picture control: the pixmap, with the control's caption as its tooltip; named "control_<id>".
QLabel* CreatePicture(controls::Static& picture, const QPixmap& pixmap, QWidget* parent);

// A read-only edit of several lines shown whole: selectable text that sizes the layout to it.
QLabel* CreateTextView(controls::Edit& edit, QWidget* parent);

// The width a line edit needs to show `text` whole.
int FittingWidth(const QLineEdit* edit, const QString& text);

// Keeps `edit` at least as wide as `longest` needs: the longest value the logic writes there.
void FitLongestValue(QLineEdit* edit, const QString& longest);

}  // namespace ControlBinder
