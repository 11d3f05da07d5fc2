#pragma once

#include "qt/QtUi.h"

class ComParam_Dialog;

// The protocol, the ComParam picker and its two value boxes above the buttons.
class ComParam_DialogView : public DialogView {
    Q_OBJECT
public:
    explicit ComParam_DialogView(ComParam_Dialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
