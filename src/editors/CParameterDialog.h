// The modal editor of a monitor link's parameters: a list of names, the name and value of the one
// picked, the set saved to and loaded from an ini file.
#pragma once

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/Edit.h"
#include "controls/ListBox.h"
#include "controls/Static.h"
#include "editors/CParams.h"
#include "ui/Dialog.h"

class CParameterDialog : public Dialog {
public:
    static constexpr int IDD = 260;

    explicit CParameterDialog(ui::Ui& ui);

    void SetParams(KdParamSet* set) { m_pSet = set; }
    bool OnInitDialog() override;
    void OnOK();
    void OnDblClkNames();
    void OnBnClickedSaveAs();
    void OnBnClickedLoad();
    void OnBnClickedSet();

    controls::Button m_OkButton;
    controls::Button m_SaveAsButton;
    controls::ListBox m_NameList;
    controls::Button m_LoadButton;
    controls::Edit m_ValueEdit;
    controls::Button m_SetButton;
    controls::Edit m_NameEdit;
    controls::CheckBox m_ShowHexCheck;
    controls::Static m_SetIsDeadStatic;

private:
    // The value edit's text goes to the parameter the name edit names.
    void StoreEdits();
    bool AskFile(bool save, std::string& path);

    CParams m_params;
    KdParamSet* m_pSet = nullptr;
};
