// The editors' logic against a library faked in the test: what goes to the library, what the
// boxes show, what the files hold. The scripts of tests/headless/scripts/edit_*.txt walk the
// same editors on the simulator.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

#include "../support/ComParamRecords.h"
#include "../support/TempDir.h"
#include "description/ComParamValue.h"
#include "description/KeldaValueFamily.h"
#include "editors/ComParam_Dialog.h"
#include "editors/EditorOwner.h"
#include "editors/URID_Table_Dialog.h"
#include "headless/HeadlessUi.h"
#include "pdu/PduApi.h"

namespace {

// ---------------------------------------------------------------- the fake library

struct FakeLibrary {
    uint32_t libraryValue = 77;            // what PDUGetComParam reports for a number
    T_PDU_ERROR setResult = PDU_STATUS_NOERROR;
    std::vector<uint32_t> setValues;       // numbers PDUSetComParam received
    PDU_UNIQUE_RESP_ID_TABLE_ITEM* table = nullptr;  // handed out by PDUGetUniqueRespIdTable
};
FakeLibrary g_lib;

T_PDU_ERROR PDU_CALL FakeGet(UNUM32, UNUM32, UNUM32 id, PDU_PARAM_ITEM** out)
{
    auto* item = static_cast<PDU_PARAM_ITEM*>(std::calloc(1, sizeof(PDU_PARAM_ITEM)));
    auto* value = static_cast<UNUM32*>(std::malloc(sizeof(UNUM32)));
    *value = g_lib.libraryValue;
    *item = PDU_PARAM_ITEM{PDU_IT_PARAM, id, PDU_PT_UNUM32, PDU_PC_TIMING, value};
    *out = item;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR PDU_CALL FakeSet(UNUM32, UNUM32, PDU_PARAM_ITEM* item)
{
    if (item->ComParamDataType == PDU_PT_UNUM32) g_lib.setValues.push_back(*static_cast<UNUM32*>(item->pComParamData));
    return g_lib.setResult;
}

T_PDU_ERROR PDU_CALL FakeDestroy(PDU_ITEM* item)
{
    if (item && item->ItemType == PDU_IT_PARAM) {
        std::free(reinterpret_cast<PDU_PARAM_ITEM*>(item)->pComParamData);
        std::free(item);
    }
    return PDU_STATUS_NOERROR;  // the URID table is the test's own
}

T_PDU_ERROR PDU_CALL FakeGetTable(UNUM32, UNUM32, PDU_UNIQUE_RESP_ID_TABLE_ITEM** out)
{
    *out = g_lib.table;
    return g_lib.table ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

void BindFake()
{
    BindPduApi(nullptr, [](void*, const char*) -> void* { return nullptr; });
    PduApi.PDUGetComParam = &FakeGet;
    PduApi.PDUSetComParam = &FakeSet;
    PduApi.PDUDestroyItem = &FakeDestroy;
    PduApi.PDUGetUniqueRespIdTable = &FakeGetTable;
    g_lib = FakeLibrary{};
}

// ---------------------------------------------------------------- records and owner

std::vector<ComParamInfo> LinkRecords()
{
    std::vector<ComParamInfo> records;
    records.push_back(Definition(10, "CP_P2Max", PDU_PT_UNUM32, PDU_PC_TIMING, "150000"));
    records.push_back(Definition(11, "CP_BlockSize", PDU_PT_UNUM8, PDU_PC_COM, "65"));
    records.push_back(Definition(12, "CP_Msg", PDU_PT_BYTEFIELD, PDU_PC_COM, "12 2 0x3E 0x80"));
    records.push_back(Definition(13, "CP_Shift", PDU_PT_SNUM16, PDU_PC_COM, "-2"));
    records.push_back(Definition(60, "CP_CanPhysReqId", PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, "0x7E0"));
    records.push_back(Definition(61, "CP_CanRespUSDTId", PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, "0x7E8"));
    records.push_back(Definition(65, "CP_Label", PDU_PT_BYTEFIELD, PDU_PC_UNIQUE_ID, "8 2 0x45 0x31"));
    return records;
}

struct FakeOwner : EditorOwner {
    KeldaValueFamily values;
    std::string folder;
    std::vector<std::string> paths;
    const ComParamValueFamily& ValueFamily() const override { return values; }
    std::string InitialFolder() const override { return folder; }
    void RememberPath(const std::string& path) override { paths.push_back(path); }
};

uint32_t Number(const void* value)
{
    return *static_cast<const UNUM32*>(value);
}

class EditorsTest : public ::testing::Test {
protected:
    void SetUp() override { BindFake(); }
    std::ostringstream m_out;
    HeadlessUi m_ui{m_out};
    std::vector<ComParamInfo> m_records = LinkRecords();
    FakeOwner m_owner;
    TempDir m_dir;
};

// ---------------------------------------------------------------- ComParam_Dialog

TEST_F(EditorsTest, EditModeWorksOnACopyAndWritesBackOnlyOnOk)
{
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::EditLinkComParams, "P", 1, 2, m_records);
    dialog.ownerKelda = &m_owner;
    dialog.OnInitDialog();
    // Class 6 stays out; the 8-bit value shows as its character.
    ASSERT_EQ(dialog.m_ComParamCombo.GetCount(), 4);
    EXPECT_EQ(dialog.m_ComParamCombo.GetLBText(0), "CP_BlockSize");
    EXPECT_EQ(dialog.m_DecEdit.GetWindowText(), "A");
    dialog.m_ComParamCombo.UserType("CP_P2Max");
    dialog.m_DecEdit.SetWindowText("200");
    EXPECT_EQ(dialog.m_HexEdit.GetWindowText(), "0xc8");
    // Emptied and left: the empty text counts, and parses as 0.
    dialog.m_ComParamCombo.UserType("CP_Shift");
    EXPECT_EQ(dialog.m_HexEdit.GetWindowText(), "0xfffffffe");
    dialog.m_DecEdit.SetWindowText("");
    dialog.m_ComParamCombo.UserType("CP_Msg");
    EXPECT_EQ(dialog.m_DecEdit.GetWindowText(), "62 128");
    EXPECT_EQ(Number(m_records[0].value), 150000u);  // nothing written yet
    dialog.m_OkButton.Click();
    EXPECT_EQ(dialog.EndCode(), ui::IDOK);
    EXPECT_EQ(Number(m_records[0].value), 200u);
    EXPECT_EQ(*static_cast<const SNUM16*>(m_records[3].value), 0);
    EXPECT_EQ(dialog.ownerKelda, nullptr);
    EXPECT_TRUE(g_lib.setValues.empty());  // OK leaves the library to the link
    EXPECT_TRUE(m_ui.Failure().empty()) << m_ui.Failure();
}

TEST_F(EditorsTest, SetParamSendsAtOnceAndAFailureQuietlyShowsTheLibrarysValue)
{
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::EditLinkComParams, "P", 1, 2, m_records);
    dialog.ownerKelda = &m_owner;
    dialog.OnInitDialog();
    dialog.m_ComParamCombo.UserType("CP_P2Max");
    dialog.m_DecEdit.SetWindowText("300");
    dialog.m_SetParamButton.Click();
    EXPECT_EQ(g_lib.setValues, std::vector<uint32_t>{300});
    EXPECT_EQ(Number(m_records[0].value), 300u);
    g_lib.setResult = PDU_ERR_COMPARAM_NOT_SUPPORTED;
    dialog.m_DecEdit.SetWindowText("400");
    dialog.m_SetParamButton.Click();
    EXPECT_EQ(dialog.m_DecEdit.GetWindowText(), "77");  // what the library holds
    EXPECT_EQ(Number(m_records[0].value), 400u);      // the caller's record took it before the call
    // Cancel after Set Param undoes nothing.
    dialog.m_CancelButton.Click();
    EXPECT_EQ(dialog.EndCode(), ui::IDCANCEL);
    EXPECT_EQ(Number(m_records[0].value), 400u);
    EXPECT_EQ(m_out.str().find("[box]"), std::string::npos) << m_out.str();
}

TEST_F(EditorsTest, PickModeAnswersTheCallersIndexAndTheHexText)
{
    std::vector<ComParamInfo> unique;
    for (const ComParamInfo& r : m_records)
        if (r.comParamClass == PDU_PC_UNIQUE_ID) {
            unique.push_back(r.CloneHeader());
            KeldaValueFamily().CopyValue(&unique.back().value, r.value, r.dataType);
        }
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::PickUridComParam, "P", 0xFFFFFFFF, 0xFFFFFFFF, unique);
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.m_SetParamButton.IsWindowEnabled());
    EXPECT_EQ(dialog.m_DecEdit.GetWindowText(), "0x7e0");
    dialog.m_ComParamCombo.UserType("CP_Label");
    dialog.m_OkButton.Click();
    EXPECT_EQ(dialog.selectedIndex, 2);
    EXPECT_EQ(dialog.resultText, "0x45 0x31");
}

