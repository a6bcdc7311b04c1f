// SPDX-License-Identifier: MIT
// The Wycheproof suites of EdDSA, ML-DSA, SHA-224 and SHA-3, from the shared corpus, with keys as
// SubjectPublicKeyInfo.

#include "foundation/crypto/ecc/EccVerifier.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "foundation/crypto/hash/hasher.h"
#include "foundation/crypto/mac/Hmac.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/json/json_value.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "tests/support/bytes.h"
#include "tests/support/corpus.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using json::JsonValue;

std::string member(const JsonValue& object, std::string_view name) {
    const JsonValue* const value = object.find(name);
    return value != nullptr ? std::string(value->text()) : std::string();
}

int hashId(std::string_view name) {
    for (int id = 1; id <= kHashSha3_512; ++id) {
        const crypto::HashInfo* const hash = crypto::findHash(id);
        if (hash != nullptr && hash->name == name) {
            return id;
        }
    }
    return kHashNone;
}

bool checkRsa(const JsonValue& group, RsaKeyData& key, const Bytes& digest,
              const Bytes& signature) {
    LogNull log;
    bool verified = false;
    bool wrongKey = false;
    const bool pss = member(group, "type") == "RsassaPssVerify";
    const int hash = hashId(member(group, "sha"));
    RsaVerifier::verifyHashExt(signature.data(), size32(signature), digest.data(), size32(digest),
                               hash, pss ? kPaddingPss : kPaddingPkcs1,
                               pss ? hashId(member(group, "mgfSha")) : hash, verified, key, 0, true,
                               wrongKey, log);
    return verified;
}

bool checkMac(const JsonValue& test, int hash, const Bytes& message) {
    LogNull log;
    DataBuffer mac;
    const Bytes key = fromHex(member(test, "key"));
    const Bytes tag = fromHex(member(test, "tag"));
    return Hmac::doHMAC(message.data(), static_cast<int>(message.size()), key.data(),
                        static_cast<int>(key.size()), hash, mac, log) &&
           toHex(mac.view().first(tag.size())) == toHex(tag);
}

bool checkSignature(const JsonValue& group, const JsonValue& test, const ClsPublicKey& key) {
    const Bytes message = fromHex(member(test, "msg"));
    const Bytes signature = fromHex(member(test, "sig"));
    if (key.key().kind() == KeyKind::Edwards) {
        return key.key().getEdwardsKeyPtr()->verify(message, signature);
    }
    if (key.key().kind() == KeyKind::MlDsa) {
        const Bytes context = fromHex(member(test, "ctx"));
        return key.key().getMlDsaKeyPtr()->verify(message, context, signature);
    }
    Bytes digest(crypto::kMaxDigestSize);
    digest.resize(crypto::hashBytes(hashId(member(group, "sha")), message, digest).size());
    if (key.key().kind() == KeyKind::Rsa) {
        return checkRsa(group, *key.key().getRsaKeyPtr(), digest, signature);
    }
    LogNull log;
    bool verified = false;
    key.key().getEccKeyPtr()->eccVerifyHash(signature.data(), size32(signature),
                                            member(group, "type") == "EcdsaVerify", digest.data(),
                                            size32(digest), verified, log, 0);
    return verified;
}

class W3cPrimitives : public testing::TestWithParam<const char*> {};

TEST_P(W3cPrimitives, Wycheproof) {
    VANTREL_NEED_CORPUS(path, std::string("wycheproof-w3c/") + GetParam());
    JsonValue root;
    std::size_t faultAt = 0;
    ASSERT_TRUE(json::parseJson(readText(path), root, faultAt));
    std::size_t count = 0;
    LogNull log;
    for (const JsonValue& group : root.find("testGroups")->elements()) {
        const bool isMac = member(group, "type") == "MacTest";
        const Ref<ClsPublicKey> key = Ref<ClsPublicKey>::adopt(ClsPublicKey::createNewCls());
        const bool isKey = key->loadAnyDer(fromHex(member(group, "publicKeyDer")), log);
        for (const JsonValue& test : group.find("tests")->elements()) {
            const std::string result = member(test, "result");
            if (result == "acceptable") {
                continue;
            }
            const int hash = isMac ? hashId("SHA3-" + std::string(GetParam()).substr(10, 3)) : 0;
            const bool verified = isMac ? checkMac(test, hash, fromHex(member(test, "msg")))
                                        : isKey && checkSignature(group, test, *key);
            // Any salt length that the encoding is consistent with is accepted, and either form of
            // a value of ECDSA.
            const std::string comment = member(test, "comment");
            const bool expected = result == "valid" || comment.starts_with("s_len changed to ") ||
                                  comment.starts_with("salt of ") || comment == "DER form";
            EXPECT_EQ(verified, expected) << " tcId " << member(test, "tcId") << ' ' << comment;
            ++count;
        }
    }
    EXPECT_GT(count, 10U);
}

INSTANTIATE_TEST_SUITE_P(
    Files, W3cPrimitives,
    testing::Values(
        "ed25519_test.json", "ed448_test.json", "mldsa_44_verify_test.json",
        "mldsa_87_verify_test.json", "rsa_signature_2048_sha3_224_test.json",
        "rsa_signature_2048_sha3_384_test.json", "rsa_signature_2048_sha3_512_test.json",
        "rsa_signature_3072_sha3_256_test.json", "rsa_signature_3072_sha3_512_test.json",
        "ecdsa_secp256r1_sha3_512_test.json", "ecdsa_secp384r1_sha3_384_test.json",
        "ecdsa_secp521r1_sha3_512_test.json", "ecdsa_secp256k1_sha3_256_test.json",
        "ecdsa_brainpoolP256r1_sha3_256_test.json", "ecdsa_brainpoolP384r1_sha3_384_test.json",
        "ecdsa_brainpoolP512r1_sha3_512_test.json", "hmac_sha3_224_test.json",
        "hmac_sha3_256_test.json", "hmac_sha3_384_test.json", "made_rsa_pss_2048_sha224_test.json",
        "made_rsa_pss_2048_sha3_224_test.json", "made_rsa_pss_2048_sha3_256_test.json",
        "made_rsa_pss_3072_sha3_384_test.json", "made_rsa_pss_2048_sha3_512_test.json",
        "made_ecdsa_secp256r1_sha224_p1363_test.json",
        "made_ecdsa_secp384r1_sha224_p1363_test.json",
        "made_ecdsa_secp521r1_sha224_p1363_test.json",
        "made_ecdsa_secp256r1_sha3_256_p1363_test.json",
        "made_ecdsa_secp256r1_sha3_224_p1363_test.json",
        "made_ecdsa_secp384r1_sha3_384_p1363_test.json",
        "made_ecdsa_secp384r1_sha3_512_p1363_test.json",
        "made_ecdsa_secp521r1_sha3_512_p1363_test.json",
        "made_ecdsa_secp521r1_sha3_256_p1363_test.json"));

} // namespace
} // namespace vantrel::test
