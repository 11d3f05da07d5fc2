#include "logical_link/MaskAndPatternDialog.h"

#include "logical_link/LinkResource.h"

MaskAndPatternDialog::MaskAndPatternDialog(ui::Ui& ui)
    : Dialog(ui, IDD_MASK_AND_PATTERN, "ExpectedResponse Mask & Pattern"),
      m_Group(IDC_MP_GROUP, "Response Types"),
      m_PositiveLabel(IDC_MP_POSITIVE, "Positive"),
      m_NegativeLabel(IDC_MP_NEGATIVE, "Negative"),
      m_MaskLabel(IDC_MP_MASK, "Mask"),
      m_PatternLabel(IDC_MP_PATTERN, "Pattern"),
      m_MaxLabel(IDC_MP_MAX, "(Max 4 Bytes)"),
      m_PositiveMaskEdit(IDC_MP_POS_MASK, "positive mask"),
      m_PositivePatternEdit(IDC_MP_POS_PATTERN, "positive pattern"),
      m_NegativeMaskEdit(IDC_MP_NEG_MASK, "negative mask"),
      m_NegativePatternEdit(IDC_MP_NEG_PATTERN, "negative pattern"),
      m_OkButton(ui::IDOK, "OK"),
      m_CancelButton(ui::IDCANCEL, "Cancel")
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_Group, &m_PositiveLabel, &m_NegativeLabel, &m_MaskLabel, &m_PatternLabel, &m_MaxLabel,
             &m_PositiveMaskEdit, &m_PositivePatternEdit, &m_NegativeMaskEdit, &m_NegativePatternEdit, &m_OkButton,
             &m_CancelButton})
        AddControl(*c);
    On(m_OkButton, controls::Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, controls::Notification::Clicked, [this] { EndDialog(ui::IDCANCEL); });
}

bool MaskAndPatternDialog::OnInitDialog()
{
    m_PositiveMaskEdit.SetWindowText(m_positiveMask);
    m_PositivePatternEdit.SetWindowText(m_positivePattern);
    m_NegativeMaskEdit.SetWindowText(m_negativeMask);
    m_NegativePatternEdit.SetWindowText(m_negativePattern);
    return true;
}

void MaskAndPatternDialog::OnOK()
{
    m_positiveMask = m_PositiveMaskEdit.GetWindowText();
    m_positivePattern = m_PositivePatternEdit.GetWindowText();
    m_negativeMask = m_NegativeMaskEdit.GetWindowText();
    m_negativePattern = m_NegativePatternEdit.GetWindowText();
    EndDialog(ui::IDOK);
}
