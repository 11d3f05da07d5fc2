#include "editors/IoCtlFilterDialog.h"

#include <cstdio>
#include <cstring>
#include <map>

#include "description/NumberText.h"
#include "editors/EditorFiles.h"
#include "pdu/PduApi.h"
#include "platform/ProfileFile.h"

using controls::Notification;

namespace {

const char* const kTypeNames[4] = {"PDU_FLT_PASS", "PDU_FLT_BLOCK", "PDU_FLT_PASS_UUDT", "PDU_FLT_BLOCK_UUDT"};
const T_PDU_FILTER kTypeValues[4] = {static_cast<T_PDU_FILTER>(1), static_cast<T_PDU_FILTER>(2),
                                     static_cast<T_PDU_FILTER>(17), static_cast<T_PDU_FILTER>(18)};
const char* const kColumnCaptions[6] = {"Filter Nr.", "Filter Mask Message -> Mask[0...11]",
                                        "Filter Pattern Message -> Pattern [0...11]", "IOCTL Filter Type: Type",
                                        "Select", "Filter Size: Size"};
const char* const kFilter = "FilterData|*.ini||";
const char* const kTwelveZeros = "00,00,00,00,00,00,00,00,00,00,00,00";
constexpr int kMessageBytes = 12;
constexpr uint32_t kReadBuffer = 100;

std::string RowText(const char* format, int row)
{
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, format, row);
    return buffer;
}

// The comma pieces of a message text, empty ones included; a piece past the twelfth is not read.
std::vector<std::string> Pieces(const std::string& text)
{
    std::vector<std::string> pieces;
    size_t start = 0;
    while (pieces.size() < kMessageBytes) {
        const size_t comma = text.find(',', start);
        pieces.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return pieces;
}

// What a file keeps of a message text: up to the end of its twelfth piece. A text of fewer
// pieces is kept whole.
std::string FirstTwelvePieces(const std::string& text)
{
    size_t from = 0;
    for (int piece = 1; piece <= kMessageBytes; ++piece) {
        const size_t comma = text.find(',', from);
        if (comma == std::string::npos) return text;
        if (piece == kMessageBytes) return text.substr(0, comma);
        from = comma + 1;
    }
    return text;
}

void FillBytes(const std::string& text, UNUM8 (&bytes)[kMessageBytes])
{
    const std::vector<std::string> pieces = Pieces(text);
    for (size_t i = 0; i < pieces.size(); ++i)
        if (!pieces[i].empty()) bytes[i] = static_cast<UNUM8>(ParseLong32(pieces[i], 16));
}

const std::map<T_PDU_ERROR, const char*>& ReturnWords()
{
    static const std::map<T_PDU_ERROR, const char*> words = {
        {PDU_STATUS_NOERROR, "PDU_STATUS_NOERROR"},
        {PDU_ERR_FCT_FAILED, "PDU_ERR_FCT_FAILED"},
        {PDU_ERR_COMM_PC_TO_VCI_FAILED, "PDU_ERR_COMM_PC_TO_VCI_FAILED"},
        {PDU_ERR_PDUAPI_NOT_CONSTRUCTED, "PDU_ERR_PDUAPI_NOT_CONSTRUCTED"},
        {PDU_ERR_INVALID_PARAMETERS, "PDU_ERR_INVALID_PARAMETERS"},
        {PDU_ERR_INVALID_HANDLE, "PDU_ERR_INVALID_HANDLE"},
        {PDU_ERR_ID_NOT_SUPPORTED, "PDU_ERR_ID_NOT_SUPPORTED"},
        {PDU_ERR_MODULE_NOT_CONNECTED, "PDU_ERR_MODULE_NOT_CONNECTED"},
    };
    return words;
}

}  // namespace

IoCtlFilterDialog::Row::Row(int r)
    : number(IDC_FILTER_NUMBER + r, "Filter Nr. " + std::to_string(r)),
      mask(IDC_FILTER_MASK + r, "Mask " + std::to_string(r)),
      pattern(IDC_FILTER_PATTERN + r, "Pattern " + std::to_string(r)),
      type(IDC_FILTER_TYPE + r, "Type " + std::to_string(r), false, false),
      select(IDC_FILTER_SELECT + r, "Select " + std::to_string(r)),
      size(IDC_FILTER_SIZE + r, "Size " + std::to_string(r), false, false),
      start(IDC_FILTER_START + r, "Start"),
      stop(IDC_FILTER_STOP + r, "Stop")
{
}

