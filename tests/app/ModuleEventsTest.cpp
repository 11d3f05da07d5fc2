#include <atomic>
#include <chrono>
#include <thread>

#include "../support/WaitFor.h"
#include "MainDialogFixture.h"
#include "pdu/PduApi.h"

namespace {

int CountRows(const std::vector<std::string>& rows, const std::string& text)
{
    return static_cast<int>(std::count(rows.begin(), rows.end(), text));
}

// A library whose event queues are scripted by the test.
struct FakeEvents {
    static inline std::vector<PDU_EVENT_ITEM> queue;
    static inline std::mutex mutex;
    static inline std::atomic<int> handedOut{0}, destroyed{0}, moduleListCalls{0};
    static inline T_PDU_STATUS statusValue = PDU_MODST_NOT_AVAIL;
    static inline PDU_ERROR_DATA error{PDU_ERR_EVT_RX_TIMEOUT, 0};
    static inline PDU_INFO_DATA info{PDU_INFO_MODULE_LIST_CHG, 7};

    static T_PDU_ERROR PDU_CALL GetEventItem(UNUM32, UNUM32, PDU_EVENT_ITEM** item)
    {
        std::lock_guard lock(mutex);
        if (queue.empty()) return PDU_ERR_EVENT_QUEUE_EMPTY;
        *item = new PDU_EVENT_ITEM(queue.front());
        queue.erase(queue.begin());
        ++handedOut;
        return PDU_STATUS_NOERROR;
    }
    static T_PDU_ERROR PDU_CALL DestroyItem(PDU_ITEM* item)
    {
        if (item && item->ItemType == PDU_IT_MODULE_ID) delete reinterpret_cast<PDU_MODULE_ITEM*>(item);
        else delete reinterpret_cast<PDU_EVENT_ITEM*>(item);
        ++destroyed;
        return PDU_STATUS_NOERROR;
    }
    static T_PDU_ERROR PDU_CALL GetModuleIds(PDU_MODULE_ITEM** list)
    {
        ++moduleListCalls;
        *list = new PDU_MODULE_ITEM{PDU_IT_MODULE_ID, 0, nullptr};
        return PDU_STATUS_NOERROR;
    }
    static void Push(T_PDU_IT type, void* data)
    {
        std::lock_guard lock(mutex);
        queue.push_back(PDU_EVENT_ITEM{type, PDU_HANDLE_UNDEF, nullptr, 0, data});
    }
};

class ModuleEventsTest : public MainDialogFixture {
protected:
    void SetUp() override
    {
        MainDialogFixture::SetUp();
        m_saved = PduApi;
        PduApi.PDUGetEventItem = &FakeEvents::GetEventItem;
        PduApi.PDUDestroyItem = &FakeEvents::DestroyItem;
        PduApi.PDUGetModuleIds = &FakeEvents::GetModuleIds;
        FakeEvents::queue.clear();
        FakeEvents::handedOut = FakeEvents::destroyed = FakeEvents::moduleListCalls = 0;
        WriteRoot({{"X", "Morvane AG", "file:///x.so"}});
        ASSERT_TRUE(Start());
        PduModuleRec module;
        module.hMod = 7;
        module.displayName = "ZentaStick 1";
        m_dlg->m_pPduModules = {module};
        m_dlg->m_ModuleCombo.AddString("ZentaStick 1");
        // Event rounds run only while a constructed library is loaded; this one is the fakes.
        static int fakeLibrary;
        m_dlg->m_hPduApiDll = &fakeLibrary;
        m_dlg->m_bPduConstructed = true;
    }
    void TearDown() override
    {
        if (m_dlg) {
            std::lock_guard lock(m_dlg->PrintLock);
            m_dlg->m_bPduConstructed = false;
            m_dlg->m_hPduApiDll = nullptr;
        }
        MainDialogFixture::TearDown();
        PduApi = m_saved;
    }
    void WakeModuleThread() { CQuillonDlg::ModuleEventCallback(PDU_EVT_DATA_AVAILABLE, 7, PDU_HANDLE_UNDEF, nullptr, m_dlg.get()); }
    void WakeSystemThread() { CQuillonDlg::SystemEventCallback(PDU_EVT_DATA_AVAILABLE, PDU_HANDLE_UNDEF, PDU_HANDLE_UNDEF, nullptr, m_dlg.get()); }

