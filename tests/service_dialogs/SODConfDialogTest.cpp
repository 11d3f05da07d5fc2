#include <gtest/gtest.h>

#include <sstream>

#include "headless/HeadlessUi.h"
#include "service_dialogs/ProxyComParamText.h"
#include "service_dialogs/SODConfDialog.h"

namespace {

class NoLibraryHost : public ServiceDialogHost {
public:
    bool IsLibraryLoaded() const override { return false; }
    std::vector<std::string> ModuleNames() override { return {}; }
    int SelectedModuleIndex() override { return -1; }
    uint32_t GetModuleHandleByName(const std::string&) override { return PDU_HANDLE_UNDEF; }
    void OnServiceDialogClosed(Dialog&) override { ++closed; }
    int closed = 0;
};

}  // namespace

TEST(SODConfDialogTest, StartsFromTheLastProxyQueryAndWithoutALibrarySendsNothing)
{
    std::ostringstream out;
    HeadlessUi ui(out);
    NoLibraryHost host;
    ProxyComParamText::Store({"127.0.0.1", "3496", "13400"});
    SODConfDialog dialog(ui, host);
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_IpAddressEdit.GetWindowText(), "127.0.0.1");
    EXPECT_EQ(dialog.m_NonTlsPortEdit.GetWindowText(), "13400");
    EXPECT_EQ(dialog.m_TlsPortEdit.GetWindowText(), "3496");
    ProxyComParamText::Store({});
    // As from a library that isn't constructed: the id can't be had, the window stays, no box.
    dialog.m_IpAddressEdit.SetWindowText("no address");
    dialog.m_SendIoCtlButton.Click();
    EXPECT_EQ(dialog.LastStatus(), PDU_ERR_PDUAPI_NOT_CONSTRUCTED);
    EXPECT_EQ(host.closed, 0);
    EXPECT_EQ(out.str(), "");
    dialog.OnClose();
    EXPECT_EQ(host.closed, 1);
}
