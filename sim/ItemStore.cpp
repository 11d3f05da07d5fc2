#include "ItemStore.h"

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <unordered_set>

namespace pdusim {
namespace {

// Addresses are kept disguised, so that a leak checker reports an item the host never gave
// back instead of finding it reachable through this registry.
uintptr_t Key(const void* block) { return ~reinterpret_cast<uintptr_t>(block); }

struct Registry {
    std::mutex mutex;
    std::unordered_set<uintptr_t> live;
};

// Never destroyed: items may be returned by a host after the library's statics are gone.
Registry& TheRegistry() {
    static Registry* registry = new Registry;
    return *registry;
}

}  // namespace

void* ItemStore::Allocate(size_t size) {
    void* block = std::calloc(1, size == 0 ? 1 : size);
    if (block == nullptr) return nullptr;
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.live.insert(Key(block));
    return block;
}

bool ItemStore::Release(void* block) {
    Registry& r = TheRegistry();
    {
        std::lock_guard<std::mutex> lock(r.mutex);
        if (r.live.erase(Key(block)) == 0) return false;
    }
    std::free(block);
    return true;
}

size_t ItemStore::LiveCount() {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.live.size();
}

}  // namespace pdusim