    PduApiTable m_saved;
};

}  // namespace

TEST_F(ModuleEventsTest, HundredEventsBehindOneWakeUpAreAllRead)
{
    for (int i = 0; i < 100; ++i) FakeEvents::Push(PDU_IT_INFO, &FakeEvents::info);
    WakeModuleThread();
    ASSERT_TRUE(WaitFor([] { return FakeEvents::destroyed == 100; }));
    // The leftover counts of further wake-ups find the queue empty.
    for (int i = 0; i < 99; ++i) WakeModuleThread();
    FakeEvents::Push(PDU_IT_INFO, &FakeEvents::info);
    WakeModuleThread();
    ASSERT_TRUE(WaitFor([] { return FakeEvents::destroyed == 101; }));
    EXPECT_EQ(FakeEvents::handedOut.load(), 101);
    EXPECT_EQ(CountRows(Log(), "Received an module event item from the PDU-API:"), 101);
}

TEST_F(ModuleEventsTest, ModuleEventTexts)
{
    const size_t start = Log().size() - 1;
    FakeEvents::Push(PDU_IT_STATUS, &FakeEvents::statusValue);
    FakeEvents::Push(PDU_IT_ERROR, &FakeEvents::error);
    FakeEvents::Push(PDU_IT_INFO, &FakeEvents::info);
    FakeEvents::Push(PDU_IT_RESULT, nullptr);
    WakeModuleThread();
    ASSERT_TRUE(WaitFor([] { return FakeEvents::destroyed == 4; }));
    const std::string sep = "-------------------------------------------------------\n";
    const std::string head = sep + "Received an module event item from the PDU-API:\n";
    EXPECT_EQ(LogText(start), head + "ItemType=PDU_IT_STATUS: Status=PDU_MODST_NOT_AVAIL.\n"
                                     "Module Short Name     : ZentaStick 1\n" +
                                  head + "PDU_IT_ERROR\nReturned ErrorCodeId:0x00000103 (259): PDU_ERR_EVT_RX_TIMEOUT\n" +
                                  head + "PDU_IT_INFO\nPDU_INFO_MODULE_LIST_CHG\nExtraInfoData: 7\n" + head + "\n");
}

TEST_F(ModuleEventsTest, ModuleListChangeWithNoModuleLeftEmptiesTheCombo)
{
    const size_t start = Log().size() - 1;
    FakeEvents::Push(PDU_IT_STATUS, &FakeEvents::statusValue);  // not an info item: skipped
    FakeEvents::Push(PDU_IT_INFO, &FakeEvents::info);
    WakeSystemThread();
    ASSERT_TRUE(WaitFor([] { return FakeEvents::destroyed == 3; }));  // two events and the module list
    const std::string sep = "-------------------------------------------------------\n";
    const std::string shortSep = "----------------------------------------------------\n";
    EXPECT_EQ(LogText(start), sep + "Received an system event item from the PDU-API:\n" + sep +
                                  "Received an system event item from the PDU-API:\nItemType = PDU_IT_INFO\n"
                                  "InfoCode = PDU_INFO_MODULE_LIST_CHG\n" + shortSep + "Calling PDUGetModuleIds...\n" +
                                  shortSep + "Return of PDUGetModuleIds:\nPDU_STATUS_NOERROR: PDU function call successful\n"
                                  "Error: No PduApi module found!\n");
    EXPECT_EQ(m_dlg->m_ModuleCombo.GetCount(), 0);
    EXPECT_FALSE(m_dlg->m_bApiUsable);
}
