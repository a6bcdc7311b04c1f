// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_FILES_H
#define FOUNDATION_IO_FILES_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

class DataBuffer;
class LogBase;

namespace io {

class FileAccess;

// Replaces `out` by the contents of a file, or of the standard input. Pipes and devices are read as
// well: the name is the user's own choice. False, with an error line, when it cannot be read or
// holds more than `limit` bytes; `out` is then empty.
[[nodiscard]] bool readFile(std::string_view path, std::uint32_t limit, DataBuffer& out,
                            LogBase& log);
// The same; on failure `systemError` is the system's reason, a value of errno, or 0 where the
// system had no part in it.
[[nodiscard]] bool readFile(std::string_view path, std::uint32_t limit, DataBuffer& out,
                            int& systemError, LogBase& log);
// The same, but a regular file of more than kLargeFile bytes whose first bytes are `isOther` is not
// read: `other` then has it open, and `out` is empty.
inline constexpr std::uint64_t kLargeFile = std::uint64_t{1} << 20;
[[nodiscard]] bool readFileUnless(bool (*isOther)(ByteView start) noexcept, std::string_view path,
                                  std::uint32_t limit, DataBuffer& out, FileAccess& other,
                                  int& systemError, LogBase& log);
[[nodiscard]] bool readStandardInput(std::uint32_t limit, DataBuffer& out, LogBase& log);

// Writes a file, replacing what was there in one step: the bytes go to a new file in the same
// folder, which then takes the name. False, with an error line, when that fails; what was there is
// then unchanged. A name that stands for a pipe or device is written to as it is; a link is
// followed, and stays.
[[nodiscard]] bool writeFile(std::string_view path, ByteView bytes, LogBase& log);

} // namespace io
} // namespace vantrel

#endif
