// SPDX-License-Identifier: MIT
// Candidate keys and the check of a signature value, over values and without the verifier.

#include "dsig/keys/candidate_keys.h"

#include "dsig/keys/key_report.h"
#include "dsig/keys/known_to_caller.h"
#include "dsig/keys/named_keys.h"
#include "dsig/verify/signature_method.h"
#include "dsig/verify/try_keys.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/arrays.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "tests/dsig/document_case.h"
#include "tests/support/key_messages.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <optional>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using dsig::CandidateKey;

Ref<ClsPublicKey> publicKeyNamed(const std::string& name) {
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    LogNull log;
    EXPECT_TRUE(key->loadAnyBytes(ByteView(fromBase64(keyValueNamed(name))), log)) << name;
    return key;
}

// A message with this KeyInfo, and the query for the keys of its one signature.
class Message {
public:
    explicit Message(const std::string& keyInfo, const std::string& document = "message") {
        LogNull log;
        EXPECT_TRUE(m_root->loadXml(StringBuffer(keyMessage(document, "", keyInfo)), false, log));
        EXPECT_TRUE(m_root->findSignatures(m_signatures, log));
        m_document.emplace(m_root->document(), m_limits);
        query.document = &*m_document;
        query.selection.signature = static_cast<const ClsXml*>(m_signatures.elementAt(0));
        query.numSignatures = m_signatures.getSize();
    }

    [[nodiscard]] std::vector<CandidateKey> keys() const {
        LogNull log;
        dsig::CodeSet leniencies;
        return dsig::candidateKeys(query, leniencies, log);
    }

    dsig::KeyQuery query;

private:
    dsig::Limits m_limits;
    Ref<ClsXml> m_root = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    ExtPtrArrayRc m_signatures;
    std::optional<dsig::Document> m_document;
};

std::string certificate(const char* name) {
    return "<ds:X509Certificate>{" + std::string(name) + "}</ds:X509Certificate>";
}

// Certificates of a vault, as a store to look them up in.
class Store {
public:
    explicit Store(const std::string& names) {
        LogNull log;
        for (const std::string& name : wordsOf(names)) {
            EXPECT_TRUE(m_vault.AddCertEncoded(XString(keyValueNamed(name)))) << name;
        }
        EXPECT_TRUE(certificates.addCertVault(*m_vault.getCertMgr(), log));
    }

    SystemCerts certificates;

private:
    ClsXmlCertVault m_vault;
};

// Who vouches for a key, and who for the name of its holder.
TEST(CandidateKeys, WhatTheCallerKnowsDoesNotRestOnTheDocument) {
    const std::string value = "<ds:KeyValue>{rsa.signer}</ds:KeyValue>";
    const std::string carried = "<ds:X509Data>" + certificate("signer") + "</ds:X509Data>";
    const std::string named = "<ds:X509Data><ds:X509SKI>{signer.ski}</ds:X509SKI></ds:X509Data>";
    struct {
        std::string keyInfo;
        const char* store;
        const char* ofSignature;
        const char* forAll;
        bool keyFromDocument;
        bool nameFromDocument;
    } const cases[] = {
        {value, "", "", "", true, false},
        {value, "signer", "", "", true, false}, // a bare key has no certificate
        {value, "", "signer", "", false, false},
        {value, "", "other", "signer", false, false},
        {value, "", "other", "ec", true, false},
        {value, "", "signer", "other", false, false},
        {carried, "", "", "", true, false},
        {carried, "other", "other", "", true, false},
        {carried, "other", "other", "signer", false, true},
        {carried, "", "signer", "signer", false, true},
        {carried, "signer", "", "", false, false},
        {carried, "signer", "signer", "", false, false},
        {named, "signer", "", "", false, false},
        {named, "signer", "signer", "", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.keyInfo + " " + c.store + "," + c.ofSignature + "," + c.forAll);
        Message message(c.keyInfo);
        Store store(c.store);
        const bool one = *c.ofSignature != '\0';
        const bool all = *c.forAll != '\0';
        const Ref<ClsPublicKey> ofSignature =
            one ? publicKeyNamed(c.ofSignature) : Ref<ClsPublicKey>();
        const Ref<ClsPublicKey> forAll = all ? publicKeyNamed(c.forAll) : Ref<ClsPublicKey>();
        const std::span<const Ref<ClsPublicKey>> keysForAll(&forAll, all ? 1 : 0);
        message.query.store = &store.certificates;
        message.query.keyOfSignature = ofSignature.get();
        message.query.keysForAll = keysForAll;
        const std::vector<dsig::KeyReport> reports = dsig::describeKeys(message.keys());
        ASSERT_EQ(reports.size(), 1U + (one ? 1U : 0U) + (all ? 1U : 0U));
        EXPECT_EQ(reports[0].fromDocument, c.keyFromDocument);
        EXPECT_EQ(reports[0].nameFromDocument, c.nameFromDocument);
        for (std::size_t i = 1; i < reports.size(); ++i) {
            EXPECT_EQ(reports[i].source, "explicit");
            EXPECT_FALSE(reports[i].fromDocument || reports[i].nameFromDocument);
        }
        message.query.keyInfoOnly = true;
        EXPECT_EQ(message.keys().size(), 1U);
    }
}