TEST_F(EditorsTest, SaveWritesEveryBoxSilentlyAndLoadChangesOnlyKnownKeys)
{
    ComParam_Dialog dialog(m_ui, ComParam_Dialog::EditLinkComParams, "P", 1, 2, m_records);
    dialog.ownerKelda = &m_owner;
    m_owner.folder = m_dir.Path();
    dialog.OnInitDialog();
    dialog.m_ComParamCombo.UserType("CP_P2Max");
    m_ui.QueueFileAnswer(m_dir.File("saved.ini"));
    dialog.m_SaveButton.Click();
    // The 8-bit "A" was committed as a number when the selection left it: 0, shown as nothing.
    EXPECT_EQ(ReadWholeFile(m_dir.File("saved.ini")),
              "[P]\nCP_BlockSize=\nCP_Msg=62 128\nCP_P2Max=150000\nCP_Shift=-2\n");
    EXPECT_EQ(dialog.m_ComParamCombo.GetWindowText(), "CP_P2Max");  // the selection comes back
    m_dir.Write("load.ini", "[P]\nCP_Unknown=1\nCP_P2Max=0x10\n");
    m_ui.QueueFileAnswer(m_dir.File("load.ini"));
    dialog.m_LoadButton.Click();
    dialog.m_ComParamCombo.UserType("CP_P2Max");
    EXPECT_EQ(dialog.m_DecEdit.GetWindowText(), "16");
    EXPECT_NE(m_out.str().find("[file] save filter=ComParam|*.ini|| ext=.ini dir=" + m_dir.Path()), std::string::npos);
    EXPECT_EQ(m_owner.paths.size(), 2u);
    EXPECT_EQ(m_out.str().find("[box]"), std::string::npos) << m_out.str();
}

