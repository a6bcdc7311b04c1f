// SPDX-License-Identifier: MIT
#include "foundation/xml/locate/XmlSigLocate.h"

#include "foundation/xml/locate/XmlSigRemoval.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

constexpr const char* kFile = "xml/locate/locate.vec";

// The vectors abbreviate the declarations of the XML Signature namespace.
std::string expand(std::string text) {
    const std::string name = "\"http://www.w3.org/2000/09/xmldsig#\"";
    const std::pair<std::string, std::string> forms[] = {{" D", " xmlns=" + name},
                                                         {" d", " xmlns:d=" + name}};
    for (const auto& [from, to] : forms) {
        for (const char behind : {'>', ' ', '/'}) {
            const std::string whole = from + behind;
            for (std::size_t at = text.find(whole); at != std::string::npos;
                 at = text.find(whole, at + to.size())) {
                text.replace(at, from.size(), to);
            }
        }
    }
    return text;
}

bool find(XmlSigLocate& locate, VecCase& vector, const StringBuffer& text, _vlXmlDtd& dtd,
          RecordingLog& log) {
    if (vector.has("Id")) {
        return locate.FindXmlSigById(StringBuffer{vector.escaped("Id")}, text, dtd, log);
    }
    return locate.FindXmlSigByRefDigest(StringBuffer{vector.escaped("Digest")}, text, dtd, log);
}

TEST(XmlSigLocate, FindsTheFirstThatMatches) {
    forEachVector(kFile, "Locate", [](VecCase& vector) {
        const StringBuffer text{expand(vector.escaped("Doc"))};
        XmlSigLocate locate;
        _vlXmlDtd dtd;
        RecordingLog log;
        const bool found = find(locate, vector, text, dtd, log);
        ASSERT_EQ(found, vector.has("Found")) << vector.where() << log.errors;
        if (found) {
            EXPECT_EQ(text.view().substr(locate.m_sigStart, locate.m_sigLength),
                      expand(vector.escaped("Found")))
                << vector.where();
            EXPECT_EQ(text.view().substr(locate.m_signedInfoStart, locate.m_signedInfoLength),
                      expand(vector.escaped("Info")))
                << vector.where();
        }
        EXPECT_TRUE(log.hasError(vector.textOr("Error", ""))) << vector.where() << log.errors;
        EXPECT_EQ(log.errors.empty(), !vector.has("Error")) << vector.where() << log.errors;
    });
}

// In the text whose structure is known, the selected element is the answer or there is none.
TEST(XmlSigLocate, AnswersWithTheSelectedElementOrNothing) {
    forEachVector(kFile, "Locate", [](VecCase& vector) {
        const StringBuffer text{expand(vector.escaped("Doc"))};
        const std::string wanted = vector.has("Found") ? expand(vector.escaped("Found")) : "";
        static_cast<void>(vector.all("Info"));
        static_cast<void>(vector.all("Error"));
        RecordingLog log;
        _vlXmlDtd dtd;
        XmlSigLocate any;
        const bool found = find(any, vector, text, dtd, log);
        if (dtd.document() == nullptr) {
            EXPECT_FALSE(found);
            return;
        }
        const auto document = dtd.document();
        int answers = 0;
        for (const xml::SignatureElement& signature : document->signatures()) {
            XmlSigLocate locate;
            locate.m_selectedElement = signature.element;
            if (find(locate, vector, text, dtd, log)) {
                xml::TextRange range;
                ASSERT_TRUE(document->sourceRange(signature.element, range));
                EXPECT_EQ(locate.m_sigStart, range.start) << vector.where();
                ++answers;
            }
            // Another text is searched as any text is, and the known structure stays.
            const StringBuffer copy{text.view()};
            EXPECT_EQ(find(locate, vector, copy, dtd, log), found) << vector.where();
            EXPECT_EQ(dtd.document(), document);
        }
        EXPECT_EQ(answers != 0, found) << vector.where();
    });
}

