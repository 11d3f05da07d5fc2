#pragma once

#include "qt/QtUi.h"

class CFilterDlg;

// The saved ID filters, one a line, with OK and Cancel below.
class CFilterDlgView : public DialogView {
    Q_OBJECT
public:
    explicit CFilterDlgView(CFilterDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
