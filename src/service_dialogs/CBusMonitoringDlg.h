// The bus trace settings: only its fields, which the caller turns into PDU_BUS_TRC_CONFIG.
#pragma once

#include <cstdint>
#include <string>

#include "controls/Button.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "ui/Dialog.h"

class CBusMonitoringDlg : public Dialog {
public:
    static constexpr int IDD = 113;
    enum : int {
        IDC_BUS_TYPE_NAME = 253,
        IDC_PIN_1 = 204,
        IDC_PIN_2 = 207,
        IDC_ACTIVATE = 237,
        IDC_MAX_TRACE_FILE_SIZE = 210,
        IDC_TRACE_FILE_PATH = 211,
        IDC_TRACE_FILE = 212,
        IDC_GROUP = 1301,
        IDC_OK = 1,
        IDC_CANCEL = 2,
    };

    explicit CBusMonitoringDlg(ui::Ui& ui);

    bool OnInitDialog() override;
    // Data exchange out of the controls; numbers that aren't numbers read as 0.
    void OnOK();

    // The exchange fields.
    std::string m_BusTypeName;
    std::string m_Pin1;
    std::string m_Pin2;
    uint32_t m_Activate = 0;
    uint32_t m_MaxTraceFileSize = 0;
    std::string m_TraceFilePath;
    std::string m_TraceFile;

    controls::Static m_Group;
    controls::Edit m_BusTypeNameEdit;
    controls::Edit m_Pin1Edit;
    controls::Edit m_Pin2Edit;
    controls::Edit m_ActivateEdit;
    controls::Edit m_MaxTraceFileSizeEdit;
    controls::Edit m_TraceFilePathEdit;
    controls::Edit m_TraceFileEdit;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
};
