// SPDX-License-Identifier: MIT
// The searches over serialized text that profiles and transforms rest on, at their edges.

#include "dsig/keys/certificate_names.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/reference/adjacent_signatures.h"
#include "dsig/report/coverage.h"
#include "dsig/transform/chunk_removal.h"
#include "dsig/transform/element_space.h"
#include "dsig/transform/profile_markers.h"
#include "dsig/transform/xpath_shapes.h"
#include "dsig/verify/signature_method.h"
#include "foundation/base/_vlLogger.h"
#include "foundation/xml/tree/ClsXml.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <climits>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

const char* const kFile = "dsig/text.vec";

StringBuffer escapedText(VecCase& c, const char* key) { return StringBuffer(c.escaped(key)); }

// The plain rule: search from the beginning, remove one, and again.
int removeOneByOne(std::string& text, const std::string& start, const std::string& end,
                   const std::string& needle, int most) {
    int removed = 0;
    std::size_t from = 0;
    while (removed < most) {
        const std::size_t at = text.find(start, from);
        const std::size_t stop = at == std::string::npos ? at : text.find(end, at);
        if (stop == std::string::npos) {
            return removed;
        }
        const std::size_t length = stop + end.size() - at;
        if (text.substr(at, length).find(needle) == std::string::npos) {
            from = at + length;
            continue;
        }
        text.erase(at, length);
        ++removed;
        from = 0;
    }
    return removed;
}

TEST(TextRoutines, RemoveChunks) {
    forEachVector(kFile, "Chunks", [](VecCase& c) {
        StringBuffer text = escapedText(c, "Text");
        const StringBuffer shared = text;
        const std::string needle = c.textOr("Needle", "");
        const dsig::FoundChunks found = dsig::findChunks(
            dsig::GappedText(text.view()), {c.text("Start"), c.text("End"), needle},
            static_cast<std::size_t>(c.integer("Most")));
        dsig::cutOut(text, found.chunks);
        EXPECT_EQ(text.view(), c.escaped("Out")) << c.where();
        EXPECT_EQ(found.chunks.size(), static_cast<std::size_t>(c.integer("Removed"))) << c.where();
        EXPECT_EQ(shared.view(), c.escaped("Text")) << c.where() << "a copy changed too";
    });
}

// Over tags, which no removal can make anew, finding all chunks at once is removing them one by
// one; and elements that are left out already are not seen.
TEST(TextRoutines, RemovingInOnePassEqualsRemovingOneByOne) {
    RandomBytes random(71);
    constexpr const char* kPieces[] = {"<a>", "</a>", "<b/>", "x", "<g></g>"};
    for (int round = 0; round < 30000; ++round) {
        std::string text;
        std::string expected;
        std::vector<xml::TextRange> gaps;
        for (std::uint64_t n = random.below(30); n > 0; --n) {
            const std::string piece = kPieces[random.below(std::size(kPieces))];
            const std::uint64_t hidden = random.below(5);
            if (piece == "<g></g>" && hidden != 0) {
                const std::string inside = hidden == 1 ? "<g><a><b/></a></g>" : "<g></a></g>";
                gaps.push_back(xml::rangeOf(text.size(), text.size() + inside.size()));
                text += inside;
            } else {
                text += piece;
                expected += piece;
            }
        }
        const std::string before = text;
        const std::string needle = random.below(2) == 0 ? "" : "<b/>";
        const std::size_t most = random.below(5);
        const int count = removeOneByOne(expected, "<a>", "</a>", needle, static_cast<int>(most));
        const dsig::FoundChunks found =
            dsig::findChunks(dsig::GappedText(text, gaps), {"<a>", "</a>", needle}, most);
        ASSERT_EQ(found.chunks.size(), static_cast<std::size_t>(count)) << before;
        std::vector<xml::TextRange> absent = found.chunks;
        for (const xml::TextRange gap : gaps) {
            if (std::none_of(found.chunks.begin(), found.chunks.end(),
                             [&](xml::TextRange chunk) { return dsig::isInside(gap, chunk); })) {
                absent.push_back(gap);
            }
        }
        std::vector<xml::TextRange> left;
        dsig::appendWithout(xml::rangeOf(0, text.size()), absent, left);
        std::string rest;
        for (const xml::TextRange range : left) {
            rest += text.substr(range.start, range.length);
        }
        ASSERT_EQ(rest, expected) << before;
    }
}

