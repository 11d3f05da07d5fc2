#include "app/CQuillonDlg.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>

#include "app/Resource.h"
#include "pdu/PduApi.h"
#include "platform/Paths.h"
#include "platform/ProfileFile.h"
#include "root/RootFileReader.h"

using controls::Notification;

namespace {

constexpr const char* kSettingsSection = "KeldaTest";
constexpr uint32_t kSettingBuffer = 20;  // longer values are cut

std::string ReadSetting(const std::string& iniPath, const char* key, const char* defaultValue)
{
    return platform::ProfileFile::GetString(iniPath, kSettingsSection, key, defaultValue, kSettingBuffer);
}

void SleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

}  // namespace

CQuillonDlg::CQuillonDlg(ui::Ui& ui, StartupOptions options)
    : Dialog(ui, IDD_QUILLON_DIALOG, ""),
      m_ApiCombo(IDC_API_COMBO, "Select PDU-API Version"),
      m_OnlyMorvaneStatic(IDC_ONLY_MORVANE_STATIC, "(only Morvane APIs are listed)"),
      m_UnloadButton(IDC_UNLOAD, "&Unload"),
      m_OpenLastLinkButton(IDC_OPEN_LAST_LINK, "OpenLastLink"),
      m_HistoryMenuButton(IDC_HISTORY_MENU, "..."),
      m_ParseMdfButton(IDC_PARSE_MDF, "&Parse MDF File"),
      m_GetModuleIdsButton(IDC_GET_MODULE_IDS, "PDUGetModule&Ids"),
      m_ModuleCombo(IDC_MODULE_COMBO, "Select MVCI M&odule"),
      m_ModuleConnectButton(IDC_MODULE_CONNECT, "PDUModule&Connect"),
      m_ModuleDisconnectButton(IDC_MODULE_DISCONNECT, "PDUModule&Disconnect"),
      m_ProtocolCombo(IDC_PROTOCOL_COMBO, "Select Protocol"),
      m_BustypeCombo(IDC_BUSTYPE_COMBO, "Select Bustype"),
      m_PinsCombo(IDC_PINS_COMBO, "Select DLC Pin(s)"),
      m_CableCombo(IDC_CABLE_COMBO, "Select Cable"),
      m_LoLiCreateFlagsEdit(IDC_LOLI_CREATE_FLAGS, "LoLi Create Flags"),
      m_LabelEdit(IDC_LABEL, "Label"),
      m_ResourceShortNameEdit(IDC_RESOURCE_SHORTNAME, "Selected Resource ShortName"),
      m_ResourceStatusEdit(IDC_RESOURCE_STATUS, "Resource Status"),
      m_UpdateResourceStatusButton(IDC_UPDATE_RESOURCE_STATUS, "Update Resource Status"),
      m_ConflictingResourcesEdit(IDC_CONFLICTING_RESOURCES, "Conflicting ResourceGroups of the selected module"),
      m_ResourceInfoGroup(IDC_RESOURCE_INFO_GROUP, "Resource Info"),
      m_InfoProtocolEdit(IDC_INFO_PROTOCOL, "Protocol"),
      m_InfoBustypeEdit(IDC_INFO_BUSTYPE, "Bustype"),
      m_InfoPinsEdit(IDC_INFO_PINS, "Pins"),
      m_DoIpIoCtlButton(IDC_DOIP_IOCTL, "DoIP IoCtl"),
      m_VciWlanStatButton(IDC_VCI_WLAN_STAT, "VCI WLAN Stat"),
      m_SetTracePathButton(IDC_SET_TRACE_PATH, "Set Trace Path"),
      m_SodConfButton(IDC_SOD_CONF, "SOD Conf"),
      m_BrokerButton(IDC_BROKER, "Broker"),
      m_BusMonitoringButton(IDC_BUS_MONITORING, "BusMonitoring"),
      m_BusMonitoringEdit(IDC_BUS_MONITORING_VALUE, "BusMonitoring value"),
      m_GetVBattButton(IDC_GET_VBATT, "Get&VBatt"),
      m_VBattEdit(IDC_VBATT_VALUE, "VBatt value"),
      m_GetIgnitionStateButton(IDC_GET_IGNITION_STATE, "GetIg&nitionState"),
      m_IgnitionEdit(IDC_IGNITION_VALUE, "IgnitionState value"),
      m_LogList(IDC_LOG_LIST, "Log"),
      m_ExitButton(IDC_EXIT, "Exit"),
      m_MonitorVciCombo(IDC_MONITOR_VCI_COMBO, "Monitor VCI"),
      m_ClearLogButton(IDC_CLEAR_LOG, "Clear Lo&g"),
      m_ChannelCombo(IDC_CHANNEL_COMBO, "Channel"),
      m_OpenMoLiButton(IDC_OPEN_MOLI, "open &MoLi"),
      m_OpenLoLiButton(IDC_OPEN_LOLI, "Open &LoLi"),
      m_AboutButton(IDC_ABOUT, "About Morvane"),
      m_BitmapButton(IDC_BITMAP_BUTTON, "Bitmap"),
      m_options(std::move(options)),
      m_AboutDlg(ui),
      m_BusMonitoringDlg(ui)
{
    RegisterControls();
    BindHandlers();
    // The API tag of every callback is this dialog.
    CLinkBaseDlg::SetApiTagHandler([](void* tag) {
        auto* dlg = static_cast<CQuillonDlg*>(tag);
        if (dlg->m_hModuleEventSem) dlg->m_hModuleEventSem->Release();
    });
}

