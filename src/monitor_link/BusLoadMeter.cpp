#include "monitor_link/BusLoadMeter.h"

namespace {

struct StuffTable;

// Counts the stuff bits that bit stream needs: after five equal bits the controller inserts one
// of the other level. `run` is positive for a run of recessive bits, negative for dominant ones.
class StuffCounter {
public:
    explicit StuffCounter(int run = -1) : m_run(run) {}  // the start-of-frame bit is dominant
    void Bit(bool recessive)
    {
        if (recessive) {
            if (m_run < 0)
                m_run = 1;
            else if (m_run == 4)
                Stuff(-1);
            else
                ++m_run;
        } else {
            if (m_run > 0)
                m_run = -1;
            else if (m_run == -4)
                Stuff(1);
            else
                --m_run;
        }
    }
    void Bits(uint32_t value, int count)
    {
        for (int bit = count - 1; bit >= 0; --bit)
            Bit(((value >> bit) & 1u) != 0);
    }
    // A whole byte by the table, with the same result as its eight bits.
    inline void Byte(const StuffTable& table, uint8_t byte);
    uint8_t Count() const { return m_count; }
    int Run() const { return m_run; }

private:
    void Stuff(int runAfter)
    {
        ++m_count;
        m_run = runAfter;
    }
    int m_run;
    uint8_t m_count = 0;
};

uint16_t CrcStep(uint16_t reg, uint8_t byte)
{
    reg = static_cast<uint16_t>(reg ^ (byte << 7));
    for (int i = 0; i < 8; ++i) {
        reg = static_cast<uint16_t>(reg << 1);
        if (reg & 0x8000)
            reg ^= 0xc599;
    }
    return reg;
}

// The step above a byte at a time. The register stays below 0x8000 after every step, so the
// low seven bits of reg ^ (byte << 7) only move up, and the high eight decide the feedback.
struct CrcTable {
    uint16_t feedback[256];
    CrcTable()
    {
        for (uint32_t i = 0; i < 256; ++i)
            feedback[i] = CrcStep(static_cast<uint16_t>(i << 7), 0);
    }
    uint16_t Step(uint16_t reg, uint8_t byte) const
    {
        const uint16_t x = static_cast<uint16_t>(reg ^ (byte << 7));
        return static_cast<uint16_t>(((x & 0x7f) << 8) ^ feedback[(x >> 7) & 0xff]);
    }
};

// Whole data bytes through the stuff counter: for each run state and byte, the state after
// the byte's eight bits and the stuff bits they needed.
struct StuffTable {
    struct Entry {
        int8_t run;
        uint8_t stuffed;
    };
    Entry entries[9][256];  // run -4..4 at index run + 4; 0 is never a state
    StuffTable()
    {
        for (int run = -4; run <= 4; ++run)
            for (uint32_t byte = 0; byte < 256; ++byte) {
                StuffCounter counter(run);
                counter.Bits(byte, 8);
                entries[run + 4][byte] = {static_cast<int8_t>(counter.Run()), counter.Count()};
            }
    }
};

const CrcTable& Crcs()
{
    static const CrcTable table;
    return table;
}

const StuffTable& Stuffs()
{
    static const StuffTable table;
    return table;
}

inline void StuffCounter::Byte(const StuffTable& table, uint8_t byte)
{
    const StuffTable::Entry& entry = table.entries[m_run + 4][byte];
    m_run = entry.run;
    m_count = static_cast<uint8_t>(m_count + entry.stuffed);
}

uint32_t TailBits(uint32_t length)
{
    if (length < 9)
        return 19;
    if (length <= 16)
        return 21;
    if (length <= 64)
        return 25;
    return 4;
}

}  // namespace

uint16_t BusLoadMeter::Crc(uint32_t id, const uint8_t* data, uint32_t length)
{
    const auto idHigh = static_cast<uint8_t>(id >> 8);
    const auto idLow = static_cast<uint8_t>(id);
    uint16_t reg = 0;
    const CrcTable& table = Crcs();
    reg = table.Step(reg, static_cast<uint8_t>(idHigh >> 1));
    reg = table.Step(reg, static_cast<uint8_t>(static_cast<uint8_t>(idHigh << 7) | (idLow >> 1)));
    reg = table.Step(reg, static_cast<uint8_t>(static_cast<uint8_t>(idLow << 7) | length));
    for (uint32_t i = 0; i < length; ++i)
        reg = table.Step(reg, data[i]);
    return reg;
}

uint8_t BusLoadMeter::StuffBits(uint32_t id, const uint8_t* data, uint32_t length)
{
    const StuffTable& table = Stuffs();
    StuffCounter counter;
    counter.Bits((id >> 8) & 0x7, 3);
    counter.Byte(table, static_cast<uint8_t>(id));
    counter.Bits(0, 3);  // RTR, IDE, r0
    counter.Bits(length & 0xf, 4);
    for (uint32_t i = 0; i < length; ++i)
        counter.Byte(table, data[i]);
    const uint16_t crc = Crc(id, data, length);
    counter.Bits(crc >> 8, 7);
    counter.Byte(table, static_cast<uint8_t>(crc));
    return counter.Count();
}

uint32_t BusLoadMeter::ArbitrationBits(bool extended, uint32_t length)
{
    if (length < 9)
        return extended ? 33 : 15;
    return extended ? 36 : 18;
}

uint32_t BusLoadMeter::DataPhaseBits(const Frame& frame)
{
    return frame.length * 8 + TailBits(frame.length) + 13 + StuffBits(frame.id, frame.data, frame.length);
}

void BusLoadMeter::AddFrame(const Frame& frame, uint32_t baud, uint32_t dataBaud)
{
    ++m_itemsInWindow;
    if (!frame.hasId)
        return;
    // A rate of 0 makes the quotient infinite, and the load shows so.
    m_busyTime += static_cast<double>(ArbitrationBits(frame.extended, frame.length)) / baud +
                  static_cast<double>(DataPhaseBits(frame)) / dataBaud;
}

bool BusLoadMeter::CloseWindow(uint32_t timestamp)
{
    const uint32_t elapsed = timestamp - m_windowStart;
    if (elapsed <= 1000000)
        return false;
    bool show = false;
    m_itemsPerSecond = m_itemsInWindow * 1000000.0 / elapsed;
    if (m_busyTime != 0.0) {
        const double load = m_busyTime * 100000000.0 / elapsed;
        m_busLoad = load;
        show = load > 1.0;
    }
    m_windowStart = timestamp;
    m_itemsInWindow = 0;
    m_busyTime = 0.0;
    return show;
}

void BusLoadMeter::Restart()
{
    m_windowStart = 0;
    m_itemsInWindow = 0;
    m_busyTime = 0.0;
    ResetFigures();
}

void BusLoadMeter::ResetFigures()
{
    m_itemsPerSecond = 0.0;
    m_busLoad = 0.0;
}
