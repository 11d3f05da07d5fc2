#include "qt/CParameterDialogView.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "editors/CParameterDialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

CParameterDialogView::CParameterDialogView(CParameterDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    QHBoxLayout* body = ViewLayout::Row(main);
    QWidget* names = ViewLayout::Labelled(d.m_NameList, this);
    names->setMinimumHeight(names->fontMetrics().height() * 16);
    body->addWidget(names, 1);
    auto* picked = new QVBoxLayout;
    body->addLayout(picked, 1);
    QWidget* value = nullptr;
    picked->addWidget(ViewLayout::Labelled(d.m_NameEdit, this));
    picked->addWidget(ViewLayout::Labelled(d.m_ValueEdit, this, &value));
    // A parameter's value may be an array: room for sixteen bytes in hex.
    value->setMinimumWidth(value->fontMetrics().averageCharWidth() * 48);
    QHBoxLayout* set = ViewLayout::Row(picked);
    set->addWidget(W(d.m_SetButton, this));
    set->addWidget(W(d.m_ShowHexCheck, this));
    set->addStretch(1);
    picked->addWidget(W(d.m_SetIsDeadStatic, this));
    picked->addStretch(1);
    ViewLayout::Buttons(main, {&d.m_LoadButton, &d.m_SaveAsButton, &d.m_OkButton}, this);
}

void CParameterDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