// ---------------------------------------------------------------- URID_Table_Dialog

struct LibraryTable {
    UNUM32 physId = 0x7E0, unknown = 5;
    uint8_t bytes[3] = {1, 2, 3};
    PDU_PARAM_BYTEFIELD_DATA label{8, 3, bytes};
    PDU_PARAM_ITEM params[3] = {{PDU_IT_PARAM, 60, PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &physId},
                                {PDU_IT_PARAM, 99, PDU_PT_UNUM32, PDU_PC_UNIQUE_ID, &unknown},
                                {PDU_IT_PARAM, 65, PDU_PT_BYTEFIELD, PDU_PC_UNIQUE_ID, &label}};
    PDU_ECU_UNIQUE_RESP_DATA entries[2] = {{0xFFFFFFFE, 0, nullptr}, {7, 3, params}};
    PDU_UNIQUE_RESP_ID_TABLE_ITEM item{PDU_IT_UNIQUE_RESP_ID_TABLE, 2, entries};
};

std::string TreeText(const controls::TreeCtrl& tree)
{
    std::string text;
    for (const auto& node : tree.Snapshot()) text += std::string(2 * node.level, ' ') + node.text + "\n";
    return text;
}

TEST_F(EditorsTest, UridTreeShowsTheLibrarysTableWithTheLinksUniqueIdsOnly)
{
    LibraryTable library;
    g_lib.table = &library.item;
    URID_Table_Dialog dialog(m_ui, "P", 1, 2, m_records);
    dialog.OnInitDialog();
    EXPECT_EQ(TreeText(dialog.m_Tree), "URID-Table\n  URID=PDU_ID_UNDEF\n  URID=7\n    CP_CanPhysReqId=0x7e0\n"
                                       "    CP_Label=0x1,0x2,0x3\n");
}

