#include "qt/GenericDialogView.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "controls/Button.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "qt/ControlBinder.h"
#include "ui/Dialog.h"

namespace {

// Fields of a generic form take this many average characters at least.
constexpr int kFieldCharacters = 32;

}  // namespace

GenericDialogView::GenericDialogView(Dialog& dialog, QWidget* parent) : DialogView(dialog, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    main->addLayout(form);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (controls::Control* c : dialog.Controls()) {
        QWidget* w = ControlBinder::CreateWidget(*c, this);
        if (dynamic_cast<controls::Button*>(c)) {
            buttons->addWidget(w);  // in table order, at the foot, as a dialog's buttons are
            continue;
        }
        const bool labelled = dynamic_cast<controls::Edit*>(c) || dynamic_cast<controls::ComboBox*>(c);
        if (labelled) {
            w->setMinimumWidth(w->fontMetrics().averageCharWidth() * kFieldCharacters);
            form->addRow(QString::fromStdString(c->Caption()), w);
        } else {
            form->addRow(w);
        }
    }
    main->addStretch(1);
    main->addLayout(buttons);
}

void GenericDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
