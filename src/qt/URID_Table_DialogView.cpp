#include "qt/URID_Table_DialogView.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "editors/URID_Table_Dialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

URID_Table_DialogView::URID_Table_DialogView(URID_Table_Dialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    auto* protocol = ViewLayout::Row(main);
    protocol->addWidget(W(d.m_ProtocolLabel, this));
    protocol->addWidget(W(d.m_ProtocolEdit, this), 1);
    auto* body = ViewLayout::Row(main);
    QWidget* tree = W(d.m_Tree, this);
    tree->setMinimumSize(tree->fontMetrics().averageCharWidth() * 52, tree->fontMetrics().height() * 18);
    body->addWidget(tree, 1);
    auto* buttons = new QVBoxLayout;
    body->addLayout(buttons);
    for (controls::Control* c : std::initializer_list<controls::Control*>{&d.m_OkButton, &d.m_CancelButton,
                                                                           &d.m_LoadButton, &d.m_SaveButton})
        buttons->addWidget(W(*c, this));
    buttons->addStretch(1);
}

void URID_Table_DialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
