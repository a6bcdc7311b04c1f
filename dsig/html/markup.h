// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_MARKUP_H
#define DSIG_HTML_MARKUP_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>

namespace vantrel::dsig::html {

// A piece of a document's text, as a reader tells its kinds apart. Telling kinds apart is all that
// is asked here; the document was found well-formed when it was loaded, so nothing is checked
// again.
struct Token {
    enum class Kind : std::uint8_t {
        Text, // a CDATA section too
        StartTag,
        EndTag,
        EmptyTag,
        Comment,
        Silent // instructions, and what stands outside the root element
    };

    xml::TextRange range;
    Kind kind = Kind::Text;
};

// Goes through the text of a well-formed document, token by token. It reads the text as loaded, not
// the expanded one: places of the report are those of the loaded text.
class TokenReader {
public:
    // `root`: the extent of the root element. The text must outlive the reader.
    TokenReader(std::string_view text, xml::TextRange root) noexcept : m_text(text), m_root(root) {}

    // False at the end of the text. Every octet belongs to one token. In one pass, whatever the
    // text holds.
    [[nodiscard]] bool next(Token& token) noexcept;

private:
    std::string_view m_text;
    xml::TextRange m_root;
    std::size_t m_at = 0;
};

} // namespace vantrel::dsig::html

#endif
