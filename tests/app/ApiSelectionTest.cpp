#include <regex>

#include "../support/LogTexts.h"
#include "MainDialogFixture.h"

namespace {

class ApiSelectionTest : public MainDialogFixture {
protected:
    void StartWith(const std::vector<RootEntry>& entries)
    {
        WriteRoot(entries);
        WriteIni("[KeldaTest]\nShowAllPDUAPIs=1\n");
        ASSERT_TRUE(Start());
        m_start = Log().size() - 1;  // the row in progress is where new text goes
    }
    void Choose(const std::string& name)
    {
        const int index = m_dlg->m_ApiCombo.FindStringExact(-1, name);
        ASSERT_GE(index, 0) << name;
        m_dlg->m_ApiCombo.UserSelect(index);
    }
    std::string NewLog() const { return LogText(m_start); }

    size_t m_start = 0;
};


const std::string kChanging = "\n*********** Changing the PDU-API module ************\n\n";
const std::string kUnloading = "\n*********** Unloading PDU-API module ************\n\n";

}  // namespace

TEST_F(ApiSelectionTest, LoadsTheChosenLibraryAndChangesToAnother)
{
    const std::string full = std::string(QUILLON_FIXTURE_LIB_DIR) + "/libstubpdu_full.so";
    const std::string nocan = std::string(QUILLON_FIXTURE_LIB_DIR) + "/libstubpdu_nocanread.so";
    StartWith({{"FULL", "Morvane AG", FixtureLib("libstubpdu_full.so")},
               {"NOCAN", "Other", FixtureLib("libstubpdu_nocanread.so")}});
    Choose("FULL");
    EXPECT_EQ(NewLog(), kChanging + LoadPduApiLog("FULL", full) + "Loading successful!\n\n");
    EXPECT_TRUE(m_dlg->IsLibraryLoaded());
    EXPECT_TRUE(m_dlg->m_bApiUsable);
    EXPECT_EQ(m_dlg->m_CurrentEntry.PDUShortName, "FULL");

    m_start = Log().size() - 1;
    Choose("NOCAN");
    EXPECT_EQ(NewLog(), kUnloading + kChanging + LoadPduApiLog("NOCAN", nocan) + "Loading successful!\n\n");
    EXPECT_TRUE(m_dlg->m_bApiUsable);

    m_start = Log().size() - 1;
    m_dlg->m_UnloadButton.Click();
    EXPECT_EQ(NewLog(), kUnloading + "\n");
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
    EXPECT_FALSE(m_dlg->m_bApiUsable);

    // With nothing loaded an unload writes nothing.
    m_start = Log().size() - 1;
    m_dlg->m_UnloadButton.Click();
    EXPECT_EQ(NewLog(), "\n");
}

TEST_F(ApiSelectionTest, SecondLoadSearchesTheLibrarysOwnFolder)
{
    const std::string lib = std::string(QUILLON_FIXTURE_LIB_DIR) + "/needsdep/libstubpdu_needsdep.so";
    StartWith({{"DEP", "Morvane AG", FixtureLib("needsdep/libstubpdu_needsdep.so")}});
    Choose("DEP");
    const std::string log = NewLog();
    const std::string head = kChanging + LoadPduApiLog("DEP", lib);
    ASSERT_EQ(log.substr(0, head.size()), head);
    const std::regex tail("\nLoadLibrary Error:-?[0-9]+\n.*libstubpdu_dep.so.*\n"
                          "Error LoadLibrary\\(" + lib + "\\)\\.\nTrying LoadLibraryEx\\.\\.\\.\n"
                          "LoadLibraryEx succeeded\\.\nLoading successful!\n\n");
    EXPECT_TRUE(std::regex_match(log.substr(head.size()), tail)) << log.substr(head.size());
    EXPECT_TRUE(m_dlg->m_bApiUsable);
}