IoCtlFilterDialog::IoCtlFilterDialog(ui::Ui& ui, std::string titleSuffix, uint32_t hMod, uint32_t hCLL,
                                     uint32_t& linkActiveFilters)
    : Dialog(ui, IDD, "Edit IOCTL Filters"),
      m_columnCaptions{controls::Static(IDC_COLUMN_CAPTION, kColumnCaptions[0]),
                       controls::Static(IDC_COLUMN_CAPTION + 1, kColumnCaptions[1]),
                       controls::Static(IDC_COLUMN_CAPTION + 2, kColumnCaptions[2]),
                       controls::Static(IDC_COLUMN_CAPTION + 3, kColumnCaptions[3]),
                       controls::Static(IDC_COLUMN_CAPTION + 4, kColumnCaptions[4]),
                       controls::Static(IDC_COLUMN_CAPTION + 5, kColumnCaptions[5])},
      m_SetGroup(IDC_GROUP_SET, "Set Filters"),
      m_StatusGroup(IDC_GROUP_STATUS, "Filter Status Information"),
      m_StartSelectedButton(IDC_START_SELECTED, "Start Selected Filters"),
      m_StopAllButton(IDC_STOP_ALL, "Stop All Filters"),
      m_SaveButton(IDC_SAVE_FILTER, "Save Filter"),
      m_LoadButton(IDC_LOAD_FILTER, "Load Filter"),
      m_CloseButton(ui::IDOK, "Close"),
      m_ActiveCountLabel(IDC_ACTIVE_COUNT_LABEL, "Number Of Active Filters"),
      m_ActiveCountEdit(IDC_ACTIVE_COUNT, "Active Filters"),
      m_ReturnValueLabel(IDC_RETURN_VALUE_LABEL, "PDUIoCtl Return Value"),
      m_ReturnValueEdit(IDC_RETURN_VALUE, "Return Value"),
      m_activeFilters(static_cast<int32_t>(linkActiveFilters)),
      m_titleSuffix(std::move(titleSuffix)),
      m_hMod(hMod),
      m_hCLL(hCLL),
      m_linkActiveFilters(linkActiveFilters)
{
    AddControl(m_SetGroup);
    for (controls::Static& caption : m_columnCaptions) AddControl(caption);
    for (int r = 0; r < kRows; ++r) {
        m_rows.push_back(std::make_unique<Row>(r));
        Row& row = *m_rows.back();
        for (controls::Control* c : std::initializer_list<controls::Control*>{
                 &row.number, &row.mask, &row.pattern, &row.type, &row.select, &row.size, &row.start, &row.stop})
            AddControl(*c);
        On(row.start, Notification::Clicked, [this, id = row.start.Id()] { OnBnClickedStart(id); });
        On(row.stop, Notification::Clicked, [this, id = row.stop.Id()] { OnBnClickedStop(id); });
    }
    for (controls::Control* c : std::initializer_list<controls::Control*>{
             &m_StartSelectedButton, &m_StopAllButton, &m_SaveButton, &m_LoadButton, &m_StatusGroup,
             &m_ActiveCountLabel, &m_ActiveCountEdit, &m_ReturnValueLabel, &m_ReturnValueEdit, &m_CloseButton})
        AddControl(*c);
    m_ActiveCountEdit.SetReadOnly(true);
    m_ReturnValueEdit.SetReadOnly(true);
    On(m_StartSelectedButton, Notification::Clicked, [this] { OnBnClickedStartSelected(); });
    On(m_StopAllButton, Notification::Clicked, [this] { OnBnClickedStopAll(); });
    On(m_SaveButton, Notification::Clicked, [this] { OnBnClickedSaveFilter(); });
    On(m_LoadButton, Notification::Clicked, [this] { OnBnClickedLoadFilter(); });
    On(m_CloseButton, Notification::Clicked, [this] { OnBnClickedClose(); });
}

