// SPDX-License-Identifier: MIT
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/_vlCharset.h"
#include "foundation/text/charset_tables.h"
#include "foundation/text/utf8.h"
#include "tests/support/bytes.h"
#include "tests/support/recording_log.h"

#include <array>
#include <string>

#include <gtest/gtest.h>
#include <iconv.h>

namespace vantrel::test {
namespace {

// The C library's converter as the oracle; false when it refuses.
bool iconvText(const char* to, const char* from, std::string in, std::string& out) {
    const iconv_t converter = iconv_open(to, from);
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        return false;
    }
    out.assign(in.size() * 4 + 16, '\0');
    char* source = in.data();
    char* target = out.data();
    std::size_t left = in.size();
    std::size_t room = out.size();
    const bool ok =
        iconv(converter, &source, &left, &target, &room) != static_cast<std::size_t>(-1);
    iconv_close(converter);
    out.resize(out.size() - room);
    return ok;
}

bool knownToIconv(const char* name) {
    const iconv_t converter = iconv_open("UTF-8", name);
    const bool known = converter != reinterpret_cast<iconv_t>(-1);
    if (known) {
        iconv_close(converter);
    }
    return known;
}

// iconv's name for our first name of each table.
struct Twin {
    const char* ours;
    const char* iconv;
};

constexpr Twin kTwins[] = {
    {"us-ascii", "ASCII"},          {"iso-8859-1", "ISO-8859-1"},   {"iso-8859-2", "ISO-8859-2"},
    {"iso-8859-3", "ISO-8859-3"},   {"iso-8859-4", "ISO-8859-4"},   {"iso-8859-5", "ISO-8859-5"},
    {"iso-8859-6", "ISO-8859-6"},   {"iso-8859-7", "ISO-8859-7"},   {"iso-8859-8", "ISO-8859-8"},
    {"iso-8859-9", "ISO-8859-9"},   {"iso-8859-10", "ISO-8859-10"}, {"iso-8859-11", "ISO-8859-11"},
    {"iso-8859-13", "ISO-8859-13"}, {"iso-8859-14", "ISO-8859-14"}, {"iso-8859-15", "ISO-8859-15"},
    {"iso-8859-16", "ISO-8859-16"}, {"windows-1250", "CP1250"},     {"windows-1251", "CP1251"},
    {"windows-1252", "CP1252"},     {"windows-1253", "CP1253"},     {"windows-1254", "CP1254"},
    {"windows-1256", "CP1256"},     {"windows-1257", "CP1257"},     {"koi8-r", "KOI8-R"},
    {"koi8-u", "KOI8-U"},           {"ibm437", "IBM437"},           {"ibm850", "IBM850"},
    {"ibm852", "IBM852"},           {"ibm855", "IBM855"},           {"ibm857", "IBM857"},
    {"ibm860", "IBM860"},           {"ibm863", "IBM863"},           {"ibm866", "IBM866"},
};

TEST(Charset, SingleByteTablesAgreeWithTheCLibrary) {
    for (const Twin& twin : kTwins) {
        if (!knownToIconv(twin.iconv)) {
            GTEST_LOG_(INFO) << "iconv does not know " << twin.iconv;
            continue;
        }
        _vlCharset charset;
        ASSERT_TRUE(charset.setByName(twin.ours)) << twin.ours;
        for (int byte = 0; byte < 256; ++byte) {
            const std::string one(1, static_cast<char>(byte));
            std::string wanted;
            const bool valid = iconvText("UTF-8", twin.iconv, one, wanted);
            StringBuffer got("x");
            EXPECT_EQ(charset.toUtf8(asBytes(one), got), valid) << twin.ours << " " << byte;
            EXPECT_EQ(got.view(), valid ? "x" + wanted : "x") << twin.ours << " " << byte;
            DataBuffer back;
            if (valid) {
                EXPECT_TRUE(charset.fromUtf8(wanted, back)) << twin.ours << " " << byte;
                EXPECT_EQ(textOf(back.view()), one) << twin.ours << " " << byte;
            }
        }
        DataBuffer out;
        EXPECT_FALSE(charset.fromUtf8("ab\xF0\x9F\x98\x80", out)) << twin.ours;
        EXPECT_TRUE(out.isEmpty()) << twin.ours;
    }
}

TEST(Charset, WideFormsAgreeWithTheCLibrary) {
    std::string all;
    for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 97) {
        char bytes[4];
        if (c < 0xD800 || c > 0xDFFF) {
            all.append(bytes, text::encodeUtf8(c, bytes));
        }
    }
    for (const char* const name : {"UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"}) {
        std::string wanted;
        ASSERT_TRUE(iconvText(name, "UTF-8", all, wanted)) << name;
        _vlCharset charset;
        ASSERT_TRUE(charset.setByName(name));
        DataBuffer wide;
        ASSERT_TRUE(charset.fromUtf8(all, wide)) << name;
        EXPECT_TRUE(textOf(wide.view()) == wanted) << name;
        StringBuffer back;
        ASSERT_TRUE(charset.toUtf8(wide.view(), back)) << name;
        EXPECT_TRUE(back.view() == all) << name;
        EXPECT_FALSE(charset.toUtf8(wide.view().first(wide.getSize() - 1), back)) << name;
    }
}

