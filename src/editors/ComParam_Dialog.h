// "Edit ComParams": the ComParams of one link by name, each value in a decimal and a hexadecimal
// box that follow each other; saved to and loaded from ini files; one value sent to the link at
// once with "Set Param". The URID table editor opens it to pick a ComParam and a value.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "controls/Button.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "description/ComParamInfo.h"
#include "ui/Dialog.h"

class ComParamValueFamily;
class EditorOwner;

class ComParam_Dialog : public Dialog {
public:
    enum Mode : int { EditLinkComParams = 188, PickUridComParam = 169 };

    // The records stay the caller's: the dialog works on a sorted copy and writes back on OK
    // (edit mode) or on Set Param.
    ComParam_Dialog(ui::Ui& ui, int mode, std::string protocolName, uint32_t hMod, uint32_t hCLL,
                    std::vector<ComParamInfo>& records);

    bool OnInitDialog() override;
    void OnClose() override { OnCancel(); }
    void OnOK();
    void OnCancel();
    void OnBnClickedLoad();
    void OnBnClickedSave();
    void OnBnClickedSetParam();
    void OnEnChangeDec();
    void OnEnChangeHex();
    void OnCbnSelchangeComParam();
    void OnCbnEditchangeComParam();

    // Exactly one is set by the opener; it chooses the value routines and the folder memory.
    EditorOwner* ownerLoLi = nullptr;
    EditorOwner* ownerKelda = nullptr;

    // Pick mode's answer: the index into the caller's records (-1 after Cancel) and the
    // hexadecimal text of the value.
    int selectedIndex = -1;
    std::string resultText;

    controls::Static m_ProtocolLabel;
    controls::Edit m_ProtocolEdit;
    controls::Static m_SelectLabel;
    controls::ComboBox m_ComParamCombo;
    controls::Static m_ValueLabel;
    controls::Static m_DecLabel;
    controls::Edit m_DecEdit;
    controls::Static m_HexLabel;
    controls::Edit m_HexEdit;
    controls::Button m_SetParamButton;
    controls::Button m_LoadButton;
    controls::Button m_SaveButton;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;

private:
    const ComParamValueFamily& Family() const;
    EditorOwner* Owner() const { return ownerLoLi ? ownerLoLi : ownerKelda; }
    ComParamInfo* FindWorking(const std::string& name);
    std::string FormatValue(const ComParamInfo& record, bool withLongField) const;
    bool ValueOverflows(const std::string& text);
    void RefreshDecText();
    std::string SectionName() const;
    void SetParamOf(ComParamInfo& record, const ComParamInfo& selected);
    void FreeWorking() { working.clear(); }

    const int mode;
    const std::string protocolName;
    const uint32_t hMod;
    const uint32_t hCLL;
    std::vector<ComParamInfo>& records;

    std::vector<ComParamInfo> working;
    std::string currentName;
    std::string currentText;
    std::string mirrorText;
    bool cleared = false;
    bool saving = false;
};
