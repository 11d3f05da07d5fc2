#include "qt/BenchMain.h"

#include <QApplication>
#include <QIcon>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "app/CAboutDlg.h"
#include "app/CQuillonApp.h"
#include "app/Resource.h"
#include "editors/CParameterDialog.h"
#include "editors/ComParam_Dialog.h"
#include "editors/EditorResource.h"
#include "editors/IoCtlFilterDialog.h"
#include "editors/URID_Table_Dialog.h"
#include "logical_link/LinkResource.h"
#include "logical_link/LoLiDialog.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "logical_link/MaskAndPatternDialog.h"
#include "logical_link/TxFlagsDlg.h"
#include "monitor_link/CFilterDlg.h"
#include "monitor_link/CMoLiDlg.h"
#include "monitor_link/MonitorResource.h"
#include "service_dialogs/DoIPIoCtlDlg.h"
#include "service_dialogs/SODConfDialog.h"
#include "service_dialogs/SetBrokerDialog.h"
#include "service_dialogs/SetTraceOptionsDialog.h"
#include "service_dialogs/VCIWLANStatDialog.h"
#include "qt/AboutView.h"
#include "qt/CFilterDlgView.h"
#include "qt/CMoLiDlgView.h"
#include "qt/CParameterDialogView.h"
#include "qt/DoIPIoCtlDlgView.h"
#include "qt/ComParam_DialogView.h"
#include "qt/IoCtlFilterDialogView.h"
#include "qt/URID_Table_DialogView.h"
#include "qt/LoLiDialogKeldaPDUAPIView.h"
#include "qt/LoLiDialogView.h"
#include "qt/MaskAndPatternDialogView.h"
#include "qt/TxFlagsDlgView.h"
#include "qt/SODConfDialogView.h"
#include "qt/SetBrokerDialogView.h"
#include "qt/SetTraceOptionsDialogView.h"
#include "qt/VCIWLANStatDialogView.h"
#include "qt/MainWindowView.h"
#include "qt/QtUi.h"

void RegisterViews(QtUi& ui)
{
    ui.RegisterView(IDD_QUILLON_DIALOG, [](Dialog& d) { return new MainWindowView(static_cast<CQuillonDlg&>(d)); });
    ui.RegisterView(IDD_ABOUTBOX, [](Dialog& d) { return new AboutView(static_cast<CAboutDlg&>(d)); });
    ui.RegisterView(IDD_LOLI_KELDA,
                    [](Dialog& d) { return new LoLiDialogKeldaPDUAPIView(static_cast<LoLiDialogKeldaPDUAPI&>(d)); });
    ui.RegisterView(IDD_MOLI, [](Dialog& d) { return new CMoLiDlgView(static_cast<CMoLiDlg&>(d)); });
    ui.RegisterView(CFilterDlg::IDD, [](Dialog& d) { return new CFilterDlgView(static_cast<CFilterDlg&>(d)); });
    ui.RegisterView(CParameterDialog::IDD,
                    [](Dialog& d) { return new CParameterDialogView(static_cast<CParameterDialog&>(d)); });
    ui.RegisterView(IDD_LOLI_PLAIN, [](Dialog& d) { return new LoLiDialogView(static_cast<LoLiDialog&>(d)); });
    ui.RegisterView(IDD_TX_FLAGS, [](Dialog& d) { return new TxFlagsDlgView(static_cast<TxFlagsDlg&>(d)); });
    ui.RegisterView(IDD_MASK_AND_PATTERN,
                    [](Dialog& d) { return new MaskAndPatternDialogView(static_cast<MaskAndPatternDialog&>(d)); });
    ui.RegisterView(IDD_COMPARAM_DIALOG,
                    [](Dialog& d) { return new ComParam_DialogView(static_cast<ComParam_Dialog&>(d)); });
    ui.RegisterView(IoCtlFilterDialog::IDD,
                    [](Dialog& d) { return new IoCtlFilterDialogView(static_cast<IoCtlFilterDialog&>(d)); });
    ui.RegisterView(IDD_URID_TABLE_DIALOG,
                    [](Dialog& d) { return new URID_Table_DialogView(static_cast<URID_Table_Dialog&>(d)); });
    ui.RegisterView(VCIWLANStatDialog::IDD,
                    [](Dialog& d) { return new VCIWLANStatDialogView(static_cast<VCIWLANStatDialog&>(d)); });
    ui.RegisterView(SetTraceOptionsDialog::IDD,
                    [](Dialog& d) { return new SetTraceOptionsDialogView(static_cast<SetTraceOptionsDialog&>(d)); });
    ui.RegisterView(DoIPIoCtlDlg::IDD, [](Dialog& d) { return new DoIPIoCtlDlgView(static_cast<DoIPIoCtlDlg&>(d)); });
    ui.RegisterView(SODConfDialog::IDD, [](Dialog& d) { return new SODConfDialogView(static_cast<SODConfDialog&>(d)); });
    ui.RegisterView(SetBrokerDialog::IDD,
                    [](Dialog& d) { return new SetBrokerDialogView(static_cast<SetBrokerDialog&>(d)); });
}

int RunBench(int argc, char** argv, const std::function<void(QtUi&)>& started)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName("Quillon");
    QGuiApplication::setDesktopFileName("quillon");
    QIcon icon = QIcon::fromTheme("quillon");
    if (icon.isNull()) {
        icon.addFile(":/icons/64x64/quillon.png");
        icon.addFile(":/icons/256x256/quillon.png");
    }
    QApplication::setWindowIcon(icon);
    QtUi ui;
    RegisterViews(ui);
    if (started) started(ui);
    StartupOptions options;
    for (int i = 1; i < argc; ++i) options.arguments.emplace_back(argv[i]);
    theApp.InitInstance(ui, options, [&ui](CQuillonDlg& dlg) { return ui.RunModal(dlg); });
    // Leaving here closes the windows; a clipboard manager gets what the user copied.
    return 0;
}

void EndProcess(int code)
{
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(code);
}
