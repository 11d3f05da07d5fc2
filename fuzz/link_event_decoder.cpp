// Event items of a logical link into log lines, in both windows, every mode of the create flags
// and every state of the boxes the decoder reads.
#include "EventItemBuilder.h"
#include "logical_link/LinkEventDecoder.h"

namespace {

class Sink : public LinkEventSink {
public:
    explicit Sink(FuzzedDataProvider& input) : m_input(input)
    {
        for (int i = m_input.ConsumeIntegralInRange(0, 3); i > 0; --i) {
            ErrorCodeInfo info;
            info.id = m_input.ConsumeBool() ? 0x8000 + m_input.ConsumeIntegralInRange(0, 0x80) : m_input.ConsumeIntegral<uint32_t>();
            info.name = m_input.ConsumeRandomLengthString(24);
            info.description = m_input.ConsumeRandomLengthString(48);
            m_errors.push_back(info);
        }
    }
    bool TimestampEnabled() override { return m_input.ConsumeBool(); }
    bool ScreenDisabled() override { return m_input.ConsumeBool(); }
    bool DetailedErrorText() override { return m_input.ConsumeBool(); }
    void CountEvent() override {}
    void CoPEnded(uint32_t hCop, LogLines& out) override { out.Format("ComPrimitive: %u(0x%x) finished.\n", hCop, hCop); }
    void LinkOffline() override {}
    void LinkOnline() override {}
    std::vector<ErrorCodeInfo> VendorErrors() override { return m_errors; }

private:
    FuzzedDataProvider& m_input;
    std::vector<ErrorCodeInfo> m_errors;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    uint8_t flags[4] = {};
    // Monitor (byte 3 == 1) and raw (byte 0 == 0x80) mode, or any flags.
    if (input.ConsumeBool()) {
        flags[0] = input.ConsumeBool() ? 0x80 : 0;
        flags[3] = input.ConsumeBool() ? 1 : 0;
    } else {
        for (uint8_t& flag : flags) flag = input.ConsumeIntegral<uint8_t>();
    }
    const LinkEventDecoder decoder(input.ConsumeBool() ? LinkEventDecoder::Variant::Full : LinkEventDecoder::Variant::Plain, flags);
    Sink sink(input);
    EventItemBuilder builder(input);
    LogLines out;
    for (int items = 0; items < 8 && input.remaining_bytes() > 0; ++items) {
        decoder.Decode(builder.Build(false), sink, out);
        if (out.Text().size() > 1 << 20) out.Clear();
    }
    LinkEventDecoder::DataLostLines(out);
    return 0;
}
