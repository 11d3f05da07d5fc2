#include "qt/DoIPIoCtlDlgView.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"
#include "service_dialogs/DoIPIoCtlDlg.h"

using ViewLayout::W;

namespace {

// A group of captioned fields, one a row.
QGroupBox* FieldGroup(controls::Static& group, std::initializer_list<controls::Control*> fields, QWidget* owner)
{
    QBoxLayout* inner = nullptr;
    QGroupBox* box = ViewLayout::Group(group, owner, &inner, true);
    auto* form = new QFormLayout;
    inner->addLayout(form);
    for (controls::Control* c : fields) ViewLayout::FormRow(form, *c, owner);
    return box;
}

}  // namespace

DoIPIoCtlDlgView::DoIPIoCtlDlgView(DoIPIoCtlDlg& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    QHBoxLayout* top = ViewLayout::Row(main);
    top->addWidget(ViewLayout::Labelled(d.m_IoCtlCombo, this), 2);
    top->addWidget(ViewLayout::Labelled(d.m_ModuleCombo, this), 1);
    main->addWidget(FieldGroup(d.m_VehicleIdGroup,
                               {&d.m_PreselectionModeEdit, &d.m_PreselectionValueEdit, &d.m_CombinationModeEdit,
                                &d.m_DiscoveryTimeEdit, &d.m_DestAddressCombo},
                               this));
    QHBoxLayout* groups = ViewLayout::Row(main);
    groups->addWidget(FieldGroup(d.m_SwitchGroup, {&d.m_ActivationPinEdit, &d.m_SenseStateEdit, &d.m_CurrentEdit, &d.m_PinOptionEdit}, this));
    groups->addWidget(FieldGroup(d.m_EntityGroup, {&d.m_LogicalAddressEdit, &d.m_TimeoutEdit}, this));
    QHBoxLayout* send = ViewLayout::Row(main);
    send->addWidget(W(d.m_SendIoCtlButton, this), 0, Qt::AlignBottom);
    QWidget* result = nullptr;
    send->addWidget(ViewLayout::Labelled(d.m_ResultEdit, this, &result), 1);
    // The longest text the result edit takes: an unexpected code's, or the ambiguous address's.
    if (auto* edit = qobject_cast<QLineEdit*>(result))
        ControlBinder::FitLongestValue(edit, QStringLiteral("PDU_ERR_DOIP_AMBIGUOUS_LOGICAL_ADDRESS"));
    main->addStretch(1);
}

void DoIPIoCtlDlgView::Sync()
{
    ControlBinder::SyncAll(this);
}
