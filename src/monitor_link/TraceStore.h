// The CAN frames a monitor window has received, kept apart from its list so that a trace can be
// saved long after the list has dropped its rows. Bounded: the oldest frames go first, but never
// fewer than the capacity stay.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

struct TraceFrame {
    enum Flags : uint8_t { EXTENDED = 1, FD = 2, BRS = 4, TX = 8 };

    uint64_t timeUs = 0;  // since the epoch
    uint32_t id = 0;
    uint8_t flags = 0;
    uint8_t length = 0;
    const uint8_t* data = nullptr;
};

class TraceStore {
public:
    static constexpr size_t kDefaultCapacity = 1'000'000;
    static constexpr size_t kMaxData = 64;
    using WallClock = std::function<uint64_t()>;  // microseconds since the epoch

    explicit TraceStore(size_t capacity = kDefaultCapacity, WallClock clock = {});

    // The receive thread's: the item's 32-bit microsecond clock, unwrapped and placed on the wall
    // clock of the first frame. Longer data is cut to kMaxData.
    void Add(uint32_t itemTimeUs, uint32_t id, uint8_t flags, const uint8_t* data, size_t length);
    void Clear();
    size_t Size() const;

    // The frames as they were when taken; the receive thread goes on meanwhile.
    class Snapshot {
    public:
        size_t Size() const { return m_frames; }
        void ForEach(const std::function<void(const TraceFrame&)>& visit) const;

    private:
        friend class TraceStore;
        std::vector<std::shared_ptr<const std::vector<uint8_t>>> m_chunks;
        size_t m_frames = 0;
    };
    Snapshot Take() const;

private:
    struct Chunk {
        std::shared_ptr<std::vector<uint8_t>> bytes;
        size_t frames = 0;
    };
    static constexpr size_t kChunkFrames = 16384;

    uint64_t Unwrap(uint32_t itemTimeUs);

    const size_t m_capacity;
    const WallClock m_clock;
    mutable std::mutex m_lock;
    std::vector<Chunk> m_chunks;  // oldest first; the last one is still filling
    size_t m_frames = 0;
    bool m_started = false;
    uint32_t m_lastItemTime = 0;
    uint64_t m_itemTime = 0;   // unwrapped
    uint64_t m_anchorUs = 0;   // wall clock minus item clock
};
