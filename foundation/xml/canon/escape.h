// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_ESCAPE_H
#define FOUNDATION_XML_CANON_ESCAPE_H

#include "foundation/xml/canon/canon_output.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel::xml {

// How characters are written in a canonical form (Canonical XML 1.0, 2.3).

// One character of character data.
void putTextCharacter(char32_t c, CanonOutput& out);
// Character data as it stands in a CDATA section: line ends become LF, `&`, `<`, `>` are escaped.
void putCdata(std::string_view raw, CanonOutput& out);
// An attribute value or namespace name that is already normalised.
void putAttributeValue(std::string_view value, CanonOutput& out);
void appendAttributeEscaped(std::string_view value, std::string& out);
// The text of a comment or processing instruction: line ends become LF.
void putLines(std::string_view raw, CanonOutput& out);

// The length of the reference that the text at `at` begins with, when it stands as the canonical
// form writes that character in character data. Else 0. Both are asked within a document, where
// markup follows.
[[nodiscard]] std::uint32_t canonicalReference(const char* at) noexcept;
// The same for attribute values.
[[nodiscard]] std::uint32_t canonicalAttributeReference(const char* at) noexcept;

} // namespace vantrel::xml

#endif
