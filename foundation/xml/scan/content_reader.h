// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_CONTENT_READER_H
#define FOUNDATION_XML_SCAN_CONTENT_READER_H

#include "foundation/xml/scan/stop_bytes.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

enum class ContentKind : std::uint8_t {
    Text,                  // character data with references in it
    Cdata,                 // the text inside a CDATA section
    Comment,               // the text inside a comment
    ProcessingInstruction, // target and data, what stands between "<?" and "?>"
    StartTag,              // at its '<'; the reader goes on behind it only by skipTo
    EndTag,                // from '<' to '>'
    Doctype,               // at its '<'; the reader goes on behind it only by skipTo
    End                    // the end of the range
};

struct ContentPiece {
    ContentKind kind = ContentKind::End;
    std::uint32_t start = 0; // of the markup, or of the text
    std::uint32_t end = 0; // behind the markup, or behind the text; start for StartTag and Doctype
    std::string_view body; // the text inside
};

// Walks over a range of a document that was checked before and reports its pieces in order. A start
// tag is only announced: the caller reads it with StartTagReader and calls skipTo with the end of
// the tag (to go into the element) or of the element (to pass over it).
class ContentReader final {
public:
    ContentReader(std::string_view text, std::uint32_t begin, std::uint32_t end) noexcept
        : m_text(text.data()), m_at(begin), m_end(end) {}

    [[nodiscard]] ContentKind next(ContentPiece& piece) noexcept;
    void skipTo(std::uint32_t offset) noexcept { m_at = offset; }
    [[nodiscard]] std::uint32_t offset() const noexcept { return m_at; }

private:
    // A piece that is `open` bytes of opening, a body, and `close`.
    void readDelimited(ContentPiece& piece, ContentKind kind, std::uint32_t open,
                       std::string_view close) noexcept;

    const char* m_text;
    std::uint32_t m_at;
    std::uint32_t m_end;
};

} // namespace vantrel::xml

#endif