// However a key was found, and after others as well, the certificate beside it is its own.
TEST(CandidateKeys, EachKeyStandsBesideItsCertificate) {
    Message message("<ds:KeyValue>{ec.value}</ds:KeyValue><ds:X509Data>" + certificate("other") +
                    certificate("root") + "<ds:X509SKI>{signer.ski}</ds:X509SKI></ds:X509Data>");
    Store store("signer");
    message.query.store = &store.certificates;
    const std::vector<CandidateKey> keys = message.keys();
    static_cast<void>(message.keys()); // takes nothing from those found before
    ASSERT_EQ(keys.size(), 4U);
    EXPECT_FALSE(keys[0].certificate.isLoaded());
    const char* const names[] = {"", "other", "root", "signer"};
    for (std::size_t i = 1; i < keys.size(); ++i) {
        EXPECT_EQ(toBase64(Bytes(keys[i].certificate.certificate().begin(),
                                 keys[i].certificate.certificate().end())),
                  keyValueNamed(names[i]));
        EXPECT_TRUE(dsig::isSameKey(keys[i].key->key(), publicKeyNamed(names[i])->key()));
        EXPECT_NE(keys[i].certificateTexts, nullptr);
        EXPECT_NE(keys[i].certificateTexts, keys[i - 1].certificateTexts);
    }
    // The document's certificates are the same at the next question, its texts are made once.
    EXPECT_EQ(message.keys()[1].certificateTexts, keys[1].certificateTexts);
}

// Keys that share all their numbers but one are different keys.
TEST(CandidateKeys, EveryNumberOfAKeyCounts) {
    const auto rsa = [](std::string_view modulus, std::string_view exponent) {
        return "<RSAKeyValue><Modulus>" + std::string(modulus) + "</Modulus><Exponent>" +
               std::string(exponent) + "</Exponent></RSAKeyValue>";
    };
    const auto ec = [](const char* curve, const char* point) {
        return std::string("<ECKeyValue><NamedCurve URI='urn:oid:") + curve + "'/><PublicKey>" +
               point + "</PublicKey></ECKeyValue>";
    };
    const char* const p256 = "1.2.840.10045.3.1.7";
    const std::string modulus = std::string(171, 'q') + 'r'; // odd
    const std::string keys[] = {
        rsa(modulus, "AQAB"),
        rsa(modulus, "Aw=="),
        rsa("s" + modulus.substr(1), "AQAB"),
        ec(p256, "BMqUpvlPnCRk5a3SS6I/cTU6uzXtV1l0sCyFD3/SEdRwY79gfcMS2xaK/kXYFG3tT+HvXxXEjGBoyyZDK"
                 "EaruZU="),
        ec(p256, "BGsX0fLhLEJH+Lzm5WOkQPJ3A32BLeszoPShOUXYmMKWT+NC4v4af5uO5+tKfA+eFivOM1drMV7Oy7ZAa"
                 "De/UfU="),
    };
    const auto load = [](const std::string& xml) {
        Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        EXPECT_TRUE(key->LoadXml(XString(xml))) << xml;
        return key;
    };
    for (const std::string& one : keys) {
        for (const std::string& other : keys) {
            EXPECT_EQ(dsig::isSameKey(load(one)->key(), load(other)->key()), one == other)
                << one << other;
        }
    }
}

TEST(CandidateKeys, NoSignatureLeavesTheKeysOfTheCaller) {
    RecordingLog log;
    dsig::CodeSet leniencies;
    const Ref<ClsPublicKey> key = publicKeyNamed("signer");
    dsig::KeyQuery query;
    EXPECT_TRUE(dsig::candidateKeys(query, leniencies, log).empty());
    query.keysForAll = {&key, 1};
    EXPECT_EQ(dsig::candidateKeys(query, leniencies, log).size(), 1U);
    EXPECT_EQ(log.errors, "");
    EXPECT_TRUE(leniencies.codes().empty());
}

