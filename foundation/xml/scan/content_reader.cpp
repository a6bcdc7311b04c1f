// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/content_reader.h"

namespace vantrel::xml {

void ContentReader::readDelimited(ContentPiece& piece, ContentKind kind, std::uint32_t open,
                                  std::string_view close) noexcept {
    const std::string_view rest(m_text + m_at, m_end - m_at);
    const std::size_t found = rest.find(close, open);
    // The document was checked: the closing mark is there.
    const auto end = static_cast<std::uint32_t>(found == rest.npos ? rest.size() : found);
    piece.kind = kind;
    piece.body = rest.substr(open, end - open);
    m_at += end + static_cast<std::uint32_t>(found == rest.npos ? 0 : close.size());
    piece.end = m_at;
}

ContentKind ContentReader::next(ContentPiece& piece) noexcept {
    piece.start = m_at;
    piece.end = m_at;
    piece.body = {};
    if (m_at >= m_end) {
        piece.kind = ContentKind::End;
        return piece.kind;
    }
    if (m_text[m_at] != '<') {
        const std::uint32_t end = findByte(m_text, m_at, m_end, '<');
        piece.kind = ContentKind::Text;
        piece.body = {m_text + m_at, end - m_at};
        piece.end = end;
        m_at = end;
        return piece.kind;
    }
    const std::string_view here(m_text + m_at, m_end - m_at);
    switch (here.size() > 1 ? here[1] : '\0') {
    case '/': readDelimited(piece, ContentKind::EndTag, 0, ">"); break;
    case '?': readDelimited(piece, ContentKind::ProcessingInstruction, 2, "?>"); break;
    case '!':
        if (here.starts_with("<!--")) {
            readDelimited(piece, ContentKind::Comment, 4, "-->");
        } else if (here.starts_with("<![CDATA[")) {
            readDelimited(piece, ContentKind::Cdata, 9, "]]>");
        } else {
            piece.kind = ContentKind::Doctype;
        }
        break;
    default: piece.kind = ContentKind::StartTag; break;
    }
    return piece.kind;
}

} // namespace vantrel::xml
