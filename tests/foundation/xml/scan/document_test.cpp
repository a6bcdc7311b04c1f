// SPDX-License-Identifier: MIT
#include "tests/foundation/xml/scan/scan_support.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

TEST(XmlDocument, RefusesWithPlaceAndReason) {
    forEachVector("xml/scan/refused.vec", "", [](VecCase& c) {
        const Parsed parsed = parseXml(c.escaped("Text"));
        const std::string verdict = parsed.verdict();
        EXPECT_EQ(verdict.substr(0, verdict.find(' ')), c.text("At")) << c.where() << verdict;
        EXPECT_NE(verdict.find(c.text("Why")), verdict.npos) << c.where() << verdict;
    });
}

TEST(XmlDocument, FragmentsTolerateUndeclaredPrefixesOnly) {
    for (const char* text : {"<p:a q:b=''><p:c/></p:a>", "<p:a q:b='' r:b=''/>"}) {
        EXPECT_EQ(parseXml(text, true).verdict(), "") << text;
        EXPECT_NE(parseXml(text, false).verdict(), "") << text;
    }
    forEachVector("xml/scan/refused.vec", "tags", [](VecCase& c) {
        EXPECT_NE(parseXml(c.escaped("Text"), true).verdict(), "") << c.where();
        (void)c.text("At");
        (void)c.text("Why");
    });
}

std::string signaturesOf(const xml::XmlDocument& document) {
    std::string list;
    for (const xml::SignatureElement& signature : document.signatures()) {
        list += (list.empty() ? "" : ",") + std::to_string(signature.element);
    }
    return list;
}

TEST(XmlDocument, FindsIdsAndSignatures) {
    forEachVector("xml/scan/structure.vec", "ids", [](VecCase& c) {
        const Parsed parsed = parseXml(c.escaped("Text"));
        ASSERT_EQ(parsed.verdict(), "") << c.where();
        xml::ElementId element = 0;
        const xml::IdMatch match = parsed.document->findById(c.text("Id"), element);
        const std::string found = match == xml::IdMatch::None        ? "none"
                                  : match == xml::IdMatch::NotUnique ? "not unique"
                                                                     : std::to_string(element);
        EXPECT_EQ(found, c.text("Element")) << c.where();
    });
    for (const bool fragment : {false, true}) {
        const char* const section = fragment ? "fragment signatures" : "signatures";
        forEachVector("xml/scan/structure.vec", section, [fragment](VecCase& c) {
            const Parsed parsed = parseXml(c.escaped("Text"), fragment);
            ASSERT_EQ(parsed.verdict(), "") << c.where();
            EXPECT_EQ(signaturesOf(*parsed.document), c.text("Signatures")) << c.where();
        });
    }
}

TEST(XmlDocument, CountsTheSignedInfosOfASignature) {
    const Parsed parsed =
        parseXml("<a><Signature/><Signature><x/><SignedInfo/></Signature>"
                 "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo/><p:SignedInfo "
                 "xmlns:p='u'/><SignedInfo/></Signature></a>");
    ASSERT_EQ(parsed.verdict(), "");
    const auto signatures = parsed.document->signatures();
    ASSERT_EQ(signatures.size(), 3U);
    EXPECT_EQ(signatures[0].signedInfoCount, 0);
    EXPECT_EQ(signatures[0].signedInfo, xml::kNoElement);
    EXPECT_EQ(signatures[1].signedInfoCount, 1);
    EXPECT_EQ(signatures[1].signedInfo, 4U);
    EXPECT_EQ(signatures[2].signedInfoCount, 2);
    EXPECT_EQ(signatures[1].kind, xml::SignatureKind::NoNamespace);
    EXPECT_EQ(signatures[2].kind, xml::SignatureKind::XmlDsig);
}

TEST(XmlDocument, KnowsNamespacesAtEveryElement) {
    const Parsed parsed = parseXml("<a xmlns='u' xmlns:p='v'><p:b xmlns='' xmlns:p='w&#49;'>"
                                   "<c/></p:b><d xmlns:longer-than-eight='x'/><p:e/></a>");
    ASSERT_EQ(parsed.verdict(), "");
    const xml::XmlDocument& document = *parsed.document;
    const std::string_view expected[] = {"u", "w1", "", "u", "v"};
    for (xml::ElementId element = 0; element < document.elementCount(); ++element) {
        EXPECT_EQ(document.namespaceUri(element), expected[element]) << element;
    }
    EXPECT_EQ(document.namespaceDecls(1).size(), 2U);
    EXPECT_EQ(document.namespaceDecls(2).size(), 0U);
    EXPECT_EQ(document.prefixText(document.namespaceDecls(3)[0].prefixId), "longer-than-eight");
    std::string_view name;
    EXPECT_FALSE(document.lookUpNamespace(2, "q", name));
    EXPECT_TRUE(document.lookUpNamespace(2, "xml", name));
    EXPECT_EQ(name, xml::kXmlNamespace);
}

