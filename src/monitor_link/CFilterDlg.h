// The saved ID filters of the monitor windows: section "Filter" of the settings file, keys "0",
// "1" and on. The dialog picks one; SaveFilter is Alt+S of a monitor window.
#pragma once

#include <string>

#include "controls/Button.h"
#include "controls/ListBox.h"
#include "ui/Dialog.h"

class CFilterDlg : public Dialog {
public:
    static constexpr int IDD = 109;
    static constexpr int IDC_LIST = 125;
    // Keys render into a three-byte buffer: two digits at most.
    static constexpr int kMaxFilters = 100;

    explicit CFilterDlg(ui::Ui& ui);

    void SetIniPath(std::string path) { m_path = std::move(path); }
    bool OnInitDialog() override;
    void OnOK();

    // Alt+S: the text is kept under the first free key unless it is there already.
    static void SaveFilter(ui::Ui& ui, const std::string& iniPath, const std::string& text);

    controls::ListBox m_List;
    controls::Button m_OkButton;
    controls::Button m_CancelButton;
    std::string m_selection;

private:
    std::string m_path;
};