bool IoCtlFilterDialog::OnInitDialog()
{
    SetWindowText(GetWindowText() + " - " + m_titleSuffix);
    for (int r = 0; r < kRows; ++r) {
        Row& row = *m_rows[static_cast<size_t>(r)];
        row.number.SetWindowText(RowText("0x%04x", r));
        row.mask.SetWindowText("FF");
        row.pattern.SetWindowText("00");
        for (const char* name : kTypeNames) row.type.AddString(name);
        row.type.SetCurSel(0);
        for (int size = 1; size <= kMessageBytes; ++size) row.size.AddString(std::to_string(size));
        row.size.SetCurSel(0);
    }
    ShowActiveFilters();
    return true;
}

void IoCtlFilterDialog::ShowActiveFilters()
{
    m_ActiveCountEdit.SetWindowText(std::to_string(m_activeFilters));
}

// Codes without a word of their own leave the box as it was.
void IoCtlFilterDialog::ShowReturnValue(T_PDU_ERROR result)
{
    const auto it = ReturnWords().find(result);
    if (it != ReturnWords().end()) m_ReturnValueEdit.SetWindowText(it->second);
}

bool IoCtlFilterDialog::FindIoCtl(const char* name, UNUM32& id)
{
    id = PDU_ID_UNDEF;
    if (PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, const_cast<CHAR8*>(name), &id) == PDU_STATUS_NOERROR) return true;
    m_ui.MessageBox(std::string("PDUGetObjectId failed for ") + name, "", ui::MB_OK);
    return false;
}

bool IoCtlFilterDialog::BuildFilters(const std::vector<int>& rows, std::vector<PDU_IO_FILTER_DATA>& filters)
{
    filters.assign(rows.size(), PDU_IO_FILTER_DATA{});
    for (size_t i = 0; i < rows.size(); ++i) {
        const int r = rows[i];
        const Row& row = *m_rows[static_cast<size_t>(r)];
        PDU_IO_FILTER_DATA& filter = filters[i];
        const int type = row.type.GetCurSel();
        filter.FilterType = kTypeValues[type >= 0 && type < 4 ? type : 0];
        const std::string number = row.number.GetWindowText();
        const std::string size = row.size.GetWindowText();
        const std::string mask = row.mask.GetWindowText();
        const std::string pattern = row.pattern.GetWindowText();
        const char* warning = number.empty()    ? "Warning: The Filter Nr. of filter %d, not set!"
                              : size.empty()    ? "Warning: The Filter Size of filter %d, not set!"
                              : mask.empty()    ? "Warning: The Filter Mask Message of filter %d, empty!"
                              : pattern.empty() ? "Warning: The Filter Pattern Message of filter %d, empty!"
                                                : nullptr;
        if (warning) {
            m_ui.MessageBox(RowText(warning, r), "", ui::MB_OK);
            filters.clear();
            return false;
        }
        filter.FilterNumber = static_cast<UNUM32>(ParseLong32(number, 16));
        filter.FilterCompareSize = static_cast<UNUM32>(ParseLong32(size, 0));
        std::memset(filter.FilterMaskMessage, 0xFF, kMessageBytes);
        FillBytes(mask, filter.FilterMaskMessage);
        FillBytes(pattern, filter.FilterPatternMessage);
    }
    return true;
}

void IoCtlFilterDialog::StartRows(const std::vector<int>& rows)
{
    UNUM32 id = PDU_ID_UNDEF;
    FindIoCtl("PDU_IOCTL_START_MSG_FILTER", id);
    std::vector<PDU_IO_FILTER_DATA> filters;
    if (!BuildFilters(rows, filters)) return;
    PDU_IO_FILTER_LIST list{static_cast<UNUM32>(filters.size()), filters.data()};
    PDU_DATA_ITEM item{PDU_IT_IO_FILTER, &list};
    const T_PDU_ERROR result = PduApi.PDUIoCtl(m_hMod, m_hCLL, id, &item, nullptr);
    if (result == PDU_STATUS_NOERROR) {
        m_activeFilters += static_cast<int32_t>(rows.size());
        ShowActiveFilters();
    }
    ShowReturnValue(result);
}

void IoCtlFilterDialog::OnBnClickedStart(int id)
{
    StartRows({id - IDC_FILTER_START});
}

