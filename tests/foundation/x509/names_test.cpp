// SPDX-License-Identifier: MIT
// Distinguished names in text and in DER.
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/StringHashSet.h"
#include "foundation/x509/name_match.h"
#include "foundation/x509/serial_number.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

std::string keyOf(const std::string& dn, bool& isName) {
    LogNull log;
    StringBuffer key;
    isName = DistinguishedName::toVlCanonHashKey(dn.c_str(), key, log);
    return std::string(key.view());
}

test::Bytes element(std::uint8_t tag, const test::Bytes& contents) {
    test::Bytes out = {tag, static_cast<std::uint8_t>(contents.size())}; // below 128
    out.insert(out.end(), contents.begin(), contents.end());
    return out;
}

// A Name of a few attributes of X.520 with letters that need care, some of them in one component.
test::Bytes randomName(test::RandomBytes& random) {
    constexpr char kLetters[] = "ab, +=\"\\;#<A\0\xC3"; // two are NUL and no UTF-8
    test::Bytes components;
    test::Bytes attributes;
    for (std::uint64_t left = 1 + random.below(4); left > 0; --left) {
        test::Bytes value;
        for (std::uint64_t size = random.below(6); value.size() < size;) {
            value.push_back(static_cast<std::uint8_t>(kLetters[random.below(sizeof kLetters - 1)]));
        }
        const auto type = static_cast<std::uint8_t>(3 + random.below(9));
        test::Bytes pair = element(6, {0x55, 4, type});
        const test::Bytes text = element(random.below(9) == 0 ? 2 : 12, value); // or no string
        pair.insert(pair.end(), text.begin(), text.end());
        pair = element(0x30, pair);
        attributes.insert(attributes.end(), pair.begin(), pair.end());
        if (left == 1 || random.below(3) != 0) {
            const test::Bytes set = element(0x31, attributes);
            components.insert(components.end(), set.begin(), set.end());
            attributes.clear();
        }
    }
    return element(0x30, components);
}

} // namespace

// The short way of a look-up, over the keys that it spares: in the library's own spelling it leads
// there, and in any other it leads nowhere that the keys would not.
TEST(DistinguishedName, SpelledOutNamesHaveTheSameKey) {
    test::RandomBytes random(11);
    std::size_t others = 0;
    for (int round = 0; round < 20000; ++round) {
        const test::Bytes der = randomName(random);
        StringBuffer forward;
        StringBuffer backward;
        ASSERT_TRUE(DistinguishedName::fromDer(der, true, forward));
        ASSERT_TRUE(DistinguishedName::fromDer(der, false, backward));
        EXPECT_TRUE(DistinguishedName::isSpelledOut(der, forward.view(), false))
            << test::toHex(der);
        EXPECT_TRUE(DistinguishedName::isSpelledOut(der, backward.view(), true))
            << test::toHex(der);
        std::string dn(random.below(2) == 0 ? forward.view() : backward.view());
        dn.insert(random.below(dn.size() + 1), 1, " ,+\\a"[random.below(5)]);
        if (DistinguishedName::isSpelledOut(der, dn, true)) {
            ++others;
            bool isName = false;
            const std::string key = keyOf(dn, isName);
            EXPECT_TRUE(isName) << dn;
            const std::string ahead = keyOf(std::string(forward.view()), isName);
            EXPECT_TRUE(key == ahead || key == keyOf(std::string(backward.view()), isName)) << dn;
        }
    }
    EXPECT_GT(others, 100U); // a blank behind a separator
}

TEST(DistinguishedName, SpellingsOfOneNameShareOneKey) {
    std::map<std::string, std::string> keys; // and where they came from
    test::forEachVector("x509/names.vec", "SameKey", [&](test::VecCase& c) {
        std::string common;
        for (const std::string& escaped : c.all("Name")) {
            const std::string name = test::unescape(escaped);
            bool isName = false;
            const std::string key = keyOf(name, isName);
            EXPECT_TRUE(isName) << c.where() << name;
            common = common.empty() ? key : common;
            EXPECT_EQ(key, common) << c.where() << name;
            // The key is itself a spelling of the name.
            EXPECT_EQ(keyOf(key, isName), key) << c.where();
            // What a store looks for is the same too, in either order and cut at every comma.
            const std::vector<std::string> tokens = x509::nameTokens(std::string_view(name));
            EXPECT_EQ(tokens, x509::nameTokens(std::string_view(key))) << c.where() << name;
            std::string scratch;
            EXPECT_EQ(x509::nameTokenHash(std::string_view(name), scratch),
                      x509::nameTokenHash(std::string_view(key), scratch));
        }
        EXPECT_TRUE(keys.emplace(common, c.where()).second) << c.where() << " as " << keys[common];
    });
    test::forEachVector("x509/names.vec", "NoName", [](test::VecCase& c) {
        bool isName = true;
        EXPECT_NE(keyOf(c.escaped("Name"), isName), "") << c.where();
        EXPECT_FALSE(isName) << c.where();
    });
}

