#include "qt/GenericDialogView.h"

#include <QFormLayout>
#include <QLabel>

#include "controls/Button.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "qt/ControlBinder.h"
#include "ui/Dialog.h"

GenericDialogView::GenericDialogView(Dialog& dialog, QWidget* parent) : DialogView(dialog, parent)
{
    auto* form = new QFormLayout(this);
    for (controls::Control* c : dialog.Controls()) {
        QWidget* w = ControlBinder::CreateWidget(*c, this);
        const bool labelled = dynamic_cast<controls::Edit*>(c) || dynamic_cast<controls::ComboBox*>(c);
        if (labelled)
            form->addRow(QString::fromStdString(c->Caption()), w);
        else
            form->addRow(w);
    }
}

void GenericDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
