// quillon-cli as a user runs it: a script in, the log and boxes out.
#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <sstream>

#include "../support/LogTexts.h"
#include "../support/RunCommand.h"
#include "../support/TempDir.h"
#include "controls/Edit.h"
#include "controls/ListBox.h"
#include "headless/ScriptDriver.h"
#include "ui/Dialog.h"

namespace {

struct CliRun {
    int exitCode = -1;
    std::string output;
};

class CliTest : public ::testing::Test {
protected:
    CliRun Run(const std::string& script, const std::string& extraArgs = "")
    {
        const std::string scriptPath = m_dir.Write("script.txt", script);
        const std::string command = std::string(QUILLON_RUNTIME_DIR) + "/quillon-cli --ini '" + m_dir.File("Quillon.ini") +
                                    "' --root '" + m_root + "' " + extraArgs + " '" + scriptPath + "' 2>&1";
        const CommandRun result = RunCommand(command);
        CliRun run;
        run.exitCode = result.exitCode;
        run.output = result.output;
        return run;
    }
    void UseRoot(const std::vector<RootEntry>& entries) { m_root = m_dir.Write("root.xml", RootFileText(entries)); }

    TempDir m_dir;
    std::string m_root;
};

std::string Lib(const std::string& name)
{
    return std::string(QUILLON_FIXTURE_LIB_DIR) + "/" + name;
}

const std::string kStartLog = "************ Getting MVCI Module paths *************\n\n"
                              "Root description file contains 2 MVCI modules.\n";


}  // namespace

TEST_F(CliTest, StartChooseUnloadAndChange)
{
    UseRoot({{"FULL", "Morvane AG", "file://" + Lib("libstubpdu_full.so")},
             {"NOCAN", "Morvane AG", "file://" + Lib("libstubpdu_nocanread.so")}});
    const CliRun run = Run("# start, load, unload, load another\n"
                           "print \"Select PDU-API Version\" items\n"
                           "select \"Select PDU-API Version\" FULL\n"
                           "click Unload\n"
                           "select \"Select PDU-API Version\" NOCAN\n"
                           "select \"Select PDU-API Version\" FULL\n"
                           "print \"Select PDU-API Version\"\n"
                           "log\n"
                           "click Exit\n");
    EXPECT_EQ(run.exitCode, 0);
    const std::string changing = "\n*********** Changing the PDU-API module ************\n\n";
    const std::string unloading = "\n*********** Unloading PDU-API module ************\n\n";
    EXPECT_EQ(run.output, "[Select PDU-API Version]\nFULL\nNOCAN\n"
                          "[Select PDU-API Version] FULL\n" +
                              kStartLog + changing + LoadPduApiLog("FULL", Lib("libstubpdu_full.so")) +
                              "Loading successful!\n" + unloading + changing +
                              LoadPduApiLog("NOCAN", Lib("libstubpdu_nocanread.so")) + "Loading successful!\n" +
                              unloading + changing + LoadPduApiLog("FULL", Lib("libstubpdu_full.so")) +
                              "Loading successful!\n\n");
}

TEST_F(CliTest, TwoStepLoad)
{
    const std::string lib = Lib("needsdep/libstubpdu_needsdep.so");
    UseRoot({{"DEP", "Morvane AG", "file://" + lib}, {"X", "Y", "file:///x.so"}});
    const CliRun run = Run("select \"Select PDU-API Version\" DEP\nwaitlog \"Loading successful\" 1000\nlog\n");
    EXPECT_EQ(run.exitCode, 0);
    const std::regex expected(
        "[^]*PduApiLibPath:\"" + lib + "\"\n\nLoadLibrary Error:-?[0-9]+\n[^\n]*\nError LoadLibrary\\(" + lib +
        "\\)\\.\nTrying LoadLibraryEx\\.\\.\\.\nLoadLibraryEx succeeded\\.\nLoading successful!\n\n");
    EXPECT_TRUE(std::regex_match(run.output, expected)) << run.output;
}

