#include "qt/VCIWLANStatDialogView.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"
#include "service_dialogs/VCIWLANStatDialog.h"

using ViewLayout::W;

VCIWLANStatDialogView::VCIWLANStatDialogView(VCIWLANStatDialog& d, QWidget* parent) : DialogView(d, parent)
{
    auto* main = new QVBoxLayout(this);
    QHBoxLayout* top = ViewLayout::Row(main);
    top->addWidget(ViewLayout::Labelled(d.m_ModuleCombo, this), 1);
    top->addWidget(W(d.m_GetWlanStatsButton, this), 0, Qt::AlignBottom);
    auto* form = new QFormLayout;
    main->addLayout(form);
    for (controls::Edit* e : {&d.m_ModeEdit, &d.m_ChannelEdit, &d.m_FrequencyEdit, &d.m_ChannelWidthEdit,
                              &d.m_TxPowerEdit, &d.m_LinkSpeedEdit, &d.m_RssiEdit, &d.m_SnrEdit, &d.m_NoiseEdit,
                              &d.m_SignalQualityEdit, &d.m_SsidEdit}) {
        auto* field = static_cast<QLineEdit*>(ViewLayout::FormRow(form, *e, this));
        // The widest of the values: a full SSID, an unknown mode, a 32-bit dBm value.
        ControlBinder::FitLongestValue(field, QStringLiteral("WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW"));
    }
    main->addStretch(1);
}

void VCIWLANStatDialogView::Sync()
{
    ControlBinder::SyncAll(this);
}
