// The texts of one positive and one negative expected response; the owner turns them into bytes.
#pragma once

#include <string>

#include "controls/Button.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "ui/Dialog.h"

class MaskAndPatternDialog : public Dialog {
public:
    explicit MaskAndPatternDialog(ui::Ui& ui);

    bool OnInitDialog() override;
    void OnOK();

    // Set and read by the owner.
    std::string m_positiveMask;
    std::string m_positivePattern;
    std::string m_negativeMask;
    std::string m_negativePattern;

    controls::Static m_Group;
    controls::Static m_PositiveLabel;
    controls::Static m_NegativeLabel;
    controls::Static m_MaskLabel;
    controls::Static m_PatternLabel;
    controls::Static m_MaxLabel;
    controls::Edit m_PositiveMaskEdit;
    controls::Edit m_PositivePatternEdit;
    controls::Edit m_NegativeMaskEdit;
    controls::Edit m_NegativePatternEdit;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
};
