#pragma once

#include "qt/QtUi.h"

class DoIPIoCtlDlg;

// The IOCTL and the module on top, the three groups of fields, the button and its result below.
class DoIPIoCtlDlgView : public DialogView {
    Q_OBJECT
public:
    explicit DoIPIoCtlDlgView(DoIPIoCtlDlg& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
