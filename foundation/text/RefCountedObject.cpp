// SPDX-License-Identifier: MIT
#include "foundation/text/RefCountedObject.h"

#include <array>
#include <cstddef>

namespace vantrel {

namespace {

// Each in a cache line of its own, shared by as few threads as may be: one number for all would
// travel between the processors with every object.
struct alignas(64) LiveCount {
    std::atomic<std::int64_t> objects{0};
};
std::array<LiveCount, 32> g_liveCounts;
std::atomic<std::size_t> g_threads{0};

std::atomic<std::int64_t>& liveCount() noexcept {
    static thread_local std::atomic<std::int64_t>& own =
        g_liveCounts[g_threads.fetch_add(1, std::memory_order_relaxed) % g_liveCounts.size()]
            .objects;
    return own;
}

} // namespace

RefCountedObject::RefCountedObject() noexcept {
    liveCount().fetch_add(1, std::memory_order_relaxed);
}

RefCountedObject::~RefCountedObject() { liveCount().fetch_sub(1, std::memory_order_relaxed); }

void RefCountedObject::decRefCount() noexcept {
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

std::int64_t RefCountedObject::liveObjects() noexcept {
    std::int64_t objects = 0;
    for (const LiveCount& count : g_liveCounts) {
        objects += count.objects.load(std::memory_order_relaxed);
    }
    return objects;
}

RefCountedObjectOwner::~RefCountedObjectOwner() {
    if (m_object != nullptr) {
        m_object->decRefCount();
    }
}

} // namespace vantrel
