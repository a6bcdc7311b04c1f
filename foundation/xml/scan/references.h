// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_REFERENCES_H
#define FOUNDATION_XML_SCAN_REFERENCES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// Productions of XML 1.0 that occur in the document and in its document type declaration alike.
// Each looks at the beginning of `text` and returns the length matched, 0 for no match.

enum class ReferenceKind : std::uint8_t {
    Character,    // &#...; to an XML character
    Predefined,   // &lt; &gt; &amp; &apos; &quot;
    Entity,       // &name;
    BadCharacter, // &#...; to something else
    Malformed
};

struct ReferenceForm {
    ReferenceKind kind;
    std::uint32_t length; // from '&' to ';'; undefined when malformed
    char32_t value;       // of a character or predefined reference
};

// [67] Reference, at a '&'.
[[nodiscard]] ReferenceForm matchReference(std::string_view text) noexcept;

// [15] Comment.
[[nodiscard]] std::size_t matchComment(std::string_view text) noexcept;

// [16] PI, whatever its target; the target holds no colon (Namespaces in XML 1.0, 7).
[[nodiscard]] std::size_t matchProcessingInstruction(std::string_view text,
                                                     std::string_view& target) noexcept;

} // namespace vantrel::xml

#endif
