#pragma once

#include "qt/QtUi.h"

// A plain form for dialogs without a view of their own: every control in table order.
class GenericDialogView : public DialogView {
    Q_OBJECT
public:
    explicit GenericDialogView(Dialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
