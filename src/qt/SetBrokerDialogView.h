#pragma once

#include "qt/QtUi.h"

class SetBrokerDialog;

// The broker's URL, OK and Cancel at the foot.
class SetBrokerDialogView : public DialogView {
    Q_OBJECT
public:
    explicit SetBrokerDialogView(SetBrokerDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
