// Monitor windows opened and closed in a row on the simulator while its canned sequence is
// decoded: every window ends its thread, lets go of its link and hardware, and leaves no hot key
// behind. Run under ThreadSanitizer too.
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "../sim/SimApi.h"
#include "../support/WaitFor.h"
#include "headless/HeadlessUi.h"
#include "monitor_link/CMoLiDlg.h"

namespace {

class CMoLiDlgCyclesTest : public SimFixture {
protected:
    void SetUp() override
    {
        setenv("PDUSIM_MONITOR_TRAFFIC", "canned", 1);
        SimFixture::SetUp();
    }
    void TearDown() override
    {
        SimFixture::TearDown();
        unsetenv("PDUSIM_MONITOR_TRAFFIC");
    }

    std::shared_ptr<CMoLiDlg> MakeWindow(KdMonitorService* service)
    {
        auto dialog = MakeLinkDialog<CMoLiDlg>(ui);
        dialog->m_hardwareType = 518;
        std::strcpy(dialog->m_hardwareName, "ZS-100231");
        std::strcpy(dialog->m_busName, "CAN1");
        dialog->m_busTypeName = "ISO_11898_2_DWCAN";
        dialog->m_title = "Monitor";
        dialog->m_pMonitorService = service;
        dialog->m_closeSettleMs = 0;
        return dialog;
    }

    std::ostringstream out;
    HeadlessUi ui{out};
};

TEST_F(CMoLiDlgCyclesTest, TwoHundredOpenCloseCyclesEndClean)
{
    KdMonitorService* service = api.MonitorService(kModule);
    ASSERT_NE(service, nullptr);
    uint32_t shown = 0;
    for (int cycle = 0; cycle < 200; ++cycle) {
        auto dialog = MakeWindow(service);
        ASSERT_TRUE(dialog->OnInitDialog()) << "cycle " << cycle;
        dialog->OnBnClickedOpen();
        ASSERT_TRUE(dialog->IsLinkOpen());
        // Some windows see their rows first; the others close while the notice may still be
        // on its way or in decoding.
        if (cycle % 4 == 0) {
            EXPECT_TRUE(WaitFor([&] { return dialog->Decoder().MonCount() > 0; }));
        }
        if (cycle % 4 == 1) dialog->OnBnClickedMlParam();
        dialog->OnBnClickedClose();
        dialog->OnBnClickedCloseWindow();
        EXPECT_TRUE(dialog->IsEnded());
        shown += dialog->Decoder().MonCount();
    }
    EXPECT_GT(shown, 0u);
    EXPECT_FALSE(ui.PressHotKey('s')) << "a closed window left its hot key";
    EXPECT_EQ(out.str().find("[box]"), std::string::npos) << out.str();
}

TEST_F(CMoLiDlgCyclesTest, FailedOpenHardwareCancelsAndLeavesNothingRunning)
{
    KdMonitorService* service = api.MonitorService(kModule);
    auto dialog = MakeWindow(service);
    std::strcpy(dialog->m_hardwareName, "NoSuchHardware");
    EXPECT_FALSE(dialog->OnInitDialog());
    EXPECT_TRUE(dialog->IsEnded());
    EXPECT_EQ(dialog->EndCode(), ui::IDCANCEL);
    EXPECT_FALSE(ui.PressHotKey('s'));
    dialog.reset();  // joins nothing: the thread is gone already
}

TEST_F(CMoLiDlgCyclesTest, DetachedWindowStaysUsableWithoutTheService)
{
    auto dialog = MakeWindow(api.MonitorService(kModule));
    ASSERT_TRUE(dialog->OnInitDialog());
    dialog->OnBnClickedOpen();
    dialog->DetachService();
    EXPECT_FALSE(dialog->IsLinkOpen());
    ui.ExpectMessageBox("MoLi-Pointer=0!", "Error");
    dialog->OnBnClickedOpen();
    dialog->OnBnClickedCloseWindow();
    EXPECT_TRUE(dialog->IsEnded());
    EXPECT_EQ(ui.Failure(), "");
}

}  // namespace
