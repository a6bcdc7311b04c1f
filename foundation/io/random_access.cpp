// SPDX-License-Identifier: MIT
#include "foundation/io/random_access.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace vantrel::io {

namespace {

// Written so that no sum of untrusted numbers can wrap.
bool lies(std::uint64_t offset, std::size_t count, std::uint64_t size) noexcept {
    return offset <= size && count <= size - offset;
}

} // namespace

bool MemoryAccess::read(std::uint64_t offset, std::span<std::uint8_t> room) const noexcept {
    if (!lies(offset, room.size(), size())) {
        return false;
    }
    if (!room.empty()) {
        std::memcpy(room.data(), m_bytes.view().data() + offset, room.size());
    }
    return true;
}

bool FileAccess::open(std::string_view path, LogBase& log) {
    return openRegularFile(path, m_file, m_size, log);
}

void FileAccess::take(FileHandle&& file, std::uint64_t size) noexcept {
    m_file.reset(file.release());
    m_size = size;
}

bool FileAccess::read(std::uint64_t offset, std::span<std::uint8_t> room) const noexcept {
    // The system takes no more than this at once.
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    if (!lies(offset, room.size(), m_size)) {
        return false;
    }
    while (!room.empty()) {
        const ssize_t got = ::pread(m_file.get(), room.data(), std::min(room.size(), kMostAtOnce),
                                    static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        room = room.subspan(static_cast<std::size_t>(got));
        offset += static_cast<std::uint64_t>(got);
    }
    return true;
}

} // namespace vantrel::io
