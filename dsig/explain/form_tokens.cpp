// SPDX-License-Identifier: MIT
#include "dsig/explain/form_tokens.h"

#include "foundation/xml/scan/markup_token.h"

#include <algorithm>

namespace vantrel::dsig::explain {

namespace {

TokenKind kindOf(xml::MarkupToken::Kind kind) noexcept {
    using Kind = xml::MarkupToken::Kind;
    switch (kind) {
    case Kind::Text: return TokenKind::Text;
    case Kind::StartTag: return TokenKind::StartTag;
    case Kind::EndTag: return TokenKind::EndTag;
    case Kind::EmptyTag: return TokenKind::EmptyTag;
    case Kind::Comment:
    case Kind::Cdata:
    case Kind::Instruction:
    case Kind::Declaration: break;
    }
    return TokenKind::Other;
}

} // namespace

// Every octet goes into a piece, and every piece has one octet at least: the walk ends, and what is
// joined again is the form.
std::vector<Token> formTokens(std::string_view form) {
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < form.size();) {
        const xml::MarkupToken token = xml::markupTokenAt(form, at);
        tokens.push_back({kindOf(token.kind), form.substr(at, token.end - at)});
        at = token.end;
    }
    return tokens;
}

bool isAllOfElement(std::span<const Token> tokens, std::size_t index) noexcept {
    return index > 0 && index + 1 < tokens.size() &&
           tokens[index - 1].kind == TokenKind::StartTag &&
           tokens[index + 1].kind == TokenKind::EndTag;
}

// No prefix is taken off: evidence shows names as they are written. The reader searches for this
// name in an editor.
std::string_view tagName(std::string_view tag) noexcept {
    tag.remove_prefix(tag.starts_with("</") ? 2 : 1);
    const std::size_t end = tag.find_first_of(" \t\r\n/>");
    return tag.substr(0, end);
}

std::string pathAt(std::string_view form, std::size_t offset) {
    // One pass from the beginning: paths are asked for once, when something was found.
    std::vector<std::string_view> names;
    std::size_t at = 0;
    for (const Token& token : formTokens(form)) {
        if (at > offset) {
            break;
        }
        at += token.text.size();
        if (token.kind == TokenKind::StartTag) {
            names.push_back(tagName(token.text));
        } else if (token.kind == TokenKind::EndTag && !names.empty() && at <= offset) {
            // An end tag that contains the offset still belongs to its element.
            names.pop_back();
        }
    }
    // The way is shown from its end: a hostile document may be very deep.
    constexpr std::size_t kMostSteps = 12;
    std::string path = names.size() > kMostSteps ? "/..." : "";
    for (std::size_t i = names.size() - std::min(names.size(), kMostSteps); i < names.size(); ++i) {
        path += "/";
        path += names[i].substr(0, 80);
    }
    return path;
}

} // namespace vantrel::dsig::explain