TEST_F(EditorsTest, UridOkReadsTheTreeBack)
{
    URID_Table_Dialog dialog(m_ui, "P", 1, 2, m_records);
    dialog.OnInitDialog();  // the library has no table: the root alone
    auto& tree = dialog.m_Tree;
    const auto root = tree.GetRootItem();
    const auto first = tree.InsertItem("URID = 0x10", root);
    tree.SetItemData(tree.InsertItem("CP_CanRespUSDTId = 0x7e9", first), 61);
    // A picked field's blanks go: two numbers become one.
    tree.SetItemData(tree.InsertItem("CP_Label=0x1 0x2", first), 65);
    tree.SetItemData(tree.InsertItem("CP_Unknown=1", first), 0);  // a key a file brought
    tree.InsertItem("URID = 0", root);
    tree.SetItemData(tree.InsertItem("CP_Label=0x1,0x2", tree.Children(root)[1]), 65);
    dialog.m_OkButton.Click();
    ASSERT_EQ(dialog.EndCode(), ui::IDOK);
    ASSERT_TRUE(dialog.table);
    const PDU_UNIQUE_RESP_ID_TABLE_ITEM* item = dialog.table->Item();
    ASSERT_EQ(item->NumEntries, 2u);
    EXPECT_EQ(item->pUniqueData[0].UniqueRespIdentifier, 16u);
    ASSERT_EQ(item->pUniqueData[0].NumParamItems, 2u);  // the unknown key stays out
    EXPECT_EQ(Number(item->pUniqueData[0].pParams[0].pComParamData), 0x7E9u);
    const auto* joined = static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(item->pUniqueData[0].pParams[1].pComParamData);
    EXPECT_EQ(joined->ParamActLen, 1u);
    EXPECT_EQ(item->pUniqueData[1].UniqueRespIdentifier, 0u);
    const auto* two = static_cast<const PDU_PARAM_BYTEFIELD_DATA*>(item->pUniqueData[1].pParams[0].pComParamData);
    EXPECT_EQ(two->ParamActLen, 2u);
}

TEST_F(EditorsTest, UridSaveEmptiesTheFileAtItsFirstKeyAndLoadFindsSectionsByName)
{
    m_dir.Write("urid.ini", "[Other]\nKey=1\n");
    URID_Table_Dialog dialog(m_ui, "P", 1, 2, m_records);
    dialog.OnInitDialog();
    auto& tree = dialog.m_Tree;
    const auto root = tree.GetRootItem();
    tree.InsertItem("URID=PDU_ID_UNDEF", root);
    const auto urid = tree.InsertItem("URID = 3", root);
    tree.SetItemData(tree.InsertItem("CP_CanPhysReqId = 0x7e1", urid), 60);
    m_ui.QueueFileAnswer(m_dir.File("urid.ini"));
    dialog.m_SaveButton.Click();
    // The section of PDU_ID_UNDEF, written first, went with the file.
    EXPECT_EQ(ReadWholeFile(m_dir.File("urid.ini")), "[URID_P=3]\nCP_CanPhysReqId=0x7e1\n");
    // A protocol name inside another's ("P" in "PX") loads that one's sections too.
    m_dir.Write("two.ini", "[URID_PX=4]\nCP_CanPhysReqId=1\n[URID_P=PDU_ID_UNDEF]\n;NULL=0\n[Q=5]\nA=1\n");
    m_ui.QueueFileAnswer(m_dir.File("two.ini"));
    dialog.m_LoadButton.Click();
    EXPECT_EQ(TreeText(tree), "URID-Table\n  URID=4\n    CP_CanPhysReqId=1\n  URID=PDU_ID_UNDEF\n");
    m_dir.Write("none.ini", "");
    m_ui.ExpectMessageBox("No URID table found in the ini file");
    m_ui.QueueFileAnswer(m_dir.File("none.ini"));
    dialog.m_LoadButton.Click();
    EXPECT_EQ(TreeText(tree), "URID-Table\n");
    m_ui.ExpectMessageBox("No URID table in the list or empty URID table to save");
    dialog.m_SaveButton.Click();
    EXPECT_TRUE(m_ui.Failure().empty()) << m_ui.Failure();
    EXPECT_FALSE(m_ui.HasPendingBoxExpectation());
}

}  // namespace