TEST_F(CliTest, ExpectationsAndScriptErrorsFailTheRun)
{
    UseRoot({{"FULL", "Morvane AG", "file://" + Lib("libstubpdu_full.so")}, {"X", "Y", "file:///x.so"}});
    const struct {
        const char* script;
        int exitCode;
        const char* outputPart;
    } cases[] = {
        {"box something that never shows\n", 1, "[fail] line 1: box: an expected message box never showed"},
        {"frobnicate\n", 1, "[fail] line 1: unknown command \"frobnicate\""},
        {"click \"No Such Button\"\n", 1, "[fail] line 1: click: no button \"No Such Button\""},
        {"select \"Select PDU-API Version\" NOPE\n", 1, "has no item \"NOPE\""},
        {"waitlog \"never there\" 100\n", 1, "waitlog: no row matching \"never there\" within 100 ms"},
        {"waitlog \"MVCI modules\" 100\nprint title\n", 0,
         "[title] Quillon Test Application - V 11.32.067 (64)\n"},
        {"type \"LoLi Create Flags\" \"0x 40\"\nprint \"LoLi Create Flags\"\n", 0, "[LoLi Create Flags] 0x 40\n"},
        // what a user could not do fails the run
        {"click PDUGetModuleIds\n", 1, "[fail] line 1: click: \"PDUGetModuleIds\" is hidden"},
        {"click OpenLastLink\n", 1, "[fail] line 1: click: \"OpenLastLink\" is hidden"},
        {"type \"BusMonitoring value\" 1\n", 1, "[fail] line 1: type: \"BusMonitoring value\" is disabled"},
        {"modal ok\n", 1, "[fail] line 1: modal: no modal dialog is open"},
    };
    for (const auto& c : cases) {
        const CliRun run = Run(c.script);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.script << run.output;
        EXPECT_NE(run.output.find(c.outputPart), std::string::npos) << c.script << run.output;
    }
}

TEST_F(CliTest, MonitorModeFromTheCommandLine)
{
    UseRoot({{"FULL", "Morvane AG", "file://" + Lib("libstubpdu_full.so")}, {"X", "Y", "file:///x.so"}});
    const CliRun run = Run("print Channel\nprint \"open MoLi\"\n", "-m1");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "[Channel] CAN1\n[open MoLi] visible=1 enabled=1\n");
}

TEST_F(CliTest, TheBuiltRootFileLoadsTheSimulator)
{
    m_root = std::string(QUILLON_RUNTIME_DIR) + "/pdu_api_root.xml";
    if (!std::filesystem::exists(m_root)) GTEST_SKIP() << "no simulator in this build";
    const CliRun run = Run("select \"Select PDU-API Version\" MRVNE_PDUSIM\nwaitlog \"^Loading successful!$\" 2000\nclick Exit\n");
    EXPECT_EQ(run.exitCode, 0) << run.output;
}

TEST(ScriptDriver, SplitsWordsAndQuotes)
{
    const struct {
        const char* line;
        std::vector<std::string> words;
    } cases[] = {
        {"click Exit", {"click", "Exit"}},
        {"  select   \"Select PDU-API Version\"  A B ", {"select", "Select PDU-API Version", "A", "B"}},
        {"type Label \"say \\\"hi\\\"\"", {"type", "Label", "say \"hi\""}},
        {"type Label \"\"", {"type", "Label", ""}},
        {"", {}},
        {"box \"unterminated text", {"box", "unterminated text"}},
    };
    for (const auto& c : cases) EXPECT_EQ(ScriptDriver::SplitLine(c.line), c.words) << c.line;
}

namespace {

// A window with a list box and an edit without a caption, as scripts meet them.
class ListDialog : public Dialog {
public:
    explicit ListDialog(ui::Ui& ui) : Dialog(ui, 950, "Lists"), m_Lines(70, "Lines"), m_Bare(77, "")
    {
        AddControl(m_Lines);
        AddControl(m_Bare);
        m_Lines.AddString("alpha");
        m_Lines.AddString("Alpha");
        On(m_Lines, controls::Notification::SelChange, [this] { chosen.push_back(m_Lines.GetCurSel()); });
    }
    controls::ListBox m_Lines;
    controls::Edit m_Bare;
    std::vector<int> chosen;
};

}  // namespace

TEST(ScriptDriver, SelectsListBoxLinesAndNamesControlsById)
{
    std::ostringstream out;
    HeadlessUi ui(out);
    ScriptDriver driver(ui, out);
    ListDialog dialog(ui);
    std::istringstream script("select Lines Alpha\nprint Lines\nprint Lines items\ntype 77 hello\nprint 77\n"
                              "select Lines beta\n");
    driver.SetScript(script);
    EXPECT_EQ(driver.RunMain(dialog), 1);
    // The exact line, not the first one that matches without case; the handler ran.
    EXPECT_EQ(dialog.chosen, std::vector<int>{1});
    EXPECT_EQ(dialog.m_Bare.GetWindowText(), "hello");
    EXPECT_EQ(out.str(), "[Lines] Alpha\n[Lines]\nalpha\nAlpha\n[77] hello\n"
                         "[fail] line 6: select: \"Lines\" has no line \"beta\"\n");
}
