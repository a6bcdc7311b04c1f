// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_SHARED_BYTES_H
#define FOUNDATION_TEXT_SHARED_BYTES_H

#include "foundation/text/byte_view.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace vantrel {

// Longest text or byte array: 4 GiB less room for the header and the closing NUL.
inline constexpr std::uint32_t kMaxTextSize = 0xFFFFFF00U;

// Reference-counted bytes with copy on write, followed by one NUL that does not count: the storage
// behind StringBuffer and DataBuffer. Copying shares; every mutating call first makes the bytes its
// own. The count is atomic, so copies may live in different threads; one object may not be used by
// two threads at once. Mutating calls return false (and change nothing) when memory runs out or the
// size limit is passed. clear() gives up large storage; truncate(0) and resize(0) keep it for
// reuse.
class SharedBytes final {
public:
    SharedBytes() noexcept = default;
    SharedBytes(const SharedBytes& other) noexcept {
        // An empty one may hold reserved storage, which stays its own.
        if (other.m_size != 0) {
            m_block = other.m_block;
            m_size = other.m_size;
            m_block->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
    SharedBytes(SharedBytes&& other) noexcept
        : m_block(std::exchange(other.m_block, nullptr)), m_size(std::exchange(other.m_size, 0)) {}
    SharedBytes& operator=(const SharedBytes& other) noexcept {
        if (this != &other) {
            SharedBytes copy(other);
            swap(copy);
        }
        return *this;
    }
    SharedBytes& operator=(SharedBytes&& other) noexcept {
        if (this != &other) {
            SharedBytes taken(std::move(other));
            swap(taken);
        }
        return *this;
    }
    ~SharedBytes() {
        if (m_block != nullptr) {
            releaseBlock(m_block);
        }
    }

    [[nodiscard]] std::uint32_t size() const noexcept { return m_size; }
    [[nodiscard]] const char* cString() const noexcept {
        return m_block != nullptr ? data(m_block) : "";
    }
    [[nodiscard]] std::string_view text() const noexcept { return {cString(), m_size}; }
    [[nodiscard]] ByteView bytes() const noexcept { return asBytes(text()); }
    // True when both are the same stretch of the same block (two empty ones are not).
    [[nodiscard]] bool sharesWith(const SharedBytes& other) const noexcept {
        return m_block != nullptr && m_block == other.m_block && m_size == other.m_size;
    }

    // Bytes that fit without new storage; 0 while the storage is shared.
    [[nodiscard]] std::size_t capacity() const noexcept { return isOwn() ? m_block->capacity : 0; }
    // True when `pointer` lies in this storage or just behind it.
    [[nodiscard]] bool holds(const void* pointer) const noexcept;

    [[nodiscard]] bool append(const void* source, std::size_t count) noexcept {
        char* const at = freeRoom(count);
        if (at == nullptr || count == 0) [[unlikely]] {
            return appendToNew(source, count);
        }
        std::memcpy(at, source, count);
        take(count);
        return true;
    }
    // Where `count` bytes can be written behind the last; null where there is no such room in
    // storage of its own. take() then makes so many of them a part of it.
    [[nodiscard]] char* freeRoom(std::size_t count) noexcept {
        return isOwn() && m_block->capacity - m_size >= count ? data(m_block) + m_size : nullptr;
    }
    void take(std::size_t count) noexcept {
        m_size += static_cast<std::uint32_t>(count);
        data(m_block)[m_size] = '\0';
    }
    // Room for `capacity` bytes in storage of its own.
    [[nodiscard]] bool reserve(std::size_t capacity) noexcept;
    // Sets the size; new bytes are undefined. The result is storage of its own.
    [[nodiscard]] bool resize(std::size_t size) noexcept;
    // Bytes that may be written to, storage of its own; null when empty or out of memory.
    [[nodiscard]] char* mutableData() noexcept;
    // Replaces [start, start + count) by `replacement`, which must not point into this storage.
    [[nodiscard]] bool splice(std::size_t start, std::size_t count,
                              std::string_view replacement) noexcept;
    void truncate(std::uint32_t size) noexcept;
    void clear() noexcept;
    void secureClear() noexcept;
    void swap(SharedBytes& other) noexcept {
        std::swap(m_block, other.m_block);
        std::swap(m_size, other.m_size);
    }

private:
    struct Block {
        std::atomic<std::uint32_t> references;
        std::size_t capacity; // bytes after the header, the NUL's place not counted
    };

    static char* data(Block* block) noexcept { return reinterpret_cast<char*>(block + 1); }
    static Block* newBlock(std::size_t capacity) noexcept;
    static void releaseBlock(Block* block) noexcept;
    [[nodiscard]] bool isOwn() const noexcept {
        return m_block != nullptr && m_block->references.load(std::memory_order_acquire) == 1;
    }
    // append() where the bytes do not fit.
    [[nodiscard]] bool appendToNew(const void* source, std::size_t count) noexcept;
    // More room in the own block, which may move.
    [[nodiscard]] bool growInPlace(std::size_t capacity) noexcept;
    // Carries the bytes over into a new block.
    [[nodiscard]] bool moveTo(std::size_t capacity) noexcept;

    Block* m_block = nullptr;
    std::uint32_t m_size = 0;
};

} // namespace vantrel

#endif
