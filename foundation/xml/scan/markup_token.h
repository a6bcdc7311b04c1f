// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_MARKUP_TOKEN_H
#define FOUNDATION_XML_SCAN_MARKUP_TOKEN_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// A piece of a text as its markup tells it apart (XML 1.0, 2.4 to 2.7 and 3.1).
struct MarkupToken {
    enum class Kind : std::uint8_t {
        Text,
        StartTag,
        EndTag,
        EmptyTag,
        Comment,
        Cdata,
        Instruction, // also an XML declaration
        Declaration  // of a document type, taken for a tag: up to the first '>' outside of quotes
    };

    Kind kind = Kind::Text;
    std::size_t end = 0; // offset behind it
};

// The token that begins at `at`, an offset inside the text. For texts that nobody has checked, or
// of which kinds and extents alone are asked: nothing is an error, and what is not closed reaches
// to the end. A token has one octet at least. Whoever needs the parts of a checked document takes
// ContentReader.
[[nodiscard]] MarkupToken markupTokenAt(std::string_view text, std::size_t at) noexcept;

} // namespace vantrel::xml

#endif
