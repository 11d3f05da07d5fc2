#include "logical_link/TxFlagsDlg.h"

#include "logical_link/LinkResource.h"

TxFlagsDlg::TxFlagsDlg(ui::Ui& ui, PDU_FLAG_DATA* flags)
    : Dialog(ui, IDD_TX_FLAGS, "Set Tx Flags"),
      m_Group(IDC_TX_GROUP, "TX Flags"),
      m_SuppressPosResp(IDC_TX_SUPPRESS_POS_RESP, "SUPPRESS_POS_RESP"),
      m_EnableExtraInfo(IDC_TX_ENABLE_EXTRA_INFO, "ENABLE_EXTRA_INFO"),
      m_WaitP3MinOnly(IDC_TX_WAIT_P3_MIN_ONLY, "WAIT_P3_MIN_ONLY"),
      m_Can29BitId(IDC_TX_CAN_29BIT_ID, "CAN_29BIT_ID"),
      m_Iso15765AddrType(IDC_TX_ISO15765_ADDR_TYPE, "ISO15765_ADDR_TYPE"),
      m_Iso15765FramePad(IDC_TX_ISO15765_FRAME_PAD, "ISO15765_FRAME_PAD"),
      m_OkButton(ui::IDOK, "OK"),
      m_CancelButton(ui::IDCANCEL, "Cancel"),
      m_bits{{&m_SuppressPosResp, 0, 6}, {&m_EnableExtraInfo, 0, 5}, {&m_WaitP3MinOnly, 2, 1},
             {&m_Can29BitId, 2, 0},      {&m_Iso15765AddrType, 3, 7}, {&m_Iso15765FramePad, 3, 6}},
      m_pFlags(flags && flags->pFlagData ? flags : nullptr)
{
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_Group, &m_SuppressPosResp, &m_EnableExtraInfo, &m_WaitP3MinOnly, &m_Can29BitId, &m_Iso15765AddrType,
             &m_Iso15765FramePad, &m_OkButton, &m_CancelButton})
        AddControl(*c);
    On(m_OkButton, controls::Notification::Clicked, [this] { OnOK(); });
    On(m_CancelButton, controls::Notification::Clicked, [this] { EndDialog(ui::IDCANCEL); });
}

bool TxFlagsDlg::OnInitDialog()
{
    if (!m_pFlags) return true;
    // The owner's array has four bytes; the count says so from here on, even after Cancel.
    m_pFlags->NumFlagBytes = 4;
    for (const Bit& b : m_bits) b.box->SetCheck((m_pFlags->pFlagData[b.byte] >> b.bit) & 1);
    return true;
}

void TxFlagsDlg::OnOK()
{
    if (m_pFlags) {
        for (const Bit& b : m_bits) {
            const auto mask = static_cast<UNUM8>(1u << b.bit);
            if (b.box->GetCheck() == 1)
                m_pFlags->pFlagData[b.byte] |= mask;
            else
                m_pFlags->pFlagData[b.byte] &= static_cast<UNUM8>(~mask);
        }
    }
    EndDialog(ui::IDOK);
}
