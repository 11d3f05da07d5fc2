// The filter editor against a library faked in the test: the records it sends, the count it
// keeps, the words of the return values. tests/headless/scripts/link_filters.txt runs it on the
// simulator.
#include <gtest/gtest.h>

#include <sstream>

#include "editors/IoCtlFilterDialog.h"
#include "headless/HeadlessUi.h"
#include "pdu/PduApi.h"

namespace {

struct Call {
    UNUM32 ioctl;
    std::vector<PDU_IO_FILTER_DATA> filters;
    UNUM32 number = 0;
};
std::vector<Call> g_calls;
T_PDU_ERROR g_result = PDU_STATUS_NOERROR;

T_PDU_ERROR PDU_CALL FakeObjectId(T_PDU_OBJT, CHAR8* name, UNUM32* id)
{
    const std::string text = name;
    *id = text == "PDU_IOCTL_START_MSG_FILTER" ? 1 : text == "PDU_IOCTL_STOP_MSG_FILTER" ? 2 : 3;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL FakeIoCtl(UNUM32, UNUM32, UNUM32 id, PDU_DATA_ITEM* input, PDU_DATA_ITEM**)
{
    Call call{id, {}};
    if (input && input->ItemType == PDU_IT_IO_FILTER) {
        const auto* list = static_cast<const PDU_IO_FILTER_LIST*>(input->pData);
        call.filters.assign(list->pFilterData, list->pFilterData + list->NumFilterEntries);
    } else if (input && input->ItemType == PDU_IT_IO_UNUM32) {
        call.number = *static_cast<const UNUM32*>(input->pData);
    }
    g_calls.push_back(call);
    return g_result;
}

class IoCtlFilterDialogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        BindPduApi(nullptr, [](void*, const char*) -> void* { return nullptr; });
        PduApi.PDUGetObjectId = &FakeObjectId;
        PduApi.PDUIoCtl = &FakeIoCtl;
        g_calls.clear();
        g_result = PDU_STATUS_NOERROR;
        m_dialog.OnInitDialog();
    }
    IoCtlFilterDialog::Row& Row(int r) { return *m_dialog.m_rows[static_cast<size_t>(r)]; }

    std::ostringstream m_out;
    HeadlessUi m_ui{m_out};
    uint32_t m_linkCount = 1;
    IoCtlFilterDialog m_dialog{m_ui, "P", 1, 2, m_linkCount};
};

TEST_F(IoCtlFilterDialogTest, ARowBecomesOneRecordWithItsUnsetBytesFilled)
{
    Row(4).number.SetWindowText("1a");
    Row(4).mask.SetWindowText("F0,,0F");   // an empty piece leaves its byte
    Row(4).pattern.SetWindowText("12,34");
    Row(4).type.SetCurSel(3);
    Row(4).size.SetCurSel(2);
    Row(4).start.Click();
    ASSERT_EQ(g_calls.size(), 1u);
    ASSERT_EQ(g_calls[0].filters.size(), 1u);
    const PDU_IO_FILTER_DATA& f = g_calls[0].filters[0];
    EXPECT_EQ(f.FilterType, 18u);
    EXPECT_EQ(f.FilterNumber, 0x1Au);
    EXPECT_EQ(f.FilterCompareSize, 3u);
    const std::vector<int> mask(f.FilterMaskMessage, f.FilterMaskMessage + 12);
    const std::vector<int> pattern(f.FilterPatternMessage, f.FilterPatternMessage + 12);
    EXPECT_EQ(mask, (std::vector<int>{0xF0, 0xFF, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(pattern, (std::vector<int>{0x12, 0x34, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(m_dialog.m_ActiveCountEdit.GetWindowText(), "2");
    EXPECT_EQ(m_dialog.m_ReturnValueEdit.GetWindowText(), "PDU_STATUS_NOERROR");
}

TEST_F(IoCtlFilterDialogTest, TheCountFollowsOnlySuccessesAndMayGoBelowZero)
{
    g_result = PDU_ERR_INVALID_PARAMETERS;
    Row(0).start.Click();
    EXPECT_EQ(m_dialog.m_ActiveCountEdit.GetWindowText(), "1");
    EXPECT_EQ(m_dialog.m_ReturnValueEdit.GetWindowText(), "PDU_ERR_INVALID_PARAMETERS");
    g_result = static_cast<T_PDU_ERROR>(0x42);  // no word of its own: the box keeps the last one
    Row(0).start.Click();
    EXPECT_EQ(m_dialog.m_ReturnValueEdit.GetWindowText(), "PDU_ERR_INVALID_PARAMETERS");
    g_result = PDU_STATUS_NOERROR;
    Row(7).stop.Click();
    Row(7).stop.Click();
    EXPECT_EQ(g_calls.back().number, 7u);
    EXPECT_EQ(m_dialog.m_ActiveCountEdit.GetWindowText(), "-1");
    m_dialog.m_CloseButton.Click();
    EXPECT_EQ(m_linkCount, 0xFFFFFFFFu);  // handed back as the link keeps it
}

TEST_F(IoCtlFilterDialogTest, CancelHandsNothingBack)
{
    Row(0).start.Click();
    m_dialog.OnCancelKey();
    EXPECT_EQ(m_dialog.EndCode(), ui::IDCANCEL);
    EXPECT_EQ(m_linkCount, 1u);
}

}  // namespace
