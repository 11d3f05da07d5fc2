// Every item the library hands out is one zeroed heap block, registered here until
// PDUDestroyItem returns it, so a foreign or doubled pointer is refused instead of freed.
#pragma once

#include <cstddef>

namespace pdusim {

class ItemStore {
public:
    static void* Allocate(size_t size);
    // False when the block was not handed out by Allocate or was released already.
    static bool Release(void* block);
    static size_t LiveCount();
};

// Places parts of one item block: Add returns the offset of a part of n bytes.
class BlockLayout {
public:
    size_t Add(size_t n, size_t align = alignof(std::max_align_t)) {
        m_size = (m_size + align - 1) / align * align;
        const size_t offset = m_size;
        m_size += n;
        return offset;
    }
    size_t Size() const { return m_size == 0 ? 1 : m_size; }

private:
    size_t m_size = 0;
};

template <typename T>
T* At(void* block, size_t offset) {
    return reinterpret_cast<T*>(static_cast<char*>(block) + offset);
}

}  // namespace pdusim
