#include "qt/SetBrokerDialogView.h"

#include <QFormLayout>
#include <QVBoxLayout>

#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"
#include "service_dialogs/SetBrokerDialog.h"

SetBrokerDialogView::SetBrokerDialogView(SetBrokerDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    main->addLayout(form);
    QWidget* url = ViewLayout::FormRow(form, d.m_BrokerUrlEdit, this);
    url->setMinimumWidth(url->fontMetrics().averageCharWidth() * 48);
    main->addStretch(1);
    ViewLayout::Buttons(main, {&d.m_OkButton, &d.m_CancelButton}, this);
}

void SetBrokerDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
