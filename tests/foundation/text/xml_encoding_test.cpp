// SPDX-License-Identifier: MIT
#include "foundation/text/xml_encoding.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/_vlCharset.h"
#include "tests/support/bytes.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using text::XmlEncoding;
using text::XmlEncodingVerdict;

const char* wordFor(XmlEncodingVerdict verdict) {
    switch (verdict) {
    case XmlEncodingVerdict::Agrees: return "agrees";
    case XmlEncodingVerdict::Mismatch: return "mismatch";
    case XmlEncodingVerdict::Unsupported: return "unsupported";
    case XmlEncodingVerdict::Contradicted: return "contradicted";
    case XmlEncodingVerdict::Invalid: return "invalid";
    }
    return "";
}

void expectVerdict(VecCase& c, const XmlEncoding& encoding) {
    EXPECT_EQ(wordFor(encoding.verdict), c.text("Verdict")) << c.where();
    EXPECT_EQ(encoding.name, c.textOr("Name", "")) << c.where();
    RecordingLog log;
    EXPECT_EQ(text::acceptEncoding(encoding, log), encoding.isAccepted()) << c.where();
    EXPECT_EQ(log.errors.find(": " + encoding.name) != std::string::npos, !encoding.isAccepted())
        << c.where() << log.errors;
}

void expectConversion(VecCase& c, const std::string& document) {
    DataBuffer bytes(asBytes(document));
    expectVerdict(c, text::convertXmlToUtf8(bytes));
    EXPECT_EQ(textOf(bytes.view()), c.has("Text") ? c.escaped("Text") : document) << c.where();
}

TEST(XmlEncoding, IsWhatBytesAndDeclarationSayTogether) {
    forEachVector("text/xml_encodings.vec", "bytes",
                  [](VecCase& c) { expectConversion(c, c.escaped("Doc")); });
    forEachVector("text/xml_encodings.vec", "wide", [](VecCase& c) {
        const std::string form = c.text("Form");
        const bool marked = form.starts_with('+');
        _vlCharset charset;
        DataBuffer bytes;
        ASSERT_TRUE(charset.setByName(form.substr(marked ? 1 : 0)));
        ASSERT_TRUE(charset.fromUtf8((marked ? "\xEF\xBB\xBF" : "") + c.escaped("Doc"), bytes));
        expectConversion(c, textOf(bytes.view()));
    });
    forEachVector("text/xml_encodings.vec", "decoded",
                  [](VecCase& c) { expectVerdict(c, text::judgeDecodedXml(c.escaped("Doc"))); });
}

TEST(XmlEncoding, IsFoundHoweverLongTheDeclaration) {
    const std::string document = "<?xml version='1.0'" + std::string(100000, ' ') + "encoding='" +
                                 std::string(1000, 'n') + "'?><a/>";
    DataBuffer bytes(asBytes(document));
    const XmlEncoding encoding = text::convertXmlToUtf8(bytes);
    EXPECT_EQ(encoding.verdict, XmlEncodingVerdict::Unsupported);
    EXPECT_EQ(encoding.name, std::string(100, 'n')) << "a message shows its beginning";
}

// Whatever a name is taken for, an ASCII byte stands for itself or the document is refused.
TEST(XmlEncoding, LeavesMarkupWhereItIs) {
    std::string markup = "<a b='";
    for (char c = ' '; c < '\x7F'; ++c) {
        markup += c == '<' || c == '&' || c == '\'' ? '.' : c;
    }
    markup += "'/>";
    for (const char* const name :
         {"iso-8859-1", "iso-8859-15", "windows-1250", "windows-1258", "koi8-r", "ibm437", "ibm858",
          "macintosh", "x-mac-cyrillic", "tis-620", "us-ascii", "text", "utf-8", "utf-16"}) {
        const std::string start = std::string("<?xml version='1.0' encoding='") + name + "'?>";
        DataBuffer bytes(asBytes(start + markup));
        EXPECT_TRUE(text::convertXmlToUtf8(bytes).isAccepted()) << name;
        EXPECT_TRUE(textOf(bytes.view()).ends_with(markup)) << name;
    }
}

} // namespace
} // namespace vantrel::test
