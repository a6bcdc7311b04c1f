// SPDX-License-Identifier: MIT
// Messages and time-stamp tokens that another implementation (openssl cms) signs here: every kind
// of key, padding and signer, and certificates that are not what they should be.

#include "foundation/cms/signed_data.h"

#include "foundation/asn1/der_writer.h"
#include "tests/foundation/cms/cms_support.h"
#include "tests/support/test_authority.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vantrel::test {

namespace {

using asn1::DerWriter;
using asn1::Tag;

constexpr const char* kTstInfoType = "1.2.840.113549.1.9.16.1.4";

enum class Extension { None, Plain, Critical };

// A TSTInfo of this moment, so that certificates made just now are valid at its time.
std::string tstInfo(const std::string& time = "20300101120000Z",
                    Extension extension = Extension::None) {
    DerWriter writer;
    writer.open(Tag::Sequence);
    writer.writeUnsigned(1);
    EXPECT_TRUE(writer.writeOid("1.2.3"));
    writer.open(Tag::Sequence);
    writer.open(Tag::Sequence);
    EXPECT_TRUE(writer.writeOid("2.16.840.1.101.3.4.2.1"));
    writer.close();
    writer.write(Tag::OctetString, Bytes(32, 7));
    writer.close();
    writer.writeUnsigned(99);
    writer.write(Tag::GeneralizedTime, asBytes(time));
    if (extension != Extension::None) {
        writer.open(asn1::contextConstructed(1));
        writer.open(Tag::Sequence);
        EXPECT_TRUE(writer.writeOid("1.2.3.4"));
        if (extension == Extension::Critical) {
            writer.writeBoolean(true);
        }
        writer.write(Tag::OctetString, {});
        writer.close();
        writer.close();
    }
    writer.close();
    return textOf(writer.bytes());
}

bool saysWhy(const Outcome& outcome, std::string_view error) {
    return !outcome.verified && outcome.content.empty() &&
           outcome.errors.find(error) != std::string::npos;
}

} // namespace

TEST(SignedData, EveryKindOfSignatureVerifies) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    for (const char* const key : {"ec", "ec384", "rsa", "dsa"}) {
        authority.issue(key, "", kTsaExtensions, key);
    }
    const std::string content = "any content \x00\xFF";
    using Words = std::vector<std::string>;
    const std::vector<std::pair<const char*, Words>> cases = {
        {"ec", {}},
        {"ec", {"-noattr"}},
        {"ec", {"-keyid"}},
        {"ec", {"-md", "sha512"}},
        {"ec384", {"-md", "sha384"}},
        {"dsa", {"-md", "sha256"}},
        {"dsa", {"-md", "sha1"}},
        {"rsa", {"-md", "sha1"}},
        {"rsa", {"-md", "ripemd160", "-provider", "legacy", "-provider", "default"}},
        {"rsa", {"-md", "md5"}},
        {"rsa", {"-stream", "-indef"}},
        {"rsa", {"-cades"}},
        {"ec", {"-cades", "-md", "sha384"}},
        {"rsa", {"-keyopt", "rsa_padding_mode:pss"}},
        {"rsa", {"-noattr", "-keyopt", "rsa_padding_mode:pss", "-keyopt", "rsa_pss_saltlen:0"}},
        {"rsa",
         {"-md", "sha512", "-keyopt", "rsa_padding_mode:pss", "-keyopt", "rsa_mgf1_md:sha1"}},
        {"ec", {"-signer", "rsa.pem", "-inkey", "rsa.key"}},
        {"rsa", {"-nocerts"}},
        {"ec", {"-nocerts", "-keyid"}},
    };
    Store store({authority.file("rsa.pem"), authority.file("ec.pem")});
    for (const auto& [name, more] : cases) {
        std::string trace = name;
        std::for_each(more.begin(), more.end(), [&](const std::string& w) { trace += " " + w; });
        SCOPED_TRACE(trace);
        Bytes message = authority.sign(name, content, more);
        Pkcs7SignedData signedData;
        const Outcome outcome = verifyMessage(signedData, message, store.get());
        EXPECT_TRUE(outcome.verified) << outcome.errors;
        EXPECT_EQ(textOf(outcome.content), content);
        EXPECT_FALSE(signedData.isTimeStamp());
        // The content is the only thing that occurs but once.
        const std::string text = textOf(message);
        const std::size_t at = text.find("any content");
        ASSERT_NE(at, std::string::npos);
        message[at] ^= 1U;
        EXPECT_FALSE(verifyMessage(message, store.get()).verified);
    }
}