std::string withActors(std::string text) {
    const auto replace = [&text](const std::string& name, std::string_view value) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
            text.replace(at, name.size(), "actor=\"" + std::string(value) + '"');
        }
    };
    replace("{S}", dsig::marker::kSoapNextActor);
    replace("{E}", dsig::marker::kEbXmlNextActor);
    return text;
}

TEST(TextRoutines, RemoveEbXmlFragments) {
    LogNull log;
    forEachVector(kFile, "EbXml", [&](VecCase& c) {
        StringBuffer text(withActors(c.escaped("Text")));
        DSigReference::removeEbXmlFragments(text, log);
        EXPECT_EQ(text.view(), withActors(c.escaped("Out"))) << c.where();
    });
    for (const std::size_t blocks : {12U, 13U, 14U, 20U}) {
        std::string text = "<h>";
        for (std::size_t i = 0; i < blocks; ++i) {
            text += withActors(i % 2 == 0 ? "<a {S}>1</a>" : "<a {E}>1</a>");
        }
        StringBuffer buffer(text);
        DSigReference::removeEbXmlFragments(buffer, log);
        std::size_t left = 0;
        for (std::size_t at = 0; (at = buffer.view().find("</a>", at)) != std::string::npos; ++at) {
            ++left;
        }
        EXPECT_EQ(left, blocks > 13 ? blocks - 13 : 0) << blocks;
    }
}

TEST(TextRoutines, AdjacentSignatures) {
    forEachVector(kFile, "Adjacent", [](VecCase& c) {
        const std::string own = c.escaped("Own");
        const std::string text = "<r>" + own + c.escaped("Behind");
        LogNull log;
        const auto length = static_cast<std::uint32_t>(own.size());
        const auto row = dsig::signatureRow(text, 3, length, nullptr, log);
        ASSERT_TRUE(row) << c.where();
        EXPECT_EQ(text.substr(3 + row->length), c.escaped("Out")) << c.where();
    });
}

// The last end tag counts wherever it stands, and what is searched for it is paid for.
TEST(TextRoutines, AdjacentSignaturesPayForTheirSearch) {
    const std::string own = "<Signature/>";
    const std::string row = own + "<p:Signature/></p:Signature>";
    for (const std::size_t tail : {0U, 4085U, 4090U, 4096U, 12280U, 12288U, 300000U}) {
        const std::string text = row + std::string(tail, 'x');
        RecordingLog log;
        dsig::Limits limits;
        dsig::WorkAccount account(text.size(), limits);
        const auto length = static_cast<std::uint32_t>(own.size());
        const auto found = dsig::signatureRow(text, 0, length, &account, log);
        ASSERT_TRUE(found) << tail;
        EXPECT_EQ(found->length, row.size()) << tail;
        EXPECT_GE(account.octets(), tail);
        EXPECT_LE(account.octets(), text.size());
        limits.workOctets = account.octets() - 1;
        EXPECT_FALSE(dsig::signatureRow(text, 0, length, &account, log)) << tail;
        EXPECT_TRUE(log.hasError("workOctets"));
    }
}

