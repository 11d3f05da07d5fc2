#pragma once

#include "qt/QtUi.h"

class SetTraceOptionsDialog;

// The trace path and detail in a form, OK and Cancel at the foot.
class SetTraceOptionsDialogView : public DialogView {
    Q_OBJECT
public:
    explicit SetTraceOptionsDialogView(SetTraceOptionsDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