TEST(XmlDocument, KnowsTheSourceOfExpandedText) {
    const std::string text = "<!DOCTYPE a [<!ENTITY e \"<i>x</i>\">]><a><b v='&e2;'/>&e;<c/></a>";
    std::string whole = text;
    whole.replace(whole.find("]>"), 0, "<!ENTITY e2 'long value'>");
    const Parsed parsed = parseXml(whole);
    ASSERT_EQ(parsed.verdict(), "");
    const xml::XmlDocument& document = *parsed.document;
    EXPECT_TRUE(document.isExpanded());
    EXPECT_EQ(inconsistency(document), "");
    EXPECT_EQ(document.sourceText().view(), whole);
    const std::string_view names[] = {"a", "b", "i", "c"};
    ASSERT_EQ(document.elementCount(), std::size(names));
    for (xml::ElementId element = 0; element < document.elementCount(); ++element) {
        EXPECT_EQ(document.qualifiedName(element), names[element]);
        xml::TextRange range;
        const bool inSource = document.sourceRange(element, range);
        EXPECT_EQ(inSource, element != 2);
        if (inSource) {
            EXPECT_EQ(whole.substr(range.start, 2), "<" + std::string(names[element]));
            EXPECT_EQ(whole[range.end() - 1], '>');
            EXPECT_EQ(document.elementAtSourceOffset(range.start), element);
            EXPECT_EQ(document.elementAtSourceOffset(range.start + 1), xml::kNoElement);
        }
    }
}

// A document with a little of everything, longer than one window of the scanner.
std::string sampleDocument() {
    std::string text = "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!DOCTYPE r [<!ENTITY e \"x<b/>\">"
                       "<!ATTLIST b d CDATA 'dd'>]><!-- c -->\n<r xmlns:p='urn:p'>";
    for (int i = 0; i < 20; ++i) {
        text += "<p:item Id='i" + std::to_string(i) +
                "' p:v=\"a&amp;b\">t&#233;xt \xC3\xA9 ]] &lt;<![CDATA[<&]]><?pi d?><e/>" +
                (i % 7 == 0 ? "&e;" : "") + "</p:item >";
    }
    return text + "</r>\n<!-- end -->";
}

TEST(XmlDocument, RefusesEveryTruncation) {
    const std::string text = sampleDocument();
    const std::size_t rootEnd = text.find("</r>") + 4;
    ASSERT_EQ(parseXml(text).verdict(), "");
    for (std::size_t length = 0; length < text.size(); ++length) {
        const Parsed parsed = parseXml(std::string_view(text).substr(0, length));
        // Behind the root, white space may end anywhere; a comment may not be cut.
        const bool whole = length == rootEnd || length == rootEnd + 1;
        ASSERT_EQ(parsed.document != nullptr, whole) << length << parsed.verdict();
        ASSERT_TRUE(whole || parsed.why.offset <= length);
    }
}

TEST(XmlDocument, StaysConsistentUnderEveryByteChange) {
    const std::string text = sampleDocument();
    const std::string_view replacements("<>&'\"/ \0:x]\xC3\x80", 13);
    std::size_t accepted = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const char replacement : replacements) {
            std::string changed = text;
            changed[at] = replacement;
            const Parsed parsed = parseXml(changed);
            if (parsed.document != nullptr) {
                ++accepted;
                ASSERT_EQ(inconsistency(*parsed.document), "") << at << replacement;
            } else {
                ASSERT_FALSE(parsed.why.message.empty());
            }
        }
    }
    EXPECT_GT(accepted, 0U);
}

// Every construct at every position relative to the blocks and windows of the scanner.
TEST(XmlDocument, ReadsAcrossBlocksAndWindows) {
    const std::string body =
        "<p:e xmlns:p='urn:p' a='1' p:b=\"x'&gt;\"\n><\xC3\xA9/>&amp;\xE2\x82\xAC"
        "<!--c--></p:e>";
    for (const std::size_t boundary : {std::size_t{128}, std::size_t{16384}, std::size_t{32768}}) {
        for (std::size_t before = 0; before <= body.size(); ++before) {
            const std::string padding(boundary - before - 3, '.');
            const Parsed parsed = parseXml("<r>" + padding + body + body + "</r>");
            ASSERT_EQ(parsed.verdict(), "") << boundary << " " << before;
            ASSERT_EQ(parsed.document->elementCount(), 5U);
            ASSERT_EQ(inconsistency(*parsed.document), "");
            const Parsed broken = parseXml("<r>" + padding + body + "\xE2\x82</r>");
            ASSERT_EQ(broken.why.offset, 3 + padding.size() + body.size());
        }
    }
}

} // namespace
} // namespace vantrel::test
