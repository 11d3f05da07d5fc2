#pragma once

#include "qt/QtUi.h"

class CParameterDialog;

// The parameter names on the left; the picked one's name and value, Set and "Show Hex" on the
// right; the file buttons and OK at the foot.
class CParameterDialogView : public DialogView {
    Q_OBJECT
public:
    explicit CParameterDialogView(CParameterDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
