#pragma once

#include "qt/QtUi.h"

class CAboutDlg;

// The About box: the maker's picture beside the address and the version text, OK below; the
// window takes the size of its texts.
class AboutView : public DialogView {
    Q_OBJECT
public:
    explicit AboutView(CAboutDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
