// SPDX-License-Identifier: MIT
// The work that a document makes: counted, so that it fails on any machine when it stops growing
// with the document alone; and the limits that end it.

#include "dsig/document/certificate_texts.h"
#include "dsig/document/document.h"
#include "dsig/document/key_account.h"
#include "dsig/document/limits.h"
#include "dsig/explain/budget.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/text/utf8.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/dsig/document_case.h"
#include "tests/dsig/test_access.h"
#include "tests/support/corpus.h"
#include "tests/support/key_messages.h"
#include "tests/support/live_objects.h"
#include "tests/support/vectors.h"

#include <map>
#include <sstream>

#include <gtest/gtest.h>

namespace vantrel {

namespace test {
namespace {

const std::string kTokenReference =
    "<wsse:SecurityTokenReference><wsse:Reference URI=\"#T\" ValueType=\"{X509v3}\"/>"
    "</wsse:SecurityTokenReference>";

std::string token(const std::string& content) {
    return "<wsse:BinarySecurityToken wsu:Id=\"T\" ValueType=\"{X509v3}\">" + content +
           "</wsse:BinarySecurityToken>";
}

// The message with its signature `count` times, each inside the one before when `nested`.
std::string repeated(const std::string& message, std::size_t count, bool nested) {
    const std::string end = "</ds:Signature>";
    const std::size_t start = message.find("<ds:Signature ");
    const std::size_t behind = message.find(end) + end.size();
    const std::string signature = message.substr(start, behind - start);
    std::string inner;
    for (std::size_t i = 1; i < count; ++i) {
        inner = nested ? signature.substr(0, signature.size() - end.size()) + "<ds:Object>" +
                             inner + "</ds:Object>" + end
                       : inner + signature;
    }
    return message.substr(0, behind) + "<more>" + inner + "</more>" + message.substr(behind);
}

void limit(ClsXmlDSig& verifier, const char* name, const std::string& value, bool taken = true) {
    XString limitName{std::string_view(name)};
    XString number(value);
    EXPECT_EQ(verifier.SetLimit(limitName, number), taken) << logOf(verifier);
}

std::size_t verifyAll(ClsXmlDSig& verifier) {
    std::size_t valid = 0;
    for (int i = 0; i < verifier.get_NumSignatures(); ++i) {
        verifier.put_Selector(i);
        valid += verifier.VerifySignature(false) ? 1U : 0U;
    }
    return valid;
}

TEST(DocumentWork, ATokenIsDecodedOnceForAllSignatures) {
    const LiveObjectCheck live;
    for (const std::size_t count : {20U, 40U}) {
        for (const std::string& content : {keyValueNamed("signer"), std::string("AAAA")}) {
            const bool good = content != "AAAA";
            ClsXmlDSig verifier;
            loadText(verifier, repeated(keyMessage("message", token(content), kTokenReference),
                                        count, false));
            ASSERT_EQ(verifier.get_NumSignatures(), static_cast<int>(count));
            EXPECT_EQ(verifyAll(verifier), good ? count : 0U) << logOf(verifier);
            // A failure is remembered with its reason.
            EXPECT_EQ(countOf(logOf(verifier), "The bytes are not an X.509 certificate."),
                      good ? 0U : 1U);
            for (std::size_t i = 0; i < count; ++i) {
                verifier.put_Selector(static_cast<int>(i));
                XString json;
                EXPECT_TRUE(verifier.DescribeSignature(json));
                ClsStringArray found;
                EXPECT_TRUE(verifier.GetCerts(found));
                EXPECT_EQ(found.get_Count(), good ? 1 : 0);
            }
            dsig::Document& work = ClsXmlDSigTestAccess::structure(verifier);
            EXPECT_EQ(work.certificates.certificatesDecoded(), 1U);
            EXPECT_EQ(work.certificates.keysDecoded(), good ? 1U : 0U);
            EXPECT_EQ(work.keyAccount.operations(), good ? count : 0U);
        }
    }
}

// Once the caller has stopped waiting, no piece of work on a reference is begun, nor is a search.
TEST(DocumentWork, NoneIsBegunPastTheDeadline) {
    const std::string document = readText(sourcePath("examples/invoice.xml"));
    for (const int ms : {1, 3'600'000}) {
        ClsXmlDSig verifier;
        verifier.SetDeadline(ms);
        loadText(verifier, document);
        while (ms == 1 && !verifier.TimeIsUp()) {}
        const bool inTime = ms != 1;
        EXPECT_EQ(verifier.VerifySignature(true), inTime) << logOf(verifier);
        EXPECT_EQ(countOf(logOf(verifier), "The time for the document is up."), inTime ? 0U : 1U);
        EXPECT_EQ(verifier.TimeIsUp(), !inTime);
        EXPECT_EQ(ClsXmlDSigTestAccess::structure(verifier).account.octets() > 0, inTime);
    }
    dsig::explain::Budget budget(1000);
    budget.endBy(io::Deadline(1));
    while (!budget.timeIsUp()) {}
    budget.beginShare(1);
    EXPECT_FALSE(budget.takeOctets(1));
}

// The text of one certificate in many signatures, too.
TEST(DocumentWork, ARepeatedCertificateIsDecodedOnce) {
    ClsXmlDSig verifier;
    const std::string keyInfo = "<ds:X509Data><ds:X509Certificate>" + keyValueNamed("signer") +
                                "</ds:X509Certificate></ds:X509Data>";
    loadText(verifier, repeated(keyMessage("message", "", keyInfo), 30, false));
    EXPECT_EQ(verifyAll(verifier), 30U);
    EXPECT_EQ(ClsXmlDSigTestAccess::structure(verifier).certificates.keysDecoded(), 1U);
}

// A key that left the library is the caller's alone, whatever it was read from.
TEST(DocumentWork, AKeyHandedOutIsNoLongerShared) {
    const std::string forms[] = {"<ds:X509Data><ds:X509Certificate>" + keyValueNamed("signer") +
                                     "</ds:X509Certificate></ds:X509Data>",
                                 "<ds:KeyValue>" + keyValueNamed("rsa.signer") + "</ds:KeyValue>"};
    for (const std::string& keyInfo : forms) {
        ClsXmlDSig verifier;
        loadText(verifier, repeated(keyMessage("message", "", keyInfo), 30, false));
        EXPECT_EQ(verifyAll(verifier), 30U) << keyInfo;
        const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(verifier.GetPublicKey());
        ASSERT_TRUE(key);
        EXPECT_TRUE(key->LoadXml(XString(keyValueNamed("rsa.other"))));
        EXPECT_EQ(verifyAll(verifier), 30U) << keyInfo;
    }
}

TEST(DocumentWork, NestedSignaturesAreSearchedOnce) {
    const std::string text = repeated(keyMessage("message", "", kTokenReference), 60, true);
    for (const bool isNamed : {false, true}) {
        ClsXmlDSig verifier;
        loadText(verifier, isNamed ? text + "<!--EncapsulatedTimeStamp-->" : text);
        ASSERT_EQ(verifier.get_NumSignatures(), 60);
        verifyAll(verifier);
        dsig::Document& work = ClsXmlDSigTestAccess::structure(verifier);
        EXPECT_LE(work.timeStamps.visited(), isNamed ? work.structure->elementCount() : 0);
        EXPECT_EQ(work.timeStamps.visited() > 60U, isNamed);
    }
}

// Equal candidates are checked once, and still stand in their order with their lines.
TEST(DocumentWork, EqualKeysAreCheckedOnce) {
    const auto certificate = [](const char* name) {
        return "<ds:X509Certificate>" + keyValueNamed(name) + "</ds:X509Certificate>";
    };
    for (const std::size_t times : {10U, 20U}) {
        std::string all;
        for (std::size_t i = 0; i < times; ++i) {
            all += certificate("other") + certificate("root");
        }
        all += certificate("signer");
        ClsXmlDSig verifier;
        loadText(verifier, keyMessage("message", "", "<ds:X509Data>" + all + "</ds:X509Data>"));
        EXPECT_TRUE(verifier.VerifySignature(true)) << logOf(verifier);
        EXPECT_EQ(ClsXmlDSigTestAccess::structure(verifier).keyAccount.operations(), 3U);
        EXPECT_EQ(countOf(logOf(verifier), "Not the correct key."), 2 * times);
        EXPECT_NE(logOf(verifier).find("numRsaKeys: " + std::to_string(2 * times + 1)),
                  std::string::npos);
        const json::JsonValue report = reportOf(verifier);
        const std::vector<json::JsonValue>& keys = report.find("keys")->elements();
        ASSERT_EQ(keys.size(), 2 * times + 1);
        EXPECT_NE(keys.back().find("used"), nullptr);
        EXPECT_EQ(textOf(keys[0], "subject"), textOf(keys[2], "subject"));
        EXPECT_NE(textOf(keys[0], "subject"), textOf(keys[1], "subject"));
    }
}

TEST(DocumentWork, KeyOperationsHaveALimit) {
    ClsXmlDSig verifier;
    limit(verifier, "keyOperations", "3");
    loadText(
        verifier,
        repeated(keyMessage("message", token(keyValueNamed("signer")), kTokenReference), 5, false));
    EXPECT_EQ(verifyAll(verifier), 3U);
    EXPECT_NE(logOf(verifier).find("limit (keyOperations)"), std::string::npos) << logOf(verifier);
    EXPECT_NE(textOf(reportOf(verifier), "reason").find("keyOperations"), std::string::npos);
    // To ask again costs the document nothing.
    EXPECT_EQ(verifyAll(verifier), 3U);
    EXPECT_EQ(ClsXmlDSigTestAccess::structure(verifier).keyAccount.spent(), 3U);
    limit(verifier, "keyOperations", "5");
    EXPECT_EQ(verifyAll(verifier), 5U);
}

// The limit is the reason, also where the key before it was only the wrong one.
TEST(DocumentWork, AKeyThatIsNotCheckedAnyMoreIsTheReason) {
    ClsXmlDSig verifier;
    limit(verifier, "keyOperations", "1");
    loadText(verifier,
             keyMessage("message", "",
                        "<ds:X509Data><ds:X509Certificate>{other}</ds:X509Certificate>"
                        "<ds:X509Certificate>{signer}</ds:X509Certificate></ds:X509Data>"));
    EXPECT_FALSE(verifier.VerifySignature(true));
    EXPECT_NE(textOf(reportOf(verifier), "reason").find("keyOperations"), std::string::npos)
        << logOf(verifier);
}

Ref<ClsPublicKey> rsaKey(std::size_t bits, const Bytes& exponent) {
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    std::string_view whyNot;
    const Bytes modulus(bits / 8, 0xFF);
    EXPECT_TRUE(key->key().loadRsa(ByteView(modulus), ByteView(exponent), whyNot)) << whyNot;
    return key;
}

TEST(DocumentWork, KeysWeighWhatTheyCost) {
    const Bytes common = {1, 0, 1};
    struct {
        std::size_t bits;
        Bytes exponent;
        std::uint64_t weight;
    } const cases[] = {
        {512, {3}, 1},
        {2048, {3}, 1},
        {2048, common, 1},
        {3072, common, 3}, // 2.25
        {4096, common, 4},
        {16384, common, 64},
        {2048, {1, 1, 1}, 2},          // a multiplication more
        {16384, Bytes(8, 0xFF), 475},  // 126 steps in place of 17
        {3072, Bytes(383, 0xFF), 811}, // 6126 steps
    };
    for (const auto& c : cases) {
        EXPECT_EQ(dsig::keyOperationWeight(rsaKey(c.bits, c.exponent)->key()), c.weight) << c.bits;
    }
}

// Too small a limit gives an error in place of a report, never a part of one.
TEST(DocumentWork, ReportsHaveALimit) {
    const std::string document =
        keyMessage("message", token(keyValueNamed("signer")), kTokenReference);
    for (const char* const octets : {"0", "1", "200", "700"}) {
        ClsXmlDSig verifier;
        limit(verifier, "reportOctets", octets);
        loadText(verifier, document);
        EXPECT_TRUE(verifier.VerifySignature(true));
        const json::JsonValue report = reportOf(verifier);
        EXPECT_EQ(textOf(report, "status"), "error") << octets;
        EXPECT_NE(textOf(report, "reason").find("reportOctets"), std::string::npos);
        EXPECT_TRUE(report.find("keys")->elements().empty());
        XString json;
        EXPECT_FALSE(verifier.DescribeSignature(json));
        EXPECT_TRUE(json.isEmpty());
        EXPECT_NE(logOf(verifier).find("reportOctets"), std::string::npos);
    }
}

TEST(DocumentWork, LogsHaveALimitThatSurvivesLoads) {
    ClsXmlDSig verifier;
    const std::string document =
        keyMessage("message", token(keyValueNamed("signer")), kTokenReference);
    loadText(verifier, document);
    EXPECT_TRUE(verifier.VerifySignature(true));
    const std::string whole = logOf(verifier);
    limit(verifier, "logOctets", "500");
    loadText(verifier, document);
    EXPECT_TRUE(verifier.VerifySignature(true));
    const std::string cut = logOf(verifier);
    EXPECT_LT(cut.size(), 700U);
    EXPECT_TRUE(cut.ends_with("(logOctets).\n")) << cut;
    EXPECT_EQ(whole.find(cut.substr(0, cut.rfind('\n', cut.size() - 2))), 0U);
    // What fails behind the end is still told.
    std::string damaged = document;
    damaged.replace(damaged.find("SignatureValue>") + 15, 4, "AAAA");
    loadText(verifier, damaged);
    EXPECT_FALSE(verifier.VerifySignature(true));
    EXPECT_FALSE(textOf(reportOf(verifier), "reason").empty());
}

TEST(DocumentWork, LimitsAreSetByNameAndNumber) {
    ClsXmlDSig verifier;
    for (const dsig::LimitEntry& entry : dsig::limitTable()) {
        limit(verifier, std::string(entry.name).c_str(), "18446744073709551615");
    }
    limit(verifier, "keyoperations", "1", false);
    limit(verifier, "", "1", false);
    for (const char* const bad : {"", "-1", "+1", " 1", "1 ", "0x1", "18446744073709551616", "a"}) {
        limit(verifier, "keyOperations", bad, false);
    }
}

// docs/limits.md has a row for every limit with a name, and no others.
TEST(DocumentWork, TheDocumentsListEveryLimit) {
    const std::string text = readText(sourcePath("docs/limits.md"));
    std::map<std::string, std::string> listed;
    // Rows of that table begin with a name in code and a number.
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream cells(line);
        std::string name;
        std::string number;
        std::string sentence;
        std::getline(cells, name, '|');
        std::getline(cells, name, '|');
        std::getline(cells, number, '|');
        std::getline(cells, sentence, '|');
        if (name.starts_with(" `") &&
            number.find_first_not_of(" 0123456789") == std::string::npos) {
            listed[name.substr(2, name.size() - 4)] =
                number.substr(1) + sentence.substr(1, sentence.size() - 2);
        }
    }
    std::map<std::string, std::string> expected;
    for (const dsig::LimitEntry& entry : dsig::limitTable()) {
        expected[std::string(entry.name)] =
            std::to_string(entry.defaultValue()) + " " + std::string(entry.description);
    }
    EXPECT_EQ(listed, expected);
}

TEST(DocumentWork, LongNamesAreCutBetweenCharacters) {
    for (std::size_t before = dsig::kMaxShownName - 8; before < dsig::kMaxShownName + 4; ++before) {
        const std::string name = std::string(before, 'n') + "\xF0\x9F\x98\x80";
        const std::string shown = dsig::shownText(name);
        EXPECT_TRUE(text::isValidUtf8(shown)) << before;
        if (name.size() <= dsig::kMaxShownName) {
            EXPECT_EQ(shown, name);
        } else {
            EXPECT_LE(shown.size(), dsig::kMaxShownName + 3);
            EXPECT_TRUE(shown.ends_with("n...")) << before;
        }
    }
}

// The tool asks every signature with the caller's key: after the key of the index.
TEST(DocumentWork, AKeyForAllReachesEverySignature) {
    const LiveObjectCheck live;
    const auto keyNamed = [](const char* name) {
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        LogNull log;
        EXPECT_TRUE(key->loadAnyBytes(ByteView(fromBase64(keyValueNamed(name))), log));
        return key;
    };
    ClsXmlDSig verifier;
    EXPECT_TRUE(verifier.SetPublicKeyForAll(*keyNamed("other")));
    EXPECT_TRUE(verifier.SetPublicKeyForAll(*keyNamed("signer"))); // replaces
    loadText(verifier, repeated(keyMessage("message", "", ""), 300, false));
    EXPECT_TRUE(verifier.SetPublicKey(*keyNamed("other")));
    EXPECT_EQ(verifyAll(verifier), 300U) << logOf(verifier);
    verifier.put_Selector(0);
    EXPECT_TRUE(verifier.VerifySignature(false));
    const json::JsonValue report = reportOf(verifier);
    ASSERT_EQ(report.find("keys")->elements().size(), 2U);
    EXPECT_EQ(report.find("keys")->elements()[0].find("used"), nullptr);
    EXPECT_NE(report.find("keys")->elements()[1].find("used"), nullptr);
}

} // namespace
} // namespace test
} // namespace vantrel
