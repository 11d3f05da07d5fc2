// quillon: the desktop test bench.
#include <QApplication>

#include "app/CQuillonApp.h"
#include "app/Resource.h"
#include "qt/MainWindowView.h"
#include "qt/QtUi.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName("Quillon");
    QtUi ui;
    ui.RegisterView(IDD_QUILLON_DIALOG,
                    [](Dialog& d) { return new MainWindowView(static_cast<CQuillonDlg&>(d)); });
    StartupOptions options;
    for (int i = 1; i < argc; ++i) options.arguments.emplace_back(argv[i]);
    theApp.InitInstance(ui, options, [&ui](CQuillonDlg& dlg) { return ui.RunModal(dlg); });
    return 0;
}
