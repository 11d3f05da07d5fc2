// The simulator's canned sequence, from its thread through the callback to the decoder: the same
// rows, counters and bus figures as the sequence's own items give.
#include <condition_variable>

#include "../sim/SimApi.h"
#include "CannedSequence.h"
#include "monitor_link/MonitorLineDecoder.h"

namespace {

// The callback only notes the notice's handle, as the monitor window's queue does.
struct Notices {
    static inline std::mutex mutex;
    static inline std::condition_variable wake;
    static inline std::vector<uint32_t> handles;
    static void Callback(uint32_t handle, KdObject* object)
    {
        std::lock_guard lock(mutex);
        if (object != nullptr && object->GetType() == KD_OBJT_EVENT) handles.push_back(handle);
        wake.notify_all();
    }
    static uint32_t Wait(size_t count)
    {
        std::unique_lock lock(mutex);
        wake.wait_for(lock, std::chrono::seconds(10), [&] { return handles.size() >= count; });
        return handles.size() >= count ? handles[count - 1] : 0;
    }
};

class MonitorSimGoldenTest : public SimFixture {};

TEST_F(MonitorSimGoldenTest, CannedSequenceThroughTheSimulatorDecodesToTheGoldenRows)
{
    KdMonitorService* service = api.MonitorService(kModule);
    ASSERT_NE(service, nullptr);
    service->OpenHardware(518, "ZentaStick#ZS-100231", -1);
    KdMonitorLink* link =
        service->GetMonitorLink(service->CreateMonitorLink(518, "ZentaStick#ZS-100231", "ISO_11898_2_DWCAN", -1));
    link->SetU32(20000, "Baudrate");
    link->SetTextValue("canned", "Traffic");
    link->SetEventCallback(&Notices::Callback);

    PrintListCtrl list;
    controls::Edit monCount{185, ""}, itemsPerSecond{2018, ""}, busLoad{2029, ""};
    MonitorLineDecoder decoder(list, monCount, itemsPerSecond, busLoad);
    decoder.SetBusTypeName("ISO_11898_2_DWCAN");
    decoder.SetSuppressLinkEvents(true);
    link->Open();
    decoder.DecodeMonitorEvent(link, Notices::Wait(1));
    EXPECT_EQ(itemsPerSecond.GetWindowText(), kCannedItemsPerSecond);
    EXPECT_EQ(busLoad.GetWindowText(), kCannedBusLoad);
    link->ApplyParams();
    decoder.DecodeMonitorEvent(link, Notices::Wait(2));
    link->Close(0);
    link->Release();
    service->CloseHardware(518, "ZentaStick#ZS-100231");

    std::vector<std::string> rows = list.Rows();
    rows.pop_back();  // the row kept open for the next write
    const std::vector<std::string> expected = CannedRows();
    ASSERT_EQ(rows.size(), expected.size());
    for (size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i], expected[i]) << "row " << i;
    EXPECT_EQ(decoder.MonCount(), kCannedMonCount);
}

}  // namespace