CQuillonDlg::~CQuillonDlg()
{
    // Only a later owner destroys the dialog; the normal way out leaves the section as it was read.
    m_History.Save();
    StopEventThread();
    FreeLibrary();
}

void CQuillonDlg::RegisterControls()
{
    controls::Control* table[] = {
        &m_ApiCombo, &m_OnlyMorvaneStatic, &m_UnloadButton, &m_OpenLastLinkButton, &m_HistoryMenuButton,
        &m_ParseMdfButton, &m_GetModuleIdsButton, &m_ModuleCombo, &m_ModuleConnectButton,
        &m_ModuleDisconnectButton, &m_ProtocolCombo, &m_BustypeCombo, &m_PinsCombo, &m_CableCombo,
        &m_LoLiCreateFlagsEdit, &m_LabelEdit, &m_ResourceShortNameEdit, &m_ResourceStatusEdit,
        &m_UpdateResourceStatusButton, &m_ConflictingResourcesEdit, &m_ResourceInfoGroup,
        &m_InfoProtocolEdit, &m_InfoBustypeEdit, &m_InfoPinsEdit, &m_DoIpIoCtlButton,
        &m_VciWlanStatButton, &m_SetTracePathButton, &m_SodConfButton, &m_BrokerButton,
        &m_BusMonitoringButton, &m_BusMonitoringEdit, &m_GetVBattButton, &m_VBattEdit,
        &m_GetIgnitionStateButton, &m_IgnitionEdit, &m_LogList, &m_ExitButton, &m_MonitorVciCombo,
        &m_ClearLogButton, &m_ChannelCombo, &m_OpenMoLiButton, &m_OpenLoLiButton, &m_AboutButton,
        &m_BitmapButton,
    };
    for (controls::Control* c : table) AddControl(*c);

    m_OpenLastLinkButton.EnableWindow(false);
    m_HistoryMenuButton.EnableWindow(false);
    m_GetModuleIdsButton.ShowWindow(false);
    m_MonitorVciCombo.ShowWindow(false);
    m_ChannelCombo.ShowWindow(false);
    m_OpenMoLiButton.ShowWindow(false);
    m_AboutButton.ShowWindow(false);
    m_BusMonitoringEdit.EnableWindow(false);
}

