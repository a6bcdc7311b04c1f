// SPDX-License-Identifier: MIT
#include "foundation/text/shared_bytes.h"

#include "foundation/text/block_memory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

namespace vantrel {

namespace {

// clear() keeps storage up to this size for the next use.
constexpr std::size_t kKeptCapacity = std::size_t{64} << 10;
constexpr std::size_t kSmallestCapacity = 40;

// Room for `needed` bytes where `current` were too few: the first block is exact, so that a text
// read in one piece wastes nothing; later ones grow geometrically.
std::size_t grownCapacity(std::size_t current, std::size_t needed) noexcept {
    if (current == 0) {
        return std::max(needed, kSmallestCapacity);
    }
    return std::min<std::size_t>(std::max(needed, 2 * current), kMaxTextSize);
}

} // namespace

SharedBytes::Block* SharedBytes::newBlock(std::size_t capacity) noexcept {
    void* const memory = text::allocateBlock(sizeof(Block) + capacity + 1);
    if (memory == nullptr) {
        return nullptr;
    }
    Block* const block = new (memory) Block;
    block->references.store(1, std::memory_order_relaxed);
    block->capacity = capacity;
    return block;
}

void SharedBytes::releaseBlock(Block* block) noexcept {
    // Nobody can come to share what only one has: no count is written down for it.
    if (block != nullptr && (block->references.load(std::memory_order_acquire) == 1 ||
                             block->references.fetch_sub(1, std::memory_order_acq_rel) == 1)) {
        block->~Block();
        text::freeBlock(block);
    }
}

bool SharedBytes::holds(const void* pointer) const noexcept {
    const std::less_equal<const void*> notAfter;
    return m_block != nullptr && notAfter(cString(), pointer) &&
           notAfter(pointer, cString() + m_size);
}

bool SharedBytes::moveTo(std::size_t capacity) noexcept {
    Block* const block = newBlock(capacity);
    if (block == nullptr) {
        return false;
    }
    std::memcpy(data(block), cString(), std::size_t{m_size} + 1);
    releaseBlock(m_block);
    m_block = block;
    return true;
}

// Where memory can be had behind the block, or its pages be moved, nothing is copied and no new
// page touched: a log grows so many times.
bool SharedBytes::growInPlace(std::size_t capacity) noexcept {
    void* const memory = text::growBlock(m_block, sizeof(Block) + m_block->capacity + 1,
                                         sizeof(Block) + capacity + 1);
    if (memory == nullptr) {
        return false;
    }
    m_block = new (memory) Block;
    m_block->references.store(1, std::memory_order_relaxed);
    m_block->capacity = capacity;
    return true;
}

bool SharedBytes::appendToNew(const void* source, std::size_t count) noexcept {
    if (count == 0) {
        return true;
    }
    if (count > kMaxTextSize - m_size) {
        return false;
    }
    const std::size_t newSize = m_size + count;
    if (isOwn() && m_block->capacity < newSize && !holds(source)) {
        if (!growInPlace(grownCapacity(std::max<std::size_t>(m_size, 1), newSize))) {
            return false;
        }
    }
    if (!isOwn() || m_block->capacity < newSize) {
        // The old block lives until the bytes are copied: they may be a part of it.
        const std::size_t held = m_block == nullptr ? 0 : std::max<std::size_t>(m_size, 1);
        Block* const block = newBlock(grownCapacity(held, newSize));
        if (block == nullptr) {
            return false;
        }
        std::memcpy(data(block), cString(), m_size);
        std::memcpy(data(block) + m_size, source, count);
        releaseBlock(m_block);
        m_block = block;
    } else {
        std::memcpy(data(m_block) + m_size, source, count);
    }
    take(count);
    return true;
}

bool SharedBytes::reserve(std::size_t capacity) noexcept {
    if (capacity > kMaxTextSize) {
        return false;
    }
    if (isOwn() && m_block->capacity >= capacity) {
        return true;
    }
    // Geometric as well: a caller may reserve a little again and again.
    return moveTo(capacity > m_size ? grownCapacity(m_size, capacity) : m_size);
}

bool SharedBytes::resize(std::size_t size) noexcept {
    if (size > kMaxTextSize) {
        return false;
    }
    if (!isOwn() || m_block->capacity < size) {
        const bool grows = size > m_size;
        Block* const block =
            newBlock(grows ? grownCapacity(m_size, size) : std::max(size, kSmallestCapacity));
        if (block == nullptr) {
            return false;
        }
        std::memcpy(data(block), cString(), std::min<std::size_t>(size, m_size));
        releaseBlock(m_block);
        m_block = block;
    }
    m_size = static_cast<std::uint32_t>(size);
    data(m_block)[m_size] = '\0';
    return true;
}

char* SharedBytes::mutableData() noexcept {
    if (m_size == 0 || (!isOwn() && !moveTo(m_size))) {
        return nullptr;
    }
    return data(m_block);
}

bool SharedBytes::splice(std::size_t start, std::size_t count,
                         std::string_view replacement) noexcept {
    start = std::min<std::size_t>(start, m_size);
    count = std::min<std::size_t>(count, m_size - start);
    const std::size_t kept = m_size - count;
    if (replacement.size() > kMaxTextSize - kept) {
        return false;
    }
    const std::size_t newSize = kept + replacement.size();
    const std::size_t tail = m_size - start - count;
    if (isOwn() && m_block->capacity >= newSize) {
        char* const at = data(m_block) + start;
        std::memmove(at + replacement.size(), at + count, tail);
        std::copy(replacement.begin(), replacement.end(), at);
    } else {
        Block* const block = newBlock(std::max(newSize, kSmallestCapacity));
        if (block == nullptr) {
            return false;
        }
        char* const at = data(block) + start;
        std::memcpy(data(block), cString(), start);
        std::copy(replacement.begin(), replacement.end(), at);
        std::memcpy(at + replacement.size(), cString() + start + count, tail);
        releaseBlock(m_block);
        m_block = block;
    }
    m_size = static_cast<std::uint32_t>(newSize);
    data(m_block)[m_size] = '\0';
    return true;
}

void SharedBytes::truncate(std::uint32_t size) noexcept {
    if (size >= m_size) {
        return;
    }
    if (isOwn()) {
        m_size = size;
        data(m_block)[size] = '\0';
    } else if (size == 0) {
        clear();
    } else {
        static_cast<void>(splice(size, m_size - size, {}));
    }
}

void SharedBytes::clear() noexcept {
    if (isOwn() && m_block->capacity <= kKeptCapacity) {
        data(m_block)[0] = '\0';
    } else {
        releaseBlock(m_block);
        m_block = nullptr;
    }
    m_size = 0;
}

void SharedBytes::secureClear() noexcept {
    if (isOwn()) {
        text::secureWipe(data(m_block), m_block->capacity);
    }
    releaseBlock(m_block);
    m_block = nullptr;
    m_size = 0;
}

} // namespace vantrel
