#pragma once

#include "qt/QtUi.h"

class SODConfDialog;

// The address and both ports in a form, Send IoCtl and Cancel at the foot.
class SODConfDialogView : public DialogView {
    Q_OBJECT
public:
    explicit SODConfDialogView(SODConfDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
