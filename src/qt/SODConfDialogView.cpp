#include "qt/SODConfDialogView.h"

#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"
#include "service_dialogs/SODConfDialog.h"

SODConfDialogView::SODConfDialogView(SODConfDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    main->addLayout(form);
    auto* address = static_cast<QLineEdit*>(ViewLayout::FormRow(form, d.m_IpAddressEdit, this));
    ControlBinder::FitLongestValue(address, QStringLiteral("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"));
    ViewLayout::FormRow(form, d.m_TlsPortEdit, this);
    ViewLayout::FormRow(form, d.m_NonTlsPortEdit, this);
    main->addStretch(1);
    ViewLayout::Buttons(main, {&d.m_SendIoCtlButton, &d.m_CancelButton}, this);
}

void SODConfDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
