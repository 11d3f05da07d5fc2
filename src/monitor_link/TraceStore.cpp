#include "monitor_link/TraceStore.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace {

// A record: time (8 bytes), id (4), flags (1), length (1), the data.
constexpr size_t kHeader = 14;

uint64_t SystemMicroseconds()
{
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace

TraceStore::TraceStore(size_t capacity, WallClock clock)
    : m_capacity(std::max<size_t>(capacity, 1)), m_clock(clock ? std::move(clock) : WallClock(SystemMicroseconds))
{
}

uint64_t TraceStore::Unwrap(uint32_t itemTimeUs)
{
    if (!m_started) {
        m_started = true;
        m_itemTime = itemTimeUs;
        m_anchorUs = m_clock() - itemTimeUs;
    } else {
        // The item clock runs over every 71 minutes: the difference taken as signed crosses the
        // turn. A clock that steps back leaves the time where it was, so the trace never runs
        // backwards for the tools that read it.
        const auto step = static_cast<int32_t>(itemTimeUs - m_lastItemTime);
        if (step > 0) m_itemTime += static_cast<uint64_t>(step);
    }
    m_lastItemTime = itemTimeUs;
    return m_anchorUs + m_itemTime;
}

void TraceStore::Add(uint32_t itemTimeUs, uint32_t id, uint8_t flags, const uint8_t* data, size_t length)
{
    if (!data) length = 0;
    length = std::min(length, kMaxData);
    std::lock_guard lock(m_lock);
    const uint64_t time = Unwrap(itemTimeUs);
    if (m_chunks.empty() || m_chunks.back().frames == kChunkFrames) {
        m_chunks.push_back({std::make_shared<std::vector<uint8_t>>(), 0});
        m_chunks.back().bytes->reserve(kChunkFrames * (kHeader + 8));
    }
    Chunk& chunk = m_chunks.back();
    uint8_t header[kHeader];
    std::memcpy(header, &time, 8);
    std::memcpy(header + 8, &id, 4);
    header[12] = flags;
    header[13] = static_cast<uint8_t>(length);
    chunk.bytes->insert(chunk.bytes->end(), header, header + kHeader);
    if (length > 0) chunk.bytes->insert(chunk.bytes->end(), data, data + length);
    ++chunk.frames;
    ++m_frames;
    while (m_chunks.size() > 1 && m_frames - m_chunks.front().frames >= m_capacity) {
        m_frames -= m_chunks.front().frames;
        m_chunks.erase(m_chunks.begin());
    }
}

void TraceStore::Clear()
{
    std::lock_guard lock(m_lock);
    m_chunks.clear();
    m_frames = 0;
    m_started = false;
}

size_t TraceStore::Size() const
{
    std::lock_guard lock(m_lock);
    return m_frames;
}

TraceStore::Snapshot TraceStore::Take() const
{
    Snapshot snapshot;
    std::lock_guard lock(m_lock);
    for (size_t i = 0; i < m_chunks.size(); ++i) {
        const bool filling = i + 1 == m_chunks.size() && m_chunks[i].frames < kChunkFrames;
        // A full chunk never changes again and is shared; the one still filling is copied.
        snapshot.m_chunks.push_back(filling ? std::make_shared<const std::vector<uint8_t>>(*m_chunks[i].bytes)
                                            : std::shared_ptr<const std::vector<uint8_t>>(m_chunks[i].bytes));
    }
    snapshot.m_frames = m_frames;
    return snapshot;
}

void TraceStore::Snapshot::ForEach(const std::function<void(const TraceFrame&)>& visit) const
{
    for (const auto& chunk : m_chunks) {
        const std::vector<uint8_t>& bytes = *chunk;
        for (size_t at = 0; at + kHeader <= bytes.size();) {
            TraceFrame frame;
            std::memcpy(&frame.timeUs, &bytes[at], 8);
            std::memcpy(&frame.id, &bytes[at + 8], 4);
            frame.flags = bytes[at + 12];
            frame.length = bytes[at + 13];
            frame.data = bytes.data() + at + kHeader;
            visit(frame);
            at += kHeader + frame.length;
        }
    }
}
