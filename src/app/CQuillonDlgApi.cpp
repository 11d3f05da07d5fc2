// The main dialog's commands around the loaded library: choosing, loading, unloading, leaving.
#include "app/CQuillonDlg.h"

#include <cerrno>

#include "logical_link/WorkerThread.h"
#include "pdu/PduApi.h"
#include "pdu/PduStatusText.h"
#include "platform/DynamicLibrary.h"
#include "root/RootFileReader.h"

namespace {

// How long an unload waits for link threads still inside the library.
constexpr uint32_t kUnloadWaitMs = 5000;

}  // namespace

bool CQuillonDlg::LoadPduApi(const std::string& shortName)
{
    if (shortName.empty()) return false;
    Log("%s", kShortSeparator);
    Log("Selected MVCI module: %s\n", shortName.c_str());
    Log("%s", kShortSeparator);

    std::string* const paths[] = {&m_LibraryPath, &m_MdfPath, &m_CdfPath};
    const char* const tags[] = {"LIBRARY_FILE", "MODULE_DESCRIPTION_FILE", "CABLE_DESCRIPTION_FILE"};
    for (int i = 0; i < 3; ++i) {
        std::string error, name = shortName, supplier;
        *paths[i] = ReadRootFile(m_RootFilePath, tags[i], error, name, supplier);
        if (!error.empty()) {
            LogText(error);
            for (std::string* p : paths) p->clear();
            return false;
        }
    }
    Log("PDU-API dll:\n%s\n", m_LibraryPath.c_str());
    Log("PDU-API ModuleDescriptionFile:\n%s\n", m_MdfPath.c_str());
    Log("PDU-API CableDescriptionFile:\n%s\n", m_CdfPath.c_str());
    Log("Loading PDU-API library file...\n");
    Log("\nPduApiLibPath:\"%s\"\n", m_LibraryPath.c_str());

    FreeLibrary();
    platform::LoadError error;
    m_hPduApiDll = platform::LoadLibraryPlain(m_LibraryPath, &error);
    if (!m_hPduApiDll) {
        Log("\nLoadLibrary Error:%d\n", error.code);
        if (!error.text.empty()) Log("%s\n", error.text.c_str());
        Log("Error LoadLibrary(%s).\nTrying LoadLibraryEx...\n", m_LibraryPath.c_str());
        m_hPduApiDll = platform::LoadLibraryAlteredSearchPath(m_LibraryPath, &error);
        if (!m_hPduApiDll) {
            Log("Error LoadLibraryEx(%s).\n", m_LibraryPath.c_str());
            FlushLog();
            return false;
        }
        Log("LoadLibraryEx succeeded.\n");
    }
    Log("Loading successful!\n");
    FlushLog();
    BindPduApi(m_hPduApiDll, &platform::GetProcAddress);
    return true;
}

void CQuillonDlg::FreeLibrary()
{
    // A monitor window holds objects of the library: it lets go of them while they still exist.
    DetachMonitorWindows();
    // A worker that a close gave up on may still be inside a call of the library; unloading
    // would take the code from under it. Such a library stays loaded.
    if (m_hPduApiDll && !WorkerThread::WaitAllEnded(kUnloadWaitMs))
        Log("Warning: a link thread is still inside the library after %u ms; it stays loaded.\n", kUnloadWaitMs);
    else if (m_hPduApiDll)
        platform::FreeLibrary(m_hPduApiDll);
    m_hPduApiDll = nullptr;
}

void CQuillonDlg::ResetSelectionControls()
{
    for (controls::ComboBox* combo : {static_cast<controls::ComboBox*>(&m_ProtocolCombo), static_cast<controls::ComboBox*>(&m_BustypeCombo),
                                      static_cast<controls::ComboBox*>(&m_CableCombo), static_cast<controls::ComboBox*>(&m_PinsCombo)})
        combo->ResetContent();
    m_ResourceShortNameEdit.SetWindowText("");
    m_ResourceStatusEdit.SetWindowText("");
}

void CQuillonDlg::ClearWorkingTables()
{
    // The event thread takes its copy of the module array under PrintLock.
    std::lock_guard lock(PrintLock);
    m_pSelectedModule = nullptr;
    m_pPduModules.clear();
    m_nPduModules = 0;
    m_ErrorCodes.clear();
    m_PinTypes.clear();
    m_ModuleTypes.clear();
    m_Resources.clear();
    m_BusTypes.clear();
    m_Protocols.clear();
    m_ComParams.clear();  // each value is freed by its type
}

