#include "qt/CFilterDlgView.h"

#include <QVBoxLayout>

#include "monitor_link/CFilterDlg.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

CFilterDlgView::CFilterDlgView(CFilterDlg& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    QWidget* list = ViewLayout::W(d.m_List, this);
    // A filter is a row of ids: room for a dozen of them, and for a screenful of filters.
    list->setMinimumSize(list->fontMetrics().averageCharWidth() * 60, list->fontMetrics().height() * 12);
    main->addWidget(list, 1);
    ViewLayout::Buttons(main, {&d.m_OkButton, &d.m_CancelButton}, this);
}

void CFilterDlgView::Sync()
{
    ControlBinder::SyncAll(this);
}
