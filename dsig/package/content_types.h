// SPDX-License-Identifier: MIT
#ifndef DSIG_PACKAGE_CONTENT_TYPES_H
#define DSIG_PACKAGE_CONTENT_TYPES_H

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace vantrel::dsig {

// The content types of a package's parts (ECMA-376, part 2, 10.1.2).
class ContentTypes final {
public:
    // Reads "[Content_Types].xml". False, after an error line, when it is not well formed or has
    // two entries for one name: readers would differ over which of them counts.
    [[nodiscard]] bool read(const DataBuffer& xml, LogBase& log);
    // Of the part with this name, which has no "/" in front; empty for none. Letters of ASCII have
    // no case in names.
    [[nodiscard]] std::string_view of(std::string_view part) const;

private:
    // By folded name.
    std::unordered_map<std::string, std::string> m_byExtension;
    std::unordered_map<std::string, std::string> m_byName;
};

} // namespace vantrel::dsig

#endif
