// The main dialog: owns the loaded library, the module table, the runtime description tables,
// the cable model and the settings path. Every command of the application core is a handler here.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/CAboutDlg.h"
#include "app/HistoryList.h"
#include "app/ModuleLinkRegistry.h"
#include "logical_link/CLinkBaseDlg.h"
#include "logical_link/LinkHost.h"
#include "service_dialogs/BusTraceRequest.h"
#include "monitor_link/CMoLiDlg.h"
#include "service_dialogs/CBusMonitoringDlg.h"
#include "service_dialogs/ServiceDialog.h"
#include "service_dialogs/ServiceDialogHost.h"
#include "controls/Button.h"
#include "controls/CCheckComboBox.h"
#include "controls/CComboBoxInfoExt.h"
#include "controls/CToolTipComboBox.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "controls/Static.h"
#include "description/CDF_Parser.h"
#include "description/DescriptionTables.h"
#include "pdu/MorvaneExtensions.h"
#include "pdu/PduTypes.h"
#include "platform/Semaphore.h"
#include "ui/Dialog.h"

// One module the library reported.
struct PduModuleRec {
    uint32_t hMod = 0;
    uint32_t ModuleTypeId = 0;
    std::string displayName;
    std::vector<const ResourceInfo*> resources;  // into m_Resources, valid until the next Parse MDF
};

// One open logical link.
struct LinkSlot {
    Dialog* pDlg = nullptr;
    uint32_t hCLL = 0;
};

// What the headless driver (or a test) puts in place of what start-up would find.
struct StartupOptions {
    std::optional<std::string> iniPath;
    std::optional<std::string> rootFilePath;
    std::vector<std::string> arguments;  // the program's own command line, without the program name
    std::optional<std::string> executableDirectory;  // tests: where the program "lies"
};

class CQuillonDlg : public Dialog, public LinkHost, public ServiceDialogHost {
public:
    static constexpr unsigned kLogTimerId = 669;
    static constexpr unsigned kLogTimerPeriodMs = 50;
    static constexpr int kLinkSlotCount = 255;
    static constexpr const char* kLongSeparator = "-------------------------------------------------------\n";
    static constexpr const char* kShortSeparator = "----------------------------------------------------\n";

    CQuillonDlg(ui::Ui& ui, StartupOptions options = {});
    ~CQuillonDlg() override;

    bool OnInitDialog() override;
    void OnTimer(unsigned id) override;
    void OnClose() override { OnBnClickedExit(); }
    controls::PrintListCtrl* LogList() override { return &m_LogList; }

    // Library binding and API change.
    bool LoadPduApi(const std::string& shortName);
    void OnCbnSelchangeApi();
    void OnCbnEditchangeApi();
    void OnBnClickedUnload();
    void OnBnClickedExit();
    void OnBnClickedClearLog();
    void OnBnClickedAbout();

    // Module connection.
    void OnBnClickedParseMdf();
    void OnBnClickedGetModuleIds();
    void OnBnClickedModuleConnect();
    void OnBnClickedModuleDisconnect();
    PduModuleRec* FindModule(const std::string& name);
    void SetModuleChecked(bool checked);
    void CloseLinksOnModule();

    // Resource selection.
    void OnCbnSelchangeModule();
    void OnCbnSelchangeProtocol();
    void OnCbnSelchangeBustype();
    void OnCbnSelchangeCable();
    void OnCbnSelchangePins();
    void OnCbnEditchangeModule();
    void OnCbnEditchangeProtocol();
    void OnCbnEditchangeBustype();
    void OnCbnEditchangeCable();
    void OnCbnEditchangePins();
    void UpdateResourceSelection();
    void ClearResourceSelection();
    void ShowResourceStatus(uint32_t hMod, uint32_t resourceId);
    static int ResourcePins(const ResourceInfo& resource, PinAssignment pins[4]);
    static std::string PinListText(const uint32_t* dlcPins, int count);
    const ResourceInfo* FindResource(const std::string& shortName) const;

    // Module and system events, the main dialog's own IOCTLs and service dialogs.
    int SelectCableIndex(const PduModuleRec& module);
    void OnBnClickedGetVBatt();
    void OnBnClickedGetIgnitionState();
    void OnBnClickedBusMonitoring();
    // Each answers whether its queue was left with items in it.
    bool ProcessModuleEvents();
    bool ProcessSystemEvents();

