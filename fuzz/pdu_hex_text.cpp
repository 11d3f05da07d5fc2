// The texts a link window reads as numbers: the PDU box, mask and pattern, the cancel box, the
// control data fields, and the hexadecimal readers under them.
#include <fuzzer/FuzzedDataProvider.h>

#include <vector>

#include "logical_link/ComPrimitiveRequest.h"
#include "logical_link/HexParsing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const uint32_t capacity = input.ConsumeIntegralInRange<uint32_t>(0, 300);
    const bool stopAtFirstFault = input.ConsumeBool();
    ControlFields fields;
    fields.receiveCycles = input.ConsumeRandomLengthString(16);
    fields.sendCycles = input.ConsumeRandomLengthString(16);
    fields.cycleTime = input.ConsumeRandomLengthString(16);
    fields.tempParamState = input.ConsumeIntegral<uint32_t>();
    ResponseMask positive, negative;
    positive.maskText = input.ConsumeRandomLengthString(24);
    positive.patternText = input.ConsumeRandomLengthString(24);
    negative.maskText = input.ConsumeRandomLengthString(24);
    negative.patternText = input.ConsumeRandomLengthString(24);
    const std::string text = input.ConsumeRemainingBytesAsString();

    std::vector<uint8_t> bytes(capacity);
    uint32_t count = capacity;
    ParseHexBytes(text, bytes.data(), count);
    if (count > capacity) __builtin_trap();
    std::vector<uint32_t> longs(capacity + 1);  // the reader may store one more, as documented
    count = capacity;
    ParseHexLongs(text, longs.data(), count);
    if (count > capacity + 1) __builtin_trap();

    std::vector<uint8_t> pdu;
    ParsePduBytes(text, pdu, stopAtFirstFault);
    CancelHandleOf(text);

    positive.FromTexts();
    negative.FromTexts();
    std::vector<uint8_t> flagBytes(capacity % 8);
    PDU_FLAG_DATA txFlags{static_cast<UNUM32>(flagBytes.size()), flagBytes.empty() ? nullptr : flagBytes.data()};
    ComPrimitiveRequest request;
    request.SetControl(fields, txFlags);
    request.SetExpectedResponses(stopAtFirstFault, positive, negative);
    request.Control();
    return 0;
}
