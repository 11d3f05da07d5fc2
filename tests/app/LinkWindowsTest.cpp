// Link windows opened from the main dialog on the simulator: launch and placement, the link
// without a resource, Sync mode across windows, closes that give up on a worker, many cycles.
#include <chrono>
#include <regex>
#include <thread>

#include "../support/WaitFor.h"
#include "MainDialogFixture.h"
#include "logical_link/LoLiDialog.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "pdu/PduApi.h"
#include "platform/ProfileFile.h"

namespace {

class LinkWindowsTest : public SimulatorFixture {
protected:
    void SetUp() override
    {
        // Sync waits of another test program must not reach ours.
        setenv("QUILLON_EVENT_NAMESPACE", "test_app", 1);
        SimulatorFixture::SetUp();
    }
    void TearDown() override
    {
        // Whatever a failed test left open goes, so the main dialog can end.
        for (CLinkBaseDlg* link : std::vector<CLinkBaseDlg*>(m_dlg ? m_dlg->m_LinkDialogs : std::vector<CLinkBaseDlg*>{}))
            CloseOffline(*link);
        SimulatorFixture::TearDown();
    }

    template <typename T>
    T& OpenLink(const std::string& label = {})
    {
        m_dlg->m_LabelEdit.SetWindowText(label);
        m_dlg->m_OpenLoLiButton.Click();
        EXPECT_FALSE(m_dlg->m_LinkDialogs.empty());
        return dynamic_cast<T&>(*m_dlg->m_LinkDialogs.back());
    }

    void CloseOffline(CLinkBaseDlg& link)
    {
        PduApi.PDUDisconnect(link.m_hMod, link.m_hCLL);
        link.CloseLink();
        if (auto* plain = dynamic_cast<LoLiDialog*>(&link)) plain->OnBnClickedExit();
    }

    // Lets the main dialog's timer let go of closed windows.
    void Tick() { m_dlg->OnTimer(CQuillonDlg::kLogTimerId); }
};

size_t ActiveCoPs(LoLiDialogKeldaPDUAPI& link)
{
    std::lock_guard lock(link.CoPLock);
    return link.m_activeCoPs.size();
}

bool LogHas(controls::PrintListCtrl& log, const std::string& pattern)
{
    const std::regex re(pattern);
    for (const std::string& row : log.Rows())
        if (std::regex_search(row, re)) return true;
    return false;
}

}  // namespace

TEST_F(LinkWindowsTest, OpenPlaceAndCloseThePlainWindow)
{
    WriteIni("[KeldaTest]\nAlignLinkWindows=atcenter\n");
    StartOnSimulator();
    auto& link = OpenLink<LoLiDialog>("bench");
    EXPECT_EQ(link.GetWindowText(), "ISO_15765_3_on_ISO_15765_2 - bench on ZentaStick Morvane AG ZS-100231(1001)");
    EXPECT_TRUE(link.IsReady());
    // Right of the main window's centre, at its top.
    const ui::WindowRect main = m_ui.GetWindowRect(*m_dlg), frame = m_ui.GetWindowRect(link);
    EXPECT_EQ(frame.left, (main.left + main.right) / 2);
    EXPECT_EQ(frame.top, main.top);
    EXPECT_EQ(m_dlg->m_LinkSlots[0].pDlg, &link);
    ASSERT_EQ(m_dlg->m_ModuleLinkRegistry.Modules().size(), 1u);
    EXPECT_EQ(m_dlg->m_ModuleLinkRegistry.Modules()[0].links[0].pins, "Pins 6 & 14");

    // Online it refuses to close; offline it writes its sections and goes.
    link.m_PduCombo.SetWindowText("22,F1,90");
    link.m_ConnectButton.Click();
    link.m_SendRecvButton.Click();
    ASSERT_TRUE(WaitFor([&] { return LogHas(link.m_log, "^ComPrimitive: 1\\(0x1\\) finished\\.$"); }));
    m_ui.ExpectMessageBox("Logical-Link is online, disconnect the LoLi before close.");
    link.m_ExitButton.Click();
    EXPECT_EQ(m_dlg->m_LinkDialogs.size(), 1u);
    link.m_DisconnectButton.Click();
    link.m_ExitButton.Click();
    EXPECT_TRUE(m_dlg->m_LinkDialogs.empty());
    EXPECT_EQ(m_dlg->m_LinkSlots[0].hCLL, 0u);
    EXPECT_TRUE(m_dlg->m_ModuleLinkRegistry.Modules().empty());
    EXPECT_EQ(platform::ProfileFile::GetString(m_dlg->IniPath(), "PDU", "0", ""), "22,F1,90");
    EXPECT_EQ(platform::ProfileFile::GetString(m_dlg->IniPath(), "ISO_15765_3_on_ISO_15765_2", "CP_P2Max", ""), "150000");
    Tick();
    EXPECT_TRUE(m_dlg->m_ClosedLinks.empty());
}

