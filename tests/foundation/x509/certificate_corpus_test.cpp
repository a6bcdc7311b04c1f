// SPDX-License-Identifier: MIT
// Certificates of an outside collection, good, odd and damaged, against what OpenSSL says of them.
#include "tests/foundation/x509/certificate_corpus.h"

#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/corpus.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

using test::CorpusCertificate;

std::string canonicalKey(const std::string& dn) {
    LogNull log;
    StringBuffer key;
    EXPECT_TRUE(DistinguishedName::toVlCanonHashKey(dn.c_str(), key, log)) << dn;
    return std::string(key.view());
}

// OpenSSL's text of a name in our spelling: raw UTF-8, and the labels of RFC 4514.
std::string inOurSpelling(const std::string& dn) {
    std::string out = test::withoutHexEscapes(dn);
    const std::string theirs = "street=";
    for (std::size_t at = out.find(theirs); at != std::string::npos; at = out.find(theirs)) {
        out.replace(at, theirs.size(), "STREET=");
    }
    return out;
}

void checkNames(const CorpusCertificate& expected, const VantrelX509& certificate) {
    LogNull log;
    XString text;
    ASSERT_TRUE(certificate.get_SerialNumber(text, log));
    EXPECT_EQ(text.getUtf8Sb().view(), expected.serial);
    EXPECT_EQ(certificate.get_IssuerCN(text, log), !expected.issuerCn.empty());
    // Of a multi-valued component OpenSSL prints " + " and the rest of it too.
    EXPECT_EQ(text.getUtf8Sb().view(), expected.issuerCn.substr(0, expected.issuerCn.find(" + ")));
    ASSERT_TRUE(certificate.getDN(true, true, text, log, 0));
    EXPECT_EQ(text.getUtf8Sb().view(), inOurSpelling(expected.subject));
    EXPECT_EQ(canonicalKey(text.getUtf8()), canonicalKey(expected.subject));
}

void checkKey(const CorpusCertificate& expected, const VantrelX509& certificate) {
    LogNull log;
    DataBuffer info;
    ASSERT_TRUE(certificate.get_PublicKey(info, log));
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    const bool loaded = key->loadAnyDer(info, log);
    const std::string& type =
        expected.keyType; // "rsaEncryption 2048", "id-ecPublicKey 256 secp256k1"
    const bool exponentTwo = expected.file == "taken/zlint/badRsaExpLength.pem";
    if (type == "rsaEncryption 14" || exponentTwo) {
        EXPECT_FALSE(loaded);
        return;
    }
    ASSERT_TRUE(loaded);
    if (type.starts_with("ED")) {
        // OpenSSL tells the size of the order or of the encoding.
        EXPECT_EQ(key->keyType(), "EdDSA");
        return;
    }
    const std::string kind = type.starts_with("rsa")   ? "RSA"
                             : type.starts_with("dsa") ? "DSA"
                                                       : "EC";
    EXPECT_EQ(key->keyType(), kind);
    EXPECT_EQ(key->keyBits(), std::stoul(type.substr(type.find(' ') + 1)));
}

} // namespace

TEST(CertificateCorpus, EqualsWhatOpensslSays) {
    VANTREL_NEED_CORPUS(folder, "x509");
    int refused = 0;
    for (const CorpusCertificate& expected : test::readCertificateCorpus(folder)) {
        SCOPED_TRACE(expected.file);
        LogNull log;
        VantrelX509 certificate;
        const bool loaded = certificate.loadX509Der(expected.der, log);
        EXPECT_EQ(loaded, !expected.refused());
        EXPECT_EQ(certificate.isLoaded(), loaded);
        refused += loaded ? 0 : 1;
        if (!loaded) {
            continue;
        }
        checkNames(expected, certificate);
        ByteView keyId;
        const std::string ownId = certificate.subjectKeyId(keyId) ? test::toHex(keyId) : "";
        EXPECT_TRUE(std::equal(ownId.begin(), ownId.end(), expected.keyId.begin(),
                               expected.keyId.end(),
                               [](char a, char b) { return std::toupper(a) == b; }))
            << ownId;
        StringBuffer algorithm;
        EXPECT_TRUE(certificate.signatureAlgorithmName(algorithm));
        EXPECT_EQ(algorithm.view(), expected.signatureAlgorithm);
        checkKey(expected, certificate);
    }
    EXPECT_EQ(refused, 4);
}

} // namespace vantrel
