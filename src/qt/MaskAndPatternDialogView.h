#pragma once

#include "qt/QtUi.h"

class MaskAndPatternDialog;

// The two expected responses as a grid: a row each, their mask and pattern side by side.
class MaskAndPatternDialogView : public DialogView {
    Q_OBJECT
public:
    explicit MaskAndPatternDialogView(MaskAndPatternDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