TEST(XmlSigLocate, TwinsDoNotStandInForEachOther) {
    const StringBuffer text{"<r><Signature Id='a' n='1'><SignedInfo/></Signature>"
                            "<Signature Id='a' n='2'><SignedInfo/></Signature></r>"};
    _vlXmlDtd dtd;
    RecordingLog log;
    XmlSigLocate locate;
    ASSERT_TRUE(locate.FindXmlSigById(StringBuffer{"a"}, text, dtd, log));
    const auto signatures = dtd.document()->signatures();
    ASSERT_EQ(signatures.size(), 2U);
    const std::uint32_t first = locate.m_sigStart;
    locate.m_selectedElement = signatures[1].element;
    ASSERT_TRUE(locate.FindXmlSigById(StringBuffer{"a"}, text, dtd, log));
    EXPECT_GT(locate.m_sigStart, first);
    locate.m_selectedElement = 0; // the root, which is no signature
    EXPECT_FALSE(locate.FindXmlSigById(StringBuffer{"a"}, text, dtd, log));
    EXPECT_EQ(locate.m_sigLength, 0U);
}

TEST(XmlSigLocate, RecordsTheParts) {
    forEachVector(kFile, "Parts", [](VecCase& vector) {
        const StringBuffer text{expand(vector.escaped("Doc"))};
        XmlSigLocate locate;
        _vlXmlDtd dtd;
        RecordingLog log;
        ASSERT_TRUE(locate.FindXmlSigById(StringBuffer{"a"}, text, dtd, log)) << vector.where();
        EXPECT_EQ(locate.m_objectInsertLoc, 0U) << "recorded without having been asked";
        locate.m_recordLocations = true;
        ASSERT_TRUE(locate.FindXmlSigById(StringBuffer{"a"}, text, dtd, log)) << vector.where();
        const std::pair<const char*, std::uint32_t> parts[] = {
            {"SignatureValue", locate.m_signatureValueLoc},
            {"Object", locate.m_objectLoc},
            {"Qualifying", locate.m_qualifyingPropertiesLoc},
            {"Signed", locate.m_signedPropertiesLoc},
            {"Unsigned", locate.m_unsignedPropertiesLoc},
            {"UnsignedSignature", locate.m_unsignedSignaturePropertiesLoc},
            {"Insert", locate.m_objectInsertLoc}};
        for (const auto& [key, location] : parts) {
            EXPECT_EQ(location != 0, vector.has(key)) << vector.where() << key;
            if (vector.has(key)) {
                EXPECT_TRUE(text.view().substr(location).starts_with(vector.escaped(key)))
                    << vector.where() << key;
            }
        }
        EXPECT_EQ(locate.m_signedPropertiesLen, vector.textOr("Signed", "").size());
        EXPECT_EQ(locate.m_objectInsertLen, vector.textOr("Insert", "").size());
    });
}

TEST(XmlSigRemoval, RemovesSignaturesOnly) {
    forEachVector(kFile, "Remove", [](VecCase& vector) {
        const std::string text = expand(vector.escaped("Doc"));
        XmlSigRemoval removal;
        _vlXmlDtd dtd;
        RecordingLog log;
        StringBuffer out{"old"};
        const bool ok = removal.removeSignatures(text.c_str(), dtd, out, log);
        ASSERT_EQ(ok, !vector.has("Error")) << vector.where() << log.errors;
        if (!ok) {
            EXPECT_TRUE(log.hasError(vector.text("Error"))) << vector.where() << log.errors;
            EXPECT_EQ(out.view(), "old") << vector.where();
            return;
        }
        EXPECT_EQ(out.view(), expand(vector.escaped("Out"))) << vector.where();
        EXPECT_EQ(static_cast<std::int64_t>(removal.m_removed.size()), vector.integer("Removed"))
            << vector.where();
        // The ranges say the same as the text.
        std::string rest = text;
        for (auto range = removal.m_removed.rbegin(); range != removal.m_removed.rend(); ++range) {
            rest.erase(range->start, range->length);
        }
        if (!dtd.document()->isExpanded()) {
            EXPECT_EQ(rest, out.view()) << vector.where();
        }
    });
}

TEST(XmlSigRemoval, LeavesATextWithoutSignaturesShared) {
    const StringBuffer text{"<r><a/></r>"};
    XmlSigRemoval removal;
    _vlXmlDtd dtd;
    RecordingLog log;
    StringBuffer out;
    ASSERT_TRUE(removal.removeSignatures(text, dtd, out, log));
    EXPECT_TRUE(out.sharesStorageWith(text));
}

} // namespace
} // namespace vantrel::test
