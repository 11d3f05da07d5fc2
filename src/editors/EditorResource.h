// Dialog templates, control ids and menu commands of the ComParam and URID table editors.
#pragma once

enum : int {
    IDD_COMPARAM_DIALOG = 140,
    IDD_URID_TABLE_DIALOG = 141,

    // OK and Cancel are the dialogs' 1 and 2.
    IDC_CP_PROTOCOL_LABEL = 3400,
    IDC_CP_PROTOCOL,
    IDC_CP_SELECT_LABEL,
    IDC_CP_COMPARAM,
    IDC_CP_VALUE_LABEL,
    IDC_CP_DEC_LABEL,
    IDC_CP_DEC,
    IDC_CP_HEX_LABEL,
    IDC_CP_HEX,
    IDC_CP_SET_PARAM,
    IDC_CP_LOAD,
    IDC_CP_SAVE,

    IDC_URID_PROTOCOL_LABEL = 3450,
    IDC_URID_PROTOCOL,
    IDC_URID_TREE,
    IDC_URID_LOAD,
    IDC_URID_SAVE,

    // The context menu of the URID tree, one submenu a level.
    ID_URIDROOT_ADDNEWURID = 32801,
    ID_URID_ADDNEWPARAM,
    ID_URID_DELETEURID,
    ID_PARAM_DELETEPARAM,
};
