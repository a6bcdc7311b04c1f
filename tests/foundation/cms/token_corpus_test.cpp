// SPDX-License-Identifier: MIT
// Tokens and messages that another implementation made, with its verdicts.

#include "foundation/cms/signed_data.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/json/json_value.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/oids.h"
#include "tests/foundation/cms/cms_support.h"
#include "tests/support/corpus.h"

#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace vantrel::test {

namespace {

std::string field(const json::JsonValue& entry, std::string_view name) {
    const json::JsonValue* const value = entry.find(name);
    return value == nullptr ? std::string() : std::string(value->text());
}

json::JsonValue readManifest(const std::string& folder) {
    json::JsonValue manifest;
    std::size_t faultAt = 0;
    EXPECT_TRUE(json::parseJson(readText(folder + "/manifest.json"), manifest, faultAt));
    return manifest;
}

bool imprintMatches(const Pkcs7SignedData& message, const Bytes& data) {
    const cms::TstInfo& info = message.tstInfo();
    std::uint8_t digest[crypto::kMaxDigestSize];
    return x509::sameBytes(info.imprint, crypto::hashBytes(info.hashId, data, digest));
}

} // namespace

TEST(TokenCorpus, VerdictsAreThoseOfTheOtherImplementation) {
    VANTREL_NEED_CORPUS(folder, "tsa");
    const json::JsonValue manifest = readManifest(folder);
    const json::JsonValue* const tokens = manifest.find("tokens");
    ASSERT_NE(tokens, nullptr);
    ASSERT_GE(tokens->elements().size(), 30U);
    for (const json::JsonValue& entry : tokens->elements()) {
        const std::string name = field(entry, "token");
        SCOPED_TRACE(name + ": " + field(entry, "what"));
        const std::string expected = field(entry, "expected_cms");
        const bool carried =
            entry.find("certificate_in_token")->kind() == json::JsonValue::Kind::True;
        const Bytes der = readFile(folder + "/" + name);
        Store signer({folder + "/" + field(entry, "signer_certificate")});
        Store authority({folder + "/certs/ca.pem"});

        Pkcs7SignedData message;
        const Outcome outcome = verifyMessage(message, der, signer.get());
        EXPECT_EQ(outcome.loaded, expected != "unparseable") << outcome.errors;
        // "unspecified": indefinite lengths, and bytes after the message. Both are taken here.
        const bool valid = expected == "valid" || expected == "unspecified";
        EXPECT_EQ(outcome.verified, valid) << outcome.errors;
        EXPECT_EQ(outcome.content.empty(), !valid);
        if (message.isTimeStamp()) {
            EXPECT_EQ(imprintMatches(message, readFile(folder + "/" + field(entry, "data"))),
                      field(entry, "expected_imprint") == "match");
            EXPECT_TRUE(message.authorityTrusted());
            EXPECT_NE(message.signerSubject().view().find("CN=Corpus TSA"), std::string_view::npos);
            EXPECT_EQ(message.genTime().substr(0, 11), "2026-11-21T");
        } else {
            EXPECT_NE(valid && field(entry, "expected_imprint") == "match", true);
        }
        // Without the store the message must bring the certificate itself, and is not trusted.
        const Outcome alone = verifyMessage(message, der, nullptr);
        EXPECT_EQ(alone.verified, valid && carried);
        EXPECT_FALSE(message.authorityTrusted());
        const Outcome demanding =
            verifyMessage(message, der, authority.get(), R"({"requireTrustedTsa":true})");
        EXPECT_EQ(demanding.verified,
                  valid && carried && field(entry, "expected_imprint") != "none")
            << demanding.errors;
    }
}

// The offsets of the bytes that a signature over signed attributes must protect; empty for BER.
std::set<std::size_t> protectedOffsets(const Bytes& der) {
    std::set<std::size_t> offsets;
    cms::SignedData data;
    std::string_view whyNot;
    if (cms::parseSignedData(der, data, whyNot) != cms::SignedDataVerdict::Parsed) {
        return offsets;
    }
    const cms::SignerInfo& signer = data.signers.at(0);
    for (const ByteView part :
         {data.contentType, data.content, signer.signedAttributes, signer.signature}) {
        for (std::size_t i = 0; i < part.size(); ++i) {
            offsets.insert(static_cast<std::size_t>(part.data() - der.data()) + i);
        }
    }
    return offsets;
}

