// "Edit IOCTL Filters": ten rows of message filters of one link, started by row or together,
// stopped by row or all, saved to and loaded from an ini file.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/Static.h"
#include "pdu/PduTypes.h"
#include "ui/Dialog.h"

class IoCtlFilterDialog : public Dialog {
public:
    static constexpr int IDD = 500;
    static constexpr int kRows = 10;
    enum : int {
        IDC_FILTER_NUMBER = 310,  // + row, and so on for the columns
        IDC_FILTER_MASK = 320,
        IDC_FILTER_PATTERN = 330,
        IDC_FILTER_TYPE = 340,
        IDC_FILTER_SELECT = 350,
        IDC_FILTER_SIZE = 360,
        IDC_FILTER_START = 370,
        IDC_FILTER_STOP = 380,
        IDC_START_SELECTED = 390,
        IDC_STOP_ALL = 391,
        IDC_ACTIVE_COUNT = 392,
        IDC_SAVE_FILTER = 293,
        IDC_LOAD_FILTER = 294,
        IDC_RETURN_VALUE = 402,
        IDC_GROUP_SET = 400,
        IDC_GROUP_STATUS = 401,
        IDC_COLUMN_CAPTION = 410,  // + column
        IDC_ACTIVE_COUNT_LABEL = 420,
        IDC_RETURN_VALUE_LABEL = 421,
    };

    // `linkActiveFilters` is the link's count: read now, written back by Close.
    IoCtlFilterDialog(ui::Ui& ui, std::string titleSuffix, uint32_t hMod, uint32_t hCLL, uint32_t& linkActiveFilters);

    bool OnInitDialog() override;
    void OnClose() override { OnBnClickedClose(); }
    // Escape cancels: the count is not handed back.
    void OnCancelKey() override { EndDialog(ui::IDCANCEL); }
    void OnBnClickedStart(int id);
    void OnBnClickedStop(int id);
    void OnBnClickedStartSelected();
    void OnBnClickedStopAll();
    void OnBnClickedSaveFilter();
    void OnBnClickedLoadFilter();
    void OnBnClickedClose();

    // The records of the rows, in row order; false (after its warning) when a row is incomplete.
    bool BuildFilters(const std::vector<int>& rows, std::vector<PDU_IO_FILTER_DATA>& filters);

    struct Row {
        controls::Edit number;
        controls::Edit mask;
        controls::Edit pattern;
        controls::ComboBox type;
        controls::CheckBox select;
        controls::ComboBox size;
        controls::Button start;
        controls::Button stop;
        explicit Row(int r);
    };
    std::vector<std::unique_ptr<Row>> m_rows;
    std::array<controls::Static, 6> m_columnCaptions;
    controls::Static m_SetGroup;
    controls::Static m_StatusGroup;
    controls::Button m_StartSelectedButton;
    controls::Button m_StopAllButton;
    controls::Button m_SaveButton;
    controls::Button m_LoadButton;
    controls::Button m_CloseButton;
    controls::Static m_ActiveCountLabel;
    controls::Edit m_ActiveCountEdit;
    controls::Static m_ReturnValueLabel;
    controls::Edit m_ReturnValueEdit;

    int32_t m_activeFilters;

private:
    void StartRows(const std::vector<int>& rows);
    void ShowActiveFilters();
    void ShowReturnValue(T_PDU_ERROR result);
    bool FindIoCtl(const char* name, UNUM32& id);

    const std::string m_titleSuffix;
    const uint32_t m_hMod;
    const uint32_t m_hCLL;
    uint32_t& m_linkActiveFilters;
};
