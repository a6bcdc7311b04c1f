// SPDX-License-Identifier: MIT
// Many threads at once, for the preset `threads`, whose sanitizer sees what the results do not
// show.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/digest_ahead.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "tests/dsig/case_setting.h"
#include "tests/dsig/document_case.h"
#include "tests/support/corpus.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

constexpr std::size_t kThreads = 8;

void onThreads(const std::function<void(std::size_t thread)>& action) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back(action, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::vector<Setting> settings() {
    std::vector<Setting> all;
    for (const auto& [group, folders] : casesByGroup()) {
        for (const std::string& folder : folders) {
            for (VecCase& c : readVectors(folder + "/case.vec", "runs")) {
                if (c.has("WithReferences") && !c.has("LoadError") && !c.has("First")) {
                    all.push_back(readSetting(c, folder));
                }
            }
        }
    }
    return all;
}

std::string reportBy(ClsXmlDSig& verifier, const Setting& setting, ClsXmlCertVault& vault) {
    verifier.UseCertVault(vault);
    XString options(setting.options);
    verifier.put_UncommonOptions(options);
    verifier.put_IgnoreExternalRefs(setting.ignoreExternal);
    if (!load(verifier, setting)) {
        return "";
    }
    supply(verifier, setting);
    verifier.VerifySignature(true);
    XString json;
    verifier.get_LastJsonData(json);
    return std::string(json.getUtf8Sb().view());
}

// The threads come first, so that what is made when it is first needed is first needed by several.
TEST(Threads, ManyVerifiersShareNothingThatChanges) {
    const std::vector<Setting> cases = settings();
    ASSERT_GT(cases.size(), 100U);
    ClsXmlCertVault vault;
    XString file(sourcePath("examples/keys/signer.pem"));
    ASSERT_TRUE(vault.AddCertFile(file));
    std::vector<std::string> found(cases.size());
    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> different = 0;
    onThreads([&](std::size_t thread) {
        for (std::size_t i = next++; i < cases.size(); i = next++) {
            ClsXmlDSig verifier;
            found[i] = reportBy(verifier, cases[i], vault);
            // All threads at one document as well.
            ClsXmlDSig same;
            different += reportBy(same, cases[thread], vault).empty() ? 1 : 0;
        }
    });
    EXPECT_EQ(different, 0U);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        ClsXmlDSig verifier;
        EXPECT_EQ(found[i], reportBy(verifier, cases[i], vault)) << i;
    }
}

// Digests that a thread of their own makes: of the whole document, of an element, and of as much as
// a limit leaves. The reports hold the digests.
TEST(Threads, LargeDigestsDoNotDependOnTheirNumber) {
    constexpr std::string_view kDigest = "<Transforms>"
                                         "<Transform Algorithm='http://www.w3.org/2000/09/"
                                         "xmldsig#enveloped-signature'/><Transform Algorithm="
                                         "'http://www.w3.org/2001/10/xml-exc-c14n#'/></Transforms>"
                                         "<DigestMethod Algorithm='http://www.w3.org/2001/04/"
                                         "xmlenc#sha256'/><DigestValue>AAAA</DigestValue>";
    std::string text = "<r xmlns:p='urn:p'><a Id='a'>";
    for (int i = 0; text.size() < std::size_t{6} << 20; ++i) {
        text += "<p:e x='" + std::to_string(i) + "'>text</p:e>";
    }
    text += "</a><Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo>"
            "<CanonicalizationMethod Algorithm='http://www.w3.org/2001/10/xml-exc-c14n#'/>"
            "<SignatureMethod Algorithm='http://www.w3.org/2001/04/xmldsig-more#rsa-sha256'/>";
    for (const std::string_view uri : {"", "#a"}) {
        text.append("<Reference URI='").append(uri).append("'>").append(kDigest) += "</Reference>";
    }
    text += "</SignedInfo><SignatureValue>AAAA</SignatureValue></Signature></r>";
    const auto report = [&text](int threads, const std::string& most) {
        ClsXmlDSig verifier;
        verifier.SetThreads(threads);
        XString name("workOctets");
        XString value(most);
        EXPECT_TRUE(verifier.SetLimit(name, value)) << logOf(verifier);
        loadText(verifier, text);
        verifier.VerifySignature(true);
        XString json;
        verifier.get_LastJsonData(json);
        return std::string(json.getUtf8Sb().view());
    };
    const std::string whole = report(1, "1000000000");
    EXPECT_NE(whole.find("\"status\":\"mismatch\""), std::string::npos) << whole;
    EXPECT_EQ(report(2, "1000000000"), whole);
    const std::string limited = report(1, "9000000");
    EXPECT_NE(limited.find("\"code\":\"limit\""), std::string::npos) << limited;
    EXPECT_EQ(report(2, "9000000"), limited);
}

