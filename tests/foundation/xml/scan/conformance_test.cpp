// SPDX-License-Identifier: MIT
#include "foundation/json/json_value.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/xml_encoding.h"
#include "tests/foundation/xml/scan/scan_support.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string member(const json::JsonValue& entry, std::string_view name) {
    const json::JsonValue* const value = entry.find(name);
    return value == nullptr ? std::string() : std::string(value->text());
}

// Documents on which we differ from the suite on purpose.
bool isDecided(const std::string& path) {
    return path == "eduni/misc/007.xml" ||      // a byte-order mark wins, with a warning
           path == "eduni/errata-2e/E61.xml" || // UTF-16 declared over ASCII: a warning
           path == "eduni/errata-3e/E13.xml";   // an entity that nobody declares has no text
}

// The W3C suite for XML 1.0. A namespace error is an error here, and so is a document with colons
// that are no qualified names.
TEST(XmlConformance, AgreesWithTheW3cSuite) {
    VANTREL_NEED_CORPUS(manifest, "xmlconf/manifest.json");
    const std::string folder = manifest.substr(0, manifest.rfind('/') + 1);
    json::JsonValue root;
    std::size_t fault = 0;
    ASSERT_TRUE(json::parseJson(readText(manifest), root, fault)) << fault;
    std::size_t run = 0;
    for (const json::JsonValue& entry : root.find("entries")->elements()) {
        const std::string expected = member(entry, "expected");
        const std::string path = member(entry, "path");
        if (expected == "either" || isDecided(path)) {
            continue;
        }
        DataBuffer bytes(ByteView(readFile(folder + path)));
        StringBuffer text;
        const text::XmlEncoding encoding = text::convertXmlToUtf8(bytes);
        if (encoding.isAccepted()) {
            text.takeFromDb(bytes);
        } else if (encoding.verdict == text::XmlEncodingVerdict::Unsupported) {
            continue;
        }
        xml::ParseFailure why;
        const DocumentPtr document = xml::XmlDocument::parse(text, {}, why);
        const bool colons = entry.find("namespace_aware")->kind() == json::JsonValue::Kind::False;
        ++run;
        if (!colons) {
            EXPECT_EQ(document != nullptr, expected == "well-formed")
                << path << " " << why.message << ": " << member(entry, "description");
        }
        if (document != nullptr) {
            EXPECT_EQ(inconsistency(*document), "") << path;
        }
    }
    EXPECT_GT(run, 1600U);
}

} // namespace
} // namespace vantrel::test
