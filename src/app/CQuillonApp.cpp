#include "app/CQuillonApp.h"

CQuillonApp theApp;

namespace {
// Keeps the main dialog reachable after its loop ended (see InitInstance).
CQuillonDlg* g_keptMainDialog = nullptr;
}  // namespace

bool CQuillonApp::InitInstance(ui::Ui& ui, StartupOptions options, const ModalLoop& runModal)
{
    auto* dlg = new CQuillonDlg(ui, std::move(options));
    g_keptMainDialog = dlg;
    m_pMainWnd = dlg;
    m_exitCode = runModal(*dlg);
    m_pMainWnd = nullptr;
    return false;
}
