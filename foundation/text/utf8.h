// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_UTF8_H
#define FOUNDATION_TEXT_UTF8_H

#include <cstddef>
#include <string_view>

namespace vantrel::text {

// Number of bytes at the front that are ASCII.
[[nodiscard]] std::size_t asciiPrefix(std::string_view text) noexcept;

// True when all of `text` is well-formed UTF-8 (Unicode, table 3-7: shortest forms only, no
// surrogates, nothing above U+10FFFF).
[[nodiscard]] bool isValidUtf8(std::string_view text) noexcept;

// Number of bytes at the front that are well-formed UTF-8.
[[nodiscard]] std::size_t validUtf8Prefix(std::string_view text) noexcept;

// Reads the character at the front of a text; returns its number of bytes, 0 when the text is empty
// or does not begin with a well-formed character.
[[nodiscard]] std::size_t decodeUtf8(std::string_view text, char32_t& character) noexcept;

// Writes a character (which is no surrogate and not above U+10FFFF) and returns its number of
// bytes.
std::size_t encodeUtf8(char32_t character, char (&out)[4]) noexcept;

} // namespace vantrel::text

#endif
