#pragma once

#include "qt/QtUi.h"

class IoCtlFilterDialog;

// The ten filter rows as a grid under their column captions; the buttons for all rows and the
// status beside them.
class IoCtlFilterDialogView : public DialogView {
    Q_OBJECT
public:
    explicit IoCtlFilterDialogView(IoCtlFilterDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
