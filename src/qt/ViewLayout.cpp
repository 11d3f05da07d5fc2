#include "qt/ViewLayout.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "controls/Static.h"
#include "qt/ControlBinder.h"

namespace ViewLayout {

QWidget* W(controls::Control& c, QWidget* parent)
{
    return ControlBinder::CreateWidget(c, parent);
}

namespace {

QWidget* Captioned(controls::Control& c, QWidget* parent, QWidget** field, QBoxLayout* layout)
{
    auto* box = new QWidget(parent);
    box->setLayout(layout);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(layout->direction() == QBoxLayout::TopToBottom ? 2 : 6);
    auto* label = new QLabel(QString::fromStdString(c.Caption()), box);
    QWidget* widget = W(c, box);
    label->setBuddy(widget);
    layout->addWidget(label);
    layout->addWidget(widget, 1);
    box->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    if (field) *field = widget;
    return box;
}

}  // namespace

QWidget* Labelled(controls::Control& c, QWidget* parent, QWidget** field)
{
    return Captioned(c, parent, field, new QVBoxLayout);
}

QWidget* Beside(controls::Control& c, QWidget* parent, QWidget** field)
{
    return Captioned(c, parent, field, new QHBoxLayout);
}

QGroupBox* Group(controls::Static& group, QWidget* parent, QBoxLayout** layout, bool vertical)
{
    auto* box = new QGroupBox(QString::fromStdString(group.Caption()), parent);
    box->setObjectName(QStringLiteral("control_%1").arg(group.Id()));
    QBoxLayout* inner = vertical ? static_cast<QBoxLayout*>(new QVBoxLayout(box)) : new QHBoxLayout(box);
    if (layout) *layout = inner;
    return box;
}

QHBoxLayout* Row(QBoxLayout* parent)
{
    auto* row = new QHBoxLayout;
    parent->addLayout(row);
    return row;
}

QHBoxLayout* Buttons(QBoxLayout* parent, std::initializer_list<controls::Control*> buttons, QWidget* owner)
{
    QHBoxLayout* row = Row(parent);
    row->addStretch(1);
    for (controls::Control* b : buttons) row->addWidget(W(*b, owner));
    return row;
}

QWidget* FormRow(QFormLayout* form, controls::Control& c, QWidget* parent)
{
    QWidget* field = W(c, parent);
    form->addRow(QString::fromStdString(c.Caption()), field);
    return field;
}

}  // namespace ViewLayout