    // Link launch.
    void OnBnClickedOpenLoLi();
    void OpenLoLiWithoutResource();
    void OnBnClickedOpenLastLink();
    void OnBnClickedHistoryMenu();
    void OnLinkClosed(CLinkBaseDlg* dialog) override;

    // What the link dialogs need of the main dialog.
    std::recursive_mutex& GetPrintLock() override { return PrintLock; }
    std::string GetIniPath() override { return m_IniPath; }
    LinkComParams::Model GetDescriptionModel() override { return {&m_BusTypes, &m_Protocols, &m_ComParams}; }
    std::vector<ErrorCodeInfo> CopyVendorErrors() override;
    bool LinkWithoutComParamsAllowed() override { return m_bLinkWithoutResource; }

    // Monitor links and service dialogs of later work.
    void OnBnClickedOpenMoLi();
    void OnBnClickedDoIpIoCtl();
    void OnBnClickedVciWlanStat();
    void OnBnClickedSetTracePath();
    void OnBnClickedSodConf();
    void OnBnClickedBroker();

    // What the service dialogs need of the main dialog.
    std::vector<std::string> ModuleNames() override;
    int SelectedModuleIndex() override { return m_ModuleCombo.GetCurSel(); }
    uint32_t GetModuleHandleByName(const std::string& name) override;
    void OnServiceDialogClosed(Dialog& dialog) override;

    // Log writes from any thread, under PrintLock.
    void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void LogText(const std::string& text);
    void FlushLog();

    // The module event thread and the two callbacks that wake it.
    static void QUILLON_ModuleEventThread(CQuillonDlg* dlg);
    static void PDU_CALL ModuleEventCallback(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL,
                                             void* pCllTag, void* pAPITag);
    static void PDU_CALL SystemEventCallback(T_PDU_EVT_DATA eventType, UNUM32 hMod, UNUM32 hCLL,
                                             void* pCllTag, void* pAPITag);

    // State a view or a test may read.
    bool IsTimerRunning() const { return m_nTimer != 0; }
    bool IsEventThreadRunning() const { return m_bEventThreadRunning.load() != 0; }
    bool IsLibraryLoaded() const override { return m_hPduApiDll != nullptr; }
    const std::string& IniPath() const { return m_IniPath; }
    const std::string& RootFilePath() const { return m_RootFilePath; }
    bool MonitorMode() const { return m_bMonitorMode; }
    int AlignMode() const { return m_AlignMode; }

