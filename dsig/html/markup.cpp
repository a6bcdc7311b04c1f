#include "dsig/html/markup.h"

#include <algorithm>

namespace vantrel::dsig::html {

namespace {

// Its content is text to every reader of the document, brackets and all.
constexpr std::string_view kCData = "<![CDATA[";

// The end of the text stands for an end that is missing, which a well-formed document does not
// have.
std::size_t pastNext(std::string_view text, std::string_view end, std::size_t from) noexcept {
    const std::size_t found = text.find(end, from);
    return found == std::string_view::npos ? text.size() : found + end.size();
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
    m_at = std::min<std::size_t>(endOf(start), m_root.end());
    token = {xml::rangeOf(start, m_at), kindAt(start)};
    // Told by the slash ahead of the bracket: a value ends in its quote, never in a slash.
    if (token.kind == Token::Kind::StartTag && m_text[m_at - 2] == '/') {
        token.kind = Token::Kind::EmptyTag;
    }
    return true;
}

Token::Kind TokenReader::kindAt(std::size_t at) const noexcept {
    const std::string_view rest = m_text.substr(at);
    if (rest[0] != '<' || rest.starts_with(kCData)) {
        return Token::Kind::Text;
    }
    if (rest.starts_with("<!--")) {
        return Token::Kind::Comment;
    }
    if (rest.starts_with("<?")) {
        return Token::Kind::Silent;
    }
    return rest.starts_with("</") ? Token::Kind::EndTag : Token::Kind::StartTag;
}

std::size_t TokenReader::endOf(std::size_t at) const noexcept {
    const std::string_view rest = m_text.substr(at);
    if (rest[0] != '<') {
        return std::min(m_text.find('<', at), m_text.size());
    }
    if (rest.starts_with(kCData)) {
        return pastNext(m_text, "]]>", at);
    }
    if (rest.starts_with("<!--")) {
        // The two hyphens of the beginning cannot be those of the end.
        return pastNext(m_text, "-->", at + 4);
    }
    return rest.starts_with("<?") ? pastNext(m_text, "?>", at) : pastTag(at);
}

// A ">" may stand in an attribute value (XML 1.0, 2.3). Neither quote nor bracket of a value ends
// the tag.
std::size_t TokenReader::pastTag(std::size_t at) const noexcept {
    while (at < m_text.size()) {
        at = std::min(m_text.find_first_of(">\"'", at), m_text.size());
        if (at == m_text.size() || m_text[at] == '>') {
            break;
        }
        // The quote that begins a value is the one that ends it.
        at = pastNext(m_text, m_text.substr(at, 1), at + 1);
    }
    return std::min(at + 1, m_text.size());
}

} // namespace vantrel::dsig::html
