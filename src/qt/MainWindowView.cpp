#include "qt/MainWindowView.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/CQuillonDlg.h"
#include "qt/ControlBinder.h"

namespace {

QWidget* W(controls::Control& c, QWidget* parent)
{
    return ControlBinder::CreateWidget(c, parent);
}

// A caption above its control, as the dialog shows its combo and edit labels.
QWidget* Labelled(controls::Control& c, QWidget* parent)
{
    auto* box = new QWidget(parent);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* label = new QLabel(QString::fromStdString(c.Caption()), box);
    QWidget* widget = W(c, box);
    label->setBuddy(widget);
    layout->addWidget(label);
    layout->addWidget(widget);
    return box;
}

// The maker's bitmap on the button beside "About Morvane".
QPixmap MakerBitmap()
{
    QPixmap pixmap(96, 24);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 96, 0);
    gradient.setColorAt(0, QColor(0x1f, 0x4e, 0x79));
    gradient.setColorAt(1, QColor(0x2e, 0x86, 0xc1));
    p.setBrush(gradient);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(pixmap.rect(), 4, 4);
    p.setPen(Qt::white);
    QFont font = p.font();
    font.setBold(true);
    font.setPointSize(9);
    p.setFont(font);
    p.drawText(pixmap.rect(), Qt::AlignCenter, "MORVANE");
    return pixmap;
}

QHBoxLayout* Row(QVBoxLayout* parent)
{
    auto* row = new QHBoxLayout;
    parent->addLayout(row);
    return row;
}

}  // namespace

MainWindowView::MainWindowView(CQuillonDlg& d, QWidget* parent) : DialogView(d, parent)
{
    setObjectName("QuillonMainWindow");
    auto* main = new QVBoxLayout(this);

    auto* apiRow = Row(main);
    apiRow->addWidget(Labelled(d.m_ApiCombo, this), 3);
    apiRow->addWidget(W(d.m_OnlyMorvaneStatic, this));
    apiRow->addWidget(W(d.m_UnloadButton, this));
    apiRow->addWidget(W(d.m_OpenLastLinkButton, this));
    apiRow->addWidget(W(d.m_HistoryMenuButton, this));
    apiRow->addWidget(W(d.m_ParseMdfButton, this));
    apiRow->addWidget(W(d.m_GetModuleIdsButton, this));

    auto* moduleRow = Row(main);
    moduleRow->addWidget(Labelled(d.m_ModuleCombo, this), 3);
    moduleRow->addWidget(W(d.m_ModuleConnectButton, this));
    moduleRow->addWidget(W(d.m_ModuleDisconnectButton, this));
    moduleRow->addWidget(W(d.m_MonitorVciCombo, this), 2);
    moduleRow->addWidget(W(d.m_ChannelCombo, this), 1);

    auto* selection = new QGridLayout;
    main->addLayout(selection);
    selection->addWidget(Labelled(d.m_ProtocolCombo, this), 0, 0);
    selection->addWidget(Labelled(d.m_BustypeCombo, this), 0, 1);
    selection->addWidget(Labelled(d.m_CableCombo, this), 0, 2);
    selection->addWidget(Labelled(d.m_PinsCombo, this), 0, 3);
    selection->addWidget(Labelled(d.m_LoLiCreateFlagsEdit, this), 1, 0);
    selection->addWidget(Labelled(d.m_LabelEdit, this), 1, 1);
    selection->addWidget(Labelled(d.m_ResourceShortNameEdit, this), 1, 2);
    auto* statusBox = new QWidget(this);
    auto* statusRow = new QHBoxLayout(statusBox);
    statusRow->setContentsMargins(0, 0, 0, 0);
    statusRow->addWidget(Labelled(d.m_ResourceStatusEdit, statusBox), 1);
    statusRow->addWidget(W(d.m_UpdateResourceStatusButton, statusBox), 0, Qt::AlignBottom);
    selection->addWidget(statusBox, 1, 3);
    selection->addWidget(Labelled(d.m_ConflictingResourcesEdit, this), 2, 0, 1, 2);

    auto* info = new QGroupBox(QString::fromStdString(d.m_ResourceInfoGroup.Caption()), this);
    info->setObjectName(QStringLiteral("control_%1").arg(d.m_ResourceInfoGroup.Id()));
    auto* infoRow = new QHBoxLayout(info);
    infoRow->addWidget(Labelled(d.m_InfoProtocolEdit, info));
    infoRow->addWidget(Labelled(d.m_InfoBustypeEdit, info));
    infoRow->addWidget(Labelled(d.m_InfoPinsEdit, info));
    selection->addWidget(info, 2, 2, 1, 2);

    auto* services = Row(main);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_DoIpIoCtlButton, &d.m_VciWlanStatButton, &d.m_SetTracePathButton, &d.m_SodConfButton,
             &d.m_BrokerButton, &d.m_BusMonitoringButton, &d.m_BusMonitoringEdit, &d.m_GetVBattButton,
             &d.m_VBattEdit, &d.m_GetIgnitionStateButton, &d.m_IgnitionEdit})
        services->addWidget(W(*c, this));

    QWidget* log = W(d.m_LogList, this);
    log->setMinimumSize(600, 260);
    main->addWidget(log, 1);

    auto* bottom = Row(main);
    auto* bitmap = static_cast<QPushButton*>(W(d.m_BitmapButton, this));
    bitmap->setIcon(MakerBitmap());
    bitmap->setIconSize(QSize(96, 24));
    bitmap->setText(QString());
    bitmap->setFlat(true);
    bottom->addWidget(bitmap);
    bottom->addWidget(W(d.m_AboutButton, this));
    bottom->addStretch(1);
    bottom->addWidget(W(d.m_ClearLogButton, this));
    bottom->addWidget(W(d.m_OpenMoLiButton, this));
    bottom->addWidget(W(d.m_OpenLoLiButton, this));
    bottom->addWidget(W(d.m_ExitButton, this));

    resize(1100, 720);
}

void MainWindowView::Sync()
{
    ControlBinder::SyncAll(this);
}
