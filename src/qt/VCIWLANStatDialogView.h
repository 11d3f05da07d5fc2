#pragma once

#include "qt/QtUi.h"

class VCIWLANStatDialog;

// The module and its button above, the statistics in a form below.
class VCIWLANStatDialogView : public DialogView {
    Q_OBJECT
public:
    explicit VCIWLANStatDialogView(VCIWLANStatDialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
