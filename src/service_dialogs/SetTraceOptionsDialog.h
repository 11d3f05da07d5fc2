// The library's trace path and detail: PDU_IOCTL_SET_TRACE_OPTIONS, sent on OK.
#pragma once

#include "controls/Button.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "service_dialogs/ServiceDialog.h"

class SetTraceOptionsDialog : public ServiceDialog {
public:
    static constexpr int IDD = 172;
    enum : int {
        IDC_TRACE_PATH = 2048,
        IDC_TRACE_DETAIL = 2027,
        IDC_TRACE_DETAIL_HINT = 2049,
        IDC_OK = 1,
        IDC_CANCEL = 2,
    };

    SetTraceOptionsDialog(ui::Ui& ui, ServiceDialogHost& host);

    void OnOK();

    controls::Edit m_TracePathEdit;
    controls::Edit m_TraceDetailEdit;
    controls::Static m_TraceDetailHint;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
};