    // Controls, in the order of the dialog's control table.
    controls::CComboBoxInfoExt<std::string> m_ApiCombo;
    controls::Static m_OnlyMorvaneStatic;
    controls::Button m_UnloadButton;
    controls::Button m_OpenLastLinkButton;
    controls::Button m_HistoryMenuButton;
    controls::Button m_ParseMdfButton;
    controls::Button m_GetModuleIdsButton;
    controls::CCheckComboBox m_ModuleCombo;
    controls::Button m_ModuleConnectButton;
    controls::Button m_ModuleDisconnectButton;
    controls::CToolTipComboBox m_ProtocolCombo;
    controls::CToolTipComboBox m_BustypeCombo;
    controls::CToolTipComboBox m_PinsCombo;
    controls::ComboBox m_CableCombo;
    controls::Edit m_LoLiCreateFlagsEdit;
    controls::Edit m_LabelEdit;
    controls::Edit m_ResourceShortNameEdit;
    controls::Edit m_ResourceStatusEdit;
    controls::Button m_UpdateResourceStatusButton;
    controls::Edit m_ConflictingResourcesEdit;
    controls::Static m_ResourceInfoGroup;
    controls::Edit m_InfoProtocolEdit;
    controls::Edit m_InfoBustypeEdit;
    controls::Edit m_InfoPinsEdit;
    controls::Button m_DoIpIoCtlButton;
    controls::Button m_VciWlanStatButton;
    controls::Button m_SetTracePathButton;
    controls::Button m_SodConfButton;
    controls::Button m_BrokerButton;
    controls::Button m_BusMonitoringButton;
    controls::Edit m_BusMonitoringEdit;
    controls::Button m_GetVBattButton;
    controls::Edit m_VBattEdit;
    controls::Button m_GetIgnitionStateButton;
    controls::Edit m_IgnitionEdit;
    controls::PrintListCtrl m_LogList;
    controls::Button m_ExitButton;
    controls::CCheckComboBox m_MonitorVciCombo;
    controls::Button m_ClearLogButton;
    controls::CToolTipComboBox m_ChannelCombo;
    controls::Button m_OpenMoLiButton;
    controls::Button m_OpenLoLiButton;
    controls::Button m_AboutButton;
    controls::Button m_BitmapButton;

private:
    void RegisterControls();
    void BindHandlers();
    bool ResolveIniPath();
    bool ResolveRootFilePath(const std::string& exeDir);
    void ReadDisplaySettings();
    bool FillApiCombo();
    void ScanCommandLine();
    void ConfigureModeControls();
    void StartEventThread();
    bool ConvertTables(const class MDF_Parser& parser);
    void FillModuleCombo(const PDU_MODULE_ITEM& list);
    void LogModuleList(const PDU_MODULE_ITEM& list, bool longForm);
    void RebuildModuleTable();
    void LogVersionInfo(const PduModuleRec& module);
    void AddResourcesOfType(PduModuleRec& record);
    bool MapPins(const ResourceInfo& resource, const CableInfo* cable, uint32_t dlcPins[4], int& count) const;
    void FillProtocolCombo(const PduModuleRec& module);
    void SelectFirstAndRun(controls::ComboBox& combo, void (CQuillonDlg::*handler)());
    bool MatchesSelectedIds(const ResourceInfo& resource) const;
    bool BeginSelectionHandler(controls::ComboBox& combo, std::string HistoryEntry::*field, std::string& text);
    void SelectTyped(controls::ComboBox& combo, void (CQuillonDlg::*handler)());
    bool ResolveIoCtl(const char* name, uint32_t& id);
    Dialog* OpenServiceDialog(std::shared_ptr<ServiceDialog> dialog);
    void OpenOnce(Dialog*& pointer, const char* alreadyOpen, const std::function<std::shared_ptr<ServiceDialog>()>& make);
    struct ModuleValueRead {
        const char* ioctl;
        const char* idFailure;
        const char* valueName;
    };
    void ReadModuleValue(const ModuleValueRead& read, const UNUM32* input);
    const PduModuleRec* SelectedModuleRecord();
    PDU_MODULE_ITEM* CallGetModuleIds();
    bool ModuleListUsable(PDU_MODULE_ITEM* list);
    bool FillModuleRecord(const PDU_MODULE_DATA& data, PduModuleRec& record);
    void LogModuleEvent(const PDU_EVENT_ITEM& item, const PduModuleRec& module);
    void StopEventThread();
    std::shared_ptr<CLinkBaseDlg> CreateLinkDialog();
    void FillLinkFields(CLinkBaseDlg& link);
    bool CreateLink(const std::shared_ptr<CLinkBaseDlg>& link, const PduModuleRec* module, PDU_RSC_DATA* rscData,
                    uint32_t resourceId);
    void ShowLinkWindow(const std::shared_ptr<CLinkBaseDlg>& link, const std::string& moduleName);
    bool ReplaySelect(controls::ComboBox& combo, const std::string& text, void (CQuillonDlg::*handler)());
    void ResetSelectionControls();
    void ClearWorkingTables();
    void FreeLibrary();
    std::string ExecutableDirectory() const;
    // The monitor launch, step by step.
    void OpenDoIpMoLi();
    bool FindMonitorHardware(const std::string& vciText, uint32_t& hardwareType);
    KdMonitorService* GetMonitorService(const PduModuleRec& module);
    std::shared_ptr<CMoLiDlg> CreateMoLiDialog(const std::string& vciText, uint32_t hardwareType,
                                               const std::string& channel, const PduModuleRec& module);
    bool CloseMonitorWindow(CLinkBaseDlg* dialog);
    void DetachMonitorWindows();

