// SPDX-License-Identifier: MIT
// ASN.1 as XML and back.
#include "foundation/asn1/ber_normalize.h"
#include "foundation/cms/AsnXmlCodec.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

using test::Bytes;

// The rendering, or "" when the bytes were refused.
std::string render(const Bytes& ber, bool declaration, bool exact) {
    test::RecordingLog log;
    StringBuffer out;
    const bool ok =
        AsnXmlCodec::derToXml(DataBuffer(ByteView(ber)), declaration, exact, out, nullptr, log);
    EXPECT_EQ(ok, log.errors.empty());
    EXPECT_TRUE(ok || out.isEmpty());
    return std::string(out.view());
}

// The bytes of a rendering; false when the text is none.
bool unrender(const std::string& text, Bytes& out) {
    test::RecordingLog log;
    const Ref<ClsXml> xml = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    DataBuffer der(asBytes("untouched"));
    if (!xml->loadXml(StringBuffer(text), false, log) || !AsnXmlCodec::xmlToDer(*xml, der, log)) {
        EXPECT_EQ(der.view().size(), 9U);
        EXPECT_FALSE(log.errors.empty());
        return false;
    }
    out.assign(der.view().begin(), der.view().end());
    return true;
}

// What is rendered exactly comes back byte for byte; what is rendered normalised comes back as the
// normalised bytes.
void checkRoundTrip(const Bytes& ber) {
    Bytes back;
    const std::string exact = render(ber, false, true);
    ASSERT_FALSE(exact.empty());
    ASSERT_TRUE(unrender(exact, back)) << exact;
    EXPECT_EQ(test::toHex(back), test::toHex(ber));

    std::vector<std::uint8_t> der;
    std::size_t consumed = 0;
    const std::string normal = render(ber, true, false);
    if (!asn1::normalizeBer(ber, der, consumed)) {
        EXPECT_TRUE(normal.empty());
        return;
    }
    ASSERT_TRUE(unrender(normal, back)) << normal;
    EXPECT_EQ(test::toHex(back), test::toHex(der));
}

Bytes nested(std::size_t depth) {
    Bytes der;
    for (std::size_t i = 0; i < depth; ++i) {
        Bytes outer{0x30};
        if (der.size() > 127) {
            outer.push_back(0x81);
        }
        outer.push_back(static_cast<std::uint8_t>(der.size()));
        outer.insert(outer.end(), der.begin(), der.end());
        der = outer;
    }
    return der;
}

} // namespace

TEST(AsnXmlCodec, KnownRenderings) {
    test::forEachVector("cms/asn_xml.vec", "Rendering", [](test::VecCase& c) {
        const Bytes ber = c.hex("Der");
        const std::string exact = c.escaped("Xml");
        EXPECT_EQ(render(ber, false, true), exact) << c.where();
        if (c.has("Normal")) {
            EXPECT_EQ(render(ber, false, false), c.escaped("Normal")) << c.where();
        }
        checkRoundTrip(ber);
    });
}

TEST(AsnXmlCodec, RefusesWhatIsNoRendering) {
    test::forEachVector("cms/asn_xml.vec", "BadXml", [](test::VecCase& c) {
        Bytes out;
        EXPECT_FALSE(unrender(c.escaped("Xml"), out)) << c.where();
    });
    test::forEachVector("cms/asn_xml.vec", "BadDer", [](test::VecCase& c) {
        EXPECT_EQ(render(c.hex("Der"), false, true), "") << c.where();
        EXPECT_EQ(render(c.hex("Der"), false, false), "") << c.where();
    });
    EXPECT_EQ(render({}, false, true), "");
}

// Pretty-printing a rendering does not change what it stands for.
TEST(AsnXmlCodec, WhiteSpaceBetweenElementsMeansNothing) {
    Bytes back;
    ASSERT_TRUE(
        unrender("<?xml version='1.0'?>\n<sequence>\n  <int> 0A </int>\n  <octets>\n   AQID\n"
                 "  </octets>\n <!-- note --> <oid>\n1.2.840\n</oid><null> </null>\n</sequence>\n",
                 back));
    EXPECT_EQ(test::toHex(back), "300f02010a0403010203"
                                 "06032a86480500");
}

TEST(AsnXmlCodec, NestingIsLimited) {
    for (const std::size_t depth : {63U, 64U}) {
        checkRoundTrip(nested(depth));
    }
    EXPECT_EQ(render(nested(65), false, true), "");
    EXPECT_EQ(render(nested(65), false, false), "");
    std::string text;
    for (int i = 0; i < 65; ++i) {
        text = "<sequence>" + text + "</sequence>";
    }
    Bytes out;
    EXPECT_FALSE(unrender(text, out));
}

// A PKI path keeps its certificates byte for byte, and any certificate comes through.
TEST(AsnXmlCodec, CertificatesAndTokensComeThroughUnchanged) {
    VANTREL_NEED_CORPUS(certificates, "x509/made");
    VANTREL_NEED_CORPUS(tokens, "tsa");
    int count = 0;
    for (const std::string& folder : {certificates, tokens}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".der" && extension != ".tst" && extension != ".tsr") {
                continue;
            }
            const Bytes bytes = test::readFile(entry.path().string());
            if (render(bytes, false, true).empty()) {
                continue; // damaged on purpose
            }
            SCOPED_TRACE(entry.path().string());
            checkRoundTrip(bytes);
            ++count;
        }
    }
    EXPECT_GT(count, 40);
}

// Every truncation and every changed byte is either refused or comes back as it was.
TEST(AsnXmlCodec, DamagedInputIsRefusedOrCarried) {
    VANTREL_NEED_CORPUS(path, "x509/made/p256.der");
    const Bytes good = test::readFile(path);
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_EQ(render(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)),
                         false, true),
                  "");
    }
    test::RandomBytes random(1);
    for (std::size_t at = 0; at < good.size(); ++at) {
        Bytes changed = good;
        changed[at] = static_cast<std::uint8_t>(changed[at] ^ (1U + random.below(255)));
        const std::string text = render(changed, false, true);
        Bytes back;
        if (!text.empty()) {
            ASSERT_TRUE(unrender(text, back)) << at;
            EXPECT_EQ(test::toHex(back), test::toHex(changed)) << at;
        }
    }
}

} // namespace vantrel
