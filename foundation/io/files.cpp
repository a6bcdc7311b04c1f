// SPDX-License-Identifier: MIT
#include "foundation/io/files.h"

#include "foundation/io/file_handle.h"
#include "foundation/io/random_access.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::io {

namespace {

constexpr std::uint64_t kFirstPiece = std::uint64_t{64} << 10;

// `systemError`, here and below: where the system's reason goes, null where nobody asks for it.
bool open(std::string_view path, int flags, FileHandle& file, LogBase& log,
          int* systemError = nullptr) {
    StringBuffer name;
    if (path.find('\0') == std::string_view::npos && name.appendView(path)) {
        file.reset(::open(name.getString(), flags | O_CLOEXEC | O_NOCTTY, 0666));
        if (file.get() < 0 && systemError != nullptr) {
            *systemError = errno;
        }
    }
    if (file.get() < 0) {
        log.LogError("The file cannot be opened.");
        log.logText("filePath", path);
        return false;
    }
    return true;
}

bool cannotWrite(std::string_view path, LogBase& log) {
    log.LogError("The file cannot be written.");
    log.logText("filePath", path);
    return false;
}

// What the system says of an open file; all zero, which is no kind of file, where it says nothing.
struct stat statusOf(int descriptor) noexcept {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        status = {};
    }
    return status;
}

// One buffer that takes the expected size at once, and grows when there is more.
bool readAll(int descriptor, const struct stat& status, std::uint32_t limit, DataBuffer& out,
             LogBase& log, int* systemError) {
    const bool sized = S_ISREG(status.st_mode);
    const std::uint64_t expected = sized ? static_cast<std::uint64_t>(status.st_size) : 0;
    // One byte more than expected, so that the end shows itself without growing the buffer.
    std::uint64_t room = sized ? expected + 1 : kFirstPiece;
    std::uint64_t size = 0;
    while (true) {
        room = std::min<std::uint64_t>(room, std::uint64_t{limit} + 1);
        std::uint8_t* const target = out.resize(static_cast<std::uint32_t>(room));
        if (target == nullptr) {
            log.LogError("There is not enough memory for the file.");
            return false;
        }
        while (size < room) {
            std::size_t count = 0;
            if (!readSome(descriptor, {target + size, static_cast<std::size_t>(room - size)}, count,
                          log)) {
                if (systemError != nullptr) {
                    *systemError = S_ISDIR(status.st_mode) ? EISDIR : EIO;
                }
                return false;
            }
            if (count == 0) {
                static_cast<void>(out.resize(static_cast<std::uint32_t>(size)));
                return true;
            }
            size += count;
            // All that the system said there was, and not what more was asked for: the end.
            if (expected > 0 && size == expected && size < room) {
                static_cast<void>(out.resize(static_cast<std::uint32_t>(size)));
                return true;
            }
        }
        if (size > limit) {
            log.LogError("The file is larger than the limit.");
            log.LogDataUint32("limit", limit);
            return false;
        }
        room = 2 * size;
    }
}

bool readOrClear(int descriptor, const struct stat& status, std::uint32_t limit, DataBuffer& out,
                 LogBase& log, int* systemError = nullptr) {
    out.clear();
    if (readAll(descriptor, status, std::min(limit, kMaxTextSize - 1), out, log, systemError)) {
        return true;
    }
    out.clear();
    return false;
}

bool writeAll(int descriptor, std::string_view path, ByteView bytes, LogBase& log) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return cannotWrite(path, log);
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

// The file behind all links; the path as it is where that cannot be told.
std::string resolved(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr),
                                                      &std::free);
    return real != nullptr ? std::string(real.get()) : path;
}

// Writes a new file beside `path` and renames it. `before`: the file that is replaced, whose access
// rights the new one takes over; null when there is none.
bool replaceFile(const std::string& path, const struct stat* before, ByteView bytes, LogBase& log) {
    const std::string fresh = path + "." + std::to_string(::getpid()) + ".part";
    FileHandle file;
    if (!open(fresh, O_WRONLY | O_CREAT | O_EXCL, file, log)) {
        return false;
    }
    // A full disk may show only when the bytes are made to reach it.
    const bool written = writeAll(file.get(), path, bytes, log);
    const bool kept = before == nullptr || ::fchmod(file.get(), before->st_mode & 07777) == 0;
    if (written && kept && ::fsync(file.get()) == 0 && ::rename(fresh.c_str(), path.c_str()) == 0) {
        return true;
    }
    ::unlink(fresh.c_str());
    return written ? cannotWrite(path, log) : false;
}

} // namespace

bool readFile(std::string_view path, std::uint32_t limit, DataBuffer& out, LogBase& log) {
    int systemError = 0;
    return readFile(path, limit, out, systemError, log);
}

bool readFile(std::string_view path, std::uint32_t limit, DataBuffer& out, int& systemError,
              LogBase& log) {
    FileHandle file;
    systemError = 0;
    if (!open(path, O_RDONLY, file, log, &systemError)) {
        out.clear();
        return false;
    }
    return readOrClear(file.get(), statusOf(file.get()), limit, out, log, &systemError);
}

bool readFileUnless(bool (*isOther)(ByteView start) noexcept, std::string_view path,
                    std::uint32_t limit, DataBuffer& out, FileAccess& other, int& systemError,
                    LogBase& log) {
    FileHandle file;
    std::array<std::uint8_t, 16> start{};
    systemError = 0;
    if (!open(path, O_RDONLY, file, log, &systemError)) {
        out.clear();
        return false;
    }
    const struct stat status = statusOf(file.get());
    const bool isLarge =
        S_ISREG(status.st_mode) && static_cast<std::uint64_t>(status.st_size) > kLargeFile;
    if (isLarge &&
        ::pread(file.get(), start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()) &&
        isOther(start)) {
        out.clear();
        other.take(std::move(file), static_cast<std::uint64_t>(status.st_size));
        return true;
    }
    return readOrClear(file.get(), status, limit, out, log, &systemError);
}

bool readStandardInput(std::uint32_t limit, DataBuffer& out, LogBase& log) {
    return readOrClear(STDIN_FILENO, statusOf(STDIN_FILENO), limit, out, log);
}

bool writeFile(std::string_view path, ByteView bytes, LogBase& log) {
    struct stat status {};
    const std::string name(path);
    const bool exists = name.find('\0') == std::string::npos && ::stat(name.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        FileHandle file;
        return open(path, O_WRONLY, file, log) && writeAll(file.get(), path, bytes, log);
    }
    return replaceFile(exists ? resolved(name) : name, exists ? &status : nullptr, bytes, log);
}

} // namespace vantrel::io
