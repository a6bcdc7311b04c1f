// SPDX-License-Identifier: MIT
#include "dsig/html/markup.h"

#include "foundation/xml/scan/markup_token.h"

#include <algorithm>

namespace vantrel::dsig::html {

namespace {

Token::Kind kindOf(xml::MarkupToken::Kind kind) noexcept {
    using Kind = xml::MarkupToken::Kind;
    switch (kind) {
    case Kind::Text:
    // Its content is text to every reader of the document, brackets and all.
    case Kind::Cdata: return Token::Kind::Text;
    case Kind::StartTag: return Token::Kind::StartTag;
    case Kind::EndTag: return Token::Kind::EndTag;
    case Kind::EmptyTag: return Token::Kind::EmptyTag;
    case Kind::Comment: return Token::Kind::Comment;
    case Kind::Instruction:
    case Kind::Declaration: break;
    }
    return Token::Kind::Silent;
}

} // namespace

bool TokenReader::next(Token& token) noexcept {
    if (m_at >= m_text.size()) {
        return false;
    }
    const std::size_t start = m_at;
    // The declarations before the root and whatever follows it are not taken apart. Whatever stands
    // in a document type declaration, it cannot be covered by an element's digest.
    if (start < m_root.start || start >= m_root.end()) {
        m_at = start < m_root.start ? m_root.start : m_text.size();
        token = {xml::rangeOf(start, m_at), Token::Kind::Silent};
        return true;
    }
    // The root's end bounds the token: nothing of the root lies behind it.
    const xml::MarkupToken found = xml::markupTokenAt(m_text, start);
    m_at = std::min<std::size_t>(found.end, m_root.end());
    token = {xml::rangeOf(start, m_at), kindOf(found.kind)};
    return true;
}

} // namespace vantrel::dsig::html
