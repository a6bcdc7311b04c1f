// SPDX-License-Identifier: MIT
// The object itself: its ways of loading, what it says of references, canonicalization as a
// service, several threads, and what one signature's verification leaves to the next.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringBuilder.h"
#include "tests/dsig/document_case.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/process.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string vectorDocument(const char* name) {
    return readText(vectorPath("dsig/" + std::string(name) + "/document.xml"));
}

TEST(Object, LoadsFromAllFormsAlike) {
    const std::string document = vectorDocument("enveloped/adjacent");
    ClsXmlDSig verifier;
    XString text(document);
    ASSERT_TRUE(verifier.LoadSignature(text));
    const int count = verifier.get_NumSignatures();
    EXPECT_GT(count, 0);
    ClsStringBuilder builder;
    builder.xstring() = XString(document);
    verifier.put_Selector(count);
    EXPECT_EQ(verifier.get_Selector(), count - 1);
    ASSERT_TRUE(verifier.LoadSignatureSb(builder));
    EXPECT_EQ(verifier.get_NumSignatures(), count);
    EXPECT_EQ(verifier.get_Selector(), 0);
    ClsBinData bytes;
    bytes.data().append(ByteView(bytesOf(document)));
    ASSERT_TRUE(verifier.LoadSignatureBd(bytes));
    EXPECT_EQ(verifier.get_NumSignatures(), count);

    builder.xstring() = XString("<not well-formed");
    EXPECT_FALSE(verifier.LoadSignatureSb(builder));
    EXPECT_EQ(verifier.get_NumSignatures(), 0);
    EXPECT_FALSE(verifier.VerifySignature(true));
    EXPECT_FALSE(verifier.VerifyReferenceDigest(0));
    EXPECT_EQ(verifier.get_RefFailReason(), 3);
    ClsBinData octets;
    EXPECT_FALSE(verifier.DigestInput(0, octets));
    EXPECT_FALSE(verifier.SignedInfoOctets(octets));
}

TEST(Object, SaysWhatReferencesPointAt) {
    struct Case {
        const char* attribute;
        const char* uri;
        bool external;      // as written
        const char* target; // as the check takes it
    };
    const Case cases[] = {{"", "", false, "document"},
                          {"URI=\"\"", "", false, "document"},
                          {"URI=\"#a\"", "#a", false, "element"},
                          {"URI=\" #a\"", " #a", true, "element"},
                          {"URI=\" \"", " ", true, "document"},
                          {"URI=\"file.txt\"", "file.txt", true, "external"},
                          {"URI=\"#\"", "#", false, "document"}};
    for (const Case& c : cases) {
        ClsXmlDSig verifier;
        XString text("<r><e Id=\"a\"/><Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\">"
                     "<SignedInfo><Reference " +
                     std::string(c.attribute) + "/></SignedInfo></Signature></r>");
        ASSERT_TRUE(verifier.LoadSignature(text));
        XString uri("left over");
        EXPECT_TRUE(verifier.ReferenceUri(0, uri));
        EXPECT_EQ(uri.getUtf8Sb().view(), c.uri);
        EXPECT_EQ(verifier.IsReferenceExternal(0), c.external) << c.attribute;
        EXPECT_FALSE(verifier.ReferenceUri(1, uri));
        EXPECT_FALSE(verifier.IsReferenceExternal(1));
        // Checked or not, the report speaks of the same target.
        for (const bool checked : {false, true}) {
            verifier.VerifySignature(checked);
            const json::JsonValue report = reportOf(verifier);
            const json::JsonValue& reference = report.find("references")->elements()[0];
            EXPECT_EQ(textOf(reference, "covers"), c.target) << c.attribute << checked;
        }
    }
}

TEST(Object, HandsOutTheOctetsOfAnExternalFileOnceWhateverItsDigest) {
    const TempDir folder;
    folder.write("data", "some octets");
    ClsXmlDSig verifier;
    XString text("<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"><SignedInfo>"
                 "<Reference URI=\"data\"><DigestMethod Algorithm=\"#sha256\"/>"
                 "<DigestValue>AAAA</DigestValue></Reference></SignedInfo></Signature>");
    ASSERT_TRUE(verifier.LoadSignature(text));
    XString dirs(folder.path());
    verifier.put_ExternalRefDirs(dirs);
    ClsBinData octets;
    ASSERT_TRUE(verifier.DigestInput(0, octets)) << logOf(verifier);
    EXPECT_EQ(asText(octets.data().view()), "some octets");
}

