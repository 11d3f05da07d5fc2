#include "qt/TxFlagsDlgView.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "logical_link/TxFlagsDlg.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

TxFlagsDlgView::TxFlagsDlgView(TxFlagsDlg& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    QBoxLayout* flags = nullptr;
    main->addWidget(ViewLayout::Group(d.m_Group, this, &flags, true));
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_SuppressPosResp, &d.m_EnableExtraInfo, &d.m_WaitP3MinOnly, &d.m_Can29BitId, &d.m_Iso15765AddrType,
             &d.m_Iso15765FramePad})
        flags->addWidget(W(*c, this));
    auto* buttons = new QHBoxLayout;
    main->addLayout(buttons);
    buttons->addStretch(1);
    buttons->addWidget(W(d.m_OkButton, this));
    buttons->addWidget(W(d.m_CancelButton, this));
}

void TxFlagsDlgView::Sync()
{
    ControlBinder::SyncAll(this);
}