TEST(DistinguishedName, PartsAndValues) {
    test::forEachVector("x509/names.vec", "Part", [](test::VecCase& c) {
        LogNull log;
        StringBuffer value("before ");
        const std::string name = c.escaped("Name");
        const bool found =
            DistinguishedName::getDnPart(name.c_str(), c.text("Label").c_str(), value, log);
        EXPECT_EQ(found, c.has("Value")) << c.where();
        EXPECT_EQ(value.view(), "before " + (found ? c.escaped("Value") : "")) << c.where();
    });
    test::forEachVector("x509/names.vec", "Values", [](test::VecCase& c) {
        XString values("old");
        DistinguishedName::removeDnTags(XString(c.escaped("Name")), values);
        EXPECT_EQ(values.getUtf8Sb().view(), c.escaped("Values")) << c.where();
    });
    LogNull log;
    StringBuffer out;
    EXPECT_FALSE(DistinguishedName::getDnPart(nullptr, nullptr, out, log));
    EXPECT_TRUE(DistinguishedName::toVlCanonHashKey(nullptr, out, log));
}

TEST(DistinguishedName, FromDer) {
    test::forEachVector("x509/names.vec", "FromDer", [](test::VecCase& c) {
        const test::Bytes der = c.hex("Der");
        const std::string text = c.escaped("Text");
        StringBuffer out("+");
        EXPECT_TRUE(DistinguishedName::fromDer(der, true, out)) << c.where();
        EXPECT_EQ(out.view(), "+" + text) << c.where();
        out.clear();
        EXPECT_TRUE(DistinguishedName::fromDer(der, false, out)) << c.where();
        EXPECT_EQ(out.view(), c.escaped("Reverse")) << c.where();
        EXPECT_EQ(x509::nameTokens(ByteView(der)), x509::nameTokens(std::string_view(text)))
            << c.where();
        for (std::size_t size = 0; size < der.size(); ++size) {
            EXPECT_FALSE(DistinguishedName::fromDer(ByteView(der).first(size), true, out)) << size;
        }
    });
    test::forEachVector("x509/names.vec", "BadDer", [](test::VecCase& c) {
        StringBuffer out("+");
        EXPECT_FALSE(DistinguishedName::fromDer(c.hex("Der"), true, out)) << c.where();
        EXPECT_EQ(out.view(), "+");
    });
}

// Text that is all separators, quotes or labels is read in linear time: a megabyte of each would
// otherwise take hours.
TEST(DistinguishedName, HostileTextTakesLinearTime) {
    for (const char* const piece :
         {",", "+", "CN=\"", "CN=a,", "\\", " ", "CN=a+", "a", "/CN=", "CN=#", "="}) {
        std::string name = "CN=";
        while (name.size() < 1U << 20U) {
            name += piece;
        }
        LogNull log;
        StringBuffer out;
        XString values;
        DistinguishedName::toVlCanonHashKey(name.c_str(), out, log);
        DistinguishedName::removeDnTags(XString(name), values);
        std::string scratch;
        static_cast<void>(x509::nameTokenHash(std::string_view(name), scratch));
        EXPECT_LE(out.getSize(), 3 * name.size());
    }
}

TEST(SerialNumber, AnySpellingBecomesOneText) {
    for (const auto& [hex, expected] : std::map<std::string, std::string>{{"0", "00"},
                                                                          {"00", "00"},
                                                                          {"-0", "00"},
                                                                          {"a", "0A"},
                                                                          {" 00ff\n", "FF"},
                                                                          {"-00ff", "-FF"},
                                                                          {"100", "0100"}}) {
        std::string out;
        EXPECT_TRUE(x509::appendSerialText(std::string_view(hex), out)) << hex;
        EXPECT_EQ(out, expected) << hex;
    }
    for (const char* const bad : {"", " ", "-", "0x10", "1 0", "G", "--1"}) {
        std::string out;
        EXPECT_FALSE(x509::appendSerialText(std::string_view(bad), out)) << bad;
    }
}

TEST(StringHashSet, ExactMembership) {
    StringHashSet set(79);
    EXPECT_FALSE(set.hashContainsSb(StringBuffer("a")));
    EXPECT_TRUE(set.hashAddKey("a"));
    EXPECT_TRUE(set.hashAddKey("a"));
    EXPECT_TRUE(set.hashAddKey(""));
    EXPECT_FALSE(set.hashAddKey(nullptr));
    EXPECT_TRUE(set.hashContainsSb(StringBuffer("a")));
    EXPECT_TRUE(set.hashContainsSb(StringBuffer()));
    EXPECT_FALSE(set.hashContainsSb(StringBuffer("A")));
    EXPECT_FALSE(set.hashContainsSb(StringBuffer("ab")));
}

} // namespace vantrel