// A document of some megabytes with a signature at its end, which digests the document or its root
// in one of several ways.
struct LargeDocument {
    std::string prolog;
    std::string middle;     // between two halves of much content
    std::string uri;        // of its only reference
    std::string transforms; // but for the first, the enveloped-signature transform
    std::string digest = "http://www.w3.org/2001/04/xmlenc#sha256";
    bool isAhead = true; // it can be digested while it is read

    [[nodiscard]] std::string text() const {
        static const std::string half = [] {
            std::string made;
            for (int i = 0; made.size() < std::size_t{9} << 18; ++i) {
                made += "<p:e x='" + std::to_string(i) + "'><q:f>te&gt;xt</q:f></p:e>\n";
            }
            return made;
        }();
        return prolog + "<r xmlns:p='urn:p' xmlns:q='urn:q' Id='r'>" + half + middle + half +
               "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'><SignedInfo>"
               "<CanonicalizationMethod Algorithm='http://www.w3.org/2001/10/xml-exc-c14n#'/>"
               "<SignatureMethod Algorithm='http://www.w3.org/2001/04/xmldsig-more#rsa-sha256'/>"
               "<Reference URI='" +
               uri +
               "'><Transforms><Transform "
               "Algorithm='http://www.w3.org/2000/09/xmldsig#enveloped-signature'/>" +
               transforms + "</Transforms><DigestMethod Algorithm='" + digest +
               "'/><DigestValue>AAAA</DigestValue></Reference></SignedInfo>"
               "<SignatureValue>AAAA</SignatureValue></Signature></r>\n<!-- c --><?d?>";
    }
};

// What the second thread finds while the document is read is what one thread finds afterwards: the
// report holds the digest and the number of octets.
TEST(Threads, DigestsMadeWhileReadingAreThoseMadeThen) {
    const std::string open = "<Transform Algorithm='http://www.w3.org/";
    const std::string exclusive = open + "2001/10/xml-exc-c14n#'/>";
    const std::string inclusive = open + "TR/2001/REC-xml-c14n-20010315'/>";
    const std::string listed = open +
                               "2001/10/xml-exc-c14n#'><InclusiveNamespaces PrefixList='p' "
                               "xmlns='http://www.w3.org/2001/10/xml-exc-c14n#'/></Transform>";
    const std::string sha1 = "http://www.w3.org/2000/09/xmldsig#sha1";
    const std::string other = "<Signature><SignedInfo/></Signature>";
    const LargeDocument documents[] = {
        {"", "", "", exclusive},
        {"<?xml version='1.0'?><!-- c --><?d e?>", "\r\n", "", inclusive},
        {"", "<!-- c --><q:f xmlns:q='urn:a'/><f xmlns='urn:f'/>", "", "", sha1},
        {"", "<a xmlns='urn:b' a='' A=''/>", "#r", exclusive},
        {"", "<p:e xmlns:p='&#x75;rn:c'/>", "#r", inclusive},
        {"", other, "", exclusive},
        {"<!DOCTYPE r [<!ATTLIST q:f a CDATA 'b'>]>", "", "", exclusive, sha1, false},
        {"", "", "", listed, sha1, false},
        {"", "", "", exclusive + exclusive, sha1, false},
        {"", "", "", open + "TR/2001/REC-xml-c14n-20010315#WithComments'/>", sha1, false},
        {"", "", "#other", exclusive, sha1, true},
        {"", "<p:unclosed>", "", exclusive, sha1, true},
    };
    for (const LargeDocument& large : documents) {
        const std::string text = large.text();
        EXPECT_EQ(dsig::DigestAhead::guess(text) != nullptr,
                  large.isAhead || !large.prolog.empty());
        const auto found = [&text](int threads) {
            ClsXmlDSig verifier;
            verifier.SetThreads(threads);
            XString xml(text);
            const bool isLoaded = verifier.LoadSignature(xml);
            std::string all;
            for (int i = 0; i < 2; ++i) {
                verifier.put_Selector(verifier.get_NumSignatures() - 1);
                verifier.VerifySignature(true);
                XString json;
                verifier.get_LastJsonData(json);
                all += logOf(verifier);
                all += json.getUtf8Sb().view();
            }
            EXPECT_EQ(isLoaded, text.find("<p:unclosed>") == text.npos);
            return all;
        };
        ASSERT_EQ(found(2), found(1)) << large.middle << large.transforms;
    }
}

