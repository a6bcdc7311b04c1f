// SPDX-License-Identifier: MIT
// Names as directories compare them (RFC 4518), against digests that tools/make_name_digests.py
// makes from Python's character data.

#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/name_preparation.h"
#include "foundation/text/utf8.h"
#include "foundation/x509/path/directory_name.h"
#include "tests/support/bytes.h"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

std::string encoded(char32_t character) {
    char octets[4];
    return {octets, text::encodeUtf8(character, octets)};
}

std::string prepared(const std::string& text) {
    std::string out;
    return text::appendPrepared(text, out) ? out : "(none)";
}

TEST(PreparedNames, EveryCharacterOfTheAlphabets) {
    struct Block {
        char32_t first;
        char32_t last;
        const char* sha256;
    };
    constexpr Block kBlocks[] = {
        {0x0000, 0x02FF, "043e8d17b2f248ee859699b1d2285896aac919f52a86cc888a3b1453cd337b83"},
        {0x0300, 0x058F, "6c7c2c50820c0f50f6ec61dfa636adb75b30d0ace6dc023bf49d77775f1d9642"},
        {0x1E00, 0x1EFF, "757ea46d4841505d6ecb027f2db7dc4de5a77d0b52752d3803c698195dabe9fa"},
        {0x2000, 0x200F, "afdb7ecf32f0b94b0f535c3499d0ae1299af3fc82200ce9ad686f4b6ad4f957f"},
        {0x2028, 0x202F, "34a88b34260b2d2c825221bb21a52b18530d862c301ed68ce5613b26434e77b7"},
        {0xFB00, 0xFB06, "4dea9df71e41237196b7a1d35943605f062cee6da3544ef05b2d1395ca61498c"},
        {0xFF01, 0xFF5E, "f967fdf6b6804bada9f7f4b7769986a3237dcd48aaa2355bc14dd0b03672540e"},
    };
    for (const Block& block : kBlocks) {
        std::string all;
        for (char32_t character = block.first; character <= block.last; ++character) {
            all += prepared("a" + encoded(character) + "z") + "\n";
        }
        std::uint8_t digest[crypto::kMaxDigestSize];
        EXPECT_EQ(test::toHex(crypto::hashBytes(kHashSha256, asBytes(all), digest)), block.sha256)
            << std::hex << static_cast<std::uint32_t>(block.first);
    }
}

TEST(PreparedNames, SpellingsOfOneName) {
    const std::string name = prepared("M\u00FCller Stra\u00DFe");
    for (const char* const spelling :
         {"MU\u0308LLER STRASSE", " m\u00FCller\u00A0\u3000stra\u1E9Ee ",
          "M\u00FCl\u00ADler Strasse", "\uFF2D\u00FCller\tStra\u00DFe"}) {
        EXPECT_EQ(prepared(spelling), name) << spelling;
    }
    EXPECT_NE(prepared("Muller Strasse"), name);
    // Marks below and above do not touch each other, so their order says nothing; two above do.
    EXPECT_EQ(prepared("a\u0323\u0302"), prepared("\u1EAD"));
    EXPECT_EQ(prepared("a\u0302\u0323"), prepared("\u1EAD"));
    EXPECT_EQ(prepared("a\u036F\u0323"), prepared("a\u0323\u036F"));
    EXPECT_NE(prepared("a\u0301\u0302"), prepared("a\u0302\u0301"));
    for (const char* const no : {"\uE000", "\uFFFD", "\xC3", "\xED\xA0\x80", "\uFDD0"}) {
        EXPECT_EQ(prepared(no), "(none)");
    }
    // Linear in the text, whatever the order of its marks.
    std::string marks;
    for (int i = 0; i < 100'000; ++i) {
        marks += "\u0301\u0323";
    }
    EXPECT_EQ(prepared(marks).size(), marks.size());
}

// CN=value in a UTF8String or a BMPString.
std::string keyOf(std::uint8_t type, const std::string& value) {
    const auto wrap = [](std::uint8_t tag, const std::string& contents) {
        return std::string(1, static_cast<char>(tag)) + static_cast<char>(contents.size()) +
               contents;
    };
    const std::string attribute =
        wrap(0x30, std::string("\x06\x03\x55\x04\x03") + wrap(type, value));
    std::string key;
    EXPECT_TRUE(x509::appendNameKey(asBytes(wrap(0x30, wrap(0x31, attribute))), key));
    return key;
}

TEST(PreparedNames, AreWhatDirectoryNamesAreComparedBy) {
    constexpr std::uint8_t kUtf8 = 0x0C;
    constexpr std::uint8_t kBmp = 0x1E;
    EXPECT_EQ(keyOf(kUtf8, "\u0416\u0419"), keyOf(kUtf8, "\u0436\u0438\u0306"));
    EXPECT_EQ(keyOf(kUtf8, "\u00C4"), keyOf(kBmp, std::string("\0\xE4", 2)));
    EXPECT_EQ(keyOf(kUtf8, "Test CA"), keyOf(kUtf8, "test\u00A0ca"));
    EXPECT_NE(keyOf(kUtf8, "\u00C4"), keyOf(kUtf8, "A"));
    // What cannot be compared equals its own octets, and nothing else.
    EXPECT_EQ(keyOf(kUtf8, "\uE000"), keyOf(kUtf8, "\uE000"));
    EXPECT_NE(keyOf(kUtf8, "a\uE000"), keyOf(kUtf8, "A\uE000"));
}

} // namespace
} // namespace vantrel
