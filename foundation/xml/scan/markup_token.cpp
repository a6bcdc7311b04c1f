// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/markup_token.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

using Kind = MarkupToken::Kind;

// Behind the first `end` from `from` on; the end of the text where there is none.
std::size_t behind(std::string_view text, std::string_view end, std::size_t from) noexcept {
    const std::size_t found = text.find(end, from);
    return found == std::string_view::npos ? text.size() : found + end.size();
}

// A '>' may stand in an attribute value (XML 1.0, 2.3), which ends in the quote that it began with.
std::size_t behindTag(std::string_view text, std::size_t at) noexcept {
    while (at < text.size()) {
        at = std::min(text.find_first_of(">\"'", at), text.size());
        if (at == text.size() || text[at] == '>') {
            break;
        }
        at = behind(text, text.substr(at, 1), at + 1);
    }
    return std::min(at + 1, text.size());
}

// Told by the slash ahead of the bracket: a value ends in its quote, never in a slash.
Kind kindOfTag(std::string_view tag) noexcept {
    if (tag.starts_with("<!")) {
        return Kind::Declaration;
    }
    if (tag.starts_with("</")) {
        return Kind::EndTag;
    }
    return tag.ends_with("/>") ? Kind::EmptyTag : Kind::StartTag;
}

} // namespace

MarkupToken markupTokenAt(std::string_view text, std::size_t at) noexcept {
    constexpr std::string_view kComment = "<!--";
    const std::string_view rest = text.substr(at);
    if (rest[0] != '<') {
        return {Kind::Text, std::min(text.find('<', at), text.size())};
    }
    if (rest.starts_with(kComment)) {
        // The two hyphens of the beginning cannot be those of the end.
        return {Kind::Comment, behind(text, "-->", at + kComment.size())};
    }
    if (rest.starts_with("<![CDATA[")) {
        return {Kind::Cdata, behind(text, "]]>", at)};
    }
    if (rest.starts_with("<?")) {
        return {Kind::Instruction, behind(text, "?>", at)};
    }
    const std::size_t end = behindTag(text, at);
    return {kindOfTag(text.substr(at, end - at)), end};
}

} // namespace vantrel::xml
