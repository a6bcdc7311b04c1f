// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/log_failure.h"

#include <string>

namespace vantrel::xml {

void logParseFailure(const ParseFailure& why, LogBase& log) {
    const std::string line = "XML line " + std::to_string(why.line) + ", column " +
                             std::to_string(why.column) + ": " + why.message;
    log.LogError(line.c_str());
}

} // namespace vantrel::xml
