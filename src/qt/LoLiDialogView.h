#pragma once

#include "qt/QtUi.h"

class LoLiDialog;

// The plain link window of the default mode.
class LoLiDialogView : public DialogView {
    Q_OBJECT
public:
    explicit LoLiDialogView(LoLiDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
