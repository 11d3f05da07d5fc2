#include "qt/LoLiDialogView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "logical_link/LoLiDialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::Beside;
using ViewLayout::Row;
using ViewLayout::W;

LoLiDialogView::LoLiDialogView(LoLiDialog& d, QWidget* parent) : DialogView(d, parent)
{
    setObjectName("QuillonPlainLinkWindow");
    auto* main = new QVBoxLayout(this);

    auto* link = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_ConnectButton, &d.m_DisconnectButton, &d.m_EditParamsButton, &d.m_EditUridButton, &d.m_TxFlagsButton})
        link->addWidget(W(*c, this));
    link->addStretch(1);

    // The PDU box has no caption of its own: a label names it for the reader.
    auto* pdu = Row(main);
    QWidget* pduCombo = W(d.m_PduCombo, this);
    auto* pduLabel = new QLabel(tr("PDU"), this);
    pduLabel->setBuddy(pduCombo);
    pdu->addWidget(pduLabel);
    pdu->addWidget(pduCombo, 1);

    auto* fields = Row(main);
    fields->addWidget(Beside(d.m_TxCountEdit, this));
    fields->addWidget(Beside(d.m_RxCountEdit, this));
    fields->addWidget(Beside(d.m_CycleTimeEdit, this));
    fields->addWidget(W(d.m_TempParamCheck, this));
    fields->addStretch(1);

    auto* starts = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_StartCommButton, &d.m_StopCommButton, &d.m_SendRecvButton, &d.m_UpdateParamButton,
             &d.m_RestoreParamButton, &d.m_DelayButton})
        starts->addWidget(W(*c, this));
    starts->addStretch(1);

    auto* cancel = Row(main);
    cancel->addWidget(W(d.m_CancelCombo, this), 1);
    cancel->addWidget(W(d.m_CancelPrimitiveButton, this));
    cancel->addStretch(1);

    QWidget* log = W(d.m_log, this);
    log->setMinimumSize(480, 220);
    main->addWidget(log, 1);

    auto* bottom = Row(main);
    bottom->addWidget(W(d.m_DetailedErrorCheck, this));
    bottom->addWidget(W(d.m_ClearLogButton, this));
    bottom->addStretch(1);
    bottom->addWidget(W(d.m_ExitButton, this));

    resize(820, 640);
}

void LoLiDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
