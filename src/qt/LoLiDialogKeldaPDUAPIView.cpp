#include "qt/LoLiDialogKeldaPDUAPIView.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::Beside;
using ViewLayout::Group;
using ViewLayout::Labelled;
using ViewLayout::Row;
using ViewLayout::W;

namespace {

// A button with the edit that goes with it ("KdService" and its repeat count).
QWidget* ButtonWithField(controls::Control& button, controls::Control& field, QWidget* parent, const char* longest)
{
    auto* box = new QWidget(parent);
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    row->addWidget(W(button, box));
    QWidget* edit = W(field, box);
    ControlBinder::FitLongestValue(static_cast<QLineEdit*>(edit), QString::fromLatin1(longest));
    row->addWidget(edit);
    return box;
}

}  // namespace

LoLiDialogKeldaPDUAPIView::LoLiDialogKeldaPDUAPIView(LoLiDialogKeldaPDUAPI& d, QWidget* parent) : DialogView(d, parent)
{
    setObjectName("QuillonLinkWindow");
    auto* main = new QVBoxLayout(this);

    // ComPrimitives: the PDU, the control data, the buttons that start them.
    QBoxLayout* cops = nullptr;
    main->addWidget(Group(d.m_ComPrimitivesGroup, this, &cops, true));
    cops->addWidget(Labelled(d.m_PduCombo, this));
    auto* fields = Row(cops);
    fields->addWidget(Beside(d.m_SendCountEdit, this));
    fields->addWidget(Beside(d.m_RecCountEdit, this));
    fields->addWidget(Beside(d.m_CycleTimeEdit, this));
    for (controls::Control* c : std::initializer_list<controls::Control*>{&d.m_SyncCheck, &d.m_TempParCheck,
                                                                          &d.m_NoExpRespCheck, &d.m_PduCheck})
        fields->addWidget(W(*c, this));
    fields->addStretch(1);
    auto* starts = Row(cops);
    starts->addWidget(W(d.m_StartComButton, this));
    starts->addWidget(W(d.m_StopComButton, this));
    starts->addWidget(ButtonWithField(d.m_KdServiceButton, d.m_RepeatEdit, this, "100000"));
    starts->addWidget(ButtonWithField(d.m_KdDelayButton, d.m_DelayEdit, this, "100000"));
    starts->addWidget(W(d.m_UpdateLinkButton, this));
    starts->addWidget(W(d.m_RestoreButton, this));
    starts->addWidget(W(d.m_TxFlagsButton, this));
    starts->addWidget(W(d.m_ExpRespButton, this));
    starts->addStretch(1);

    // The running ComPrimitives, and the link's own buttons.
    auto* middle = Row(main);
    QBoxLayout* cancel = nullptr;
    middle->addWidget(Group(d.m_CancelGroup, this, &cancel), 3);
    QWidget* cancelCombo = W(d.m_CancelCombo, this);
    cancel->addWidget(cancelCombo, 1);
    cancel->addWidget(W(d.m_CancelCurrButton, this));
    cancel->addWidget(W(d.m_GoButton, this));
    cancel->addWidget(W(d.m_CancelAllButton, this));
    cancel->addWidget(Beside(d.m_ActiveCoPsEdit, this), 1);
    QBoxLayout* params = nullptr;
    middle->addWidget(Group(d.m_ParamsGroup, this, &params), 2);
    for (controls::Control* c : std::initializer_list<controls::Control*>{&d.m_OpenButton, &d.m_CloseButton,
                                                                          &d.m_EditParamButton, &d.m_EditUridButton})
        params->addWidget(W(*c, this));

    // The link's IOCTLs.
    auto* ioctls = Row(main);
    QBoxLayout* clamp = nullptr;
    ioctls->addWidget(Group(d.m_ClampStateGroup, this, &clamp));
    for (controls::Control* c : std::initializer_list<controls::Control*>{&d.m_ExplicitButton, &d.m_OnChangeButton})
        clamp->addWidget(W(*c, this));
    for (controls::Edit* e : {&d.m_PinEdit, &d.m_VoltEdit}) {
        QWidget* edit = W(*e, this);
        ControlBinder::FitLongestValue(static_cast<QLineEdit*>(edit), QStringLiteral("-20000"));
        clamp->addWidget(edit);
    }
    clamp->addWidget(W(d.m_SetVoltageButton, this));
    clamp->addWidget(W(d.m_GetVoltageButton, this));
    QBoxLayout* se = nullptr;
    ioctls->addWidget(Group(d.m_SeCanGroup, this, &se));
    se->addWidget(W(d.m_ReqChipStateButton, this));
    QBoxLayout* sod = nullptr;
    ioctls->addWidget(Group(d.m_SodGroup, this, &sod));
    sod->addWidget(W(d.m_ReqProxyCPButton, this));
    ioctls->addStretch(1);
    auto* queue = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_SuspendButton, &d.m_ResumeButton, &d.m_ClearQueueButton, &d.m_ResetTimestampButton,
             &d.m_BusMonitoringButton, &d.m_IoCtlFiltersButton})
        queue->addWidget(W(*c, this));
    queue->addStretch(1);

    QWidget* log = W(d.m_log, this);
    log->setMinimumSize(520, 220);
    main->addWidget(log, 1);

    // The log's switches and the way out.
    auto* bottom = Row(main);
    QWidget* count = nullptr;
    bottom->addWidget(Beside(d.m_RecvCountEdit, this, &count));
    ControlBinder::FitLongestValue(static_cast<QLineEdit*>(count), QStringLiteral("-2147483648"));
    bottom->addWidget(W(d.m_RecvCountResetButton, this));
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_ClearScreenButton, &d.m_DisableScreenCheck, &d.m_DetailedErrorCheck, &d.m_EnableTimestampCheck})
        bottom->addWidget(W(*c, this));
    bottom->addStretch(1);
    bottom->addWidget(W(d.m_CancelButton, this));
    bottom->addWidget(W(d.m_CloseWindowButton, this));

    resize(980, 760);
}

void LoLiDialogKeldaPDUAPIView::Sync()
{
    ControlBinder::SyncAll(this);
}
