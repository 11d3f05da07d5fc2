// The small layout pieces every view builds with, so that captions, fields and groups look and
// behave alike in every window (src/qt/README.md).
#pragma once

#include <QWidget>
#include <initializer_list>

class QBoxLayout;
class QFormLayout;
class QGroupBox;
class QHBoxLayout;
class QVBoxLayout;

namespace controls {
class Control;
class Static;
}

namespace ViewLayout {

// The control's widget (ControlBinder::CreateWidget).
QWidget* W(controls::Control& c, QWidget* parent);

// A caption above its control. The pair keeps its height, so that a taller neighbour never pulls
// the caption away from its field. `field` receives the control's widget.
QWidget* Labelled(controls::Control& c, QWidget* parent, QWidget** field = nullptr);

// A caption left of its control, for a short field in a row of them.
QWidget* Beside(controls::Control& c, QWidget* parent, QWidget** field = nullptr);

// A group box for a group control, named as its control; `layout` receives the box's layout.
QGroupBox* Group(controls::Static& group, QWidget* parent, QBoxLayout** layout, bool vertical = false);

QHBoxLayout* Row(QBoxLayout* parent);

// A dialog's buttons in a row at the foot of `parent`, right-aligned.
QHBoxLayout* Buttons(QBoxLayout* parent, std::initializer_list<controls::Control*> buttons, QWidget* owner);

// A form row: the control's caption left of its widget; returns the widget.
QWidget* FormRow(QFormLayout* form, controls::Control& c, QWidget* parent);

}  // namespace ViewLayout
