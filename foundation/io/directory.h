// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_DIRECTORY_H
#define FOUNDATION_IO_DIRECTORY_H

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class LogBase;

namespace io {

// Whether the path names a directory, links followed.
[[nodiscard]] bool isDirectory(std::string_view path);

// Appends the paths of the regular files directly in a directory (links followed), sorted by name.
// False, with an error line, when it cannot be read. May throw std::bad_alloc.
[[nodiscard]] bool listFiles(std::string_view directory, std::vector<std::string>& paths,
                             LogBase& log);

} // namespace io
} // namespace vantrel

#endif