TEST_F(LinkWindowsTest, CreateFlagsWithoutResource)
{
    // The mode off: the log says so, nothing opens.
    StartOnSimulator();
    m_dlg->m_LoLiCreateFlagsEdit.SetWindowText("0x2000040");
    m_dlg->m_OpenLoLiButton.Click();
    EXPECT_TRUE(m_dlg->m_LinkDialogs.empty());
    EXPECT_EQ(Log()[Log().size() - 2], "Error: Could not create a new LogicalLink dialog!");

    // Monitor mode: a full window titled without module and resource, on the monitor VCI.
    m_dlg->m_ExitButton.Click();
    StartOnSimulator({"-m1"});
    m_dlg->m_MonitorVciCombo.UserSelect(0);
    m_dlg->m_LoLiCreateFlagsEdit.SetWindowText("0x2000040");
    auto& link = OpenLink<LoLiDialogKeldaPDUAPI>("free");
    EXPECT_EQ(link.GetWindowText(), "ISO_15765_3_on_ISO_15765_2 - free");
    EXPECT_EQ(link.m_createFlags[3], 0x02);
    EXPECT_TRUE(LogHas(link.m_log, "^Used Resource ID: 1001$"));
}

TEST_F(LinkWindowsTest, SyncModeIsOneEventForEveryWindow)
{
    StartOnSimulator({"-m1"});
    auto& a = OpenLink<LoLiDialogKeldaPDUAPI>("A");
    auto& b = OpenLink<LoLiDialogKeldaPDUAPI>("B");
    a.m_OpenButton.Click();
    b.m_OpenButton.Click();
    // A starts a cyclic ComPrimitive, which never ends, and waits before its second start...
    a.m_SyncCheck.UserSetCheck(1);
    a.m_SendCountEdit.SetWindowText("-1");
    a.m_PduCombo.SetWindowText("22,F1,90");
    a.m_RepeatEdit.SetWindowText("2");
    a.m_KdServiceButton.Click();
    ASSERT_TRUE(WaitFor([&] { return ActiveCoPs(a) == 1; }));
    // ...until a ComPrimitive of B ends. B's own start is behind it before B turns Sync on, so
    // that B's end frees A, not B: the event lets one waiter through.
    b.m_PduCombo.SetWindowText("31,01,02,01");  // three "response pending" before the answer
    b.m_KdServiceButton.Click();
    ASSERT_TRUE(WaitFor([&] { return ActiveCoPs(b) == 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    b.m_SyncCheck.UserSetCheck(1);
    ASSERT_TRUE(WaitFor([&] { return ActiveCoPs(a) == 2; }));
}

TEST_F(LinkWindowsTest, CloseGivesUpOnAWorkerThatDoesNotEnd)
{
    StartOnSimulator({"-m1"});
    auto& link = OpenLink<LoLiDialogKeldaPDUAPI>();
    link.m_OpenButton.Click();
    // With the screen disabled the end of the ComPrimitive isn't seen, so the Sync wait stays.
    link.m_DisableScreenCheck.UserSetCheck(1);
    link.m_SyncCheck.UserSetCheck(1);
    link.m_PduCombo.SetWindowText("22,F1,90");
    link.m_RepeatEdit.SetWindowText("2");
    link.m_KdServiceButton.Click();
    ASSERT_TRUE(WaitFor([&] { return ActiveCoPs(link) == 1; }));
    std::shared_ptr<CLinkBaseDlg> held = link.shared_from_this();
    link.m_CloseButton.Click();
    link.m_CloseWindowButton.Click();
    EXPECT_TRUE(m_dlg->m_LinkDialogs.empty());
    EXPECT_TRUE(link.m_txThread.killed);
    // The given-up worker leaves on its own and lets go of the window.
    Tick();
    ASSERT_TRUE(WaitFor([&] { return held.use_count() == 1; }));
}

TEST_F(LinkWindowsTest, AnUnknownItemTypeEndsTheReceiveThread)
{
    StartOnSimulator({"-m1"});
    auto& link = OpenLink<LoLiDialogKeldaPDUAPI>();
    static PDU_EVENT_ITEM unknown{0x1600, 3, nullptr, 0, nullptr};
    const PduApiTable saved = PduApi;
    PduApi.PDUGetEventItem = [](UNUM32, UNUM32, PDU_EVENT_ITEM** item) -> T_PDU_ERROR {
        *item = &unknown;
        return PDU_STATUS_NOERROR;
    };
    link.m_rxSemaphore->Release();
    ASSERT_TRUE(WaitFor([&] { return link.m_rxThread.running == 0; }));
    PduApi = saved;
    EXPECT_TRUE(LogHas(link.m_log, "^hCoP=3 $"));
    // "Open" doesn't start a thread whose handle is still there: the link stays deaf.
    link.m_OpenButton.Click();
    EXPECT_EQ(link.m_rxThread.running, 0u);
}

TEST_F(LinkWindowsTest, ManyOpenCloseCyclesWithComPrimitivesInFlight)
{
    StartOnSimulator({"-m1"});
    for (int cycle = 0; cycle < 200; ++cycle) {
        auto& link = OpenLink<LoLiDialogKeldaPDUAPI>();
        link.m_OpenButton.Click();
        link.m_SendCountEdit.SetWindowText("-1");
        link.m_CycleTimeEdit.SetWindowText("1");
        link.m_PduCombo.SetWindowText("3E,00");
        link.m_RepeatEdit.SetWindowText("3");
        link.m_KdServiceButton.Click();
        link.m_CloseButton.Click();
        link.m_CloseWindowButton.Click();
        ASSERT_TRUE(m_dlg->m_LinkDialogs.empty()) << "cycle " << cycle;
        EXPECT_FALSE(link.m_rxThread.killed) << "cycle " << cycle;
        EXPECT_FALSE(link.m_txThread.killed) << "cycle " << cycle;
        Tick();
    }
}

TEST_F(LinkWindowsTest, AChainThatMapsNoPinLeavesNoResource)
{
    // A cable description with only a CAN cable: the K-Line pins map nowhere.
    std::string cdf = ReadWholeFile(std::string(QUILLON_RUNTIME_DIR) + "/pdusim_cdf.xml");
    cdf = std::regex_replace(cdf, std::regex("<CABLE>(?:(?!</CABLE>)[\\s\\S])*?<SHORT_NAME>(?!CAN OBD)[\\s\\S]*?</CABLE>\\s*"), "");
    const std::string bin = QUILLON_RUNTIME_DIR;
    const std::string root = WriteRoot({{"MRVNE_PDUSIM", "Morvane AG", "file://" + bin + "/libpdusim.so",
                                         "file://" + bin + "/pdusim_mdf.xml", "file://" + m_dir.Write("can.xml", cdf)}},
                                       "canonly_root.xml");
    StartOnSimulator({}, root);
    ASSERT_NE(m_dlg->m_SelectedResourceId, 0u);
    const int kLine = m_dlg->m_ProtocolCombo.FindStringExact(-1, "ISO_14230_3_on_ISO_14230_2");
    ASSERT_GE(kLine, 0);
    m_dlg->m_ProtocolCombo.UserSelect(kLine);
    EXPECT_EQ(m_dlg->m_CableCombo.GetCount(), 0);
    EXPECT_EQ(m_dlg->m_InfoPinsEdit.GetWindowText(), "");
    EXPECT_EQ(m_dlg->m_ResourceShortNameEdit.GetWindowText(), "");
    EXPECT_EQ(m_dlg->m_SelectedResourceId, 0u);
    m_ui.ExpectMessageBox("The selected resource is not available !");
    m_dlg->m_OpenLoLiButton.Click();
    EXPECT_TRUE(m_dlg->m_LinkDialogs.empty());
}
