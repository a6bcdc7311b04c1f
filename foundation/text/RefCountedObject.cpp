// SPDX-License-Identifier: MIT
#include "foundation/text/RefCountedObject.h"

namespace vantrel {

namespace {

std::atomic<std::int64_t> g_liveObjects{0};

} // namespace

RefCountedObject::RefCountedObject() noexcept {
    g_liveObjects.fetch_add(1, std::memory_order_relaxed);
}

RefCountedObject::~RefCountedObject() { g_liveObjects.fetch_sub(1, std::memory_order_relaxed); }

void RefCountedObject::decRefCount() noexcept {
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

std::int64_t RefCountedObject::liveObjects() noexcept {
    return g_liveObjects.load(std::memory_order_relaxed);
}

RefCountedObjectOwner::~RefCountedObjectOwner() {
    if (m_object != nullptr) {
        m_object->decRefCount();
    }
}

} // namespace vantrel
