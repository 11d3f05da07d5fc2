// The standard's DoIP IOCTLs by hand: one combo picks the IOCTL, one button sends it to the
// chosen module or to the system, and the result edit says how it went.
#pragma once

#include <string>

#include "controls/Button.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "pdu/PduTypes.h"
#include "service_dialogs/ServiceDialog.h"

class DoIPIoCtlDlg : public ServiceDialog {
public:
    static constexpr int IDD = 164;
    enum : int {
        IDC_IOCTL_TYPE = 1189,
        IDC_PRESELECTION_MODE = 1190,
        IDC_PRESELECTION_VALUE = 1195,
        IDC_COMBINATION_MODE = 1192,
        IDC_DISCOVERY_TIME = 1197,
        IDC_DEST_ADDRESS = 2021,
        IDC_ACTIVATION_PIN = 2025,
        IDC_SENSE_STATE = 2024,
        IDC_CURRENT = 2027,
        IDC_PIN_OPTION = 2029,
        IDC_LOGICAL_ADDRESS = 2026,
        IDC_TIMEOUT = 2028,
        IDC_MODULE_ID = 2022,
        IDC_SEND_IOCTL = 1201,
        IDC_RESULT = 1202,
        IDC_VEHICLE_ID_GROUP = 1203,
        IDC_SWITCH_GROUP = 1204,
        IDC_ENTITY_GROUP = 1205,
    };

    DoIPIoCtlDlg(ui::Ui& ui, ServiceDialogHost& host);

    bool OnInitDialog() override;
    void OnCbnSelchangeModule();
    void OnBnClickedSendIoCtl();

    uint32_t m_hModule = PDU_HANDLE_UNDEF;

    controls::Static m_VehicleIdGroup;
    controls::Static m_SwitchGroup;
    controls::Static m_EntityGroup;
    controls::ComboBox m_IoCtlCombo;
    controls::Edit m_PreselectionModeEdit;
    controls::Edit m_PreselectionValueEdit;
    controls::Edit m_CombinationModeEdit;
    controls::Edit m_DiscoveryTimeEdit;
    controls::ComboBox m_DestAddressCombo;
    controls::Edit m_ActivationPinEdit;
    controls::Edit m_SenseStateEdit;
    controls::Edit m_CurrentEdit;
    controls::Edit m_PinOptionEdit;
    controls::Edit m_LogicalAddressEdit;
    controls::Edit m_TimeoutEdit;
    controls::ComboBox m_ModuleCombo;
    controls::Button m_SendIoCtlButton;
    controls::Edit m_ResultEdit;

private:
    // Each returns the IOCTL's return code, or false when it stopped before the call (its text
    // is then in the result edit already, or the box has been shown).
    bool VehicleIdRequest(T_PDU_ERROR& result);
    bool SetSwitchState(T_PDU_ERROR& result);
    bool GetPinValue(const char* name, controls::Edit& shown, T_PDU_ERROR& result);
    bool EntityQuery(const char* name, PDU_DATA_ITEM** answer, T_PDU_ERROR& result);
    bool GetPowerMode(T_PDU_ERROR& result, std::string& success);
    bool GetEntityStatus(T_PDU_ERROR& result);
    bool ClearEntityList(T_PDU_ERROR& result);
    // PDUGetObjectId, and its box when it fails.
    bool IoCtlId(const char* name, uint32_t& id);
    PDU_IO_ENTITY_ADDRESS_DATA EntityAddress() const;
    void ShowResult(const std::string& text);
    // Power mode and entity status know more codes than the other IOCTLs.
    static const char* ResultText(T_PDU_ERROR result, bool entityQuery);
};