// Whatever is changed in a token: it does not crash, and what still verifies (a change in parts
// that nobody signed, such as further certificates) yields the very content of the genuine token.
TEST(TokenCorpus, NoChangedByteAndNoCutYieldsOtherContent) {
    VANTREL_NEED_CORPUS(folder, "tsa");
    for (const char* const name : {"tsaec-signed-sha256.tst", "plain-cms-ber.tst", "ess-v1.tst"}) {
        SCOPED_TRACE(name);
        const Bytes genuine = readFile(folder + "/tokens/" + name);
        const std::set<std::size_t> isProtected = protectedOffsets(genuine);
        EXPECT_EQ(isProtected.empty(), std::string_view(name) == "plain-cms-ber.tst");
        Pkcs7SignedData message;
        const Outcome whole = verifyMessage(message, genuine, nullptr);
        ASSERT_TRUE(whole.verified) << whole.errors;
        const std::string time = message.genTime();

        for (std::size_t size = 0; size < genuine.size(); ++size) {
            const Bytes front(genuine.begin(), genuine.begin() + static_cast<std::ptrdiff_t>(size));
            const Outcome cut = verifyMessage(message, front, nullptr);
            ASSERT_FALSE(cut.verified) << "cut to " << size;
            ASSERT_TRUE(cut.content.empty());
        }
        for (std::size_t i = 0; i < genuine.size(); ++i) {
            for (const unsigned mask : {0x01U, 0x80U, 0xFFU}) {
                Bytes changed = genuine;
                changed[i] = static_cast<std::uint8_t>(changed[i] ^ mask);
                const Outcome outcome = verifyMessage(message, changed, nullptr);
                if (outcome.verified) {
                    ASSERT_FALSE(isProtected.contains(i)) << "byte " << i << ", mask " << mask;
                    ASSERT_EQ(outcome.content, whole.content) << "byte " << i << ", mask " << mask;
                    ASSERT_EQ(message.genTime(), time);
                } else {
                    ASSERT_FALSE(outcome.errors.empty()) << "byte " << i;
                    ASSERT_FALSE(message.isTimeStamp());
                }
            }
        }
    }
}

// Tokens of real authorities, out of published XAdES documents; openssl cms verifies every one.
TEST(TokenCorpus, TokensOfRealAuthoritiesVerify) {
    VANTREL_NEED_CORPUS(folder, "tsa/public");
    std::size_t verified = 0;
    std::vector<std::string> refused;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() != ".xml") {
            continue;
        }
        const std::string document = readText(entry.path().string());
        std::size_t at = 0;
        while ((at = document.find("EncapsulatedTimeStamp", at)) != std::string::npos) {
            at = document.find('>', at) + 1;
            std::string text = document.substr(at, document.find('<', at) - at);
            for (std::size_t i = 0; (i = text.find("&#", i)) != std::string::npos;) {
                text.erase(i, text.find(';', i) - i + 1); // carriage returns
            }
            DataBuffer der;
            static_cast<void>(text::decodeBase64(text, der));
            if (!der.isEmpty()) { // else it was an end tag
                const Bytes token(der.view().begin(), der.view().end());
                const bool good = verifyMessage(token, nullptr).verified;
                verified += good ? 1 : 0;
                if (!good) {
                    refused.push_back(entry.path().filename().string());
                }
            }
        }
    }
    EXPECT_EQ(refused, std::vector<std::string>());
    EXPECT_GE(verified, 59U);
}

TEST(TokenCorpus, RejectionsSayWhy) {
    VANTREL_NEED_CORPUS(folder, "tsa");
    const struct {
        const char* token;
        const char* error;
    } cases[] = {
        {"bad-garbage", "The bytes are not CMS signed data."},
        {"bad-signature", "The signature of the signed data is invalid."},
        {"bad-tstinfo", "The message-digest attribute is not the digest of the content."},
        {"bad-message-digest-attr", "The message-digest attribute is not the digest"},
        {"plain-cms-detached", "The signed data has no content or no signer."},
        {"rsa-sha256-nocert", "The signer's certificate is neither in the signed data nor"},
    };
    for (const auto& one : cases) {
        const Bytes der = readFile(folder + "/tokens/" + one.token + ".tst");
        const Outcome outcome = verifyMessage(der, nullptr);
        EXPECT_FALSE(outcome.verified);
        EXPECT_NE(outcome.errors.find(one.error), std::string::npos)
            << one.token << ": " << outcome.errors;
    }
    const Bytes token = readFile(folder + "/tokens/no-nonce.tst");
    EXPECT_NE(verifyMessage(token, nullptr, "{").errors.find("options are not a JSON"),
              std::string::npos);
    EXPECT_NE(verifyMessage(token, nullptr, R"({"requireTrustedTsa":true})")
                  .errors.find("The time-stamp authority is not trusted"),
              std::string::npos);
    EXPECT_NE(verifyMessage(token, nullptr, R"({"requireTrustedTsa":"yes"})")
                  .errors.find("is neither true nor false"),
              std::string::npos);
    EXPECT_TRUE(verifyMessage(token, nullptr, R"({"requireTrustedTsa":false})").verified);
}

} // namespace vantrel::test
