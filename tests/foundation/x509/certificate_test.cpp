// SPDX-License-Identifier: MIT
// What a certificate says, and certificates that are damaged.
#include "foundation/asn1/der_reader.h"
#include "foundation/asn1/der_writer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/foundation/x509/certificate_corpus.h"
#include "tests/support/corpus.h"
#include "tests/support/recording_log.h"
#include "tests/support/vectors.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

using test::Bytes;

Bytes firstCertificate() {
    test::VecCase c = test::readVectors("x509/certificates.vec", "Certificates").at(0);
    return c.hex("Der");
}

Ref<ClsPublicKey> keyOf(const VantrelX509& certificate) {
    LogNull log;
    Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
    static_cast<void>(key->loadAnyDer(certificate.publicKeyInfo(), log));
    return key;
}

std::string timeStampingOf(const VantrelX509& certificate) {
    bool present = false;
    bool named = false;
    bool onlyOne = false;
    bool critical = false;
    certificate.extendedKeyUsage("1.3.6.1.5.5.7.3.8", present, named, onlyOne, critical);
    EXPECT_EQ(named, present);
    return std::string(critical ? "critical " : "") + (onlyOne ? "only" : "among others");
}

// Whatever the bytes are, every question gets an answer.
void askEverything(const VantrelX509& certificate) {
    LogNull log;
    XString text;
    StringBuffer name;
    DataBuffer bytes;
    ByteView view;
    std::int64_t from = 0;
    std::int64_t to = 0;
    std::uint32_t usage = 0;
    bool flag = false;
    int length = 0;
    static_cast<void>(certificate.get_IssuerCN(text, log));
    static_cast<void>(certificate.get_SubjectCN(text, log));
    static_cast<void>(certificate.get_SerialNumber(text, log));
    static_cast<void>(certificate.getDN(true, true, text, log, 0));
    static_cast<void>(certificate.getDN(false, false, text, log, 0));
    static_cast<void>(certificate.signatureAlgorithmName(name));
    static_cast<void>(certificate.validity(from, to));
    static_cast<void>(certificate.subjectKeyId(view));
    static_cast<void>(certificate.keyUsage(usage));
    static_cast<void>(certificate.basicConstraints(flag, length));
    certificate.extendedKeyUsage("1.3.6.1.5.5.7.3.8", flag, flag, flag, flag);
    static_cast<void>(certificate.isSignedBy(keyOf(certificate)->key(), log));
    EXPECT_EQ(certificate.getCertDer(bytes), certificate.isLoaded());
}

} // namespace

TEST(Certificate, SaysWhatOpensslPutIn) {
    test::forEachVector("x509/certificates.vec", "Certificates", [](test::VecCase& c) {
        SCOPED_TRACE(c.where());
        LogNull log;
        const DataBuffer der(ByteView(c.hex("Der")));
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(der, log));
        XString text;
        ASSERT_TRUE(certificate.get_SerialNumber(text, log));
        EXPECT_EQ(text.getUtf8Sb().view(), c.text("Serial"));
        for (const bool subject : {true, false}) {
            ASSERT_TRUE(certificate.getDN(subject, true, text, log, 0));
            EXPECT_EQ(text.getUtf8Sb().view(), c.text("Subject"));
        }
        std::int64_t from = 0;
        std::int64_t to = 0;
        ASSERT_TRUE(certificate.validity(from, to));
        EXPECT_EQ(from, c.integer("NotBefore"));
        EXPECT_EQ(to, c.integer("NotAfter"));
        ByteView keyId;
        std::uint32_t usage = 0;
        EXPECT_EQ(certificate.subjectKeyId(keyId) ? test::toHex(keyId) : "", c.textOr("KeyId", ""));
        EXPECT_EQ(certificate.keyUsage(usage) ? usage : 0, c.integerOr("KeyUsage", 0));
        bool isCa = false;
        int pathLength = 0;
        ASSERT_TRUE(certificate.basicConstraints(isCa, pathLength));
        EXPECT_EQ(isCa, c.boolean("Ca"));
        EXPECT_EQ(pathLength, c.integer("PathLength"));
        EXPECT_EQ(timeStampingOf(certificate), c.text("TimeStamping"));
        EXPECT_TRUE(certificate.isSelfIssued());
        EXPECT_TRUE(certificate.isSignedBy(keyOf(certificate)->key(), log));
        DataBuffer again;
        EXPECT_TRUE(certificate.getCertDer(again));
        EXPECT_TRUE(again.equals(der));
    });
}

TEST(Certificate, EveryTruncationIsRefused) {
    const Bytes good = firstCertificate();
    for (std::size_t size = 0; size < good.size(); ++size) {
        test::RecordingLog log;
        VantrelX509 certificate;
        EXPECT_FALSE(certificate.loadX509Der(DataBuffer(ByteView(good).first(size)), log)) << size;
        EXPECT_TRUE(log.hasError("The bytes are not an X.509 certificate.")) << size;
        EXPECT_FALSE(certificate.isLoaded());
        askEverything(certificate);
    }
}

// A changed byte is refused, or the certificate differs and its signature fails.
TEST(Certificate, EveryChangedByteIsNoticed) {
    const Bytes good = firstCertificate();
    VantrelX509 original;
    LogNull log;
    ASSERT_TRUE(original.loadX509Der(DataBuffer(ByteView(good)), log));
    const Ref<ClsPublicKey> key = keyOf(original);
    test::RandomBytes random(3);
    for (std::size_t at = 0; at < good.size(); ++at) {
        Bytes changed = good;
        changed[at] = static_cast<std::uint8_t>(changed[at] ^ (1U + random.below(255)));
        VantrelX509 certificate;
        if (certificate.loadX509Der(DataBuffer(ByteView(changed)), log)) {
            askEverything(certificate);
            EXPECT_FALSE(certificate.isSignedBy(key->key(), log)) << at;
        }
    }
}

