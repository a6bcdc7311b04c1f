// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BLOCK_ALLOCATOR_H
#define FOUNDATION_TEXT_BLOCK_ALLOCATOR_H

#include "foundation/text/block_memory.h"

#include <cstddef>
#include <limits>
#include <new>

namespace vantrel::text {

// Lets a standard container keep its elements in blocks (block_memory.h), so that a large table
// that is read here and there has huge pages. Throws std::bad_alloc.
template <class T> struct BlockAllocator {
    using value_type = T;

    BlockAllocator() noexcept = default;
    template <class U> explicit BlockAllocator(const BlockAllocator<U>& /*other*/) noexcept {}

    [[nodiscard]] T* allocate(std::size_t count) {
        void* const block = count <= std::numeric_limits<std::size_t>::max() / sizeof(T)
                                ? allocateBlock(count * sizeof(T))
                                : nullptr;
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(block);
    }
    void deallocate(T* block, std::size_t /*count*/) noexcept { freeBlock(block); }

    friend bool operator==(const BlockAllocator&, const BlockAllocator&) noexcept { return true; }
};

} // namespace vantrel::text

#endif
