#pragma once

#include "qt/QtUi.h"

// A plain form for dialogs without a view of their own: every control in table order, each edit
// and combo with its caption beside it, the buttons in a row at the foot.
class GenericDialogView : public DialogView {
    Q_OBJECT
public:
    explicit GenericDialogView(Dialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
