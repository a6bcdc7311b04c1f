// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_FILE_HANDLE_H
#define FOUNDATION_IO_FILE_HANDLE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

class LogBase;

namespace io {

// Owns an open file descriptor.
class FileHandle final {
public:
    FileHandle() noexcept = default;
    explicit FileHandle(int descriptor) noexcept : m_descriptor(descriptor) {}
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle();

    [[nodiscard]] int get() const noexcept { return m_descriptor; }
    void reset(int descriptor) noexcept;
    [[nodiscard]] int release() noexcept;

private:
    int m_descriptor = -1;
};

// Opens a regular file for reading, without waiting for a writer or taking a terminal, and gets its
// size. False, with an error line, otherwise. `path` may not hold a NUL.
[[nodiscard]] bool openRegularFile(std::string_view path, FileHandle& file, std::uint64_t& size,
                                   LogBase& log);
// One read; `count` 0 is the end. False, with an error line, when it fails.
[[nodiscard]] bool readSome(int descriptor, std::span<std::uint8_t> room, std::size_t& count,
                            LogBase& log);

} // namespace io
} // namespace vantrel

#endif
