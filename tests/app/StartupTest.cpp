#include "MainDialogFixture.h"

using StartupTest = MainDialogFixture;

#ifndef QUILLON_INSTALLED_ROOT_FILE
#define QUILLON_INSTALLED_ROOT_FILE "../share/quillon/pdu_api_root.xml"
#endif

namespace {
const std::vector<RootEntry> kThreeSuppliers = {
    {"SIM_A", "Morvane AG", "file:///a.so"},
    {"OTHER", "Someone Else", "file:///o.so"},
    {"SIM_B", "Morvane AG ", "file:///b.so"},  // trailing blank: not the maker
    {"SIM_A", "Morvane AG", "file:///a2.so"},  // duplicates stay
};
}

TEST_F(StartupTest, WithoutSettingsListsOnlyTheMakersApisFromTheLocalRootFile)
{
    WriteRoot(kThreeSuppliers);
    ASSERT_TRUE(Start());
    EXPECT_EQ(ApiItems(), (std::vector<std::string>{"SIM_A", "SIM_A"}));
    EXPECT_EQ(m_dlg->m_ApiCombo.GetCurSel(), -1);
    EXPECT_EQ(m_dlg->RootFilePath(), ExeDir() + "/pdu_api_root.xml");
    EXPECT_EQ(m_dlg->IniPath(), m_dir.Path() + "/config/Morvane/D-PDU API/Quillon.ini");
    EXPECT_TRUE(m_dlg->m_OnlyMorvaneStatic.IsVisible());
    EXPECT_EQ(LogText(), "************ Getting MVCI Module paths *************\n\n"
                         "Root description file contains 4 MVCI modules.\n\n");
    EXPECT_EQ(m_dlg->GetWindowText(), "Quillon Test Application - V 11.32.067 (64)");
    EXPECT_TRUE(m_dlg->IsTimerRunning());
    EXPECT_TRUE(m_dlg->IsEventThreadRunning());
}

TEST_F(StartupTest, NamesWithLettersBeyondAsciiKeepTheirSuppliers)
{
    WriteRoot({{"GRÖSSE", "Schröder GmbH", "file:///s.so"}, {"SIM", "Morvane AG", "file:///m.so"}});
    ASSERT_TRUE(Start());
    EXPECT_EQ(ApiItems(), std::vector<std::string>{"SIM"});
}

TEST_F(StartupTest, RootFileChoice)
{
    const std::string systemRoot = WriteRoot({{"SYSTEM", "Morvane AG", "file:///s.so"}}, "etc/pdu_api_root.xml");
    // Where the build installs the root file, seen from a program in bin/.
    const std::string installedRoot = std::filesystem::path("bin/" QUILLON_INSTALLED_ROOT_FILE).lexically_normal().string();
    const struct {
        const char* ini;
        bool localRoot;
        bool systemSet;
        bool installed;
        std::string expected;  // empty: start-up fails
    } cases[] = {
        {"", true, true, false, "bin/pdu_api_root.xml"},
        {"[KeldaTest]\nUseSystemRootFile=0\n", false, true, false, "etc/pdu_api_root.xml"},
        {"[KeldaTest]\nUseSystemRootFile=1\n", true, true, false, "etc/pdu_api_root.xml"},
        {"[KeldaTest]\nUseSystemRootFile=yes\n", true, true, false, "bin/pdu_api_root.xml"},
        {"[KeldaTest]\nUseSystemRootFile=1\n", true, false, false, ""},
        // Installed: the packaged file stands in for the one beside the program, never for the system's.
        {"", true, true, true, "bin/pdu_api_root.xml"},
        {"", false, true, true, installedRoot},
        {"[KeldaTest]\nUseSystemRootFile=0\n", false, false, true, installedRoot},
        {"[KeldaTest]\nUseSystemRootFile=1\n", false, true, true, "etc/pdu_api_root.xml"},
        {"[KeldaTest]\nUseSystemRootFile=1\n", false, false, true, ""},
    };
    for (const auto& c : cases) {
        std::filesystem::remove(m_dir.File("bin/pdu_api_root.xml"));
        std::filesystem::remove(m_dir.File(installedRoot));
        if (c.localRoot) WriteRoot({{"LOCAL", "Morvane AG", "file:///l.so"}});
        if (c.installed) WriteRoot({{"MRVNE_PDUSIM", "Morvane AG", "file:///usr/lib/quillon/pdusim/libpdusim.so"}}, installedRoot);
        WriteIni(c.ini);
        if (c.systemSet) setenv("D_PDU_API_ROOT_FILE", systemRoot.c_str(), 1);
        else unsetenv("D_PDU_API_ROOT_FILE");
        const bool started = Start();
        if (c.expected.empty()) {
            EXPECT_FALSE(started);
            EXPECT_EQ(Log().at(2), "Error: Could not determine root file path from registry.");
            EXPECT_FALSE(m_dlg->IsTimerRunning());
            EXPECT_FALSE(m_dlg->IsEventThreadRunning());
        } else {
            EXPECT_TRUE(started) << c.ini;
            EXPECT_EQ(m_dlg->RootFilePath(), m_dir.File(c.expected)) << c.ini;
        }
        m_dlg->OnBnClickedExit();
    }
}

