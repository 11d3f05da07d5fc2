// "Edit URID Table": the unique response id table of one link as a tree (table, URIDs, their
// ComParams), edited in place and through a context menu, saved to and loaded from ini files.
// The tree is the working state: OK and Save read everything back from the item texts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "controls/Button.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "controls/TreeCtrl.h"
#include "description/ComParamInfo.h"
#include "description/UridTable.h"
#include "ui/Dialog.h"

class EditorOwner;

class URID_Table_Dialog : public Dialog {
public:
    URID_Table_Dialog(ui::Ui& ui, std::string protocolName, uint32_t hMod, uint32_t hCLL,
                      const std::vector<ComParamInfo>& records);

    bool OnInitDialog() override;
    void OnClose() override { OnCancel(); }
    void OnOK();
    void OnCancel();
    void OnBnClickedSave();
    void OnBnClickedLoad();
    void OnTvnBeginlabeledit();
    void OnTvnEndlabeledit();
    void OnRClickTree();
    void OnAddNewUrid();
    void OnAddNewParam();
    void OnDeleteItem();

    EditorOwner* ownerLoLi = nullptr;
    EditorOwner* ownerKelda = nullptr;

    // The table built by OK, in the plain window's value routines; null after Cancel and after
    // an OK on a tree without URIDs. The opener takes it.
    std::unique_ptr<UridTable> table;

    controls::Static m_ProtocolLabel;
    controls::Edit m_ProtocolEdit;
    controls::TreeCtrl m_Tree;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
    controls::Button m_LoadButton;
    controls::Button m_SaveButton;

private:
    using Handle = controls::TreeCtrl::Handle;
    enum class Check { Valid, BadIdentifier, NoParams };

    EditorOwner* Owner() const { return ownerLoLi ? ownerLoLi : ownerKelda; }
    std::vector<Handle> UridItems() const;
    Check CheckUrid(Handle urid, std::string& shown) const;
    bool ShowCheck(Check check, const std::string& shown);
    void FillFromLibrary();
    std::string ParamText(const ComParamInfo& record, const PDU_PARAM_ITEM& param) const;
    const ComParamInfo* FindUnique(uint32_t id) const;
    void BuildTable(const std::vector<Handle>& urids);
    void SaveUrid(const std::string& path, Handle urid, bool& fileCreated);
    void ResetTree();

    const std::string protocolName;
    const uint32_t hMod;
    const uint32_t hCLL;
    const std::vector<ComParamInfo>& records;

    std::vector<ComParamInfo> uniqueParams;
    Handle rootItem = 0;
    Handle currentItem = 0;
    std::string textBefore;
    std::string textAfter;
};
