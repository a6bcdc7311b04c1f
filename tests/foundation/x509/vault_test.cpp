// SPDX-License-Identifier: MIT
// Looking certificates up in a vault the way documents name them.
#include "foundation/base/ClsBinData.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/ClsXmlCertVault.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"
#include "tests/foundation/x509/certificate_corpus.h"
#include "tests/support/corpus.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel {

namespace {

using test::CorpusCertificate;

// The components between the commas of a name, trimmed and written backwards: how the verifier
// hands a document's name on, without regard to commas inside values.
std::string reversedAtCommas(const std::string& dn) {
    std::string out;
    std::size_t end = dn.size();
    while (true) {
        const std::size_t comma = end == 0 ? std::string::npos : dn.rfind(',', end - 1);
        const std::size_t start = comma == std::string::npos ? 0 : comma + 1;
        std::string piece = dn.substr(start, end - start);
        piece.erase(0, piece.find_first_not_of(' '));
        piece.erase(piece.find_last_not_of(' ') + 1);
        out += (out.empty() ? "" : ", ") + piece;
        if (comma == std::string::npos) {
            return out;
        }
        end = comma;
    }
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

const VantrelX509* findSubject(SystemCerts& store, const std::string& dn) {
    LogNull log;
    XString values;
    const XString name(dn);
    DistinguishedName::removeDnTags(name, values);
    return store.findBySubjectDN_x509(values, name, true, log);
}

std::string subjectOf(const VantrelX509* certificate) {
    LogNull log;
    XString text;
    return certificate != nullptr && certificate->getDN(true, true, text, log, 0) ? text.getUtf8()
                                                                                  : "(none)";
}

class CorpusVault : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string folder = test::corpusPath("x509");
        if (folder.empty()) {
            GTEST_SKIP() << "the shared corpus has no x509";
        }
        m_all = test::readCertificateCorpus(folder);
        std::erase_if(m_all, [](const CorpusCertificate& c) { return c.refused(); });
        for (const CorpusCertificate& one : m_all) {
            ASSERT_TRUE(m_manager.addDer(one.der, m_log)) << one.file;
        }
        ASSERT_TRUE(m_store.addCertVault(m_manager, m_log));
    }

    LogNull m_log;
    CertMgr m_manager;
    SystemCerts m_store;
    std::vector<CorpusCertificate> m_all;
};

} // namespace

TEST_F(CorpusVault, IssuerAndDecimalSerialFindEveryCertificate) {
    for (const CorpusCertificate& one : m_all) {
        if (one.issuerCn.empty()) {
            continue;
        }
        SCOPED_TRACE(one.file);
        XString serial(test::decimalOf(one.serial));
        ASSERT_TRUE(serial.reencode("decimal", "hex"));
        const std::string issuer = one.issuerCn.substr(0, one.issuerCn.find(" + "));
        const VantrelX509* const found =
            m_store.findX509(serial.getUtf8(), issuer.c_str(), nullptr, m_log);
        ASSERT_NE(found, nullptr);
        XString text;
        ASSERT_TRUE(found->get_SerialNumber(text, m_log));
        EXPECT_EQ(text.getUtf8Sb().view(), one.serial);
        EXPECT_EQ(m_store.findX509((one.serial + "7E5B").c_str(), issuer.c_str(), nullptr, m_log),
                  nullptr);
        EXPECT_EQ(m_store.findX509(serial.getUtf8(), (issuer + "x").c_str(), nullptr, m_log),
                  nullptr);
    }
}

TEST_F(CorpusVault, SubjectInAnySpellingFindsEveryCertificate) {
    for (const CorpusCertificate& one : m_all) {
        if (one.subject.empty()) {
            continue;
        }
        const std::string raw = test::withoutHexEscapes(one.subject);
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, m_log));
        XString encodingOrder;
        ASSERT_TRUE(certificate.getDN(true, false, encodingOrder, m_log, 0));
        const std::vector<std::string> spellings = {
            one.subject,
            raw,
            encodingOrder.getUtf8(),
            replaced(raw, ",", ", "),
            replaced(raw, ",", "  ,\n\t "),
            reversedAtCommas(raw),
            reversedAtCommas(replaced(one.subject, ",", " , ")),
        };
        for (const std::string& dn : spellings) {
            const VantrelX509* const found = findSubject(m_store, dn);
            EXPECT_EQ(subjectOf(found), subjectOf(&certificate)) << one.file << ": " << dn;
        }
        EXPECT_EQ(findSubject(m_store, raw + ",O=another"), nullptr) << one.file;
    }
}

