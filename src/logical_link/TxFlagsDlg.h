// Edits the four TxFlag bytes of the control data of the next ComPrimitives.
#pragma once

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/Static.h"
#include "pdu/PduTypes.h"
#include "ui/Dialog.h"

class TxFlagsDlg : public Dialog {
public:
    // The flags are edited only when the record and its bytes exist.
    TxFlagsDlg(ui::Ui& ui, PDU_FLAG_DATA* flags);

    bool OnInitDialog() override;
    void OnOK();

    controls::Static m_Group;
    controls::CheckBox m_SuppressPosResp;
    controls::CheckBox m_EnableExtraInfo;
    controls::CheckBox m_WaitP3MinOnly;
    controls::CheckBox m_Can29BitId;
    controls::CheckBox m_Iso15765AddrType;
    controls::CheckBox m_Iso15765FramePad;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;

private:
    struct Bit {
        controls::CheckBox* box;
        int byte;
        int bit;
    };
    Bit m_bits[6];
    PDU_FLAG_DATA* m_pFlags;
};