void CQuillonDlg::BindHandlers()
{
    const auto click = [this](controls::Control& c, void (CQuillonDlg::*handler)()) {
        On(c, Notification::Clicked, [this, handler] { (this->*handler)(); });
    };
    const auto combo = [this](controls::Control& c, void (CQuillonDlg::*sel)(), void (CQuillonDlg::*edit)()) {
        On(c, Notification::SelChange, [this, sel] { (this->*sel)(); });
        if (edit) On(c, Notification::EditChange, [this, edit] { (this->*edit)(); });
    };
    combo(m_ApiCombo, &CQuillonDlg::OnCbnSelchangeApi, &CQuillonDlg::OnCbnEditchangeApi);
    combo(m_ModuleCombo, &CQuillonDlg::OnCbnSelchangeModule, &CQuillonDlg::OnCbnEditchangeModule);
    combo(m_ProtocolCombo, &CQuillonDlg::OnCbnSelchangeProtocol, &CQuillonDlg::OnCbnEditchangeProtocol);
    combo(m_BustypeCombo, &CQuillonDlg::OnCbnSelchangeBustype, &CQuillonDlg::OnCbnEditchangeBustype);
    combo(m_CableCombo, &CQuillonDlg::OnCbnSelchangeCable, &CQuillonDlg::OnCbnEditchangeCable);
    combo(m_PinsCombo, &CQuillonDlg::OnCbnSelchangePins, &CQuillonDlg::OnCbnEditchangePins);
    click(m_UnloadButton, &CQuillonDlg::OnBnClickedUnload);
    click(m_ParseMdfButton, &CQuillonDlg::OnBnClickedParseMdf);
    click(m_GetModuleIdsButton, &CQuillonDlg::OnBnClickedGetModuleIds);
    click(m_ModuleConnectButton, &CQuillonDlg::OnBnClickedModuleConnect);
    click(m_ModuleDisconnectButton, &CQuillonDlg::OnBnClickedModuleDisconnect);
    click(m_UpdateResourceStatusButton, &CQuillonDlg::UpdateResourceSelection);
    click(m_OpenLoLiButton, &CQuillonDlg::OnBnClickedOpenLoLi);
    click(m_OpenMoLiButton, &CQuillonDlg::OnBnClickedOpenMoLi);
    click(m_OpenLastLinkButton, &CQuillonDlg::OnBnClickedOpenLastLink);
    click(m_HistoryMenuButton, &CQuillonDlg::OnBnClickedHistoryMenu);
    click(m_GetVBattButton, &CQuillonDlg::OnBnClickedGetVBatt);
    click(m_GetIgnitionStateButton, &CQuillonDlg::OnBnClickedGetIgnitionState);
    click(m_BusMonitoringButton, &CQuillonDlg::OnBnClickedBusMonitoring);
    click(m_DoIpIoCtlButton, &CQuillonDlg::OnBnClickedDoIpIoCtl);
    click(m_VciWlanStatButton, &CQuillonDlg::OnBnClickedVciWlanStat);
    click(m_SetTracePathButton, &CQuillonDlg::OnBnClickedSetTracePath);
    click(m_SodConfButton, &CQuillonDlg::OnBnClickedSodConf);
    click(m_BrokerButton, &CQuillonDlg::OnBnClickedBroker);
    click(m_ExitButton, &CQuillonDlg::OnBnClickedExit);
    click(m_ClearLogButton, &CQuillonDlg::OnBnClickedClearLog);
    click(m_AboutButton, &CQuillonDlg::OnBnClickedAbout);
    click(m_BitmapButton, &CQuillonDlg::OnBnClickedAbout);
}

// ---------------------------------------------------------------- log

void CQuillonDlg::Log(const char* format, ...)
{
    std::lock_guard lock(PrintLock);
    va_list args;
    va_start(args, format);
    m_LogList.PrintV(0, format, args);
    va_end(args);
}

void CQuillonDlg::LogText(const std::string& text)
{
    std::lock_guard lock(PrintLock);
    m_LogList.PrintText(0, text.c_str());
}

void CQuillonDlg::FlushLog()
{
    m_LogList.Flush();
    m_ui.RedrawNow(*this);
}

void CQuillonDlg::OnTimer(unsigned id)
{
    if (id != m_nTimerId) return;
    m_LogList.Flush();
    // Link dialogs closed since the last tick go now, outside the handlers that closed them.
    m_ClosedLinks.clear();
    m_ClosedServiceDialogs.clear();
}

