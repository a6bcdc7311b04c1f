// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_STRINGS_H
#define FOUNDATION_TEXT_STRINGS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

// As strlen, strchr, strstr and strncmp; a null text has length 0 and matches nothing.
[[nodiscard]] std::uint32_t vlStrLen(const char* text) noexcept;
[[nodiscard]] const char* vlStrChr(const char* text, char c) noexcept;
[[nodiscard]] const char* vlStrStr(const char* text, const char* needle) noexcept;
[[nodiscard]] int vlStrNCmp(const char* left, const char* right, std::size_t count) noexcept;

namespace text {

// The text at `pointer`, empty for null.
[[nodiscard]] inline std::string_view viewOf(const char* pointer) noexcept {
    return pointer == nullptr ? std::string_view{} : std::string_view(pointer);
}

inline constexpr std::size_t kNotFound = std::string_view::npos;

// Position of the first `needle` at or after `from`, or kNotFound. Time is linear in the text
// whatever the needle is. An empty needle is found at `from`.
[[nodiscard]] std::size_t findText(std::string_view text, std::string_view needle,
                                   std::size_t from = 0) noexcept;
// The same without regard to ASCII case; meant for short needles.
[[nodiscard]] std::size_t findTextNoCase(std::string_view text, std::string_view needle,
                                         std::size_t from = 0) noexcept;

[[nodiscard]] constexpr char toLowerAscii(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
[[nodiscard]] constexpr char toUpperAscii(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}
// White space of XML 1.0, 2.3. In octets: a no-break space is a character like any other.
[[nodiscard]] constexpr bool isSpaceAscii(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
[[nodiscard]] constexpr bool isDigitAscii(char c) noexcept { return c >= '0' && c <= '9'; }
// 0 to 15, or -1.
[[nodiscard]] constexpr int hexDigitValue(char c) noexcept {
    if (isDigitAscii(c)) {
        return c - '0';
    }
    const char lower = toLowerAscii(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}
[[nodiscard]] bool equalsNoCase(std::string_view left, std::string_view right) noexcept;
// Nothing but white space, as isSpaceAscii() has it; true for an empty text.
[[nodiscard]] bool isBlank(std::string_view text) noexcept;
// Without the white space (space, TAB, CR, LF) at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text) noexcept;

} // namespace text
} // namespace vantrel

#endif