TEST_F(StartupTest, SettingsBesideTheProgramOnlyWhenPresentOrInTheDevelopmentTree)
{
    WriteRoot(kThreeSuppliers);
    // A folder named Quillon.ini does not count as the file.
    std::filesystem::create_directories(m_dir.File("bin/Quillon.ini"));
    ASSERT_TRUE(Start());
    EXPECT_EQ(m_dlg->IniPath(), m_dir.Path() + "/config/Morvane/D-PDU API/Quillon.ini");
    EXPECT_TRUE(std::filesystem::is_directory(m_dir.Path() + "/config/Morvane/D-PDU API"));
    m_dlg->OnBnClickedExit();
    std::filesystem::remove(m_dir.File("bin/Quillon.ini"));

    WriteIni("[KeldaTest]\n");
    ASSERT_TRUE(Start());
    EXPECT_EQ(m_dlg->IniPath(), ExeDir() + "/Quillon.ini");
    m_dlg->OnBnClickedExit();

    // In a tree whose path holds "keldadev" in any case the file stays beside the program.
    const std::string devDir = m_dir.Path() + "/src/KeldaDev/bin";
    std::filesystem::create_directories(devDir);
    m_dir.Write("src/KeldaDev/bin/pdu_api_root.xml", RootFileText(kThreeSuppliers));
    StartupOptions options;
    options.executableDirectory = devDir;
    m_dlg = std::make_unique<CQuillonDlg>(m_ui, options);
    ASSERT_TRUE(m_dlg->OnInitDialog());
    EXPECT_EQ(m_dlg->IniPath(), devDir + "/Quillon.ini");
}

TEST_F(StartupTest, DisplaySettings)
{
    WriteRoot(kThreeSuppliers);
    const struct {
        const char* ini;
        std::vector<std::string> items;
        bool staticVisible;
        int align;
    } cases[] = {
        {"ShowAllPDUAPIs=1", {"SIM_A", "OTHER", "SIM_B", "SIM_A"}, false, 0},
        {"ShowAllPDUAPIs=true", {"SIM_A", "SIM_A"}, true, 0},
        {"ShowPDUAPIVendorName=1", {"SIM_A  ----  Morvane AG", "SIM_A  ----  Morvane AG"}, true, 0},
        {"ShowPDUAPIVendorName=2", {"SIM_A", "SIM_A"}, true, 0},
        {"AlignLinkWindows=AtSide", {"SIM_A", "SIM_A"}, true, 2},
        {"AlignLinkWindows=ATCENTER", {"SIM_A", "SIM_A"}, true, 1},
        {"AlignLinkWindows=left", {"SIM_A", "SIM_A"}, true, 0},
    };
    for (const auto& c : cases) {
        WriteIni(std::string("[KeldaTest]\n") + c.ini + "\n");
        ASSERT_TRUE(Start());
        EXPECT_EQ(ApiItems(), c.items) << c.ini;
        EXPECT_EQ(m_dlg->m_OnlyMorvaneStatic.IsVisible(), c.staticVisible) << c.ini;
        EXPECT_EQ(m_dlg->AlignMode(), c.align) << c.ini;
        m_dlg->OnBnClickedExit();
    }
}

