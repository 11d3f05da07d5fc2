#include "qt/MaskAndPatternDialogView.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "logical_link/MaskAndPatternDialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

MaskAndPatternDialogView::MaskAndPatternDialogView(MaskAndPatternDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* group = new QGroupBox(QString::fromStdString(d.m_Group.Caption()), this);
    group->setObjectName(QStringLiteral("control_%1").arg(d.m_Group.Id()));
    main->addWidget(group);
    auto* grid = new QGridLayout(group);
    grid->addWidget(W(d.m_MaskLabel, group), 0, 1);
    grid->addWidget(W(d.m_PatternLabel, group), 0, 2);
    grid->addWidget(W(d.m_PositiveLabel, group), 1, 0);
    grid->addWidget(W(d.m_PositiveMaskEdit, group), 1, 1);
    grid->addWidget(W(d.m_PositivePatternEdit, group), 1, 2);
    grid->addWidget(W(d.m_NegativeLabel, group), 2, 0);
    grid->addWidget(W(d.m_NegativeMaskEdit, group), 2, 1);
    grid->addWidget(W(d.m_NegativePatternEdit, group), 2, 2);
    grid->addWidget(W(d.m_MaxLabel, group), 3, 1, 1, 2);
    auto* buttons = new QHBoxLayout;
    main->addLayout(buttons);
    buttons->addStretch(1);
    buttons->addWidget(W(d.m_OkButton, this));
    buttons->addWidget(W(d.m_CancelButton, this));
}

void MaskAndPatternDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