TEST(Charset, ByteOrderMarkDecidesTheOrder) {
    const struct {
        const char* name;
        std::string bytes;
        bool valid;
    } cases[] = {
        {"utf-16", std::string("\xFE\xFF\0a", 4), true},
        {"utf-16", std::string("\xFF\xFE\x61\0", 4), true},
        {"utf-16", std::string("a\0", 2), true},
        {"UTF_16BE", std::string("\0a", 2), true},
        {"utf-32", std::string("\0\0\xFE\xFF\0\0\0a", 8), true},
        {"Utf 8", std::string("\xEF\xBB\xBF\x61"), true},
        {"utf-16", std::string("\0\xD8\x61\0", 4), false}, // a lone surrogate
        {"utf-16", std::string("\0\xD8\0\xE0", 4), false}, // before what is none
        {"utf-16", std::string("\0\xDC", 2), false},
        {"utf-32", std::string("\0\0\x11\0", 4), false}, // above U+10FFFF
        {"utf-8", std::string("\xC0\xE1"), false},
    };
    for (const auto& known : cases) {
        _vlCharset charset;
        ASSERT_TRUE(charset.setByName(known.name));
        StringBuffer out;
        EXPECT_EQ(charset.toUtf8(asBytes(known.bytes), out), known.valid)
            << toHex(asBytes(known.bytes));
        EXPECT_EQ(out.view(), known.valid ? "a" : "") << toHex(asBytes(known.bytes));
    }
    _vlCharset charset;
    EXPECT_FALSE(charset.setByName("utf-9"));
    EXPECT_FALSE(charset.setByName(""));
    EXPECT_FALSE(charset.setByName(std::string(1000, 'a').c_str()));
    EXPECT_TRUE(charset.isUtf8());
}

// Unicode, table 3-7: which second byte may follow which lead byte.
bool mayFollow(int lead, int second) {
    switch (lead) {
    case 0xE0: return second >= 0xA0 && second <= 0xBF;
    case 0xED: return second >= 0x80 && second <= 0x9F;
    case 0xF0: return second >= 0x90 && second <= 0xBF;
    case 0xF4: return second >= 0x80 && second <= 0x8F;
    default: return second >= 0x80 && second <= 0xBF;
    }
}

