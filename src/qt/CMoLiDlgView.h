#pragma once

#include "qt/QtUi.h"

class CMoLiDlg;
class LogView;

// The monitor window: the bus rows under a headed fixed-pitch list, the counters and filter above.
class CMoLiDlgView : public DialogView {
    Q_OBJECT
public:
    explicit CMoLiDlgView(CMoLiDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;

private:
    CMoLiDlg& m_dialog;
    LogView* m_rows = nullptr;
    int m_fontSize = 0;
};
