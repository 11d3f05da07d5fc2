// The simulator's DoIP message reader on stream and datagram bytes, for both sides; a complete
// message encodes back to the bytes it was read from.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <cstring>

#include "DoIpFrame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto receiver = input.ConsumeBool() ? pdusim::DoIpFrame::Receiver::Entity : pdusim::DoIpFrame::Receiver::Tester;
    const uint32_t maxPayload = input.ConsumeBool() ? 4096 : input.ConsumeIntegral<uint32_t>();
    const std::vector<uint8_t> bytes = input.ConsumeRemainingBytes<uint8_t>();
    pdusim::DoIpFrame frame;
    const auto parsed = pdusim::DoIpFrame::Parse(bytes.data(), bytes.size(), receiver, maxPayload, &frame);
    if (parsed.outcome == pdusim::DoIpFrame::Outcome::Complete) {
        if (parsed.consumed > bytes.size()) std::abort();
        const std::vector<uint8_t> encoded = frame.Encode();
        if (encoded.size() != parsed.consumed || std::memcmp(encoded.data(), bytes.data(), encoded.size()) != 0)
            std::abort();
    }
    return 0;
}
