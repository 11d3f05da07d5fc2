#pragma once

#include "qt/QtUi.h"

class LoLiDialogKeldaPDUAPI;

// The full link window: the ComPrimitive fields and buttons, cancel, the link's IOCTLs, and the
// log with its switches below.
class LoLiDialogKeldaPDUAPIView : public DialogView {
    Q_OBJECT
public:
    explicit LoLiDialogKeldaPDUAPIView(LoLiDialogKeldaPDUAPI& dialog, QWidget* parent = nullptr);
    void Sync() override;
};