TEST(TextRoutines, Captures) {
    forEachVector(kFile, "CaptureAttr", [](VecCase& c) {
        RecordingLog log;
        StringBuffer out("left over");
        const bool found = ClsXmlDSig::captureUniqueAttrContent(
            c.text("Tag").c_str(), c.text("Attr").c_str(), escapedText(c, "Text"), out, log);
        EXPECT_EQ(found, c.has("Out")) << c.where();
        EXPECT_EQ(out.view(), c.textOr("Out", "")) << c.where();
        const std::string error = c.textOr("Error", "");
        EXPECT_EQ(log.errors, error.empty() ? error : error + "\n") << c.where();
    });
    forEachVector(kFile, "CaptureTag", [](VecCase& c) {
        LogNull log;
        StringBuffer out("left over");
        const bool found = ClsXmlDSig::captureUniqueTagContent(c.text("Tag").c_str(),
                                                               escapedText(c, "Text"), out, log);
        EXPECT_EQ(found, c.has("Out")) << c.where();
        EXPECT_EQ(out.view(), c.textOr("Out", "")) << c.where();
    });
    LogNull log;
    StringBuffer out("left over");
    const StringBuffer text("<t a=\"1\">");
    EXPECT_FALSE(ClsXmlDSig::captureUniqueAttrContent(nullptr, "a", text, out, log));
    EXPECT_FALSE(ClsXmlDSig::captureUniqueAttrContent("<t", nullptr, text, out, log));
    EXPECT_TRUE(out.isEmpty());
}

TEST(TextRoutines, ReverseSubjectName) {
    LogNull log;
    forEachVector(kFile, "ReverseName", [&](VecCase& c) {
        StringBuffer out;
        dsig::reverseSubjectNameDN(escapedText(c, "In"), out);
        EXPECT_EQ(out.view(), c.escaped("Out")) << c.where();
    });
}

TEST(TextRoutines, ProfileAdjustments) {
    LogNull log;
    ClsXmlDSig verifier;
    forEachVector(kFile, "ElementSpace", [&](VecCase& c) {
        EXPECT_EQ(dsig::withoutElementSpace(c.escaped("In")).view(), c.escaped("Out")) << c.where();
    });
    forEachVector(kFile, "ZatcaInvoice", [&](VecCase& c) {
        StringBuffer text = escapedText(c, "In");
        EXPECT_TRUE(verifier.zatcaTransformInvoice(text, log)) << c.where();
        EXPECT_EQ(text.view(), c.escaped("Out")) << c.where();
    });
    forEachVector(kFile, "SiiCut", [&](VecCase& c) {
        StringBuffer text = escapedText(c, "Text");
        const bool cut = verifier.extract_sii_cl_dte(text, "T1", true, log);
        EXPECT_EQ(text.view(), c.escaped("Out")) << c.where();
        EXPECT_EQ(cut, c.escaped("Out") != c.escaped("Text")) << c.where();
    });
    forEachVector(kFile, "SwiftLau", [&](VecCase& c) {
        StringBuffer text = escapedText(c, "Text");
        EXPECT_TRUE(verifier.postProcessTransformedXml(StringBuffer(), {}, text, log));
        EXPECT_EQ(text.view(), c.escaped("Out")) << c.where();
    });
}

TEST(TextRoutines, SignatureMethods) {
    LogNull log;
    forEachVector(kFile, "SignatureMethod", [&](VecCase& c) {
        const StringBuffer uri(c.text("Uri"));
        EXPECT_EQ(signatureMethodToHashAlg(uri, log), c.integer("Hash")) << c.where();
        EXPECT_EQ(signatureMethodToKeyType(uri, log), c.integer("Key")) << c.where();
    });
}

