// The main dialog on the built simulator, loaded through the root file the build writes.
#include <chrono>
#include <thread>

#include "../support/WaitFor.h"
#include "MainDialogFixture.h"
#include "pdu/PduApi.h"

namespace {


class SimulatorChainTest : public SimulatorFixture {
protected:
    void SetUp() override
    {
        SimulatorFixture::SetUp();
        if (!IsSkipped()) StartOnSimulator();
    }

    void PlugIoCtl(const char* name, UNUM32 module)
    {
        UNUM32 id = 0;
        std::string shortName = name;
        ASSERT_EQ(PduApi.PDUGetObjectId(PDU_OBJT_IO_CTRL, shortName.data(), &id), PDU_STATUS_NOERROR);
        PDU_DATA_ITEM in{PDU_IT_IO_UNUM32, &module};
        PDU_DATA_ITEM* out = nullptr;
        ASSERT_EQ(PduApi.PDUIoCtl(PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, id, &in, &out), PDU_STATUS_NOERROR);
        if (out) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(out));
    }
};

}  // namespace

TEST_F(SimulatorChainTest, UnplugAndPlugRebuildTheModuleComboThroughTheEventThread)
{
    PlugIoCtl("PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE", 2);
    ASSERT_TRUE(WaitFor([&] { return m_dlg->m_ModuleCombo.GetCount() == 2; }));
    PlugIoCtl("PDU_IOCTL_MRVNE_SIM_PLUG_MODULE", 2);
    ASSERT_TRUE(WaitFor([&] { return m_dlg->m_ModuleCombo.GetCount() == 3; }));
    ASSERT_TRUE(WaitFor([&] {
        const auto rows = Log();
        return std::count(rows.begin(), rows.end(), "InfoCode = PDU_INFO_MODULE_LIST_CHG") == 2;
    }));
    const auto rows = Log();
    EXPECT_NE(std::find(rows.begin(), rows.end(), "hMod: 0x1, ModuleStatus: PDU_MODST_READY"), rows.end());
    // The connected module keeps its check mark; the rebuilt list is selected anew by the user.
    EXPECT_EQ(m_dlg->m_ModuleCombo.GetCheck(m_dlg->m_ModuleCombo.FindStringExact(-1, "ZentaStick Morvane AG ZS-100231")), 1);
    EXPECT_EQ(m_dlg->m_pSelectedModule, nullptr);
}

TEST_F(SimulatorChainTest, DisconnectClosesTheLinksOfThatModuleOnly)
{
    FakeLink onModule(m_ui, *m_dlg, m_dlg->m_pSelectedModule->hMod);
    FakeLink onOther(m_ui, *m_dlg, 99);
    m_dlg->m_LinkDialogs = {&onModule, &onOther};
    m_dlg->m_ModuleDisconnectButton.Click();
    EXPECT_TRUE(onModule.closed);
    EXPECT_FALSE(onOther.closed);
    EXPECT_EQ(m_dlg->m_LinkDialogs, std::vector<CLinkBaseDlg*>{&onOther});
    EXPECT_EQ(m_dlg->m_ProtocolCombo.GetCount(), 0);
    EXPECT_EQ(m_dlg->m_ModuleCombo.GetCheck(0), 0);
    m_dlg->m_LinkDialogs.clear();
}

TEST_F(SimulatorChainTest, ExitAfterConstructionEndsInOrder)
{
    m_dlg->m_ExitButton.Click();
    EXPECT_TRUE(m_dlg->IsEnded());
    EXPECT_FALSE(m_dlg->IsEventThreadRunning());
    EXPECT_FALSE(m_dlg->m_bPduConstructed);
    EXPECT_FALSE(m_dlg->IsLibraryLoaded());
}

namespace {

// Answers for single library calls a test puts in place of the simulator's.
struct Override {
    static inline UNUM32 foreignModule = 0;
    static inline UNUM32 cableId = 0;
    static inline PDU_RSC_ID_ITEM_DATA data{};
    static inline UNUM32 ids[1] = {4242};
    static inline PDU_RSC_ID_ITEM list{};
    static inline UNUM32 value = 0;
    static inline PDU_DATA_ITEM item{};

    static T_PDU_ERROR PDU_CALL ResourceIdsOnOtherModule(UNUM32, PDU_RSC_DATA*, PDU_RSC_ID_ITEM** out)
    {
        data = PDU_RSC_ID_ITEM_DATA{foreignModule, 1, ids};
        list = PDU_RSC_ID_ITEM{PDU_IT_RSC_ID, 1, &data};
        *out = &list;
        return PDU_STATUS_NOERROR;
    }
    static T_PDU_ERROR PDU_CALL CableIdIoCtl(UNUM32, UNUM32, UNUM32, PDU_DATA_ITEM*, PDU_DATA_ITEM** out)
    {
        value = cableId;
        item = PDU_DATA_ITEM{PDU_IT_IO_UNUM32, &value};
        *out = &item;
        return PDU_STATUS_NOERROR;
    }
    // Our own items stay; whatever the simulator handed out goes back to it.
    static inline PFN_PDUDestroyItem simulatorDestroy = nullptr;
    static T_PDU_ERROR PDU_CALL DestroyNothing(PDU_ITEM* it)
    {
        if (it == reinterpret_cast<PDU_ITEM*>(&list) || it == reinterpret_cast<PDU_ITEM*>(&item)) return PDU_STATUS_NOERROR;
        return simulatorDestroy ? simulatorDestroy(it) : PDU_STATUS_NOERROR;
    }
};

}  // namespace

TEST_F(SimulatorChainTest, ResourceOnAnotherModuleSelectsNone)
{
    const PduApiTable saved = PduApi;
    Override::simulatorDestroy = saved.PDUDestroyItem;
    Override::foreignModule = m_dlg->m_pSelectedModule->hMod + 1;
    PduApi.PDUGetResourceIds = &Override::ResourceIdsOnOtherModule;
    PduApi.PDUDestroyItem = &Override::DestroyNothing;
    const size_t start = Log().size() - 1;
    m_dlg->m_UpdateResourceStatusButton.Click();
    PduApi = saved;
    EXPECT_EQ(m_dlg->m_SelectedResourceId, 0u);
    EXPECT_EQ(LogText(start), "----------------------------------------------------\n"
                              "Return of PDUGetResourceIds:\nPDU_STATUS_NOERROR: PDU function call successful\n"
                              "----------------------------------------------------\n"
                              "Number of matching resource IDs: 1 on num modules: 1\n"
                              "----------------------------------------------------\n"
                              "Resource found on other module than requested.\n\n");
}

TEST_F(SimulatorChainTest, UnknownCableIdPreselectsTheFirstCable)
{
    const PduApiTable saved = PduApi;
    Override::simulatorDestroy = saved.PDUDestroyItem;
    for (const uint32_t cable : {102u, 999u}) {
        Override::cableId = cable;
        PduApi.PDUIoCtl = &Override::CableIdIoCtl;
        PduApi.PDUDestroyItem = &Override::DestroyNothing;
        m_dlg->m_BustypeCombo.UserSelect(0);
        PduApi = saved;
        EXPECT_EQ(m_dlg->m_CableCombo.GetLBText(m_dlg->m_CableCombo.GetCurSel()),
                  cable == 102 ? "102 Y-Cable OBD" : "100 ZentaStick OBD Cable");
    }
}
