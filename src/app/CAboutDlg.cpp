#include "app/CAboutDlg.h"

#include "app/Resource.h"

CAboutDlg::CAboutDlg(ui::Ui& ui)
    : Dialog(ui, IDD_ABOUTBOX, "About Morvane AG"),
      m_Picture(IDC_ABOUT_PICTURE, "Quillon"),
      m_Address(IDC_ABOUT_ADDRESS,
                "Morvane AG\nDiagnostics and Vehicle Communication\nIndustriestrasse 12\n"
                "D-70565 Stuttgart\nsupport@morvane.example"),
      m_InfoEdit(IDC_ABOUT_EDIT, "Info"),
      m_OkButton(IDC_ABOUT_OK, "OK")
{
    m_InfoEdit.SetReadOnly(true);
    m_InfoEdit.SetWindowText("Quillon Test Application - V 11.32.067\r\n"
                             "Test bench for ISO 22900-2 D-PDU API implementations.");
    AddControl(m_Picture);
    AddControl(m_Address);
    AddControl(m_InfoEdit);
    AddControl(m_OkButton);
    On(m_OkButton, controls::Notification::Clicked, [this] { EndDialog(ui::IDOK); });
}