TEST_F(ApiSelectionTest, FailedLoadsLeaveNoLibrary)
{
    StartWith({{"GONE", "Morvane AG", "file:///nowhere/libgone.so"},
               {"NOLIB", "Morvane AG", ""},
               {"FULL", "Morvane AG", FixtureLib("libstubpdu_full.so")}});
    Choose("FULL");
    ASSERT_TRUE(m_dlg->IsLibraryLoaded());

    m_start = Log().size() - 1;
    Choose("GONE");
    const std::string log = NewLog();
    EXPECT_NE(log.find(kUnloading + kChanging), std::string::npos);
    EXPECT_NE(log.find("Error LoadLibrary(/nowhere/libgone.so).\nTrying LoadLibraryEx...\n"), std::string::npos);
    EXPECT_NE(log.find("Error LoadLibraryEx(/nowhere/libgone.so).\n"
                       "----------------------------------------------------\n"
                       "Error: Could not get the current MVCI module paths.\n"),
              std::string::npos) << log;
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
    EXPECT_FALSE(m_dlg->m_bApiUsable);
    EXPECT_EQ(m_dlg->m_SelectedApiName, "");

    // Without a LIBRARY_FILE element the reader answers with its count in place of a path.
    m_start = Log().size() - 1;
    Choose("NOLIB");
    EXPECT_NE(NewLog().find("PDU-API dll:\nRoot description file contains 3 MVCI modules.\n\n"), std::string::npos);
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
}

TEST_F(ApiSelectionTest, TypedNamesSelectByTheAttachedShortName)
{
    WriteRoot({{"FULL", "Morvane AG", FixtureLib("libstubpdu_full.so")}});
    WriteIni("[KeldaTest]\nShowPDUAPIVendorName=1\n");
    ASSERT_TRUE(Start());
    m_dlg->m_ApiCombo.UserType("FULL  ----  Morvane AG");  // the display text is not the key
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
    m_dlg->m_ApiCombo.UserType("FULL");
    EXPECT_TRUE(m_dlg->IsLibraryLoaded());
    EXPECT_EQ(m_dlg->m_ApiCombo.GetCurSel(), 0);
    m_dlg->m_ApiCombo.UserType("");
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
}

TEST_F(ApiSelectionTest, OpenLinksBlockChangeAndExit)
{
    StartWith({{"FULL", "Morvane AG", FixtureLib("libstubpdu_full.so")}});
    Choose("FULL");
    FakeLink link(m_ui, *m_dlg, 1);
    m_dlg->m_LinkDialogs.push_back(&link);
    m_ui.ExpectMessageBox("Close the Logical-Link dialogs before exit!");
    m_dlg->m_ExitButton.Click();
    EXPECT_FALSE(m_dlg->IsEnded());
    EXPECT_TRUE(m_dlg->IsEventThreadRunning());
    EXPECT_TRUE(m_dlg->IsTimerRunning());

    m_ui.ExpectMessageBox("Close the Logical-Link dialogs before, selecting an other module.");
    m_dlg->m_LoLiCreateFlagsEdit.SetWindowText("0x40");
    m_dlg->m_UnloadButton.Click();
    EXPECT_TRUE(m_dlg->IsLibraryLoaded());  // the library and tables stay
    EXPECT_FALSE(m_dlg->m_bApiUsable);
    EXPECT_EQ(m_dlg->m_LoLiCreateFlagsEdit.GetWindowText(), "");
    EXPECT_EQ(m_ui.Failure(), "");
    EXPECT_FALSE(m_ui.HasPendingBoxExpectation());
    m_dlg->m_LinkDialogs.clear();
}

TEST_F(ApiSelectionTest, ExitEndsInItsOrder)
{
    StartWith({{"FULL", "Morvane AG", FixtureLib("libstubpdu_full.so")}});
    Choose("FULL");
    m_dlg->m_ExitButton.Click();
    EXPECT_TRUE(m_dlg->IsEnded());
    EXPECT_EQ(m_dlg->EndCode(), ui::IDOK);
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
    EXPECT_FALSE(m_dlg->IsEventThreadRunning());
    EXPECT_FALSE(m_dlg->IsTimerRunning());
    EXPECT_EQ(Log(), std::vector<std::string>{""});
    EXPECT_EQ(m_dlg->IniPath(), "");
}
