// SPDX-License-Identifier: MIT
#include "foundation/asn1/asn1_time.h"
#include "foundation/asn1/ber_normalize.h"
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_values.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/asn1/oid.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::asn1 {

namespace {

using test::Bytes;

bool readsOne(const Bytes& der) {
    DerReader reader{ByteView(der)};
    DerElement element;
    return reader.readAny(element) && reader.atEnd();
}

Bytes withLength(const Bytes& lengthOctets, std::size_t contents) {
    Bytes der = lengthOctets;
    der.insert(der.begin(), 0x04);
    der.resize(der.size() + contents, 0x55);
    return der;
}

} // namespace

// Around every change of form: the one right length is read, one more or less byte is not, and
// neither is any longer way to write it.
TEST(DerReader, LengthsInTheirShortestFormOnly) {
    for (const std::size_t size : {0U, 1U, 0x7FU, 0x80U, 0xFFU, 0x100U, 0xFFFFU, 0x10000U}) {
        std::uint8_t octets[9];
        const std::size_t count = encodeLength(size, octets);
        const Bytes shortest(octets, octets + count);
        EXPECT_TRUE(readsOne(withLength(shortest, size))) << size;
        EXPECT_FALSE(readsOne(withLength(shortest, size + 1))) << size;
        if (size != 0) {
            EXPECT_FALSE(readsOne(withLength(shortest, size - 1))) << size;
        }
        for (std::size_t octetCount = count; octetCount <= 8; ++octetCount) {
            Bytes longer{static_cast<std::uint8_t>(0x80U | octetCount)};
            for (std::size_t i = octetCount; i-- > 0;) {
                longer.push_back(static_cast<std::uint8_t>(size >> (8 * i)));
            }
            EXPECT_FALSE(readsOne(withLength(longer, size))) << size << " " << octetCount;
        }
    }
    for (const char* const bad : {"", "04", "0480", "04800000", "0481", "0484FFFFFFFF", "04FF",
                                  "0488FFFFFFFFFFFFFFFF00", "1F0100", "3F00"}) {
        EXPECT_FALSE(readsOne(test::fromHex(bad))) << bad;
    }
}

TEST(DerReader, FailureMovesNothing) {
    const Bytes der = test::fromHex("30030201050401");
    DerReader reader{ByteView(der)};
    ByteView contents(der);
    DerReader inner;
    EXPECT_FALSE(reader.read(Tag::Integer, contents));
    EXPECT_EQ(contents.size(), der.size());
    ASSERT_TRUE(reader.enter(Tag::Sequence, inner));
    std::int64_t value = 0;
    EXPECT_TRUE(readSmallInteger(inner, value));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(inner.atEnd());
    const ByteView before = reader.rest();
    EXPECT_FALSE(reader.skip()); // its contents are cut off
    EXPECT_EQ(reader.rest().data(), before.data());
    EXPECT_EQ(reader.rest().size(), 2U);
}

TEST(DerValues, Integers) {
    struct {
        const char* der;
        bool small;
        std::int64_t value;
        bool isUnsigned;
        const char* magnitude;
    } const cases[] = {
        {"020100", true, 0, true, ""},
        {"02017F", true, 127, true, "7f"},
        {"02020080", true, 128, true, "80"},
        {"020180", true, -128, false, ""},
        {"0201FF", true, -1, false, ""},
        {"02087FFFFFFFFFFFFFFF", true, INT64_MAX, true, "7fffffffffffffff"},
        {"02088000000000000000", true, INT64_MIN, false, ""},
        {"0209008000000000000000", false, 0, true, "8000000000000000"},
        {"0200", false, 0, false, ""},
        {"0202007F", false, 0, false, ""},
        {"0202FF80", false, 0, false, ""},
        {"020100FF", true, 0, true, ""}, // something follows
    };
    for (const auto& c : cases) {
        const Bytes der = test::fromHex(c.der);
        DerReader reader{ByteView(der)};
        std::int64_t value = 0;
        ASSERT_EQ(readSmallInteger(reader, value), c.small) << c.der;
        EXPECT_EQ(value, c.value) << c.der;
        reader = DerReader{ByteView(der)};
        ByteView magnitude;
        ASSERT_EQ(readUnsigned(reader, magnitude), c.isUnsigned) << c.der;
        EXPECT_EQ(test::toHex(magnitude), c.magnitude) << c.der;
    }
}

TEST(DerValues, BitStrings) {
    struct {
        const char* der;
        bool readable;
        bool octets;
        std::uint32_t named;
    } const cases[] = {
        {"030100", true, true, 0},           {"030205A0", true, false, 0x5},
        {"03020780", true, false, 0x1},      {"0303070080", true, false, 0x100},
        {"03020180", true, false, 0x1},      {"0300", false, false, 0},
        {"030101", false, false, 0},         {"030208FF", false, false, 0},
        {"0306000000000080", true, true, 0},
    };
    for (const auto& c : cases) {
        const Bytes der = test::fromHex(c.der);
        std::uint32_t named = 0;
        ByteView bytes;
        DerReader reader{ByteView(der)};
        EXPECT_EQ(readNamedBits(reader, named), c.readable) << c.der;
        EXPECT_EQ(named, c.named) << c.der;
        reader = DerReader{ByteView(der)};
        EXPECT_EQ(readOctetBits(reader, bytes), c.octets) << c.der;
    }
}

TEST(DerWriter, LengthsArePutInWhenAnElementIsClosed) {
    for (const std::size_t size : {0U, 0x7FU, 0x80U, 0x1234U, 0x12345U}) {
        DerWriter writer;
        writer.open(Tag::Sequence);
        writer.open(contextConstructed(1));
        writer.write(Tag::OctetString, Bytes(size, 1));
        writer.close();
        writer.writeBoolean(true);
        writer.close();
        ASSERT_EQ(writer.openElements(), 0U);
        DerReader reader(writer.bytes());
        DerReader sequence;
        DerReader tagged;
        ByteView contents;
        bool flag = false;
        ASSERT_TRUE(reader.enter(Tag::Sequence, sequence) && reader.atEnd());
        ASSERT_TRUE(sequence.enter(contextConstructed(1), tagged) && readBoolean(sequence, flag));
        ASSERT_TRUE(tagged.read(Tag::OctetString, contents));
        EXPECT_EQ(contents.size(), size);
        EXPECT_TRUE(flag && tagged.atEnd() && sequence.atEnd());
    }
    DerWriter numbers;
    numbers.writeUnsigned(std::uint64_t{0});
    numbers.writeUnsigned(std::uint64_t{128});
    numbers.writeUnsigned(ByteView(test::fromHex("0000FF")));
    EXPECT_FALSE(numbers.writeOid("1.2.x"));
    EXPECT_TRUE(numbers.writeOid("1.2.840"));
    numbers.writeNull();
    EXPECT_EQ(test::toHex(numbers.bytes()), "02010002020080020200ff06032a86480500");
}

TEST(Oid, TextAndOctets) {
    test::forEachVector("asn1/asn1.vec", "Oid", [](test::VecCase& c) {
        const Bytes der = c.hex("Der");
        const std::string text = c.text("Text");
        std::string found = "x";
        EXPECT_TRUE(oidToText(der, found)) << c.where();
        EXPECT_EQ(found, "x" + text) << c.where();
        OidBytes bytes;
        EXPECT_TRUE(oidFromText(text, bytes)) << c.where();
        EXPECT_EQ(test::toHex(bytes.view()), test::toHex(der)) << c.where();
    });
    test::forEachVector("asn1/asn1.vec", "BadOid", [](test::VecCase& c) {
        std::string found = "x";
        EXPECT_FALSE(oidToText(c.hex("Der"), found)) << c.where();
        EXPECT_EQ(found, "x");
    });
    test::forEachVector("asn1/asn1.vec", "BadOidText", [](test::VecCase& c) {
        OidBytes bytes;
        EXPECT_FALSE(oidFromText(c.text("Text"), bytes)) << c.where();
    });
    // The limit on the size: 127 and 128 octets pass, 129 do not, in both directions.
    for (const std::size_t size : {127U, 128U, 129U}) {
        std::string text = "1.2";
        for (std::size_t i = 1; i < size; ++i) {
            text += ".1";
        }
        OidBytes bytes;
        std::string found;
        EXPECT_EQ(oidFromText(text, bytes), size <= kMaxOidBytes);
        Bytes contents(size, 1);
        contents[0] = 0x2A;
        EXPECT_EQ(oidToText(contents, found), size <= kMaxOidBytes);
        EXPECT_EQ(found, size <= kMaxOidBytes ? text : "");
    }
}

TEST(Asn1Time, KnownMoments) {
    const auto check = [](test::VecCase& c, bool (*parse)(ByteView, std::int64_t&) noexcept) {
        const Bytes text = test::bytesOf(c.text("Text"));
        const std::int64_t expected = c.integer("Seconds");
        std::int64_t seconds = 0;
        EXPECT_TRUE(parse(text, seconds)) << c.where();
        EXPECT_EQ(seconds, expected) << c.where();
        for (std::size_t size = 0; size + 1 < text.size(); ++size) {
            std::int64_t cut = 0;
            EXPECT_FALSE(parse(ByteView(text).first(size), cut)) << c.where() << size;
        }
    };
    test::forEachVector("asn1/asn1.vec", "UtcTime",
                        [&](test::VecCase& c) { check(c, parseUtcTime); });
    test::forEachVector("asn1/asn1.vec", "BadTime", [](test::VecCase& c) {
        const Bytes text = test::bytesOf(c.text("Text"));
        std::int64_t seconds = 0;
        EXPECT_FALSE(parseUtcTime(text, seconds)) << c.where();
        EXPECT_FALSE(parseGeneralizedTime(text, seconds)) << c.where();
    });
    test::forEachVector("asn1/asn1.vec", "GeneralizedTime", [](test::VecCase& c) {
        const Bytes text = test::bytesOf(c.text("Text"));
        const std::int64_t expected = c.integer("Seconds");
        std::int64_t seconds = 0;
        EXPECT_TRUE(parseGeneralizedTime(text, seconds)) << c.where();
        EXPECT_EQ(seconds, expected) << c.where();
        std::string iso;
        appendIsoTime(expected, iso);
        // Written without its marks the ISO form is the full GeneralizedTime of the same moment.
        std::erase_if(iso, [](char ch) { return ch == '-' || ch == ':' || ch == 'T'; });
        EXPECT_TRUE(parseGeneralizedTime(asBytes(iso), seconds)) << iso;
        EXPECT_EQ(seconds, expected) << iso;
    });
}

TEST(BerNormalize, KnownInput) {
    test::forEachVector("asn1/asn1.vec", "Ber", [](test::VecCase& c) {
        Bytes ber = c.hex("Ber");
        const Bytes der = c.hex("Der");
        for (const std::size_t trailing : {0U, 3U}) {
            ber.resize(ber.size() + trailing, 0xAB);
            Bytes out;
            std::size_t consumed = 0;
            ASSERT_TRUE(normalizeBer(ber, out, consumed)) << c.where();
            EXPECT_EQ(test::toHex(out), test::toHex(der)) << c.where();
            EXPECT_EQ(consumed, ber.size() - trailing) << c.where();
        }
        ber.erase(ber.end() - 3, ber.end());
        for (std::size_t size = 0; size < ber.size(); ++size) {
            Bytes out;
            std::size_t consumed = 0;
            EXPECT_FALSE(normalizeBer(ByteView(ber).first(size), out, consumed))
                << c.where() << size;
        }
        // DER is a fixed point.
        Bytes again;
        std::size_t consumed = 0;
        ASSERT_TRUE(normalizeBer(der, again, consumed)) << c.where();
        EXPECT_EQ(again, der) << c.where();
    });
    test::forEachVector("asn1/asn1.vec", "BadBer", [](test::VecCase& c) {
        Bytes out{1};
        std::size_t consumed = 0;
        EXPECT_FALSE(normalizeBer(c.hex("Ber"), out, consumed)) << c.where();
        EXPECT_EQ(out.size(), 1U) << c.where();
    });
}

TEST(BerNormalize, NestingIsLimited) {
    for (const std::size_t depth : {kMaxNesting - 1, kMaxNesting, kMaxNesting + 1, 100000UL}) {
        Bytes ber;
        for (std::size_t i = 0; i < depth; ++i) {
            ber.insert(ber.end(), {0x30, 0x80});
        }
        ber.resize(ber.size() + 2 * depth, 0);
        Bytes der;
        std::size_t consumed = 0;
        EXPECT_EQ(normalizeBer(ber, der, consumed), depth <= kMaxNesting) << depth;
    }
}

} // namespace vantrel::asn1
