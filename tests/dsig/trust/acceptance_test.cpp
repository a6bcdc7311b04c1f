// SPDX-License-Identifier: MIT
// Acceptance through the object, and what it costs. Whom and what it accepts is tried with the tool
// (tests/whole/acceptance.py).

#include "dsig/document/id_rivals.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/trust/covered_targets.h"
#include "dsig/trust/policy.h"
#include "dsig/trust/signer_trust.h"
#include "foundation/json/json_value.h"
#include "foundation/text/LogBase.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

constexpr const char* kSigner =
    "sha256:62349A1E:31:d18ac6fe23f4067d6a7bc7b94926d18bee2e6be4320645c904017c";

json::JsonValue parsed(const XString& text) {
    json::JsonValue value;
    std::size_t faultAt = 0;
    const XString copy(text);
    EXPECT_TRUE(json::parseJson(copy.getUtf8Sb().view(), value, faultAt));
    return value;
}

std::shared_ptr<dsig::Policy> pinned(const std::string& text) {
    auto policy = std::make_shared<dsig::Policy>();
    EXPECT_TRUE(dsig::parsePin(text, policy->pins.emplace_back())) << text;
    policy->demands.insert(dsig::Demand::Pinned);
    return policy;
}

bool isAccepted(ClsXmlDSig& verifier) {
    XString text;
    return verifier.LastAcceptance(text) &&
           parsed(text).find("accepted")->kind() == json::JsonValue::Kind::True;
}

// The policy belongs to the verifications that follow it, whatever is asked for in which order.
TEST(Acceptance, BelongsToTheVerificationThatItFollows) {
    ClsXmlDSig verifier;
    XString document(readText(sourcePath("examples/invoice.xml")));
    XString text;
    ASSERT_TRUE(verifier.LoadSignature(document));
    ASSERT_TRUE(verifier.VerifySignature(true));
    EXPECT_FALSE(verifier.LastAcceptance(text));
    EXPECT_TRUE(text.isEmpty());
    verifier.get_LastJsonData(text);
    EXPECT_EQ(parsed(text).find("accepted"), nullptr);

    verifier.SetPolicy(pinned(kSigner));
    EXPECT_FALSE(verifier.LastAcceptance(text)); // nothing was verified since
    ASSERT_TRUE(verifier.VerifySignature(true));
    EXPECT_TRUE(isAccepted(verifier));
    verifier.get_LastJsonData(text);
    EXPECT_NE(parsed(text).find("accepted"), nullptr);
    EXPECT_TRUE(parsed(text).find("warnings")->elements().empty()); // the key is known

    verifier.SetPolicy(pinned("sha256:" + std::string(64, '0')));
    EXPECT_TRUE(verifier.VerifySignature(true)); // valid all the same
    EXPECT_FALSE(isAccepted(verifier));
    ASSERT_TRUE(verifier.LoadSignature(document));
    EXPECT_FALSE(verifier.LastAcceptance(text));
    EXPECT_TRUE(verifier.VerifySignature(true));
    EXPECT_FALSE(isAccepted(verifier)); // it survives loads
    verifier.SetPolicy(nullptr);
    EXPECT_TRUE(verifier.VerifySignature(true));
    EXPECT_FALSE(verifier.LastAcceptance(text));
}

TEST(Acceptance, TakesOnlyWholePinsAndTargets) {
    std::string pin;
    for (const std::string text :
         {"", "sha256:", "62349a1e", "sha1:6234", "sha256:6234", "sha256:g2"}) {
        EXPECT_FALSE(dsig::parsePin(text, pin)) << text;
    }
    EXPECT_FALSE(dsig::parsePin("sha256:" + std::string(63, '0'), pin));
    EXPECT_FALSE(dsig::parsePin("sha256:" + std::string(65, '0'), pin));
    EXPECT_FALSE(dsig::parsePin("sha256:0:" + std::string(63, '0'), pin));
    EXPECT_TRUE(dsig::isTarget("document") && dsig::isTarget("#a") && dsig::isTarget("/a"));
    EXPECT_FALSE(dsig::isTarget("") || dsig::isTarget("#") || dsig::isTarget("/") ||
                 dsig::isTarget("a"));
}

TEST(CoveredTargets, IdsThatSameDocumentUrisName) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"#x", "x"},
        {"#", ""},
        {"", ""},
        {"x", ""},
        {"http://x#x", ""},
        {"#xpointer(id('x'))", "x"},
        {"#xpointer(id(\"it's\"))", "it's"},
        {"#xpointer(id('x", ""},
        {"#xpointer(id('", ""},
        {"#xpointer(id(", ""},
        {"#xpointer(/)", "xpointer(/)"}};
    for (const auto& [uri, id] : cases) {
        EXPECT_EQ(dsig::fragmentId(uri), id) << uri;
    }
}

