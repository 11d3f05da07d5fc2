#pragma once

#include "qt/QtUi.h"

class URID_Table_Dialog;

// The protocol above the table's tree, the buttons beside it.
class URID_Table_DialogView : public DialogView {
    Q_OBJECT
public:
    explicit URID_Table_DialogView(URID_Table_Dialog& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