TEST_F(CorpusVault, KeyIdentifierFindsEveryCertificate) {
    for (const CorpusCertificate& one : m_all) {
        SCOPED_TRACE(one.file);
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, m_log));
        std::vector<test::Bytes> ids;
        if (!one.keyId.empty()) {
            ids.push_back(test::fromHex(one.keyId));
        }
        for (const test::Bytes& id : ids) {
            CertRecord* const found =
                m_store.findBySubjectKeyId(StringBuffer(test::toBase64(id)), m_log);
            ASSERT_NE(found, nullptr);
            ByteView own;
            ASSERT_TRUE(found->getX509Ptr()->subjectKeyId(own));
            EXPECT_EQ(test::Bytes(own.begin(), own.end()), id);
        }
    }
    EXPECT_EQ(m_store.findBySubjectKeyId(StringBuffer("AAECAwQFBgcICQoLDA0ODxAREhM="), m_log),
              nullptr);
    EXPECT_EQ(m_store.findBySubjectKeyId(StringBuffer("not base64!"), m_log), nullptr);
    EXPECT_EQ(m_store.findBySubjectKeyId(StringBuffer(), m_log), nullptr);
}

// made/ca.pem and made/ca_same_cn.pem share issuer CN and serial with themselves only; rsa2048 and
// twin share both, so the one added first answers.
TEST_F(CorpusVault, OfTwoMatchesTheFirstAddedWins) {
    const auto at = [&](const std::string& file) {
        const auto it = std::find_if(m_all.begin(), m_all.end(),
                                     [&](const CorpusCertificate& c) { return c.file == file; });
        return m_manager.certAt(static_cast<std::uint32_t>(it - m_all.begin()));
    };
    const VantrelX509* const found = m_store.findX509("80", "Corpus Test CA", nullptr, m_log);
    EXPECT_EQ(found, at("made/bad_trailing.der")); // the same certificate with bytes after it
    SystemCerts other;
    CertMgr twinFirst;
    ASSERT_TRUE(twinFirst.addDer(DataBuffer(at("made/twin.der")->certificate()), m_log));
    ASSERT_TRUE(other.addCertVault(twinFirst, m_log));
    ASSERT_TRUE(other.addCertVault(m_manager, m_log));
    EXPECT_EQ(other.findX509("80", "corpus  test CA", nullptr, m_log), twinFirst.certAt(0));
    EXPECT_EQ(other.findX509(" 0080", "Corpus Test CA", nullptr, m_log), twinFirst.certAt(0));
}

// The expected value is what "openssl x509 -ocspid" prints as the hash of the public key.
TEST_F(CorpusVault, KeyWithoutIdentifierIsFoundByItsHash) {
    const std::string id =
        test::toBase64(test::fromHex("447D47EBAE601EF4A5A47241BD9FD0C47F851FD1"));
    CertRecord* const found = m_store.findBySubjectKeyId(StringBuffer(id), m_log);
    ASSERT_NE(found, nullptr);
    ByteView own;
    EXPECT_FALSE(found->getX509Ptr()->subjectKeyId(own));
    EXPECT_EQ(subjectOf(found->getX509Ptr()), "CN=Sean Mullan,DC=sun,DC=com");
}

// The very bytes count, wherever one of them differs.
TEST_F(CorpusVault, HoldsTheCertificatesThatWereAdded) {
    SystemCerts empty;
    for (const CorpusCertificate& one : m_all) {
        VantrelX509 certificate;
        ASSERT_TRUE(certificate.loadX509Der(one.der, m_log));
        const ByteView der = certificate.certificate();
        EXPECT_TRUE(m_store.holds(der)) << one.file;
        EXPECT_FALSE(empty.holds(der)) << one.file;
        for (const std::size_t at : {std::size_t{10}, der.size() / 2, der.size() - 1}) {
            test::Bytes changed(der.begin(), der.end());
            changed[at] = static_cast<std::uint8_t>(changed[at] ^ 0x40U);
            EXPECT_FALSE(m_store.holds(ByteView(changed))) << one.file << " byte " << at;
        }
        EXPECT_FALSE(m_store.holds(der.first(der.size() - 1))) << one.file;
    }
}

// By the digests that other programs call thumbprints, also of certificates that are added when
// the others have been hashed.
TEST_F(CorpusVault, DigestFindsEveryCertificate) {
    CertMgr manager;
    SystemCerts store;
    ASSERT_TRUE(store.addCertVault(manager, m_log));
    for (const CorpusCertificate& one : m_all) {
        ASSERT_TRUE(manager.addDer(one.der, m_log));
        const ByteView der = manager.certAt(manager.numCerts() - 1)->certificate();
        for (const int hashId : {kHashSha1, kHashSha256, kHashSha512}) {
            std::uint8_t digest[crypto::kMaxDigestSize];
            const std::span<std::uint8_t> own = crypto::hashBytes(hashId, der, digest);
            const VantrelX509* const found = store.findByDigest(hashId, own);
            ASSERT_NE(found, nullptr) << one.file;
            EXPECT_TRUE(std::ranges::equal(found->certificate(), der)) << one.file;
            EXPECT_EQ(store.findByDigest(hashId, ByteView(own).first(own.size() - 1)), nullptr);
            EXPECT_EQ(store.findByDigest(kHashMd5, own), nullptr);
            own.back() = static_cast<std::uint8_t>(own.back() ^ 1U);
            EXPECT_EQ(store.findByDigest(hashId, own), nullptr) << one.file;
        }
    }
    EXPECT_EQ(store.findByDigest(0, ByteView()), nullptr);
}

