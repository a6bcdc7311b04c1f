// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_FORM_TOKENS_H
#define DSIG_EXPLAIN_FORM_TOKENS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::dsig::explain {

// A form is not parsed for being changed: white space, tags and texts are all that the changes look
// at, and a form that is no XML at all is welcome.
enum class TokenKind : std::uint8_t {
    Text,
    StartTag,
    EndTag,
    EmptyTag, // of what is no canonical form
    Other     // a comment, processing instruction, section or declaration
};

// A piece of a canonical form, or of any XML text; the pieces joined are the text. Views into the
// text, which must outlive it.
struct Token {
    TokenKind kind;
    std::string_view text;
};

// Takes a text apart without checking it: whatever it is, the pieces add up to it. In one pass,
// without recursion: the depth of a form is somebody else's choice.
[[nodiscard]] std::vector<Token> formTokens(std::string_view form);

// Whether a piece is all that stands between a start tag and its end tag. White space there may be
// the element's value; elsewhere between tags it is layout.
[[nodiscard]] bool isAllOfElement(std::span<const Token> tokens, std::size_t index) noexcept;

// Only of a start, end or empty tag. Empty for "<" alone.
[[nodiscard]] std::string_view tagName(std::string_view tag) noexcept;

// The element around an offset of the form, as a path of names: "/Invoice/Amount". Without
// predicates: it is for finding the place by eye.
[[nodiscard]] std::string pathAt(std::string_view form, std::size_t offset);

} // namespace vantrel::dsig::explain

#endif
