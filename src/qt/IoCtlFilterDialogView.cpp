#include "qt/IoCtlFilterDialogView.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "editors/IoCtlFilterDialog.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

using ViewLayout::W;

IoCtlFilterDialogView::IoCtlFilterDialogView(IoCtlFilterDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QHBoxLayout(this);
    QBoxLayout* set = nullptr;
    main->addWidget(ViewLayout::Group(d.m_SetGroup, this, &set, true), 1);
    auto* grid = new QGridLayout;
    set->addLayout(grid);
    for (size_t column = 0; column < d.m_columnCaptions.size(); ++column)
        grid->addWidget(W(d.m_columnCaptions[column], this), 0, static_cast<int>(column));
    for (int r = 0; r < IoCtlFilterDialog::kRows; ++r) {
        IoCtlFilterDialog::Row& row = *d.m_rows[static_cast<size_t>(r)];
        int column = 0;
        for (controls::Control* c : std::initializer_list<controls::Control*>{
                 &row.number, &row.mask, &row.pattern, &row.type, &row.select, &row.size, &row.start, &row.stop})
            grid->addWidget(W(*c, this), r + 1, column++);
    }
    // Twelve bytes of "FF," fit the mask and pattern fields.
    for (int r = 0; r < IoCtlFilterDialog::kRows; ++r)
        for (controls::Control* c : {static_cast<controls::Control*>(&d.m_rows[static_cast<size_t>(r)]->mask),
                                     static_cast<controls::Control*>(&d.m_rows[static_cast<size_t>(r)]->pattern)})
            if (auto* edit = findChild<QLineEdit*>(QStringLiteral("control_%1").arg(c->Id())))
                ControlBinder::FitLongestValue(edit, QStringLiteral("FF,FF,FF,FF,FF,FF,FF,FF,FF,FF,FF,FF"));
    // The column's caption names the boxes; each keeps its name ("Select 3") as its tooltip.
    for (int r = 0; r < IoCtlFilterDialog::kRows; ++r) {
        const controls::CheckBox& select = d.m_rows[static_cast<size_t>(r)]->select;
        if (auto* box = findChild<QCheckBox*>(QStringLiteral("control_%1").arg(select.Id()))) {
            box->setText(QString());
            box->setToolTip(QString::fromStdString(select.Caption()));
        }
    }
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);

    auto* side = new QVBoxLayout;
    main->addLayout(side);
    for (controls::Control* c : std::initializer_list<controls::Control*>{&d.m_StartSelectedButton, &d.m_StopAllButton,
                                                                           &d.m_SaveButton, &d.m_LoadButton})
        side->addWidget(W(*c, this));
    QBoxLayout* status = nullptr;
    side->addWidget(ViewLayout::Group(d.m_StatusGroup, this, &status, true));
    status->addWidget(W(d.m_ActiveCountLabel, this));
    status->addWidget(W(d.m_ActiveCountEdit, this));
    status->addWidget(W(d.m_ReturnValueLabel, this));
    status->addWidget(W(d.m_ReturnValueEdit, this));
    side->addStretch(1);
    side->addWidget(W(d.m_CloseButton, this));
}

void IoCtlFilterDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