TEST(Object, CanonicalizesAsAService) {
    ClsXmlDSig verifier;
    XString xml("<a:r xmlns:a='urn:a' xmlns:b='urn:b'><!--c--><b:e Id='x' z='1' a='2'/></a:r>");
    struct Case {
        const char* version;
        bool comments;
        const char* whole;
        const char* fragment;
    };
    const Case cases[] = {
        {"", false,
         "<a:r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\"><b:e Id=\"x\" a=\"2\" z=\"1\"></b:e></a:r>",
         "<b:e xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" Id=\"x\" a=\"2\" z=\"1\"></b:e>"},
        {" Excl_C14N ", true,
         "<a:r xmlns:a=\"urn:a\"><!--c--><b:e xmlns:b=\"urn:b\" Id=\"x\" a=\"2\" z=\"1\"></b:e></a:r>",
         "<b:e xmlns:b=\"urn:b\" Id=\"x\" a=\"2\" z=\"1\"></b:e>"},
        {"C14N_11", true,
         "<a:r xmlns:a=\"urn:a\" xmlns:b=\"urn:b\"><!--c--><b:e Id=\"x\" a=\"2\" z=\"1\"></b:e></a:r>",
         "<b:e xmlns:a=\"urn:a\" xmlns:b=\"urn:b\" Id=\"x\" a=\"2\" z=\"1\"></b:e>"}};
    for (const Case& c : cases) {
        XString version(c.version);
        XString out("left over");
        EXPECT_TRUE(verifier.CanonicalizeXml(xml, version, c.comments, out)) << c.version;
        EXPECT_EQ(out.getUtf8Sb().view(), c.whole) << c.version;
        XString id("x");
        XString prefixes("");
        EXPECT_TRUE(verifier.CanonicalizeFragment(xml, id, version, prefixes, c.comments, out));
        EXPECT_EQ(out.getUtf8Sb().view(), c.fragment) << c.version;
        XString other("y");
        EXPECT_FALSE(verifier.CanonicalizeFragment(xml, other, version, prefixes, c.comments, out));
    }
    // Stored and returned, and read by no step.
    verifier.put_WithComments(true);
    EXPECT_TRUE(verifier.get_WithComments());
}

// What an earlier signature's verification found out stays until it is put back.
TEST(Object, KeepsRulesBetweenSignaturesUntilTheyAreReset) {
    const std::string document = vectorDocument("attribute-order/prefix");
    ClsXmlDSig verifier;
    XString text(document);
    ASSERT_TRUE(verifier.LoadSignature(text));
    const auto usesRetry = [&] {
        EXPECT_TRUE(verifier.VerifyReferenceDigest(0)) << logOf(verifier);
        return logOf(verifier).find("Retry with duplication") != std::string::npos;
    };
    EXPECT_TRUE(usesRetry());
    EXPECT_FALSE(usesRetry());
    // Looking changes nothing, neither the rules nor the last report.
    ClsBinData octets;
    XString described;
    verifier.ResetDocumentRules();
    EXPECT_TRUE(verifier.DescribeSignature(described));
    EXPECT_TRUE(verifier.DigestInput(0, octets));
    EXPECT_TRUE(verifier.SignedInfoOctets(octets));
    EXPECT_EQ(textOf(reportOf(verifier), "status"), "valid");
    EXPECT_TRUE(usesRetry());
    verifier.ResetDocumentRules();
    EXPECT_TRUE(usesRetry());
}

TEST(Object, ServesSeveralThreads) {
    const std::string document = vectorDocument("enveloped/no-transforms");
    ClsXmlDSig verifier;
    XString text(document);
    ASSERT_TRUE(verifier.LoadSignature(text));
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round) {
                if (i == 0) {
                    XString again(document);
                    failures += verifier.LoadSignature(again) ? 0 : 1;
                } else {
                    failures += verifier.VerifyReferenceDigest(0) ? 0 : 1;
                }
                verifier.put_Selector(round % 3);
                XString json;
                verifier.get_LastJsonData(json);
                failures +=
                    verifier.get_Selector() == 0 && verifier.get_NumReferences() == 1 ? 0 : 1;
                static_cast<void>(verifier.get_RefFailReason());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

} // namespace
} // namespace vantrel::test