void CQuillonDlg::OnCbnSelchangeApi()
{
    m_bApiUsable = false;
    if (!m_LinkDialogs.empty()) {
        m_ui.MessageBox("Close the Logical-Link dialogs before, selecting an other module.\n", "", ui::MB_OK);
        m_ModuleCombo.ResetContent();
        for (controls::Edit* e : {&m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit, &m_LoLiCreateFlagsEdit,
                                  &m_ResourceStatusEdit, &m_ResourceShortNameEdit})
            e->SetWindowText("");
        return;
    }
    m_SelectedApiName.clear();
    const int sel = m_ApiCombo.GetCurSel();
    if (sel != controls::ComboBox::CB_ERR) {
        if (auto name = m_ApiCombo.GetInfo(sel)) m_SelectedApiName = *name;
    }
    ClearWorkingTables();
    m_ModuleCombo.ResetContent();
    for (controls::Edit* e : {&m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit}) e->SetWindowText("");
    ResetSelectionControls();

    if (m_hPduApiDll) {
        // Under PrintLock the event thread is never inside the library while it goes away.
        std::lock_guard lock(PrintLock);
        if (m_bPduConstructed) {
            m_LastPduStatus = PduApi.PDUDestruct();
            Log("%s", kShortSeparator);
            Log("Return of PDUDestruct:\n%s\n", PduStatusText(m_LastPduStatus));
            m_bPduConstructed = false;
        }
        Log("\n*********** Unloading PDU-API module ************\n\n");
        FreeLibrary();
    }
    if (m_SelectedApiName.empty()) return;

    Log("\n*********** Changing the PDU-API module ************\n\n");
    if (LoadPduApi(m_SelectedApiName)) {
        m_bApiUsable = true;
        if (!m_bReplayingHistory) m_CurrentEntry.PDUShortName = m_SelectedApiName;
        return;
    }
    Log("%s", kShortSeparator);
    Log("Error: Could not get the current MVCI module paths.\n");
    m_SelectedApiName.clear();
}

void CQuillonDlg::OnBnClickedUnload()
{
    m_ApiCombo.SetCurSel(controls::ComboBox::CB_ERR);
    OnCbnSelchangeApi();
}

void CQuillonDlg::OnCbnEditchangeApi()
{
    const std::string text = m_ApiCombo.GetWindowText();
    if (text.empty()) {
        m_ApiCombo.SetCurSel(controls::ComboBox::CB_ERR);
        OnCbnSelchangeApi();
        return;
    }
    for (int i = 0; i < m_ApiCombo.GetCount(); ++i) {
        auto name = m_ApiCombo.GetInfo(i);
        if (name && *name == text) {
            m_ApiCombo.SetCurSel(i);
            OnCbnSelchangeApi();
            return;
        }
    }
}

void CQuillonDlg::OnBnClickedExit()
{
    if (!m_LinkDialogs.empty()) {
        m_ui.MessageBox("Close the Logical-Link dialogs before exit!\n", "", ui::MB_OK);
        return;
    }
    if (m_hPduApiDll && m_bPduConstructed) {
        std::lock_guard lock(PrintLock);
        m_LastPduStatus = PduApi.PDUDestruct();
        m_bPduConstructed = false;
    }
    m_ModuleCombo.ResetContent();
    for (controls::Edit* e : {&m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit}) e->SetWindowText("");
    m_SelectedApiName.clear();
    if (const int sel = m_ApiCombo.GetCurSel(); sel != controls::ComboBox::CB_ERR) {
        if (auto name = m_ApiCombo.GetInfo(sel)) m_SelectedApiName = *name;
    }
    ClearWorkingTables();
    ResetSelectionControls();
    StopEventThread();
    FreeLibrary();
    // The event semaphores stay for the dialog's life: a library's own threads may still call
    // back after PDUDestruct, even after the unload, and their callbacks release them.
    {
        std::lock_guard lock(PrintLock);
        m_LogList.Clear();
    }
    if (m_nTimer) {
        m_ui.KillTimer(*this, m_nTimerId);
        m_nTimer = 0;
    }
    m_LibraryPath.clear();
    m_MdfPath.clear();
    m_CdfPath.clear();
    m_RootFilePath.clear();
    m_IniPath.clear();
    if (m_pDoIpIoCtlDlg) {
        m_ui.DestroyWindow(*m_pDoIpIoCtlDlg);
        m_pDoIpIoCtlDlg = nullptr;
    }
    EndDialog(ui::IDOK);
}
