#include "qt/SetTraceOptionsDialogView.h"

#include <QFormLayout>
#include <QVBoxLayout>

#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"
#include "service_dialogs/SetTraceOptionsDialog.h"

using ViewLayout::W;

SetTraceOptionsDialogView::SetTraceOptionsDialogView(SetTraceOptionsDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    main->addLayout(form);
    QWidget* path = ViewLayout::FormRow(form, d.m_TracePathEdit, this);
    path->setMinimumWidth(path->fontMetrics().averageCharWidth() * 48);
    ViewLayout::FormRow(form, d.m_TraceDetailEdit, this);
    form->addRow(QString(), W(d.m_TraceDetailHint, this));
    main->addStretch(1);
    ViewLayout::Buttons(main, {&d.m_OkButton, &d.m_CancelButton}, this);
}

void SetTraceOptionsDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
