// SPDX-License-Identifier: MIT
#include "foundation/text/block_memory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vantrel::text {

namespace {

std::atomic<HugePageAdvice> g_hugePageAdvice{nullptr};

} // namespace

void* allocateBlock(std::size_t size) noexcept {
    if (size < kLargeBlock) {
        return std::malloc(size);
    }
    const std::size_t rounded = (size + kHugePage - 1) / kHugePage * kHugePage;
    void* const block = rounded >= size ? std::aligned_alloc(kHugePage, rounded) : nullptr;
    const HugePageAdvice advice = g_hugePageAdvice.load(std::memory_order_acquire);
    if (block != nullptr && advice != nullptr) {
        advice(block, rounded);
    }
    return block;
}

void freeBlock(void* block) noexcept { std::free(block); }

void* growBlock(void* block, std::size_t size, std::size_t newSize) noexcept {
    if (std::max(size, newSize) < kLargeBlock) {
        return std::realloc(block, newSize);
    }
    void* const grown = allocateBlock(newSize);
    if (grown != nullptr) {
        std::memcpy(grown, block, std::min(size, newSize));
        freeBlock(block);
    }
    return grown;
}

void setHugePageAdvice(HugePageAdvice advice) noexcept {
    g_hugePageAdvice.store(advice, std::memory_order_release);
}

void secureWipe(void* start, std::size_t size) noexcept {
    if (size != 0) {
        std::memset(start, 0, size);
        // Claims to read the memory.
        __asm__ volatile("" : : "r"(start) : "memory");
    }
}

} // namespace vantrel::text
