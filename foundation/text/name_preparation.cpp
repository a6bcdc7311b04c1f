// SPDX-License-Identifier: MIT
#include "foundation/text/name_preparation.h"

#include "foundation/text/composed_letters.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace vantrel::text {

namespace {

// Ranges of characters, both ends included; a step of 2 takes every other one, as where capitals
// and small letters take turns.
struct Fold {
    char16_t first;
    char16_t last;
    std::uint8_t step;
    std::int16_t distance; // from the capital to the small letter
};

// Unicode case folding of letters without marks: those with marks are taken apart before.
// Ascending.
// clang-format off
constexpr Fold kFolds[] = {
    {0x0041, 0x005A, 1, 32}, {0x00C6, 0x00C6, 1, 32}, {0x00D0, 0x00D0, 1, 32},
    {0x00D8, 0x00D8, 1, 32}, {0x00DE, 0x00DE, 1, 32}, {0x0110, 0x0110, 1, 1},
    {0x0126, 0x0126, 1, 1}, {0x0141, 0x0141, 1, 1}, {0x014A, 0x014A, 1, 1},
    {0x0152, 0x0152, 1, 1}, {0x0166, 0x0166, 1, 1}, {0x0181, 0x0181, 1, 210},
    {0x0182, 0x0184, 2, 1}, {0x0186, 0x0186, 1, 206}, {0x0187, 0x0187, 1, 1},
    {0x0189, 0x018A, 1, 205}, {0x018B, 0x018B, 1, 1}, {0x018E, 0x018E, 1, 79},
    {0x018F, 0x018F, 1, 202}, {0x0190, 0x0190, 1, 203}, {0x0191, 0x0191, 1, 1},
    {0x0193, 0x0193, 1, 205}, {0x0194, 0x0194, 1, 207}, {0x0196, 0x0196, 1, 211},
    {0x0197, 0x0197, 1, 209}, {0x0198, 0x0198, 1, 1}, {0x019C, 0x019C, 1, 211},
    {0x019D, 0x019D, 1, 213}, {0x019F, 0x019F, 1, 214}, {0x01A2, 0x01A4, 2, 1},
    {0x01A6, 0x01A6, 1, 218}, {0x01A7, 0x01A7, 1, 1}, {0x01A9, 0x01A9, 1, 218},
    {0x01AC, 0x01AC, 1, 1}, {0x01AE, 0x01AE, 1, 218}, {0x01B1, 0x01B2, 1, 217},
    {0x01B3, 0x01B5, 2, 1}, {0x01B7, 0x01B7, 1, 219}, {0x01B8, 0x01B8, 1, 1},
    {0x01BC, 0x01BC, 1, 1}, {0x01E4, 0x01E4, 1, 1}, {0x01F6, 0x01F6, 1, -97},
    {0x01F7, 0x01F7, 1, -56}, {0x021C, 0x021C, 1, 1}, {0x0220, 0x0220, 1, -130},
    {0x0222, 0x0224, 2, 1}, {0x023A, 0x023A, 1, 10795}, {0x023B, 0x023B, 1, 1},
    {0x023D, 0x023D, 1, -163}, {0x023E, 0x023E, 1, 10792}, {0x0241, 0x0241, 1, 1},
    {0x0243, 0x0243, 1, -195}, {0x0244, 0x0244, 1, 69}, {0x0245, 0x0245, 1, 71},
    {0x0246, 0x024E, 2, 1}, {0x0345, 0x0345, 1, 116}, {0x0370, 0x0372, 2, 1},
    {0x0376, 0x0376, 1, 1}, {0x037F, 0x037F, 1, 116}, {0x0391, 0x03A1, 1, 32},
    {0x03A3, 0x03A9, 1, 32}, {0x03C2, 0x03C2, 1, 1}, {0x03CF, 0x03CF, 1, 8},
    {0x03D8, 0x03EE, 2, 1}, {0x03F7, 0x03F7, 1, 1}, {0x03FA, 0x03FA, 1, 1},
    {0x03FD, 0x03FF, 1, -130}, {0x0402, 0x0402, 1, 80}, {0x0404, 0x0406, 1, 80},
    {0x0408, 0x040B, 1, 80}, {0x040F, 0x040F, 1, 80}, {0x0410, 0x042F, 1, 32},
    {0x0460, 0x0480, 2, 1}, {0x048A, 0x04BE, 2, 1}, {0x04C0, 0x04C0, 1, 15},
    {0x04C3, 0x04CD, 2, 1}, {0x04D4, 0x04D4, 1, 1}, {0x04D8, 0x04D8, 1, 1},
    {0x04E0, 0x04E0, 1, 1}, {0x04E8, 0x04E8, 1, 1}, {0x04F6, 0x04F6, 1, 1},
    {0x04FA, 0x052E, 2, 1}, {0x0531, 0x0556, 1, 48}, {0x1EFA, 0x1EFE, 2, 1},
};

// Characters that are another spelling of others (compatibility decompositions of the Unicode
// Character Database), as far as composed_letters.h does not have them. Ascending.
struct Spelling {
    char16_t character;
    const char16_t* stands;
};
constexpr Spelling kSpellings[] = {
    {0x00A8, u" \u0308"}, {0x00AA, u"a"}, {0x00AF, u" \u0304"}, {0x00B2, u"2"}, {0x00B3, u"3"},
    {0x00B4, u" \u0301"}, {0x00B5, u"\u03BC"}, {0x00B8, u" \u0327"}, {0x00B9, u"1"},
    {0x00BA, u"o"}, {0x00BC, u"1\u2044" "4"}, {0x00BD, u"1\u2044" "2"}, {0x00BE, u"3\u2044" "4"},
    {0x0132, u"IJ"}, {0x0133, u"ij"}, {0x013F, u"L\u00B7"}, {0x0140, u"l\u00B7"},
    {0x0149, u"\u02BCn"}, {0x017F, u"s"}, {0x01C4, u"DZ\u030C"}, {0x01C5, u"Dz\u030C"},
    {0x01C6, u"dz\u030C"}, {0x01C7, u"LJ"}, {0x01C8, u"Lj"}, {0x01C9, u"lj"}, {0x01CA, u"NJ"},
    {0x01CB, u"Nj"}, {0x01CC, u"nj"}, {0x01F1, u"DZ"}, {0x01F2, u"Dz"}, {0x01F3, u"dz"},
    {0x02B0, u"h"}, {0x02B1, u"\u0266"}, {0x02B2, u"j"}, {0x02B3, u"r"}, {0x02B4, u"\u0279"},
    {0x02B5, u"\u027B"}, {0x02B6, u"\u0281"}, {0x02B7, u"w"}, {0x02B8, u"y"},
    {0x02D8, u" \u0306"}, {0x02D9, u" \u0307"}, {0x02DA, u" \u030A"}, {0x02DB, u" \u0328"},
    {0x02DC, u" \u0303"}, {0x02DD, u" \u030B"}, {0x02E0, u"\u0263"}, {0x02E1, u"l"},
    {0x02E2, u"s"}, {0x02E3, u"x"}, {0x02E4, u"\u0295"}, {0x0340, u"\u0300"}, {0x0341, u"\u0301"},
    {0x0343, u"\u0313"}, {0x0344, u"\u0308\u0301"}, {0x0374, u"\u02B9"}, {0x037A, u" \u0345"},
    {0x037E, u";"}, {0x0384, u" \u0301"}, {0x0387, u"\u00B7"}, {0x03D0, u"\u03B2"},
    {0x03D1, u"\u03B8"}, {0x03D2, u"\u03A5"}, {0x03D5, u"\u03C6"}, {0x03D6, u"\u03C0"},
    {0x03F0, u"\u03BA"}, {0x03F1, u"\u03C1"}, {0x03F2, u"\u03C2"}, {0x03F4, u"\u0398"},
    {0x03F5, u"\u03B5"}, {0x03F9, u"\u03A3"}, {0x0587, u"\u0565\u0582"}, {0x1E9A, u"a\u02BE"},
    {0x2011, u"\u2010"}, {0x2024, u"."}, {0x2025, u".."}, {0x2026, u"..."}, {0x2116, u"No"},
    {0x2120, u"SM"}, {0x2122, u"TM"}, {0x2126, u"\u03A9"}, {0x212A, u"K"}, {0x212B, u"A\u030A"},
    {0xFB00, u"ff"}, {0xFB01, u"fi"}, {0xFB02, u"fl"}, {0xFB03, u"ffi"}, {0xFB04, u"ffl"},
    {0xFB05, u"st"}, {0xFB06, u"st"},
};

// Canonical combining classes of the marks U+0300 to U+036F; those that are not listed have 230.
struct MarkClass {
    char16_t first;
    char16_t last;
    std::uint8_t value;
};
constexpr MarkClass kMarkClasses[] = {
    {0x0315, 0x0315, 232}, {0x0316, 0x0319, 220}, {0x031A, 0x031A, 232}, {0x031B, 0x031B, 216},
    {0x031C, 0x0320, 220}, {0x0321, 0x0322, 202}, {0x0323, 0x0326, 220}, {0x0327, 0x0328, 202},
    {0x0329, 0x0333, 220}, {0x0334, 0x0338, 1}, {0x0339, 0x033C, 220}, {0x0345, 0x0345, 240},
    {0x0347, 0x0349, 220}, {0x034D, 0x034E, 220}, {0x0353, 0x0356, 220}, {0x0358, 0x0358, 232},
    {0x0359, 0x035A, 220}, {0x035C, 0x035C, 233}, {0x035D, 0x035E, 234}, {0x035F, 0x035F, 233},
    {0x0360, 0x0361, 234}, {0x0362, 0x0362, 233},
};

struct Range {
    char32_t first;
    char32_t last;
};
// RFC 4518 2.2: what has no appearance of its own.
constexpr Range kLeftOut[] = {
    {0x0000, 0x0008}, {0x000E, 0x001F}, {0x007F, 0x0084}, {0x0086, 0x009F}, {0x00AD, 0x00AD},
    {0x034F, 0x034F}, {0x06DD, 0x06DD}, {0x070F, 0x070F}, {0x1806, 0x1806}, {0x180B, 0x180E},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2063}, {0x206A, 0x206F}, {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFC}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F},
};
// The same section: what separates words.
constexpr Range kBlanks[] = {
    {0x0009, 0x000D}, {0x0020, 0x0020}, {0x0085, 0x0085}, {0x00A0, 0x00A0}, {0x1680, 0x1680},
    {0x2000, 0x200A}, {0x2028, 0x2029}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000},
};
// RFC 4518 2.4: private use and non-characters; surrogates are no UTF-8, and what is unassigned
// today may be a letter of tomorrow's names.
constexpr Range kProhibited[] = {
    {0xE000, 0xF8FF}, {0xFDD0, 0xFDEF}, {0xFFFD, 0xFFFD}, {0xF0000, 0x10FFFF},
};
// clang-format on

