// The application object: runs the main dialog modally; the program ends with it.
#pragma once

#include <functional>

#include "app/CQuillonDlg.h"

class CQuillonApp {
public:
    using ModalLoop = std::function<int(CQuillonDlg&)>;

    // Runs the main dialog in the given loop and returns false, so that the program ends after it.
    // The dialog stays alive until the process ends: its destructor would rewrite the section
    // History, and a normal exit leaves that section as it was read.
    bool InitInstance(ui::Ui& ui, StartupOptions options, const ModalLoop& runModal);
    int ExitCode() const { return m_exitCode; }
    CQuillonDlg* m_pMainWnd = nullptr;

private:
    int m_exitCode = 0;
};

extern CQuillonApp theApp;