void CQuillonDlg::OnBnClickedClearLog()
{
    std::lock_guard lock(PrintLock);
    m_LogList.Clear();
}

void CQuillonDlg::OnBnClickedAbout()
{
    m_AboutDlg.ResetEnd();
    m_ui.RunModal(m_AboutDlg);
}

// ---------------------------------------------------------------- start-up

std::string CQuillonDlg::ExecutableDirectory() const
{
    return m_options.executableDirectory ? *m_options.executableDirectory : platform::ExecutableDirectory();
}

bool CQuillonDlg::OnInitDialog()
{
    m_Title = "Quillon Test Application - V 11.32.067";
    m_LogList.Prepare();
    m_Title += " (64)";
    Log("************ Getting MVCI Module paths *************\n\n");

    if (!ResolveIniPath()) return false;

    m_History.Load(m_IniPath);
    if (m_History.GetCount() > 0) {
        m_OpenLastLinkButton.EnableWindow(true);
        m_HistoryMenuButton.EnableWindow(true);
    }

    if (!ResolveRootFilePath(ExecutableDirectory())) return false;
    ReadDisplaySettings();
    if (!FillApiCombo()) return false;

    if (ReadSetting(m_IniPath, "Monitor", "ERROR") == "1") {
        m_bMonitorMode = true;
        m_OpenLastLinkButton.ShowWindow(true);
        m_HistoryMenuButton.ShowWindow(true);
        m_Title += " Turbo";
    } else {
        m_OpenLastLinkButton.ShowWindow(false);
        m_HistoryMenuButton.ShowWindow(false);
    }
    SetWindowText(m_Title);

    m_hModuleEventSem = std::make_unique<platform::Semaphore>(0, 65535);
    m_hSystemEventSem = std::make_unique<platform::Semaphore>(0, 65535);
    ScanCommandLine();
    ConfigureModeControls();
    StartEventThread();
    m_nTimer = m_ui.SetTimer(*this, m_nTimerId, kLogTimerPeriodMs) ? m_nTimerId : 0;
    return true;
}

bool CQuillonDlg::ResolveIniPath()
{
    if (m_options.iniPath) {
        m_IniPath = *m_options.iniPath;
        return true;
    }
    std::string dir = ExecutableDirectory();
    const std::string lowered = platform::ToLower(dir);
    if (lowered.find("keldadev") == std::string::npos && !platform::FileExists(dir + "/Quillon.ini"))
        dir = platform::CommonAppDataDirectory();
    if (dir.empty()) {
        Log("%s", kShortSeparator);
        Log("Error: Could not get the path of Quillon.exe!\n");
        return false;
    }
    m_IniPath = dir + "/Quillon.ini";
    return true;
}

bool CQuillonDlg::ResolveRootFilePath(const std::string& exeDir)
{
    if (m_options.rootFilePath) {
        m_RootFilePath = *m_options.rootFilePath;
        return true;
    }
    const std::string useSystem = ReadSetting(m_IniPath, "UseSystemRootFile", "0");
    if (useSystem != "1") {
        if (exeDir.empty()) {
            Log("Error: Could not get the path of Quillon.exe!\n");
            m_RootFilePath.clear();
            return false;
        }
        if (platform::FileExists(exeDir + "/pdu_api_root.xml")) {
            m_RootFilePath = exeDir + "/pdu_api_root.xml";
            return true;
        }
        // Installed, the program's own root file can't lie beside it in bin/; it stands in for
        // that file, so the packaged simulator is listed and the system file stays the vendor's.
        if (std::string installed = platform::InstalledRootFilePath(exeDir); !installed.empty()) {
            m_RootFilePath = std::move(installed);
            return true;
        }
    }
    m_RootFilePath = GetRootFilePathFromRegistry();
    if (m_RootFilePath.empty()) {
        Log("Error: Could not determine root file path from registry.\n");
        return false;
    }
    return true;
}

