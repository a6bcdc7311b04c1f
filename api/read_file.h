// SPDX-License-Identifier: MIT
#ifndef API_READ_FILE_H
#define API_READ_FILE_H

#include "api/result.h"

#include <cstddef>
#include <string>

namespace vantrel::api {

// No document is larger, since texts are addressed by 32 bits.
inline constexpr std::size_t kMaxDocument = 0x7FFFFFFF;

// The bytes of a file, not more than `most`; else the system's reason.
[[nodiscard]] Result<std::string> readFile(const std::string& path, std::size_t most);

} // namespace vantrel::api

#endif
