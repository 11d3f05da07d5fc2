// Result items of a DoIP monitor link, the vendor's header before each frame, into rows.
#include "EventItemBuilder.h"
#include "monitor_link/DoIpLineDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    // The list's ring of cells costs more to build than a run: one for the process, emptied
    // before each run, so that its cells' memory is reused rather than grown run after run
    // (growth would look like a leak to the leak check after every run).
    static controls::PrintListCtrl list;
    list.Clear();
    EventItemBuilder builder(input);
    for (int items = 0; items < 4 && input.remaining_bytes() > 0; ++items)
        DoIpLineDecoder::Decode(builder.Build(input.ConsumeIntegralInRange(0, 7) != 0), list);
    DoIpLineDecoder::PayloadTypeText(input.ConsumeIntegral<uint32_t>());
    return 0;
}