void IoCtlFilterDialog::OnBnClickedStartSelected()
{
    std::vector<int> rows;
    for (int r = 0; r < kRows; ++r)
        if (m_rows[static_cast<size_t>(r)]->select.GetCheck() & 1) rows.push_back(r);
    if (rows.empty()) {
        m_ui.MessageBox("Warning: No filter selected to be set!", "", ui::MB_OK);
        return;
    }
    StartRows(rows);
}

void IoCtlFilterDialog::OnBnClickedStop(int id)
{
    const int r = id - IDC_FILTER_STOP;
    UNUM32 ioctl = PDU_ID_UNDEF;
    FindIoCtl("PDU_IOCTL_STOP_MSG_FILTER", ioctl);
    const std::string number = m_rows[static_cast<size_t>(r)]->number.GetWindowText();
    if (number.empty()) {
        m_ui.MessageBox(RowText("Warning: The Filter Nr. of filter %d, not set!", r), "", ui::MB_OK);
        return;
    }
    UNUM32 filterNumber = static_cast<UNUM32>(ParseLong32(number, 16));
    PDU_DATA_ITEM item{PDU_IT_IO_UNUM32, &filterNumber};
    const T_PDU_ERROR result = PduApi.PDUIoCtl(m_hMod, m_hCLL, ioctl, &item, nullptr);
    if (result == PDU_STATUS_NOERROR) {
        --m_activeFilters;  // may go below 0: the count is only this dialog's belief
        ShowActiveFilters();
    }
    ShowReturnValue(result);
}

void IoCtlFilterDialog::OnBnClickedStopAll()
{
    UNUM32 id = PDU_ID_UNDEF;
    FindIoCtl("PDU_IOCTL_CLEAR_MSG_FILTER", id);
    const T_PDU_ERROR result = PduApi.PDUIoCtl(m_hMod, m_hCLL, id, nullptr, nullptr);
    if (result == PDU_STATUS_NOERROR) {
        m_activeFilters = 0;
        ShowActiveFilters();
    }
    ShowReturnValue(result);
}

void IoCtlFilterDialog::OnBnClickedSaveFilter()
{
    ui::FileBoxRequest request;
    request.save = true;
    request.defaultExtension = ".ini";
    request.filter = kFilter;
    const std::optional<std::string> path = m_ui.FileBox(request);
    if (!path) return;
    for (int r = 0; r < kRows; ++r) {
        const Row& row = *m_rows[static_cast<size_t>(r)];
        const std::string section = RowText("FILTER%d", r);
        platform::ProfileFile::WriteStrings(
            *path, section.c_str(),
            {{"FilterNumber", row.number.GetWindowText()},
             {"FilterMask", FirstTwelvePieces(row.mask.GetWindowText())},
             {"FilterPattern", FirstTwelvePieces(row.pattern.GetWindowText())},
             {"FilterType", std::to_string(row.type.GetCurSel())},
             {"FilterSize", std::to_string(row.size.GetCurSel())},
             {"FilterSelect", (row.select.GetCheck() & 1) ? "1" : "0"}});
    }
}

void IoCtlFilterDialog::OnBnClickedLoadFilter()
{
    ui::FileBoxRequest request;
    request.defaultExtension = ".ini";
    request.filter = kFilter;
    const std::optional<std::string> path = m_ui.FileBox(request);
    if (!path) return;
    for (int r = 0; r < kRows; ++r) {
        Row& row = *m_rows[static_cast<size_t>(r)];
        const std::string section = RowText("FILTER%d", r);
        const auto read = [&](const char* key, const char* fallback) {
            return platform::ProfileFile::GetString(*path, section, key, fallback, kReadBuffer);
        };
        row.number.SetWindowText(read("FilterNumber", "0"));
        row.mask.SetWindowText(FirstTwelvePieces(read("FilterMask", kTwelveZeros)));
        row.pattern.SetWindowText(FirstTwelvePieces(read("FilterPattern", kTwelveZeros)));
        row.type.SetCurSel(ParseLong32(read("FilterType", "0"), 10));
        row.size.SetCurSel(ParseLong32(read("FilterSize", "0"), 10));
        row.select.SetCheck(ParseLong32(read("FilterSelect", "0"), 10) != 0 ? 1 : 0);
    }
}

void IoCtlFilterDialog::OnBnClickedClose()
{
    m_linkActiveFilters = static_cast<uint32_t>(m_activeFilters);
    EndDialog(ui::IDOK);
}
