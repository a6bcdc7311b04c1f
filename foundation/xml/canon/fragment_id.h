// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_FRAGMENT_ID_H
#define FOUNDATION_XML_CANON_FRAGMENT_ID_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

enum class FragmentTarget : std::uint8_t { Document, Element, NotFound, NotUnique };

// What a same-document fragment identifier (without its "#") points at. The empty one is the whole
// document. Any other is first taken for an Id as it stands; where no element has that Id,
// `xpointer(/)` is the whole document and `xpointer(id('x'))` the element with the Id x.
[[nodiscard]] FragmentTarget resolveFragment(const XmlDocument& document, std::string_view fragment,
                                             ElementId& element);

} // namespace vantrel::xml

#endif