template <std::size_t N> bool isIn(const Range (&ranges)[N], char32_t character) noexcept {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

bool isProhibited(char32_t character) noexcept {
    return isIn(kProhibited, character) || (character & 0xFFFEU) == 0xFFFE;
}

int markClass(char32_t character) noexcept {
    if (character < 0x300 || character > 0x36F) {
        return 0;
    }
    const auto* const found =
        std::find_if(std::begin(kMarkClasses), std::end(kMarkClasses), [=](const MarkClass& each) {
            return character >= each.first && character <= each.last;
        });
    return found == std::end(kMarkClasses) ? 230 : found->value;
}

// The entry of a table for a character; null when there is none.
template <class Entry, std::size_t N>
const Entry* find(const Entry (&table)[N], char16_t Entry::*key, char32_t character) noexcept {
    const auto* const found =
        std::lower_bound(std::begin(table), std::end(table), character,
                         [key](const Entry& each, char32_t wanted) { return each.*key < wanted; });
    return found != std::end(table) && found->*key == character ? found : nullptr;
}

char32_t folded(char32_t character) noexcept {
    const auto* const found =
        std::lower_bound(std::begin(kFolds), std::end(kFolds), character,
                         [](const Fold& each, char32_t wanted) { return each.last < wanted; });
    if (found == std::end(kFolds) || character < found->first ||
        (character - found->first) % found->step != 0) {
        return character;
    }
    return static_cast<char32_t>(static_cast<std::int32_t>(character) + found->distance);
}

// Appends a character that is no other spelling any more.
void appendFolded(char32_t character, std::u32string& out) {
    constexpr char32_t kSharpS = 0xDF;
    constexpr char32_t kCapitalSharpS = 0x1E9E;
    if (character == kSharpS || character == kCapitalSharpS) {
        out += U"ss";
        return;
    }
    out.push_back(folded(character));
}

// Appends a character, taken apart as far as it can be, with small letters. What an entry stands
// for may have an entry itself, three deep at most: a letter with two marks that is a sign.
void appendApart(char32_t character, std::u32string& out) {
    constexpr char32_t kFirstWide = 0xFF01;
    constexpr char32_t kLastWide = 0xFF5E;
    constexpr char32_t kWideDistance = 0xFEE0;
    if (character >= kFirstWide && character <= kLastWide) {
        character -= kWideDistance;
    }
    // The marks of letters go behind their bases; the innermost mark first.
    char32_t marks[3] = {};
    std::size_t count = 0;
    const ComposedLetter* letter = find(kComposedLetters, &ComposedLetter::letter, character);
    while (letter != nullptr && count < std::size(marks)) {
        marks[count++] = letter->mark;
        character = letter->base;
        letter = find(kComposedLetters, &ComposedLetter::letter, character);
    }
    if (const Spelling* const other = find(kSpellings, &Spelling::character, character)) {
        for (const char16_t* each = other->stands; *each != 0; ++each) {
            appendFolded(*each, out);
        }
    } else {
        appendFolded(character, out);
    }
    while (count > 0) {
        appendFolded(marks[--count], out);
    }
}

// Unicode Standard Annex 15: marks that do not touch each other stand in the order of their
// classes.
void orderMarks(std::u32string& text) {
    const auto isMark = [](char32_t character) { return markClass(character) != 0; };
    for (auto at = text.begin(); at != text.end();) {
        const auto first = std::find_if(at, text.end(), isMark);
        at = std::find_if_not(first, text.end(), isMark);
        std::stable_sort(first, at,
                         [](char32_t a, char32_t b) { return markClass(a) < markClass(b); });
    }
}

} // namespace

bool appendPrepared(std::string_view text, std::string& out) {
    std::u32string apart;
    while (!text.empty()) {
        char32_t character = 0;
        const std::size_t length = decodeUtf8(text, character);
        if (length == 0 || isProhibited(character)) {
            return false;
        }
        text.remove_prefix(length);
        if (isIn(kBlanks, character)) {
            apart.push_back(U' ');
        } else if (!isIn(kLeftOut, character)) {
            appendApart(character, apart);
        }
    }
    orderMarks(apart);
    // Blanks of any number are one, and none at the ends (RFC 4518 2.6.1).
    bool pending = false;
    const std::size_t before = out.size();
    for (const char32_t character : apart) {
        if (character == U' ') {
            pending = out.size() != before;
            continue;
        }
        if (pending) {
            out.push_back(' ');
            pending = false;
        }
        char octets[4];
        out.append(octets, encodeUtf8(character, octets));
    }
    return true;
}

} // namespace vantrel::text
