#include "qt/CMoLiDlgView.h"

#include <QHeaderView>
#include <QVBoxLayout>

#include "monitor_link/CMoLiDlg.h"
#include "qt/ControlBinder.h"
#include "qt/LogView.h"
#include "qt/ViewLayout.h"

using ViewLayout::Beside;
using ViewLayout::Row;
using ViewLayout::W;

namespace {

constexpr int kColumns = 6;

}  // namespace

CMoLiDlgView::CMoLiDlgView(CMoLiDlg& d, QWidget* parent) : DialogView(d, parent), m_dialog(d)
{
    setObjectName("QuillonMonitorWindow");
    auto* main = new QVBoxLayout(this);

    auto* link = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_OpenButton, &d.m_CloseButton, &d.m_MlParamButton, &d.m_ClearScreenButton, &d.m_OnChangeRadio,
             &d.m_ExplicitRadio})
        link->addWidget(W(*c, this));
    link->addStretch(1);

    auto* checks = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_DisableScreenCheck, &d.m_SuppressLeCheck, &d.m_LargeFontCheck, &d.m_NoMultiLineCheck})
        checks->addWidget(W(*c, this));
    checks->addStretch(1);

    auto* filter = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_FilterPositiveRadio, &d.m_FilterNegativeRadio, &d.m_FilterOffRadio})
        filter->addWidget(W(*c, this));
    filter->addWidget(W(d.m_FilterEdit, this), 1);

    auto* counters = Row(main);
    counters->addWidget(Beside(d.m_MonCountEdit, this));
    counters->addWidget(W(d.m_ResetCountersButton, this));
    counters->addWidget(Beside(d.m_ItemsPerSecondEdit, this));
    counters->addWidget(Beside(d.m_BusLoadEdit, this));
    counters->addStretch(1);

    // The rows come from the list's ring at the 50 ms tick only; the header names its columns.
    m_rows = new LogView(d.m_List, kColumns, this);
    m_rows->setObjectName(QStringLiteral("control_%1").arg(d.m_List.Id()));
    m_rows->horizontalHeader()->show();
    m_rows->setMinimumSize(560, 280);
    main->addWidget(m_rows, 1);

    auto* bottom = Row(main);
    bottom->addStretch(1);
    bottom->addWidget(W(d.m_CloseWindowButton, this));

    resize(900, 680);
}

void CMoLiDlgView::Sync()
{
    ControlBinder::SyncAll(this);
    // "Large Font" grows the rows' face by the list's ratio of the two sizes.
    const int size = m_dialog.m_List.GetFont().tenthsOfPoint;
    if (size == m_fontSize || size <= 0) return;
    QFont font = LogView::ReadableFixedFont();
    if (m_fontSize != 0 || size > 70) font.setPointSizeF(font.pointSizeF() * size / 70.0);
    m_rows->setFont(font);
    m_rows->horizontalHeader()->viewport()->update();
    m_fontSize = size;
}