// The value of a signed message, with what it is checked against.
class SignedValue {
public:
    explicit SignedValue(const std::string& document) {
        ClsXmlDSig verifier;
        XString text(keyMessage(document, "", ""));
        EXPECT_TRUE(verifier.LoadSignature(text));
        ClsBinData octets;
        EXPECT_TRUE(verifier.SignedInfoOctets(octets));
        _vlHash::doHash(octets.data().getData2(), octets.data().getSize(), kHashSha256, m_hash);
        const std::string xml = text.getUtf8();
        const auto between = [&](const std::string& from, const std::string& to) {
            const std::size_t start = xml.find(from) + from.size();
            return xml.substr(start, xml.find(to, start) - start);
        };
        m_method = StringBuffer(between("<ds:SignatureMethod Algorithm=\"", "\""));
        const std::string value = between("<ds:SignatureValue>", "</ds:SignatureValue>");
        m_signature.appendEncoded(value, "base64");
        LogNull log;
        EXPECT_EQ(signatureMethodToHashAlg(m_method, log), kHashSha256);
        m_keyType = signatureMethodToKeyType(m_method, log);
    }

    dsig::ValueOutcome tryKeys(const std::vector<CandidateKey>& keys, std::uint64_t limit = 100) {
        m_account.begin(0);
        dsig::SignatureMethod method;
        method.hashAlg = kHashSha256;
        method.keyType = m_keyType;
        return dsig::tryKeys({method, m_octets, m_hash, m_signature, m_account, limit}, keys, log);
    }
    [[nodiscard]] std::uint64_t spent() const { return m_account.spent(); }
    void alterHash() { m_hash.clear(), m_hash.append(fromHex(std::string(64, '5'))); }

    RecordingLog log;

private:
    StringBuffer m_method;
    int m_keyType = 0;
    dsig::SignedOctets m_octets;
    DataBuffer m_hash;
    DataBuffer m_signature;
    dsig::KeyAccount m_account;
};

// "-" is a candidate without a key.
std::vector<CandidateKey> candidates(const std::string& names) {
    std::vector<CandidateKey> keys;
    for (const std::string& name : wordsOf(names)) {
        keys.push_back({.key = name == "-" ? Ref<ClsPublicKey>() : publicKeyNamed(name),
                        .source = dsig::keysource::kExplicit,
                        .certificate = {},
                        .certificateTexts = nullptr});
    }
    return keys;
}

TEST(TryKeys, TheOutcomeSaysWhichKeyAndWhyNot) {
    struct {
        const char* document;
        const char* keys;
        std::uint64_t limit;
        bool altered;
        int used;
        std::uint64_t spent;
        const char* flags; // w: wrong key, e: ended early, l: limit passed
        const char* error;
    } const cases[] = {
        {"message", "signer", 1, false, 0, 1, "", ""},
        {"message", "ec other - signer", 9, false, 3, 2, "", "not an RSA key"},
        {"message", "other other root other signer", 3, false, 4, 3, "", ""},
        {"message", "other other root other signer", 2, false, -1, 2, "wl", "(keyOperations)"},
        {"message", "other", 9, false, -1, 1, "w", ""},
        {"message", "other ec", 9, false, -1, 1, "", "not an RSA key"},
        {"message", "signer other", 9, true, -1, 1, "", "found the signature to be invalid"},
        {"message", "", 9, false, -1, 0, "", ""},
        {"curve", "signer ec", 1, false, 1, 1, "", ""},
        {"curve", "ec ec", 9, true, -1, 1, "", "ECDSA verify hash found"},
        {"curve", "signer", 9, false, -1, 0, "", "ECDSA verify hash found"},
        {"curve", "ec", 0, false, -1, 0, "l", "(keyOperations)"},
        {"curve", "- ec", 9, false, -1, 0, "e", ""},
        {"curve", "", 9, false, -1, 0, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.document) + ": " + c.keys);
        SignedValue value(c.document);
        if (c.altered) {
            value.alterHash();
        }
        const dsig::ValueOutcome outcome = value.tryKeys(candidates(c.keys), c.limit);
        EXPECT_EQ(outcome.usedIndex, c.used);
        EXPECT_EQ(outcome.verified, c.used >= 0);
        EXPECT_EQ(value.spent(), c.spent);
        EXPECT_EQ(std::string(outcome.wrongKey ? "w" : "") + (outcome.endedEarly ? "e" : "") +
                      (outcome.limitPassed ? "l" : ""),
                  c.flags);
        EXPECT_EQ(value.log.errors.empty(), *c.error == '\0') << value.log.errors;
        EXPECT_TRUE(value.log.hasError(c.error)) << value.log.errors;
    }
}

// As they stand, and without white space around them.
TEST(CandidateKeys, NamesOfKeys) {
    LogNull log;
    const Ref<ClsXml> info = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    ASSERT_TRUE(info->loadXml(StringBuffer("<k xmlns:d='u'><d:KeyName> a\n</d:KeyName><KeyName>b"
                                           "</KeyName><KeyName> </KeyName><KeyName/></k>"),
                              false, log));
    EXPECT_EQ(dsig::keyNames(*info), (std::set<std::string>{" a\n", "a", "b", " "}));
}

} // namespace
} // namespace vantrel::test
