// A trace of 100,000 frames saved in both formats and read back by can-utils: log2asc of our
// candump log gives the frames of our ASC file, asc2log of our ASC file those of our candump log.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include "../support/TempDir.h"
#include "monitor_link/TraceStore.h"
#include "monitor_link/TraceWriter.h"

namespace {

struct Frame {
    uint64_t timeUs = 0;  // from the file's first frame
    uint32_t id = 0;
    bool extended = false, fd = false, brs = false, tx = false;
    std::vector<uint8_t> data;
    bool operator==(const Frame&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Frame& f)
{
    out << f.timeUs << " " << std::hex << f.id << (f.extended ? "x" : "") << (f.fd ? " fd" : "") << (f.brs ? " brs" : "")
        << (f.tx ? " tx" : " rx") << " [";
    for (uint8_t b : f.data) out << int(b) << " ";
    return out << std::dec << "]";
}

std::vector<uint8_t> HexBytes(const std::string& text)
{
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

void Relative(std::vector<Frame>& frames)
{
    if (frames.empty()) return;
    const uint64_t start = frames.front().timeUs;
    for (Frame& f : frames) f.timeUs -= start;
}

uint64_t Micros(const std::string& seconds)
{
    const size_t dot = seconds.find('.');
    return std::stoull(seconds.substr(0, dot)) * 1000000 + std::stoull(seconds.substr(dot + 1));
}

// "(1700000000.000123) can0 123#1122 R", "12345678##1AABB T"
std::vector<Frame> ReadCandump(const std::string& path)
{
    std::vector<Frame> frames;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string time, channel, frame, direction;
        if (!(words >> time >> channel >> frame)) continue;
        words >> direction;
        Frame f;
        f.timeUs = Micros(time.substr(1, time.size() - 2));
        const size_t hash = frame.find('#');
        f.extended = hash == 8;
        f.id = static_cast<uint32_t>(std::stoul(frame.substr(0, hash), nullptr, 16));
        f.fd = frame.compare(hash, 2, "##") == 0;
        if (f.fd) {
            f.brs = (std::stoul(frame.substr(hash + 2, 1), nullptr, 16) & 1) != 0;
            f.data = HexBytes(frame.substr(hash + 3));
        } else {
            f.data = HexBytes(frame.substr(hash + 1));
        }
        f.tx = direction == "T";
        frames.push_back(f);
    }
    Relative(frames);
    return frames;
}

void ReadAscId(const std::string& text, Frame& f)
{
    f.extended = text.back() == 'x';
    f.id = static_cast<uint32_t>(std::stoul(f.extended ? text.substr(0, text.size() - 1) : text, nullptr, 16));
}

// "   0.000500 1  18DA10F1x       Tx   d 3 02 3E 00" and
// "   0.001500 CANFD   1 Rx         123    1 0 9 12 30 ... 3B   0 0 1000 0 0 0 0 0"
std::vector<Frame> ReadAsc(const std::string& path)
{
    std::vector<Frame> frames;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string time, second;
        if (!(words >> time >> second) || time.find('.') == std::string::npos || !std::isdigit(static_cast<unsigned char>(time[0])))
            continue;
        Frame f;
        f.timeUs = Micros(time);
        std::string id, direction;
        unsigned length = 0;
        if (second == "CANFD") {
            std::string channel, esi, dlc;
            int brs = 0;
            words >> channel >> direction >> id >> brs >> esi >> dlc >> length;
            f.fd = true;
            f.brs = brs != 0;
        } else {
            std::string kind;
            words >> id >> direction >> kind >> length;
            if (kind != "d") continue;
        }
        ReadAscId(id, f);
        f.tx = direction == "Tx";
        for (unsigned i = 0; i < length; ++i) {
            std::string byte;
            words >> byte;
            f.data.push_back(static_cast<uint8_t>(std::stoul(byte, nullptr, 16)));
        }
        frames.push_back(f);
    }
    Relative(frames);
    return frames;
}

bool HaveCanUtils()
{
    return std::system("command -v log2asc >/dev/null 2>&1 && command -v asc2log >/dev/null 2>&1") == 0;
}

// Every kind a monitor link delivers, its clock crossing its 32-bit turn on the way.
void FillTrace(TraceStore& store, size_t count)
{
    static const uint8_t kFdLengths[] = {0, 1, 5, 8, 12, 16, 20, 24, 32, 48, 64};
    std::mt19937 random(4711);
    uint32_t time = 0xffffffffu - 3'000'000;
    uint8_t data[64];
    for (size_t n = 0; n < count; ++n) {
        time += random() % 2000;
        uint8_t flags = 0;
        if (random() % 3 == 0) flags |= TraceFrame::EXTENDED;
        if (random() % 4 == 0) flags |= TraceFrame::FD | (random() % 2 ? TraceFrame::BRS : 0);
        if (random() % 5 == 0) flags |= TraceFrame::TX;
        const uint32_t id = (flags & TraceFrame::EXTENDED) ? random() & 0x1fffffff : random() & 0x7ff;
        const size_t length = (flags & TraceFrame::FD) ? kFdLengths[random() % std::size(kFdLengths)] : random() % 9;
        for (size_t i = 0; i < length; ++i) data[i] = static_cast<uint8_t>(random());
        store.Add(time, id, flags, data, length);
    }
}

}  // namespace