// A bundle that is decoded in several parts, with blocks in it that are no certificates, and one
// with more text than certificates: every certificate is there, in its order, with its own bytes.
TEST_F(CorpusVault, BundlesAreWhatTheirCertificatesAre) {
    std::string once = "-----BEGIN CERTIFICATE-----\nMAMC\n-----END CERTIFICATE-----\n";
    for (const CorpusCertificate& one : m_all) {
        once += "-----BEGIN CERTIFICATE-----\n" + test::toBase64(one.der.view()) +
                "\n-----END CERTIFICATE-----\n-----BEGIN X-----\nAAAA\n-----END X-----\n";
    }
    const std::size_t times = (std::size_t{20} << 20U) / once.size();
    std::string bundle;
    for (std::size_t i = 0; i < times; ++i) {
        bundle += once;
    }
    for (const std::string& pem : {bundle, once + std::string(100000, ' ')}) {
        CertMgr manager;
        std::uint32_t added = 0;
        ASSERT_TRUE(manager.addPem(pem, added, m_log));
        ASSERT_EQ(added, pem.size() > once.size() * 2 ? times * m_all.size() : m_all.size());
        ASSERT_EQ(manager.numCerts(), added);
        for (std::uint32_t i = 0; i < added; ++i) {
            const auto original = static_cast<std::uint32_t>(i % m_all.size());
            ASSERT_TRUE(std::ranges::equal(manager.certAt(i)->certificate(),
                                           m_manager.certAt(original)->certificate()))
                << i;
        }
    }
}

// A vault is shared: what is added later is found, and it may go before the store does.
TEST_F(CorpusVault, StoreSharesTheVault) {
    SystemCerts store;
    EXPECT_EQ(store.findX509("80", "Corpus Test CA", nullptr, m_log), nullptr);
    {
        const std::unique_ptr<ClsXmlCertVault> vault(ClsXmlCertVault::createNewCls());
        ASSERT_TRUE(store.addCertVault(*vault->getCertMgr(), m_log));
        ASSERT_TRUE(store.addCertVault(*vault->getCertMgr(), m_log));
        EXPECT_EQ(store.numVaults(), 1U);
        EXPECT_EQ(store.findX509("80", "Corpus Test CA", nullptr, m_log), nullptr);
        for (const CorpusCertificate& one : m_all) {
            ClsBinData der;
            ASSERT_TRUE(der.AppendData(one.der.getData2(), one.der.getSize()));
            EXPECT_TRUE(vault->AddCertDer(der));
        }
        EXPECT_EQ(vault->get_NumCerts(), m_all.size());
    }
    EXPECT_NE(store.findX509("80", "Corpus Test CA", nullptr, m_log), nullptr);
    EXPECT_EQ(subjectOf(findSubject(store, "c=XX, o=org, cn=ec p-256")), "CN=EC P-256,O=Org,C=XX");
}

TEST(Vault, TakesEveryFormAndNothingElse) {
    VANTREL_NEED_CORPUS(pemPath, "x509/made/p256.pem");
    VANTREL_NEED_CORPUS(derPath, "x509/made/p384.der");
    const std::string pem = test::readText(pemPath);
    const test::Bytes der = test::readFile(derPath);
    ClsXmlCertVault vault;
    EXPECT_TRUE(vault.AddCertPem(XString("text before\n" + pem + "\nbetween\n" + pem)));
    EXPECT_EQ(vault.get_NumCerts(), 2U);
    EXPECT_TRUE(vault.AddCertEncoded(XString(test::toBase64(der))));
    EXPECT_EQ(vault.get_NumCerts(), 3U);
    // A damaged block does not hide the good one after it; a bundle without any is a failure.
    const std::string damaged = replaced(pem, "MII", "M!I");
    EXPECT_TRUE(vault.AddCertPem(XString(damaged + pem)));
    EXPECT_EQ(vault.get_NumCerts(), 4U);
    for (const std::string& bad :
         {damaged, std::string(), std::string("-----BEGIN CERTIFICATE-----"),
          replaced(pem, "-----END", "-----FIN")}) {
        EXPECT_FALSE(vault.AddCertPem(XString(bad)));
    }
    EXPECT_FALSE(vault.AddCertEncoded(XString("AAAA")));
    EXPECT_FALSE(vault.AddCertEncoded(XString("?")));
    EXPECT_EQ(vault.get_NumCerts(), 4U);
}

} // namespace vantrel
