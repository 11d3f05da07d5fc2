#include "qt/AboutView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/CAboutDlg.h"
#include "qt/Artwork.h"
#include "qt/ControlBinder.h"

AboutView::AboutView(CAboutDlg& d, QWidget* parent) : DialogView(d, parent)
{
    setObjectName("QuillonAboutBox");
    auto* main = new QVBoxLayout(this);
    // Neither larger nor smaller than its texts.
    main->setSizeConstraint(QLayout::SetFixedSize);

    auto* top = new QHBoxLayout;
    main->addLayout(top);
    top->addWidget(ControlBinder::CreatePicture(d.m_Picture, MakerBitmap(), this), 0, Qt::AlignTop);
    auto* texts = new QVBoxLayout;
    top->addLayout(texts);
    texts->addWidget(ControlBinder::CreateWidget(d.m_Address, this));
    texts->addWidget(ControlBinder::CreateTextView(d.m_InfoEdit, this));

    auto* buttons = new QHBoxLayout;
    main->addLayout(buttons);
    buttons->addStretch(1);
    QWidget* ok = ControlBinder::CreateWidget(d.m_OkButton, this);
    buttons->addWidget(ok);
    ok->setFocus();
}

void AboutView::Sync()
{
    ControlBinder::SyncAll(this);
}