// Lengths that reach beyond the certificate, and as far as lengths go.
TEST(Certificate, HugeLengthsAreRefused) {
    const Bytes good = firstCertificate();
    for (std::size_t at = 0; at + 5 < good.size(); ++at) {
        for (const int first : {0x7F, 0x80, 0x82, 0x84, 0x88, 0xFF}) {
            Bytes changed = good;
            changed[at] = static_cast<std::uint8_t>(first);
            std::fill_n(changed.begin() + static_cast<std::ptrdiff_t>(at) + 1, 4,
                        std::uint8_t{0xFF});
            VantrelX509 certificate;
            LogNull log;
            if (certificate.loadX509Der(DataBuffer(ByteView(changed)), log)) {
                askEverything(certificate);
            }
        }
    }
}

TEST(Certificate, DeepNestingIsRefused) {
    Bytes deep(200000, 0x30);
    for (std::size_t i = 1; i < deep.size(); i += 2) {
        deep[i] = 0x80;
    }
    VantrelX509 certificate;
    LogNull log;
    EXPECT_FALSE(certificate.loadX509Der(DataBuffer(ByteView(deep)), log));
}

// Bytes after the certificate are ignored, and so is the way its outer lengths are written.
TEST(Certificate, BerAndTrailingBytesAreAccepted) {
    const Bytes good = firstCertificate();
    LogNull log;
    VantrelX509 certificate;
    Bytes trailing = good;
    trailing.insert(trailing.end(), {0x0A, 0x00, 0x30});
    ASSERT_TRUE(certificate.loadX509Der(DataBuffer(ByteView(trailing)), log));
    DataBuffer der;
    ASSERT_TRUE(certificate.getCertDer(der));
    EXPECT_EQ(test::toHex(der.view()), test::toHex(good));

    asn1::DerReader reader{ByteView(good)};
    ByteView contents;
    ASSERT_TRUE(reader.read(asn1::Tag::Sequence, contents));
    Bytes indefinite{0x30, 0x80};
    indefinite.insert(indefinite.end(), contents.begin(), contents.end());
    indefinite.resize(indefinite.size() + 2, 0);
    ASSERT_TRUE(certificate.loadX509Der(DataBuffer(ByteView(indefinite)), log));
    EXPECT_EQ(test::toHex(certificate.certificate()), test::toHex(good));
    EXPECT_TRUE(certificate.isSignedBy(keyOf(certificate)->key(), log));
}

TEST(Certificate, FromBase64) {
    LogNull log;
    const std::string base64 = test::toBase64(firstCertificate());
    const auto make = [&](const std::string& text) {
        return std::unique_ptr<CertificateHolder>(CertificateHolder::createFromBase64(
            text.c_str(), static_cast<std::uint32_t>(text.size()), nullptr, log));
    };
    const std::unique_ptr<CertificateHolder> holder =
        make(base64.substr(0, 40) + "\r\n " + base64.substr(40));
    ASSERT_NE(holder, nullptr);
    ASSERT_NE(holder->getCertPtr(log), nullptr);
    EXPECT_NE(holder->getCertPtr(log)->getX509Ptr(), nullptr);
    EXPECT_EQ(make(""), nullptr);
    EXPECT_EQ(make("AAAA"), nullptr);
    EXPECT_EQ(make(base64.substr(0, 80)), nullptr);
    EXPECT_EQ(CertificateHolder::createFromBase64(nullptr, 0, nullptr, log), nullptr);
}

// Every certificate of the corpus that names the corpus authority was signed by it (but for the
// impostor with the same common name), in every signature algorithm that it used.
TEST(Certificate, SignaturesOfTheCorpusAuthority) {
    VANTREL_NEED_CORPUS(folder, "x509");
    LogNull log;
    VantrelX509 authority;
    VantrelX509 impostor;
    ASSERT_TRUE(authority.loadX509Der(test::readCertificateFile(folder + "/made/ca.der"), log));
    ASSERT_TRUE(
        impostor.loadX509Der(test::readCertificateFile(folder + "/made/ca_same_cn.der"), log));
    const Ref<ClsPublicKey> key = keyOf(authority);
    const Ref<ClsPublicKey> otherKey = keyOf(impostor);
    int checked = 0;
    for (const test::CorpusCertificate& one : test::readCertificateCorpus(folder)) {
        if (!one.file.starts_with("made/") || one.refused()) {
            continue;
        }
        SCOPED_TRACE(one.file);
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, log));
        const bool byAuthority =
            test::toHex(certificate.issuer()) == test::toHex(authority.subject());
        EXPECT_EQ(certificate.isSignedBy(key->key(), log), byAuthority);
        const bool byImpostor =
            test::toHex(certificate.issuer()) == test::toHex(impostor.subject());
        EXPECT_EQ(certificate.isSignedBy(otherKey->key(), log), byImpostor);
        if (certificate.isSelfIssued()) {
            EXPECT_TRUE(certificate.isSignedBy(keyOf(certificate)->key(), log));
        }
        ++checked;
    }
    EXPECT_GT(checked, 40);
}

} // namespace vantrel
