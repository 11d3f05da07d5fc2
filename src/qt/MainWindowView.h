#pragma once

#include "qt/QtUi.h"

class CQuillonDlg;

// The main window: the main dialog's controls in the layout a bench user expects.
class MainWindowView : public DialogView {
    Q_OBJECT
public:
    explicit MainWindowView(CQuillonDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