TEST(TraceWriterTest, CanUtilsReadBothFormatsBackAsTheOther)
{
    if (!HaveCanUtils()) GTEST_SKIP() << "can-utils (log2asc, asc2log) are not installed: scripts/install-deps.sh installs them";
    TraceStore store(TraceStore::kDefaultCapacity, [] { return uint64_t{1'700'000'000'000'000}; });
    FillTrace(store, 100'000);
    const TraceStore::Snapshot trace = store.Take();
    ASSERT_EQ(trace.Size(), 100'000u);

    TempDir dir;
    const std::string log = dir.File("ours.log"), asc = dir.File("ours.asc");
    ASSERT_TRUE(TraceWriter::Save(trace, TraceWriter::Format::Candump, log));
    ASSERT_TRUE(TraceWriter::Save(trace, TraceWriter::Format::Asc, asc));
    const std::string theirAsc = dir.File("theirs.asc"), theirLog = dir.File("theirs.log");
    ASSERT_EQ(std::system(("log2asc -I '" + log + "' -O '" + theirAsc + "' can0").c_str()), 0);
    ASSERT_EQ(std::system(("asc2log -I '" + asc + "' -O '" + theirLog + "' 2>/dev/null").c_str()), 0);

    const std::vector<Frame> ourLog = ReadCandump(log), ourAsc = ReadAsc(asc);
    ASSERT_EQ(ourLog.size(), 100'000u);
    EXPECT_EQ(ourLog, ourAsc);
    const std::vector<Frame> fromLog = ReadAsc(theirAsc), fromAsc = ReadCandump(theirLog);
    ASSERT_EQ(fromLog.size(), ourAsc.size());
    for (size_t i = 0; i < ourAsc.size(); ++i) ASSERT_EQ(fromLog[i], ourAsc[i]) << "log2asc, frame " << i;
    ASSERT_EQ(fromAsc.size(), ourLog.size());
    for (size_t i = 0; i < ourLog.size(); ++i) ASSERT_EQ(fromAsc[i], ourLog[i]) << "asc2log, frame " << i;
}

TEST(TraceWriterTest, TheStoreKeepsTheNewestFramesAndATimeThatNeverRunsBack)
{
    TraceStore store(40'000, [] { return uint64_t{5'000'000}; });
    const uint8_t byte = 0;
    // The item clock crosses its turn (+0x110), steps back (the time holds) and goes on from there.
    store.Add(0xffffff00u, 1, 0, &byte, 1);
    store.Add(0x10, 2, 0, &byte, 1);
    store.Add(0x08, 3, 0, &byte, 1);
    store.Add(0x20, 4, 0, &byte, 1);
    std::vector<uint64_t> times;
    store.Take().ForEach([&](const TraceFrame& f) { times.push_back(f.timeUs); });
    EXPECT_EQ(times, (std::vector<uint64_t>{5'000'000, 5'000'272, 5'000'272, 5'000'296}));

    for (uint32_t n = 0; n < 100'000; ++n) store.Add(n, n, 0, &byte, 1);
    const TraceStore::Snapshot kept = store.Take();
    EXPECT_GE(kept.Size(), 40'000u);
    EXPECT_LT(kept.Size(), 40'000u + 16'384u);
    uint32_t last = 0, firstId = 0;
    bool first = true;
    kept.ForEach([&](const TraceFrame& f) {
        if (first) firstId = f.id;
        first = false;
        last = f.id;
    });
    EXPECT_EQ(last, 99'999u);
    EXPECT_EQ(firstId, 100'000u - kept.Size());  // the oldest went first, in order
}
