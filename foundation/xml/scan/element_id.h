// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_ELEMENT_ID_H
#define FOUNDATION_XML_SCAN_ELEMENT_ID_H

#include <cstdint>

namespace vantrel::xml {

// Number of an element in its document, in document order; the root is 0.
using ElementId = std::uint32_t;
inline constexpr ElementId kNoElement = 0xFFFFFFFF;

} // namespace vantrel::xml

#endif