// Where it can be done, the digest is ready before anything is asked.
TEST(Threads, FormsOfLargeDocumentsAreTakenOnce) {
    const LargeDocument large{"", "", "", ""};
    const StringBuffer text(large.text());
    const auto ahead = dsig::DigestAhead::guess(text.view());
    ASSERT_NE(ahead, nullptr);
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {.follower = &ahead->follower()}, why);
    ASSERT_NE(document, nullptr) << why.message;
    ahead->endReading();
    xml::CanonRequest request;
    for (const bool isRight : {false, true, false}) {
        request.withComments = !isRight && request.apex == xml::kNoElement;
        dsig::HashSink sink(kHashSha256, 1, ahead.get());
        std::uint64_t octets = 0;
        const auto taken = sink.takeFormAhead(*document, request, octets);
        EXPECT_EQ(taken, isRight ? xml::CanonSink::Ahead::Taken : xml::CanonSink::Ahead::No);
        EXPECT_EQ(octets > text.getSize() / 2, isRight);
        request.withComments = false;
    }
}

// What nobody has asked for yet may cost no more than a few times the document.
TEST(Threads, FormsThatAreMuchLongerThanTheirTextsAreNotMadeAhead) {
    std::string prefixes;
    for (int i = 0; i < 2000; ++i) {
        prefixes += " xmlns:p" + std::to_string(i) + "='urn:p'";
    }
    LargeDocument large;
    large.transforms = "<Transform Algorithm='http://www.w3.org/2001/10/xml-exc-c14n#'/>";
    for (const std::string& declared :
         {" xmlns:n='" + std::string(100000, 'n') + "'", prefixes, std::string()}) {
        std::string text = large.text();
        text.insert(text.find("<p:e"), "<b" + declared + "/><a" + declared + ">");
        text.insert(text.find("<Signature "), "</a>");
        for (std::size_t at = 0; !declared.empty() && (at = text.find("q:f", at)) != text.npos;) {
            text[at] = declared == prefixes ? 'p' : 'n';
        }
        const StringBuffer source(text);
        const auto ahead = dsig::DigestAhead::guess(source.view());
        ASSERT_NE(ahead, nullptr);
        xml::ParseFailure why;
        const auto document =
            xml::XmlDocument::parse(source, {.follower = &ahead->follower()}, why);
        ASSERT_NE(document, nullptr) << why.message;
        ahead->endReading();
        EXPECT_LE(ahead->octets(), 4 * text.size());
        dsig::HashSink sink(kHashSha256, 1, ahead.get());
        std::uint64_t octets = 0;
        xml::CanonRequest request;
        request.method = xml::CanonMethod::Exclusive;
        EXPECT_EQ(sink.takeFormAhead(*document, request, octets),
                  declared.empty() ? xml::CanonSink::Ahead::Taken : xml::CanonSink::Ahead::No);
    }
}

// Each operation finds a whole document and a whole report: of the one document or of the other.
TEST(Threads, OneVerifierVerifiesWhileItIsAsked) {
    const std::string texts[] = {readText(sourcePath("examples/orders.xml")),
                                 readText(sourcePath("examples/invoice-tampered.xml"))};
    ClsXmlDSig verifier;
    loadText(verifier, texts[0]);
    std::atomic<std::size_t> faults = 0;
    onThreads([&](std::size_t thread) {
        for (std::size_t round = 0; round < 20; ++round) {
            XString text(texts[round % 2]);
            XString json;
            switch (thread) {
            case 0: faults += verifier.LoadSignature(text) ? 0 : 1; break;
            case 1:
            case 2: verifier.VerifySignature(round % 3 != 0); break;
            case 3: verifier.VerifyReferenceDigest(0); break;
            case 4: verifier.ExplainFailures(1); break;
            case 5: {
                ClsBinData octets;
                ClsStringArray certificates;
                verifier.SignedInfoOctets(octets);
                verifier.DigestInput(0, octets);
                verifier.GetCerts(certificates);
                break;
            }
            case 6: {
                XString page;
                verifier.KeepForHtmlReport();
                verifier.HtmlReport(text, page);
                verifier.put_Selector(static_cast<int>(round % 2));
                break;
            }
            default: break;
            }
            verifier.get_LastErrorText(text);
            verifier.get_LastJsonData(json);
            json::JsonValue report;
            std::size_t faultAt = 0;
            const std::string_view given = json.getUtf8Sb().view();
            faults +=
                given.empty() || given == "{}" || json::parseJson(given, report, faultAt) ? 0 : 1;
            faults += verifier.DescribeSignature(json) || verifier.get_Selector() > 0 ? 0 : 1;
        }
    });
    EXPECT_EQ(faults, 0U);
    verifier.put_Selector(0);
    loadText(verifier, texts[0]);
    EXPECT_TRUE(verifier.VerifySignature(true)) << logOf(verifier);
}

} // namespace
} // namespace vantrel::test