void CQuillonDlg::ReadDisplaySettings()
{
    if (ReadSetting(m_IniPath, "ShowAllPDUAPIs", "ERROR") == "1") {
        m_bShowAllApis = true;
        m_OnlyMorvaneStatic.ShowWindow(false);
    }
    m_bShowVendorName = platform::ProfileFile::GetInt(m_IniPath, kSettingsSection, "ShowPDUAPIVendorName", 0) == 1;
    const std::string align = platform::ToLower(ReadSetting(m_IniPath, "AlignLinkWindows", "0"));
    m_AlignMode = align == "atcenter" ? 1 : align == "atside" ? 2 : 0;
}

bool CQuillonDlg::FillApiCombo()
{
    std::string error, names, suppliers;
    const std::string info = ReadRootFile(m_RootFilePath, "", error, names, suppliers);
    if (!error.empty()) {
        LogText(error);
        m_RootFilePath.clear();
        m_LibraryPath.clear();
        m_MdfPath.clear();
        m_CdfPath.clear();
        return false;
    }
    LogText(info);
    size_t namePos = 0, supplierPos = 0;
    while (namePos <= names.size() && !names.empty()) {
        size_t nameEnd = names.find(kRootListSeparator, namePos);
        size_t supplierEnd = suppliers.find(kRootListSeparator, supplierPos);
        const std::string name = names.substr(namePos, nameEnd == std::string::npos ? std::string::npos : nameEnd - namePos);
        const std::string supplier = supplierPos > suppliers.size() ? std::string()
            : suppliers.substr(supplierPos, supplierEnd == std::string::npos ? std::string::npos : supplierEnd - supplierPos);
        if (!name.empty() && (m_bShowAllApis || supplier == "Morvane AG")) {
            const std::string text = m_bShowVendorName ? name + "  ----  " + supplier : name;
            m_ApiCombo.AddItem(text, std::make_shared<std::string>(name));
        }
        if (nameEnd == std::string::npos) break;
        namePos = nameEnd + 1;
        supplierPos = supplierEnd == std::string::npos ? suppliers.size() + 1 : supplierEnd + 1;
    }
    return true;
}

void CQuillonDlg::ScanCommandLine()
{
    for (const std::string& arg : m_options.arguments) {
        if (arg.size() < 3 || platform::ToLower(arg.substr(0, 2)) != "-m") break;
        if (std::atoi(arg.c_str() + 2) == 1) m_bMonitorMode = true;
    }
}

void CQuillonDlg::ConfigureModeControls()
{
    if (m_bMonitorMode) {
        for (const char* channel : {"CAN1", "CAN2", "CAN3", "CAN4", "CAN5", "CAN6", "CAN7", "CAN8", "KLINE1",
                                    "KLINE2", "LIN1", "DOIP"})
            m_ChannelCombo.AddString(channel);
        m_ChannelCombo.SetCurSel(0);
        m_ChannelCombo.ShowWindow(true);
        m_MonitorVciCombo.ShowWindow(true);
        m_GetModuleIdsButton.ShowWindow(true);
        m_OpenMoLiButton.ShowWindow(true);
        return;
    }
    m_ChannelCombo.ShowWindow(false);
    m_MonitorVciCombo.ShowWindow(false);
    m_GetModuleIdsButton.ShowWindow(false);
    m_OpenMoLiButton.ShowWindow(false);
    m_ClearLogButton.MoveBy(-150);
    m_OpenLoLiButton.MoveBy(-320);
    m_AboutButton.ShowWindow(true);
}

// ---------------------------------------------------------------- module event thread

void CQuillonDlg::StartEventThread()
{
    if (m_hEventThread.joinable()) return;
    m_bEventThreadStop = 0;
    m_hEventThread = std::thread(&CQuillonDlg::QUILLON_ModuleEventThread, this);
    while (!m_bEventThreadRunning) SleepMs(10);
}

void CQuillonDlg::StopEventThread()
{
    m_bEventThreadStop = 1;
    if (m_hModuleEventSem) m_hModuleEventSem->Release();
    if (m_hSystemEventSem) m_hSystemEventSem->Release();
    while (m_bEventThreadRunning) SleepMs(10);
    if (m_hEventThread.joinable()) m_hEventThread.join();
}
