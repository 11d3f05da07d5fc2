// Monitor items as the monitor service delivers them, drained by one notice after another into
// the rows of the monitor list, with filters, bus types and the trace store behind it.
#include <fuzzer/FuzzedDataProvider.h>

#include "FakeMonitor.h"
#include "monitor_link/MonitorLineDecoder.h"

namespace {

constexpr uint32_t kItemTypes[] = {KD_IT_OVERRUN, KD_IT_ERROR, KD_IT_LINE_ERROR, KD_IT_ERROR_2, KD_IT_CAN_RX,
                                   KD_IT_CAN_TX, KD_IT_CANFD_RX, KD_IT_CANFD_TX, KD_IT_LIN_RX, KD_IT_LIN_TX,
                                   KD_IT_KLINE_RX, KD_IT_KLINE_TX, KD_IT_MONITOR_FLUSH, KD_IT_INFO, KD_IT_CLAMP,
                                   KD_IT_CHIP_STATE};
constexpr uint32_t kSubTypes[] = {KD_IST_BAUD, KD_IST_I, KD_IST_J, KD_IST_S, KD_IST_L, KD_IST_H, KD_IST_K};
const char* const kBusTypes[] = {"HS_CAN", "CANFD", "LIN", "KLINE", "SAE_J1850", ""};

template <size_t N>
uint32_t Pick(FuzzedDataProvider& input, const uint32_t (&known)[N])
{
    return input.ConsumeIntegralInRange<uint32_t>(0, 7) == 0 ? input.ConsumeIntegral<uint32_t>() : input.PickValueInArray(known);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    // The list's ring of cells costs more to build than a run: one for the process, emptied
    // before each run, so that its cells' memory is reused rather than grown run after run
    // (growth would look like a leak to the leak check after every run).
    static PrintListCtrl list;
    static controls::Edit monCount{185, ""};
    static controls::Edit itemsPerSecond{2018, ""};
    static controls::Edit busLoad{2029, ""};
    list.Clear();
    TraceStore trace(1000);
    MonitorLineDecoder decoder(list, monCount, itemsPerSecond, busLoad);
    decoder.SetTrace(&trace);
    decoder.SetBusTypeName(input.PickValueInArray(kBusTypes));
    decoder.SetScreenDisabled(input.ConsumeIntegralInRange(0, 7) == 0);
    decoder.SetSuppressLinkEvents(input.ConsumeBool());
    decoder.SetCollecting(input.ConsumeBool());
    std::vector<int> ids;
    for (int i = input.ConsumeIntegralInRange(0, 4); i > 0; --i) ids.push_back(input.ConsumeIntegral<int>());
    decoder.SetFilter(input.ConsumeIntegralInRange<uint32_t>(0, 3), ids);
    decoder.Restart();

    FakeLink link;
    if (input.ConsumeIntegralInRange(0, 7) == 0) link.u32.erase("Baudrate");
    if (input.ConsumeIntegralInRange(0, 7) == 0) link.u32["Baudrate"] = input.ConsumeIntegral<uint32_t>();
    for (int notices = 0; notices < 4 && input.remaining_bytes() > 0; ++notices) {
        for (int items = input.ConsumeIntegralInRange(0, 16); items > 0 && input.remaining_bytes() > 0; --items) {
            FakeItem item;
            item.type = Pick(input, kItemTypes);
            item.subType = Pick(input, kSubTypes);
            item.timestamp = input.ConsumeIntegral<uint32_t>();
            item.hasTimestamp = input.ConsumeIntegralInRange(0, 7) != 0;
            item.id = input.ConsumeIntegral<uint32_t>();
            item.hasId = input.ConsumeIntegralInRange(0, 7) != 0;
            item.extended = input.ConsumeBool();
            item.fd = input.ConsumeBool();
            item.brs = input.ConsumeBool();
            item.clamp15 = input.ConsumeIntegral<uint8_t>();
            item.clamp30 = input.ConsumeIntegral<uint8_t>();
            item.data = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 80));
            if (input.ConsumeIntegralInRange(0, 31) == 0) item.objectType = input.ConsumeIntegral<uint32_t>();
            link.Add(item);
        }
        decoder.DecodeMonitorEvent(&link, input.ConsumeIntegralInRange<uint32_t>(0, 9));
        decoder.RefreshCounters();
    }
    decoder.CollectedIds();
    decoder.ResetCounters();
    return 0;
}
