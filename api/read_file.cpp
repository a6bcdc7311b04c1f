// SPDX-License-Identifier: MIT
#include "api/read_file.h"

#include "foundation/base/_vlLogger.h"
#include "foundation/io/files.h"
#include "foundation/text/DataBuffer.h"

#include <algorithm>
#include <system_error>

namespace vantrel::api {

Result<std::string> readFile(const std::string& path, std::size_t most) {
    _vlLogger log;
    DataBuffer bytes;
    int systemError = 0;
    const auto limit = static_cast<std::uint32_t>(std::min(most, kMaxDocument));
    if (io::readFile(path, limit, bytes, systemError, log)) {
        return std::string(asText(bytes.view()));
    }
    // Where the system had no part in it, the log says which limit was passed.
    const std::string reason = systemError != 0 ? std::generic_category().message(systemError)
                                                : std::string(log.lastErrorLine());
    return Error{path + ": " + reason, {}};
}

} // namespace vantrel::api