// One signer who does not verify spoils the message, whatever the others are.
TEST(SignedData, EverySignerMustVerify) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    authority.issue("one", "", kTsaExtensions);
    authority.issue("two", "", kTsaExtensions, "rsa");
    const std::vector<std::string> second = {"-signer", "two.pem", "-inkey", "two.key"};
    const Bytes genuine = authority.sign("one", "content", second);
    cms::SignedData data;
    std::string_view whyNot;
    ASSERT_EQ(cms::parseSignedData(genuine, data, whyNot), cms::SignedDataVerdict::Parsed);
    ASSERT_EQ(data.signers.size(), 2U);
    for (const cms::SignerInfo& signer : data.signers) {
        Bytes changed = genuine;
        changed[static_cast<std::size_t>(signer.signature.data() - genuine.data()) +
                signer.signature.size() - 1] ^= 1U;
        EXPECT_TRUE(saysWhy(verifyMessage(changed, nullptr), "signature of the signed data is"));
    }
    std::vector<std::string> asToken = second;
    asToken.insert(asToken.end(), {"-econtent_type", kTstInfoType});
    EXPECT_TRUE(saysWhy(verifyMessage(authority.sign("one", tstInfo(), asToken), nullptr),
                        "exactly one signer"));
}

// The signature is over the attributes in DER's order, whatever theirs in the message, or over them
// as they stand. What stands behind the message is no part of it.
TEST(SignedData, AttributesInAnotherOrder) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    authority.issue("one", "", kTsaExtensions, "rsa");
    Bytes message = authority.sign("one", "content");
    cms::SignedData data;
    std::string_view whyNot;
    ASSERT_EQ(cms::parseSignedData(message, data, whyNot), cms::SignedDataVerdict::Parsed);
    Bytes padded = message;
    padded.insert(padded.end(), 2, 0);
    cms::SignedData again;
    ASSERT_EQ(cms::parseSignedData(padded, again, whyNot), cms::SignedDataVerdict::Parsed);
    EXPECT_EQ(again.size, message.size());
    const ByteView attributes = data.signers.at(0).signedAttributes;
    const auto placeOf = [&message](ByteView part) {
        return message.begin() + (part.data() - message.data());
    };
    const auto first = placeOf(attributes);
    const auto second = first + 2 + first[1];
    const auto signature = placeOf(data.signers[0].signature);
    std::rotate(first, second, second + 2 + second[1]);
    EXPECT_TRUE(verifyMessage(message, nullptr).verified);
    *signature ^= 1U;
    EXPECT_TRUE(saysWhy(verifyMessage(message, nullptr), "signature of the signed data is"));

    // A SET of them, as they stand, instead of the tag that the message has.
    Bytes asTheyStand(first - (attributes.size() < 0x80 ? 2 : 3),
                      first + static_cast<std::ptrdiff_t>(attributes.size()));
    asTheyStand[0] = 0x31;
    test::writeFile(authority.file("attributes"), textOf(asTheyStand));
    authority.run({"dgst", "-sha256", "-sign", "one.key", "-out", "value", "attributes"});
    const Bytes value = test::readFile(authority.file("value"));
    ASSERT_EQ(value.size(), data.signers[0].signature.size());
    std::copy(value.begin(), value.end(), signature);
    EXPECT_TRUE(verifyMessage(message, nullptr).verified);
}

