#ifndef FOUNDATION_XML_SCAN_BYTE_RANGE_H
#define FOUNDATION_XML_SCAN_BYTE_RANGE_H

#include <cstdint>

namespace vantrel::xml {

// A stretch of a text, [start, end), in bytes.
struct ByteRange {
    std::uint32_t start;
    std::uint32_t end;
};

} // namespace vantrel::xml

#endif
