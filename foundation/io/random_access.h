// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_RANDOM_ACCESS_H
#define FOUNDATION_IO_RANDOM_ACCESS_H

#include "foundation/io/file_handle.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

class LogBase;

namespace io {

// Bytes of a known number that are read at any place, in any order. Reading changes nothing, so
// that several readers may share one object; one thread at a time.
class RandomAccess {
public:
    RandomAccess() noexcept = default;
    RandomAccess(const RandomAccess&) = delete;
    RandomAccess& operator=(const RandomAccess&) = delete;
    virtual ~RandomAccess() = default;

    [[nodiscard]] virtual std::uint64_t size() const noexcept = 0;
    // Fills all of `room` from the byte `offset` on. False, with `room` of no use, when not all of
    // it can be had.
    [[nodiscard]] virtual bool read(std::uint64_t offset,
                                    std::span<std::uint8_t> room) const noexcept = 0;
};

// Bytes in memory, shared with the buffer that they came in.
class MemoryAccess final : public RandomAccess {
public:
    explicit MemoryAccess(const DataBuffer& bytes) : m_bytes(bytes) {}

    [[nodiscard]] std::uint64_t size() const noexcept override { return m_bytes.getSize(); }
    [[nodiscard]] bool read(std::uint64_t offset,
                            std::span<std::uint8_t> room) const noexcept override;

private:
    DataBuffer m_bytes;
};

// A regular file, which is read where it is asked for and never held as a whole. It is not mapped
// into memory: a file that becomes shorter meanwhile is a failure to read, and no more.
class FileAccess final : public RandomAccess {
public:
    // False, with an error line, when it cannot be opened or is no regular file.
    [[nodiscard]] bool open(std::string_view path, LogBase& log);
    // Takes over one that is open, of this size.
    void take(FileHandle&& file, std::uint64_t size) noexcept;
    [[nodiscard]] bool isOpen() const noexcept { return m_file.get() >= 0; }

    [[nodiscard]] std::uint64_t size() const noexcept override { return m_size; }
    [[nodiscard]] bool read(std::uint64_t offset,
                            std::span<std::uint8_t> room) const noexcept override;

private:
    FileHandle m_file;
    std::uint64_t m_size = 0;
};

} // namespace io
} // namespace vantrel

#endif
