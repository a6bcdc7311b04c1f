// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_CHAR_CLASS_H
#define FOUNDATION_XML_SCAN_CHAR_CLASS_H

#include <array>
#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// Classes of bytes and characters of XML 1.0 (fifth edition). Bytes from 0x80 up count as name
// bytes: they begin or continue a character whose class isNameChar tells.
enum ByteClass : std::uint8_t {
    kNameStartByte = 1, // may begin a name, the colon included
    kNameByte = 2,      // may continue one
    kSpaceByte = 4,     // space, TAB, LF, CR
    kPubidByte = 8      // may stand in a public identifier
};

namespace detail {

constexpr std::array<std::uint8_t, 256> makeByteClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (unsigned c = 0; c < 256; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool digit = c >= '0' && c <= '9';
        const bool start = letter || c == '_' || c == ':' || c >= 0x80;
        unsigned value = start ? kNameStartByte | kNameByte : 0U;
        if (digit || c == '-' || c == '.') {
            value |= kNameByte;
        }
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            value |= kSpaceByte;
        }
        constexpr std::string_view kPubidMarks = "-'()+,./:=?;!*#@$_% \r\n";
        if (letter || digit ||
            (c < 0x80 && kPubidMarks.find(static_cast<char>(c)) != kPubidMarks.npos)) {
            value |= kPubidByte;
        }
        classes[c] = static_cast<std::uint8_t>(value);
    }
    return classes;
}

} // namespace detail

inline constexpr std::array<std::uint8_t, 256> kByteClasses = detail::makeByteClasses();

inline bool isNameByte(char c) noexcept {
    return (kByteClasses[static_cast<unsigned char>(c)] & kNameByte) != 0;
}
inline bool isNameStartByte(char c) noexcept {
    return (kByteClasses[static_cast<unsigned char>(c)] & kNameStartByte) != 0;
}
inline bool isSpace(char c) noexcept {
    return (kByteClasses[static_cast<unsigned char>(c)] & kSpaceByte) != 0;
}

// Productions [2] Char, [4] NameStartChar and [4a] NameChar.
[[nodiscard]] bool isXmlChar(char32_t c) noexcept;
[[nodiscard]] bool isNameStartChar(char32_t c) noexcept;
[[nodiscard]] bool isNameChar(char32_t c) noexcept;

// What decodeUtf8 yields for bytes that are no UTF-8; no character of any class.
inline constexpr char32_t kBadCharacter = 0xFFFFFFFF;

// Decodes the character at `at`, which must lie inside `text`, and moves `at` behind it (behind one
// byte when it is kBadCharacter).
[[nodiscard]] char32_t decodeUtf8(std::string_view text, std::size_t& at) noexcept;
// Writes a character as UTF-8; returns the number of bytes, 1 to 4.
[[nodiscard]] std::uint32_t encodeUtf8(char32_t c, char (&out)[4]) noexcept;

// Productions [5] Name and [7] Nmtoken over UTF-8: length of the longest name (name token) at
// the beginning of `text`, 0 when there is none.
[[nodiscard]] std::size_t matchName(std::string_view text) noexcept;
[[nodiscard]] std::size_t matchNmtoken(std::string_view text) noexcept;

} // namespace vantrel::xml

#endif
