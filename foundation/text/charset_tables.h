// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_CHARSET_TABLES_H
#define FOUNDATION_TEXT_CHARSET_TABLES_H

#include <array>
#include <span>
#include <string_view>

namespace vantrel::text {

// A character set of one byte a character, whose lower half is ASCII.
struct SingleByteCharset {
    // Names and aliases, lower case, without "-", "_" and spaces; divided by spaces.
    std::string_view names;
    // The characters of the bytes 0x80 to 0xFF; 0 where there is none.
    std::array<char16_t, 128> upper;
};

[[nodiscard]] std::span<const SingleByteCharset> singleByteCharsets() noexcept;

} // namespace vantrel::text

#endif