TEST(IdRivals, AreValuesOnTwoElementsByWhateverAttribute) {
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(
        StringBuffer("<a xmlns:p='x' Id='1' same='1'><b key=' 2 ' x='x'/><c p:ID='2' RefId='3'/>"
                     "<d Id='3' InResponseTo='4' SessionIndex='5'/><e Id='4'/><f Id='5' n=''/>"
                     "<g n=''/></a>"),
        {}, why);
    ASSERT_NE(document, nullptr) << why.message;
    const dsig::IdRivals rivals(*document);
    EXPECT_TRUE(rivals.has("2"));
    for (const char* const single : {"1", "3", "4", "5", "x", "", "6"}) {
        EXPECT_FALSE(rivals.has(single)) << single;
    }
}

// A document whose account is used up gets no more paths, and is not trusted for it.
TEST(SignerTrust, EndsWithTheDocumentsAccount) {
    LogNull log;
    dsig::Policy policy;
    x509::PathMaterial material;
    ASSERT_TRUE(
        material.addCertificateSource(sourcePath("examples/keys/root.pem"), policy.anchors, log));
    std::vector<const VantrelX509*> signer;
    ASSERT_TRUE(material.addCertificateSource(sourcePath("examples/keys/signer.pem"), signer, log));
    xml::ParseFailure why;
    const dsig::Limits limits;
    dsig::Document document(xml::XmlDocument::parse(StringBuffer("<a/>"), {}, why), limits);
    dsig::SignatureReport report;
    report.signer.certificate = *signer.front();
    const auto judge = [&] {
        return dsig::judgeSigner(policy, report, &document,
                                 std::make_shared<const dsig::Material>(report, &document, nullptr),
                                 nullptr);
    };
    int paths = 0;
    while (judge().path.trusted && paths < 1'000'000) {
        ++paths;
    }
    EXPECT_GT(paths, 1000);
    EXPECT_LT(paths, 100'000);
    const dsig::SignerTrust last = judge();
    ASSERT_FALSE(last.path.problems.empty());
    EXPECT_EQ(last.path.problems.front().fault, x509::PathFault::Limit);
}

// Thousands of certificates of the signer's key that lead nowhere: as many are looked at as one
// certificate may cost, and that is told.
TEST(SignerTrust, LooksAtThousandsOfCertificatesOfOneKeyWithinBounds) {
    LogNull log;
    dsig::Policy policy;
    x509::PathMaterial material;
    std::vector<const VantrelX509*> signer;
    ASSERT_TRUE(material.addCertificateSource(sourcePath("examples/keys/signer.pem"), signer, log));
    ASSERT_TRUE(
        material.addCertificateSource(sourcePath("examples/keys/root.pem"), policy.anchors, log));
    const VantrelX509& model = *signer.front();
    const auto serialAt =
        static_cast<std::size_t>(model.serialNumber().data() - model.certificate().data());
    dsig::SignatureReport report;
    const auto addForged = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            Bytes der(model.certificate().begin(), model.certificate().end());
            const std::size_t number = report.keys.size();
            der[serialAt] = static_cast<std::uint8_t>(0x20 + number / 256); // of two octets
            der[serialAt + 1] = static_cast<std::uint8_t>(number);
            ASSERT_TRUE(
                report.keys.emplace_back().certificate.loadX509Der(DataBuffer(ByteView(der)), log));
        }
        report.signer.certificate = report.keys.front().certificate;
    };
    const auto judge = [&] {
        xml::ParseFailure why;
        const dsig::Limits limits;
        dsig::Document document(xml::XmlDocument::parse(StringBuffer("<a/>"), {}, why), limits);
        const dsig::SignerTrust trust = dsig::judgeSigner(
            policy, report, &document,
            std::make_shared<const dsig::Material>(report, &document, nullptr), nullptr);
        EXPECT_LT(document.trustWork, dsig::kMostTrustWork / 10);
        return trust;
    };
    addForged(20);
    report.keys.emplace_back().certificate = model;
    EXPECT_TRUE(judge().path.trusted); // the last of them is the true one
    report.keys.pop_back();
    dsig::SignerTrust trust = judge();
    EXPECT_FALSE(trust.path.trusted);
    EXPECT_EQ(trust.path.problems.back().fault, x509::PathFault::BadSignature);
    addForged(4000);
    trust = judge();
    EXPECT_FALSE(trust.path.trusted);
    EXPECT_EQ(trust.path.problems.back().fault, x509::PathFault::Limit);
    EXPECT_EQ(trust.path.work.signatureChecks, x509::PathLimits().signatureChecks);
}

} // namespace
} // namespace vantrel::test
