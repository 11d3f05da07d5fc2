#include "qt/ComParam_DialogView.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "editors/ComParam_Dialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

ComParam_DialogView::ComParam_DialogView(ComParam_Dialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    main->addLayout(grid);
    grid->addWidget(W(d.m_ProtocolLabel, this), 0, 0);
    grid->addWidget(W(d.m_ProtocolEdit, this), 0, 1, 1, 2);
    grid->addWidget(W(d.m_SelectLabel, this), 1, 0);
    grid->addWidget(W(d.m_ComParamCombo, this), 1, 1, 1, 2);
    grid->addWidget(W(d.m_ValueLabel, this), 2, 0, 1, 3);
    grid->addWidget(W(d.m_DecLabel, this), 3, 0, Qt::AlignRight);
    grid->addWidget(W(d.m_DecEdit, this), 3, 1, 1, 2);
    grid->addWidget(W(d.m_HexLabel, this), 4, 0, Qt::AlignRight);
    grid->addWidget(W(d.m_HexEdit, this), 4, 1, 1, 2);
    grid->setColumnStretch(1, 1);
    // Long protocol names and structure values show whole.
    for (auto* edit : findChildren<QLineEdit*>()) edit->setMinimumWidth(edit->fontMetrics().averageCharWidth() * 44);
    auto* buttons = new QHBoxLayout;
    main->addLayout(buttons);
    buttons->addWidget(W(d.m_SetParamButton, this));
    buttons->addWidget(W(d.m_LoadButton, this));
    buttons->addWidget(W(d.m_SaveButton, this));
    buttons->addStretch(1);
    buttons->addWidget(W(d.m_OkButton, this));
    buttons->addWidget(W(d.m_CancelButton, this));
}

void ComParam_DialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
