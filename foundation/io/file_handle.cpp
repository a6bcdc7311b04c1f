// SPDX-License-Identifier: MIT
#include "foundation/io/file_handle.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::io {

FileHandle::~FileHandle() { reset(-1); }

void FileHandle::reset(int descriptor) noexcept {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
    m_descriptor = descriptor;
}

int FileHandle::release() noexcept { return std::exchange(m_descriptor, -1); }

bool openRegularFile(std::string_view path, FileHandle& file, std::uint64_t& size, LogBase& log) {
    StringBuffer name;
    if (path.find('\0') != std::string_view::npos || !name.appendView(path)) {
        log.LogError("The file name cannot be used.");
        return false;
    }
    // O_NONBLOCK: opening a pipe without a writer would wait for ever.
    file.reset(::open(name.getString(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0) {
        const int error = errno;
        log.LogError("Failed to open the file.");
        log.logText("filePath", path);
        log.LogDataLong("errno", error);
        return false;
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        log.LogError("Not a regular file.");
        log.logText("filePath", path);
        return false;
    }
    size = static_cast<std::uint64_t>(status.st_size);
    // Only a hint: a refusal changes nothing.
    static_cast<void>(::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL));
    return true;
}

bool readSome(int descriptor, std::span<std::uint8_t> room, std::size_t& count, LogBase& log) {
    // The system takes no more than this at once.
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    ssize_t got = -1;
    do {
        got = ::read(descriptor, room.data(), std::min(room.size(), kMostAtOnce));
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        const int error = errno;
        log.LogError("Failed to read the file.");
        log.LogDataLong("errno", error);
        return false;
    }
    count = static_cast<std::size_t>(got);
    return true;
}

} // namespace vantrel::io