TEST(Utf8, AcceptsExactlyTheWellFormedSequences) {
    for (int lead = 0x80; lead < 0x100; ++lead) {
        const std::size_t length =
            lead < 0xC2 || lead > 0xF4 ? 0 : (lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4));
        for (int second = 0; second < 0x100; ++second) {
            std::string text = {static_cast<char>(lead), static_cast<char>(second)};
            while (text.size() < length) {
                text += static_cast<char>(0xBF);
            }
            const bool valid = length != 0 && mayFollow(lead, second);
            // At every place relative to the blocks, and cut off, and with a broken last byte.
            for (const std::size_t before :
                 {0U, 1U, 7U, 63U, 254U, 255U, 316U, 317U, 318U, 319U, 320U}) {
                const std::string padded = std::string(before, 'a') + text;
                EXPECT_EQ(text::isValidUtf8(padded + "a"), valid) << toHex(asBytes(text));
                EXPECT_EQ(text::validUtf8Prefix(padded + "a") == before, !valid)
                    << toHex(asBytes(text));
                if (valid) {
                    EXPECT_EQ(text::validUtf8Prefix(
                                  std::string_view(padded).substr(0, padded.size() - 1)),
                              before);
                    for (const char broken : {'\x7F', '\xC0'}) {
                        std::string bad = padded;
                        bad.back() = broken;
                        EXPECT_FALSE(text::isValidUtf8(bad)) << toHex(asBytes(bad));
                    }
                }
            }
        }
    }
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        char bytes[4];
        const std::size_t count = text::encodeUtf8(c, bytes);
        char32_t back = 0;
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        ASSERT_EQ(text::decodeUtf8({bytes, count}, back), surrogate ? 0 : count);
        ASSERT_TRUE(surrogate || back == c);
    }
}

// Long texts, which go through the vector kernel where there is one, against one character at a
// time.
TEST(Utf8, LongTextsAreValidUpToTheSamePlace) {
    RandomBytes random(12);
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        const std::size_t size = 250 + random.below(200);
        const bool mostlyAscii = random.below(2) == 0;
        while (text.size() < size) {
            const std::uint64_t kind = mostlyAscii && random.below(50) != 0 ? 0 : random.below(4);
            constexpr char32_t kBounds[] = {0x80, 0x800, 0xD800, 0x110000};
            char bytes[4];
            text.append(
                bytes, text::encodeUtf8(static_cast<char32_t>(random.below(kBounds[kind])), bytes));
            if (random.below(100) == 0) {
                text.append(bytes, text::encodeUtf8(0xD7FF, bytes));
            }
        }
        if (random.below(3) != 0) {
            text[random.below(text.size())] = static_cast<char>(random.below(256));
        }
        text.resize(text.size() - random.below(5));
        std::size_t valid = 0;
        char32_t character = 0;
        while (const std::size_t length =
                   text::decodeUtf8(std::string_view(text).substr(valid), character)) {
            valid += length;
        }
        ASSERT_EQ(text::validUtf8Prefix(text), valid) << toHex(asBytes(text));
        ASSERT_EQ(text::isValidUtf8(text), valid == text.size());
    }
}

TEST(XString, RepairsOnlyWhatIsNotUtf8) {
    const struct {
        std::string before;
        std::string after;
    } cases[] = {
        {"plain", "plain"},
        {"\xC3\xA4", "\xC3\xA4"},
        {"a\xE4z\x80", "a\xC3\xA4z\xE2\x82\xAC"},
        {"\xC3\xA4\xE4", "\xC3\xA4\xC3\xA4"},             // a mixed text keeps what is right
        {"\x81", "\xC2\x81"},                             // unassigned in Windows-1252
        {"x\xC3", "x\xC3\x83"},                           // cut off
        {"\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xE2\x82\xAC"}, // a surrogate
    };
    for (const auto& known : cases) {
        XString text(known.before);
        RecordingLog log;
        EXPECT_TRUE(text.checkFixUtf8Windows1252(log));
        EXPECT_EQ(text.getUtf8Sb().view(), known.after);
        EXPECT_TRUE(text::isValidUtf8(text.getUtf8Sb().view()));
    }
}

} // namespace
} // namespace vantrel::test
