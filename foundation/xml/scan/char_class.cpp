// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/char_class.h"

#include <cstddef>

namespace vantrel::xml {
namespace {

struct CharRange {
    char32_t first;
    char32_t last;
};

// XML 1.0 fifth edition, production [4], beyond ASCII.
constexpr CharRange kNameStartRanges[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};

bool isContinuation(unsigned char byte) noexcept { return (byte & 0xC0U) == 0x80U; }

// Number of bytes announced by a leading byte; 0 for a byte that leads nothing.
std::size_t sequenceLength(unsigned char lead) noexcept {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

std::size_t matchNameChars(std::string_view text, std::size_t at) noexcept {
    while (at < text.size()) {
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            if (!isNameByte(text[at])) {
                return at;
            }
            ++at;
            continue;
        }
        std::size_t behind = at;
        if (!isNameChar(decodeUtf8(text, behind))) {
            return at;
        }
        at = behind;
    }
    return at;
}

} // namespace

bool isXmlChar(char32_t c) noexcept {
    if (c < 0x20) {
        return c == '\t' || c == '\n' || c == '\r';
    }
    return c <= 0xD7FF || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

bool isNameStartChar(char32_t c) noexcept {
    if (c < 0x80) {
        return isNameStartByte(static_cast<char>(c));
    }
    for (const CharRange& range : kNameStartRanges) {
        if (c <= range.last) {
            return c >= range.first;
        }
    }
    return false;
}

bool isNameChar(char32_t c) noexcept {
    if (c < 0x80) {
        return isNameByte(static_cast<char>(c));
    }
    return c == 0xB7 || (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040 ||
           isNameStartChar(c);
}

char32_t decodeUtf8(std::string_view text, std::size_t& at) noexcept {
    const auto lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80) {
        return lead;
    }
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || text.size() - at < length - 1) {
        return kBadCharacter;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 0; i + 1 < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[at + i]);
        if (!isContinuation(byte)) {
            return kBadCharacter;
        }
        value = (value << 6) | (byte & 0x3FU);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF) {
        return kBadCharacter;
    }
    at += length - 1;
    return value;
}

std::uint32_t encodeUtf8(char32_t c, char (&out)[4]) noexcept {
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (c >> 18));
    out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

std::size_t matchName(std::string_view text) noexcept {
    std::size_t at = 0;
    if (text.empty() || !isNameStartChar(decodeUtf8(text, at))) {
        return 0;
    }
    return matchNameChars(text, at);
}

std::size_t matchNmtoken(std::string_view text) noexcept { return matchNameChars(text, 0); }

} // namespace vantrel::xml
