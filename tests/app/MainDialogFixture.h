// Starts the main dialog headless in a scratch folder that stands in for the program's folder.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>

#include "../support/TempDir.h"
#include "app/CQuillonDlg.h"
#include "controls/PrintListCtrl.h"
#include "headless/HeadlessUi.h"

class MainDialogFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", (m_dir.Path() + "/config").c_str(), 1);
        unsetenv("D_PDU_API_ROOT_FILE");
    }
    void TearDown() override
    {
        if (m_dlg && !m_dlg->IsEnded()) {
            m_dlg->m_LinkDialogs.clear();
            m_dlg->OnBnClickedExit();
        }
        m_dlg.reset();
        unsetenv("XDG_CONFIG_HOME");
        unsetenv("D_PDU_API_ROOT_FILE");
    }

    std::string ExeDir() const { return m_dir.Path() + "/bin"; }
    void WriteIni(const std::string& text) { m_dir.Write("bin/Quillon.ini", text); }
    std::string WriteRoot(const std::vector<RootEntry>& entries, const std::string& name = "bin/pdu_api_root.xml")
    {
        return m_dir.Write(name, RootFileText(entries));
    }

    bool Start(std::vector<std::string> args = {})
    {
        std::filesystem::create_directories(ExeDir());
        StartupOptions options;
        options.executableDirectory = ExeDir();
        options.arguments = std::move(args);
        m_dlg = std::make_unique<CQuillonDlg>(m_ui, options);
        return m_dlg->OnInitDialog();
    }

    std::vector<std::string> Log() const { return m_dlg->LogList()->Rows(); }

    // The log from row `from` on, rows joined with "\n".
    std::string LogText(size_t from = 0) const
    {
        std::string text;
        const auto rows = Log();
        for (size_t i = from; i < rows.size(); ++i) text += rows[i] + "\n";
        return text;
    }

    std::vector<std::string> ApiItems() const
    {
        std::vector<std::string> items;
        for (const auto& item : m_dlg->m_ApiCombo.Items()) items.push_back(item.text);
        return items;
    }

    TempDir m_dir;
    std::ostringstream m_out;
    HeadlessUi m_ui{m_out};
    std::unique_ptr<CQuillonDlg> m_dlg;
};

// The main dialog on the built simulator, loaded through the root file the build writes (or one
// a test writes), with the library chosen, the MDF parsed and the first module connected.
class SimulatorFixture : public MainDialogFixture {
protected:
    void SetUp() override
    {
        MainDialogFixture::SetUp();
        unsetenv("PDUSIM_FAULTS");
        if (!std::filesystem::exists(m_root)) GTEST_SKIP() << "no simulator in this build";
    }

    void StartOnSimulator(std::vector<std::string> args = {}, const std::string& root = {})
    {
        StartupOptions options;
        options.executableDirectory = ExeDir();
        options.rootFilePath = root.empty() ? m_root : root;
        options.arguments = std::move(args);
        std::filesystem::create_directories(ExeDir());
        m_dlg = std::make_unique<CQuillonDlg>(m_ui, options);
        ASSERT_TRUE(m_dlg->OnInitDialog());
        m_dlg->m_ApiCombo.UserSelect(m_dlg->m_ApiCombo.FindStringExact(-1, "MRVNE_PDUSIM"));
        m_dlg->m_ParseMdfButton.Click();
        m_dlg->m_ModuleConnectButton.Click();
        ASSERT_EQ(m_dlg->m_ModuleCombo.GetCount(), 3);
    }

    const std::string m_root = std::string(QUILLON_RUNTIME_DIR) + "/pdu_api_root.xml";
};

inline std::string FixtureLib(const std::string& name)
{
    return std::string("file://") + QUILLON_FIXTURE_LIB_DIR + "/" + name;
}

// A link dialog that only knows its module and how to take itself out of the main dialog's list.
class FakeLink : public CLinkBaseDlg {
public:
    FakeLink(ui::Ui& ui, CQuillonDlg& main, UNUM32 hMod) : CLinkBaseDlg(ui, 0), m_main(main)
    {
        m_hMod = hMod;
        m_pMainDlg = &main;
    }
    void CloseLink() override
    {
        closed = true;
        auto& links = m_main.m_LinkDialogs;
        links.erase(std::remove(links.begin(), links.end(), this), links.end());
    }
    bool closed = false;
    CQuillonDlg& m_main;
};