TEST(TextRoutines, ReferenceRecord) {
    LogNull log;
    forEachVector(kFile, "Reference", [&](VecCase& c) {
        const Ref<ClsXml> element = Ref<ClsXml>::adopt(ClsXml::createNewCls());
        ASSERT_TRUE(element->loadXml(escapedText(c, "Xml"), false, log)) << c.where();
        DSigReference record;
        EXPECT_TRUE(record.parseReference(*element, log));
        EXPECT_EQ(record.m_id.view(), c.text("Id")) << c.where();
        StringBuffer uri = record.m_uri;
        uri.trim2();
        EXPECT_EQ(uri.view(), c.text("Uri")) << c.where();
        EXPECT_EQ(record.m_uriOmitted, c.integer("UriOmitted")) << c.where();
        EXPECT_EQ(record.getHashAlg(), c.integer("Hash")) << c.where();
        EXPECT_EQ(record.m_digestValue.view(), c.text("Digest")) << c.where();
        EXPECT_EQ(!record.m_transforms.isEmpty(), c.boolean("HasTransforms")) << c.where();
        // Whether an empty URI is no URI is said where it is empty.
        _vlLogger logged;
        record.logReference(logged);
        EXPECT_EQ(countOf(logged.text().view(), "uriOmitted: " + c.text("UriOmitted")),
                  record.m_uri.isEmpty() ? 1U : 0U)
            << c.where() << logged.text().view();
    });
}

// Every truncation, and every byte left out, of the expressions that are taken apart.
TEST(TextRoutines, DamagedExpressionsDoNoHarm) {
    const std::string whole =
        "not(//ancestor-or-self::cac:AdditionalDocumentReference[cbc:ID='QR'])";
    LogNull log;
    ClsXmlDSig verifier;
    for (std::size_t i = 0; i <= whole.size(); ++i) {
        std::string without = whole;
        without.erase(i, 1);
        for (const std::string& expression : {whole.substr(0, i), without}) {
            StringBuffer xml("<r><a>1</a></r>");
            const StringBuffer xPath(expression);
            const bool known = verifier.transformXPath(
                nullptr, xml, StringBuffer("http://www.w3.org/TR/1999/REC-xpath-19991116"), xPath,
                log);
            EXPECT_EQ(known, dsig::recogniseXPath(StringBuffer(), xPath).option != 0) << expression;
            EXPECT_EQ(xml.view(), "<r><a>1</a></r>") << expression;
        }
    }
    const dsig::ElementWithIdTexts texts =
        dsig::elementWithIdTexts(StringBuffer("not(//ancestor-or-self::*[cbc:ID='QR'])"));
    const dsig::ElementWithIdTexts cut =
        dsig::elementWithIdTexts(StringBuffer("not(//ancestor-or-self::*[ID='QR'])"));
    EXPECT_EQ(texts.startTag.view(), "<*:cbc>");
    EXPECT_EQ(cut.startTag.view(), "<*:ID>");
    EXPECT_EQ(cut.mustContain.view(), "<'QR':)>_QR_</'QR':)>");
    EXPECT_EQ(texts.mustContain.view(), "<ID:'QR'>)</ID:'QR'>");
}

TEST(Selector, StaysWithinTheSignatures) {
    ClsXmlDSig verifier;
    XString two("<r><Signature Id='a'><SignedInfo/></Signature><Signature Id='b'/></r>");
    XString none("<r/>");
    ASSERT_TRUE(verifier.LoadSignature(two));
    for (const auto& [set, get] : {std::pair{1, 1}, {2, 1}, {5, 1}, {-3, 0}, {INT_MAX, 1}}) {
        verifier.put_Selector(set);
        EXPECT_EQ(verifier.get_Selector(), get) << set;
    }
    XString id("b");
    verifier.put_Selector(0);
    EXPECT_TRUE(verifier.SelectById(id));
    EXPECT_EQ(verifier.get_Selector(), 1);
    XString unknown("B");
    EXPECT_FALSE(verifier.SelectById(unknown));
    EXPECT_EQ(verifier.get_Selector(), 1);
    ASSERT_TRUE(verifier.LoadSignature(two));
    EXPECT_EQ(verifier.get_Selector(), 0) << "a load selects the first";
    ASSERT_TRUE(verifier.LoadSignature(none));
    verifier.put_Selector(3);
    EXPECT_EQ(verifier.get_Selector(), 0);
    EXPECT_FALSE(verifier.VerifySignature(true));
}

} // namespace
} // namespace vantrel::test
