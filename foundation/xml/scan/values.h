// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_VALUES_H
#define FOUNDATION_XML_SCAN_VALUES_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/document_type.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::xml {

// Values of a checked document: what stands between markup, with references resolved. The only
// references in such text are character references and the five predefined entities.

struct ResolvedReference {
    char32_t value;       // the character
    std::uint32_t length; // bytes of the reference, from '&' to ';'
};

// Resolves the reference at the beginning of `text` (its '&').
[[nodiscard]] ResolvedReference resolveReference(std::string_view text) noexcept;

// Appends character data: references resolved, CR LF and CR turned into LF (XML 1.0, 2.11). `raw`
// holds no markup. For a CDATA section use appendCdata, which leaves '&' alone.
void appendText(std::string_view raw, std::string& out);
void appendCdata(std::string_view raw, std::string& out);
// Appends an attribute value, normalised (XML 1.0, 3.3.3).
void appendAttributeValue(std::string_view raw, AttributeType type, std::string& out);
// Appends the text of a processing instruction or comment: line ends only.
void appendLines(std::string_view raw, std::string& out);

} // namespace vantrel::xml

#endif
