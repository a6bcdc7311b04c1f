// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_SHARED_BYTES_H
#define FOUNDATION_TEXT_SHARED_BYTES_H

#include "foundation/text/byte_view.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

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
    SharedBytes(const SharedBytes& other) noexcept;
    SharedBytes(SharedBytes&& other) noexcept;
    SharedBytes& operator=(const SharedBytes& other) noexcept;
    SharedBytes& operator=(SharedBytes&& other) noexcept;
    ~SharedBytes();

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

    [[nodiscard]] bool append(const void* source, std::size_t count) noexcept;
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
    void swap(SharedBytes& other) noexcept;

private:
    struct Block {
        std::atomic<std::uint32_t> references;
        std::size_t capacity; // bytes after the header, the NUL's place not counted
    };

    static char* data(Block* block) noexcept { return reinterpret_cast<char*>(block + 1); }
    static Block* newBlock(std::size_t capacity) noexcept;
    static void releaseBlock(Block* block) noexcept;
    [[nodiscard]] bool isOwn() const noexcept;
    // More room in the own block, which may move.
    [[nodiscard]] bool growInPlace(std::size_t capacity) noexcept;
    // Carries the bytes over into a new block.
    [[nodiscard]] bool moveTo(std::size_t capacity) noexcept;

    Block* m_block = nullptr;
    std::uint32_t m_size = 0;
};

} // namespace vantrel

#endif