TEST_F(StartupTest, MonitorModeFromSettingsAndCommandLine)
{
    WriteRoot(kThreeSuppliers);
    const std::string title = "Quillon Test Application - V 11.32.067 (64)";
    const struct {
        const char* ini;
        std::vector<std::string> args;
        bool monitor;
        std::string title;
        bool historyButtons;
    } cases[] = {
        {"", {"-m1"}, true, title, false},
        {"", {"-M1"}, true, title, false},
        {"", {"-m0"}, false, title, false},
        {"", {"-m", "-m1"}, false, title, false},
        {"", {"-m2", "-m1"}, true, title, false},
        {"", {"x", "-m1"}, false, title, false},
        {"Monitor=1", {}, true, title + " Turbo", true},
        {"Monitor=1", {"-m0"}, true, title + " Turbo", true},
    };
    for (const auto& c : cases) {
        WriteIni(std::string("[KeldaTest]\n") + c.ini + "\n");
        ASSERT_TRUE(Start(c.args));
        EXPECT_EQ(m_dlg->MonitorMode(), c.monitor) << c.ini << " " << c.args.size();
        EXPECT_EQ(m_dlg->GetWindowText(), c.title);
        EXPECT_EQ(m_dlg->m_OpenLastLinkButton.IsVisible(), c.historyButtons);
        EXPECT_EQ(m_dlg->m_ChannelCombo.IsVisible(), c.monitor);
        EXPECT_EQ(m_dlg->m_OpenMoLiButton.IsVisible(), c.monitor);
        EXPECT_EQ(m_dlg->m_AboutButton.IsVisible(), !c.monitor);
        EXPECT_EQ(m_dlg->m_ChannelCombo.GetCount(), c.monitor ? 12 : 0);
        m_dlg->OnBnClickedExit();
    }
}

TEST_F(StartupTest, HistoryEnablesTheReplayButtons)
{
    WriteRoot(kThreeSuppliers);
    WriteIni("[History]\nPDUShortName_0=SIM_A\nMVCIModule_0=M\n");
    ASSERT_TRUE(Start());
    EXPECT_TRUE(m_dlg->m_OpenLastLinkButton.IsWindowEnabled());
    EXPECT_EQ(m_dlg->m_History.GetCount(), 1);
}

TEST_F(StartupTest, BrokenRootFileEndsStartUpWithTheReadersText)
{
    m_dir.Write("bin/pdu_api_root.xml", "<MVCI_PDU_API_ROOT><oops");
    EXPECT_FALSE(Start());
    EXPECT_EQ(Log().at(2), "Error: Could not get elements with tag \"MVCI_PDU_API\".");
    EXPECT_TRUE(ApiItems().empty());
    EXPECT_FALSE(m_dlg->IsEventThreadRunning());
    m_dlg->OnBnClickedExit();
    EXPECT_TRUE(m_dlg->IsEnded());
}

TEST_F(StartupTest, StartAndExitManyTimesEndsTheEventThreadInOrder)
{
    WriteRoot(kThreeSuppliers);
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(Start());
        ASSERT_TRUE(m_dlg->IsEventThreadRunning());
        m_dlg->OnBnClickedExit();
        ASSERT_FALSE(m_dlg->IsEventThreadRunning());
        ASSERT_TRUE(m_dlg->IsEnded());
    }
}