TEST(SignedData, TokensWithFaultsAreRefused) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    const std::string start = "basicConstraints=CA:FALSE\n";
    authority.issue("good", "", kTsaExtensions);
    authority.issue("plain", "", start);
    authority.issue("loose", "", start + "extendedKeyUsage=timeStamping\n");
    authority.issue("other", "", start + "extendedKeyUsage=critical,codeSigning\n");
    authority.issue("both", "", start + "extendedKeyUsage=critical,timeStamping,codeSigning\n");
    authority.issue("agree", "",
                    start + "extendedKeyUsage=critical,timeStamping\nkeyUsage=keyAgreement\n");
    constexpr const char* kNotMade = "is not made for time-stamping";
    const struct {
        const char* signer;
        std::string content;
        std::vector<std::string> more;
        const char* error;
    } cases[] = {
        {"good", tstInfo(), {}, nullptr},
        {"good", tstInfo(), {"-cades"}, nullptr},
        {"good", tstInfo(), {"-noattr"}, "There are no signed attributes"},
        {"good", tstInfo("20300101120000"), {}, "content of the time-stamp token is malformed"},
        {"good", tstInfo() + "x", {}, "content of the time-stamp token is malformed"},
        {"good", tstInfo("20300101120000Z", Extension::Plain), {}, nullptr},
        {"good",
         tstInfo("20300101120000Z", Extension::Critical),
         {},
         "time-stamp token is malformed"},
        {"good", "", {}, "content of the time-stamp token is malformed"},
        {"plain", tstInfo(), {}, kNotMade},
        {"loose", tstInfo(), {}, kNotMade},
        {"other", tstInfo(), {}, kNotMade},
        {"both", tstInfo(), {}, kNotMade},
        {"agree", tstInfo(), {}, kNotMade},
    };
    for (const auto& one : cases) {
        std::vector<std::string> more = one.more;
        more.insert(more.end(), {"-econtent_type", kTstInfoType});
        Pkcs7SignedData token;
        const Outcome outcome =
            verifyMessage(token, authority.sign(one.signer, one.content, more), nullptr);
        if (one.error == nullptr) {
            EXPECT_TRUE(outcome.verified) << outcome.errors;
            EXPECT_EQ(token.genTime(), "2030-01-01T12:00:00Z");
            EXPECT_EQ(textOf(outcome.content), one.content);
        } else {
            EXPECT_TRUE(saysWhy(outcome, one.error)) << one.signer << ": " << outcome.errors;
            EXPECT_TRUE(token.genTime().empty());
        }
    }
}

// Two certificates with one issuer, serial number and key: the signature is right with both, the
// signing-certificate attribute says which was meant.
TEST(SignedData, SigningCertificateAttributeTellsCertificatesApart) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    authority.issue("tsa", "", kTsaExtensions);
    authority.run(
        {"x509", "-in", "tsa.pem", "-signkey", "tsa.key", "-days", "99", "-out", "twin.pem"});
    Store meant({authority.file("tsa.pem")});
    Store twin({authority.file("twin.pem")});
    for (const char* const digest : {"sha1", "sha256", "sha512"}) { // sha1: the first version
        const Bytes token =
            authority.sign("tsa", tstInfo(),
                           {"-cades", "-nocerts", "-md", digest, "-econtent_type", kTstInfoType});
        EXPECT_TRUE(verifyMessage(token, meant.get()).verified);
        EXPECT_TRUE(saysWhy(verifyMessage(token, twin.get()),
                            "The signing-certificate attribute does not name"))
            << digest;
    }
    const Bytes without =
        authority.sign("tsa", tstInfo(), {"-nocerts", "-econtent_type", kTstInfoType});
    EXPECT_TRUE(verifyMessage(without, twin.get()).verified);
}

