#pragma once

#include "controls/Button.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "ui/Dialog.h"

// The maker's about box: no logic of its own.
class CAboutDlg : public Dialog {
public:
    explicit CAboutDlg(ui::Ui& ui);

    controls::Static m_Picture;
    controls::Static m_Address;
    controls::Edit m_InfoEdit;
    controls::Button m_OkButton;
};
