#include "qt/MainWindowView.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/CQuillonDlg.h"
#include "qt/Artwork.h"
#include "qt/ControlBinder.h"
#include "qt/ViewLayout.h"

namespace {

using ViewLayout::Labelled;
using ViewLayout::Row;
using ViewLayout::W;

// The longest values the logic writes into the fields that show them: all three
// status words negated, the longest protocol and bus type short names of the maker's MDF, and
// four DLC pins.
constexpr const char* kLongestStatus = "NOT_USED |NOT_AVAILABLE |NOT_LOCKED";
constexpr const char* kLongestProtocol = "MSP_MRVNE_ISO_11898_onboard";
constexpr const char* kLongestBusType = "ISO_11898_2_DWFTCAN";
constexpr const char* kLongestPins = "Pins 16 & 16 & 16 & 16";

// As Labelled, for an edit that must show `longest` whole.
QWidget* LabelledFit(controls::Edit& e, QWidget* parent, const char* longest)
{
    QWidget* field = nullptr;
    QWidget* box = Labelled(e, parent, &field);
    ControlBinder::FitLongestValue(static_cast<QLineEdit*>(field), QString::fromLatin1(longest));
    return box;
}

}  // namespace

MainWindowView::MainWindowView(CQuillonDlg& d, QWidget* parent) : DialogView(d, parent)
{
    setObjectName("QuillonMainWindow");
    auto* main = new QVBoxLayout(this);

    auto* apiRow = Row(main);
    apiRow->addWidget(Labelled(d.m_ApiCombo, this), 3);
    apiRow->addWidget(W(d.m_OnlyMorvaneStatic, this), 0, Qt::AlignBottom);
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &d.m_UnloadButton, &d.m_OpenLastLinkButton, &d.m_HistoryMenuButton, &d.m_ParseMdfButton,
             &d.m_GetModuleIdsButton})
        apiRow->addWidget(W(*c, this), 0, Qt::AlignBottom);

    auto* moduleRow = Row(main);
    moduleRow->addWidget(Labelled(d.m_ModuleCombo, this), 3);
    moduleRow->addWidget(W(d.m_ModuleConnectButton, this), 0, Qt::AlignBottom);
    moduleRow->addWidget(W(d.m_ModuleDisconnectButton, this), 0, Qt::AlignBottom);
    moduleRow->addWidget(W(d.m_MonitorVciCombo, this), 2, Qt::AlignBottom);
    moduleRow->addWidget(W(d.m_ChannelCombo, this), 1, Qt::AlignBottom);

    // Four equal columns: the four selection combos, then what they select.
    auto* selection = new QGridLayout;
    main->addLayout(selection);
    for (int col = 0; col < 4; ++col) selection->setColumnStretch(col, 1);
    selection->addWidget(Labelled(d.m_ProtocolCombo, this), 0, 0);
    selection->addWidget(Labelled(d.m_BustypeCombo, this), 0, 1);
    selection->addWidget(Labelled(d.m_CableCombo, this), 0, 2);
    selection->addWidget(Labelled(d.m_PinsCombo, this), 0, 3);
    selection->addWidget(Labelled(d.m_LoLiCreateFlagsEdit, this), 1, 0);
    selection->addWidget(Labelled(d.m_LabelEdit, this), 1, 1);
    selection->addWidget(Labelled(d.m_ResourceShortNameEdit, this), 1, 2, 1, 2);

    // Left: the resource's status with its button, and the module's conflicting groups.
    auto* statusColumn = new QVBoxLayout;
    statusColumn->setSpacing(selection->verticalSpacing());
    auto* statusRow = new QHBoxLayout;
    statusRow->addWidget(LabelledFit(d.m_ResourceStatusEdit, this, kLongestStatus), 1);
    statusRow->addWidget(W(d.m_UpdateResourceStatusButton, this), 0, Qt::AlignBottom);
    statusColumn->addLayout(statusRow);
    statusColumn->addWidget(Labelled(d.m_ConflictingResourcesEdit, this));
    statusColumn->addStretch(1);
    selection->addLayout(statusColumn, 2, 0, 1, 2);

    // Right: the resource's protocol, bus type and pins, each wide enough for its longest value.
    auto* info = new QGroupBox(QString::fromStdString(d.m_ResourceInfoGroup.Caption()), this);
    info->setObjectName(QStringLiteral("control_%1").arg(d.m_ResourceInfoGroup.Id()));
    auto* infoRow = new QHBoxLayout(info);
    infoRow->addWidget(LabelledFit(d.m_InfoProtocolEdit, info, kLongestProtocol), 3, Qt::AlignTop);
    infoRow->addWidget(LabelledFit(d.m_InfoBustypeEdit, info, kLongestBusType), 2, Qt::AlignTop);
    infoRow->addWidget(LabelledFit(d.m_InfoPinsEdit, info, kLongestPins), 2, Qt::AlignTop);
    selection->addWidget(info, 2, 2, 1, 2, Qt::AlignTop);

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

    resize(QSize(1100, 720).expandedTo(minimumSizeHint()));
}

void MainWindowView::Sync()
{
    ControlBinder::SyncAll(this);
}