TEST(CertificatePath, LeadsToTheStoreOrDoesNot) {
    VANTREL_NEED_PROGRAM(openssl, "openssl");
    TestAuthority authority(openssl);
    const std::string ca = "basicConstraints=critical,CA:TRUE\nsubjectKeyIdentifier=hash\n";
    authority.issue("root", "", kRootExtensions);
    authority.issue("impostor", "", kRootExtensions, "ec", "root");
    authority.issue("shortroot", "", "basicConstraints=critical,CA:TRUE,pathlen:0\n");
    authority.issue("sub", "root", kRootExtensions);
    authority.issue("shortsub", "shortroot", kRootExtensions);
    authority.issue("noca", "root", "basicConstraints=CA:FALSE\n");
    authority.issue("nosign", "root", ca + "keyUsage=digitalSignature\n");
    authority.issue("oldsub", "root", ca, "ec", "", "1");
    authority.issue("oddsub", "root", ca + "1.2.3.4=critical,ASN1:NULL\n");
    for (const char* const issuer :
         {"root", "sub", "shortsub", "noca", "nosign", "oldsub", "oddsub", "shortroot"}) {
        authority.issue(std::string("under-") + issuer, issuer, kTsaExtensions);
    }
    const struct {
        const char* signer;
        std::vector<std::string> carried; // in the token, beside the signer's
        std::vector<std::string> store;
        bool trusted;
    } cases[] = {
        {"under-root", {}, {"root"}, true},
        {"under-root", {}, {"under-root"}, true},
        {"under-root", {}, {"impostor", "root"}, true}, // told apart by the key identifier
        {"under-root", {}, {"impostor"}, false},
        {"under-root", {"root"}, {}, false},
        {"under-root", {"root"}, {"sub"}, false},
        {"under-sub", {}, {"root"}, false},
        {"under-sub", {"sub"}, {"root"}, true},
        {"under-sub", {"sub", "root"}, {"root"}, true},
        {"under-sub", {}, {"sub", "root"}, true},
        {"under-sub", {}, {"sub"}, true},
        {"under-shortroot", {}, {"shortroot"}, true},
        {"under-shortsub", {"shortsub"}, {"shortroot"}, false},
        {"under-noca", {"noca"}, {"root"}, false},
        {"under-noca", {}, {"noca"}, false},
        {"under-nosign", {"nosign"}, {"root"}, false},
        {"under-oldsub", {"oldsub"}, {"root"}, false},
        {"under-oddsub", {"oddsub"}, {"root"}, false},
    };
    const auto fileOf = [&](const std::string& name) { return authority.file(name + ".pem"); };
    for (const auto& one : cases) {
        std::string trace = std::string(one.signer) + "; store:";
        std::vector<std::string> more = {"-econtent_type", kTstInfoType};
        if (!one.carried.empty()) {
            std::string bundle;
            for (const std::string& name : one.carried) {
                bundle += readText(fileOf(name));
            }
            writeFile(authority.file("bundle.pem"), bundle);
            more.insert(more.end(), {"-certfile", "bundle.pem"});
        }
        std::vector<std::string> files;
        for (const std::string& name : one.store) {
            files.push_back(fileOf(name));
            trace += " " + name;
        }
        SCOPED_TRACE(trace);
        Store store(files);
        const Bytes message = authority.sign(one.signer, tstInfo(), more);
        Pkcs7SignedData token;
        EXPECT_TRUE(verifyMessage(token, message, store.get()).verified);
        EXPECT_EQ(token.authorityTrusted(), one.trusted);
        const Outcome strict =
            verifyMessage(token, message, store.get(), R"({"requireTrustedTsa":true})");
        EXPECT_EQ(strict.verified, one.trusted) << strict.errors;
        // Before the certificates were made there was no authority to trust.
        const Bytes early = authority.sign(one.signer, tstInfo("20200101120000Z"), more);
        EXPECT_TRUE(verifyMessage(token, early, store.get()).verified);
        EXPECT_FALSE(token.authorityTrusted());
    }
}

} // namespace vantrel::test
