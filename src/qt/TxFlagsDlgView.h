#pragma once

#include "qt/QtUi.h"

class TxFlagsDlg;

// The six Tx flag boxes in their group.
class TxFlagsDlgView : public DialogView {
    Q_OBJECT
public:
    explicit TxFlagsDlgView(TxFlagsDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