    StartupOptions m_options;

public:
    // Members of the main dialog, in their order.
    uintptr_t m_nTimer = 0;
    const unsigned m_nTimerId = kLogTimerId;
    std::atomic<uint32_t> m_bEventThreadRunning{0};
    std::atomic<uint32_t> m_bEventThreadStop{0};
    std::thread m_hEventThread;
    Dialog* m_pDoIpIoCtlDlg = nullptr;
    Dialog* m_pWlanStatDlg = nullptr;
    Dialog* m_pTraceOptionsDlg = nullptr;
    Dialog* m_pSodConfDlg = nullptr;
    Dialog* m_pBrokerDlg = nullptr;
    CAboutDlg m_AboutDlg;
    LinkSlot m_LinkSlots[kLinkSlotCount]{};
    int m_CurrentModuleIndex = 0;
    std::recursive_mutex PrintLock;
    ModuleLinkRegistry m_ModuleLinkRegistry;
    std::atomic<T_PDU_ERROR> m_LastPduStatus{PDU_STATUS_NOERROR};  // written by the event thread too
    uint32_t m_SelectedResourceId = 0;
    std::vector<PduModuleRec> m_pPduModules;
    int m_nPduModules = 0;
    std::string m_SelectedApiName;
    std::string m_SelectedApiSupplier;
    void* m_hPduApiDll = nullptr;
    std::atomic<bool> m_bApiUsable{false};       // the event thread's list change sets and clears it
    std::atomic<bool> m_bPduConstructed{false};  // changes under PrintLock, where the event thread tests it
    std::unique_ptr<PDU_RSC_DATA> m_pRscData;
    std::vector<PDU_PIN_DATA> m_RscPins;  // the pin pairs m_pRscData points to
    std::string m_RootFilePath;
    std::string m_LibraryPath, m_MdfPath, m_CdfPath;
    std::vector<CLinkBaseDlg*> m_LinkDialogs;
    // The link dialogs this dialog made; a closed one is let go after the handler that closed it.
    std::vector<std::shared_ptr<CLinkBaseDlg>> m_OwnedLinks;
    std::vector<std::shared_ptr<CLinkBaseDlg>> m_ClosedLinks;
    // Monitor windows stand in no link table and block nothing; they are only kept here.
    std::vector<std::shared_ptr<CMoLiDlg>> m_MonitorDialogs;
    bool m_bLinkWithoutResource = false;
    bool m_bApiReplayed = false;
    bool m_bShowAllApis = false;
    bool m_bShowVendorName = false;
    bool m_bMonitorMode = false;
    int m_AlignMode = 0;
    PduModuleRec* m_pSelectedModule = nullptr;
    uint32_t m_SelectedProtocolId = 0;
    uint32_t m_SelectedBusTypeId = 0;
    uint32_t m_SelectedMdfResourceId = 0;
    const CableInfo* m_pSelectedCable = nullptr;
    CDF_Parser m_CdfParser;
    std::string m_IniPath;
    HistoryList m_History;
    HistoryEntry m_CurrentEntry;
    bool m_bReplayingHistory = false;
    int m_HistoryIndex = 0;
    std::unique_ptr<platform::Semaphore> m_hModuleEventSem;
    std::unique_ptr<platform::Semaphore> m_hSystemEventSem;
    std::vector<ErrorCodeInfo> m_ErrorCodes;
    std::vector<PinTypeInfo> m_PinTypes;
    std::vector<ModuleTypeInfo> m_ModuleTypes;
    std::vector<ResourceInfo> m_Resources;
    std::vector<BusTypeInfo> m_BusTypes;
    std::vector<ProtocolInfo> m_Protocols;
    std::vector<ComParamInfo> m_ComParams;

    std::string m_Title;
    CBusMonitoringDlg m_BusMonitoringDlg;
    // The modeless service dialogs this dialog made; a closed one is let go after the handler
    // that closed it, as the link dialogs are.
    std::vector<std::shared_ptr<ServiceDialog>> m_ServiceDialogs;
    std::vector<std::shared_ptr<ServiceDialog>> m_ClosedServiceDialogs;
    // Bus trace requests go to the library, which may keep them: they stay until the dialog goes.
    std::vector<std::unique_ptr<BusTraceRequest>> m_BusTraceRequests;
};
