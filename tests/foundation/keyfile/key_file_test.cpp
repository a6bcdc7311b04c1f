// SPDX-License-Identifier: MIT
// Files of keys that are damaged. What whole ones give, tests/vectors/key_sources/tool.vec says.

#include "foundation/keyfile/key_file.h"

#include "foundation/crypto/edwards/edwards_key.h"
#include "tests/support/bytes.h"
#include "tests/support/key_messages.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// The number of keys; without any the fault must say something, and on one line.
std::size_t keysIn(const Bytes& bytes) {
    std::vector<Ref<ClsPublicKey>> keys;
    keyfile::KeyFileFault fault;
    const bool ok = keyfile::loadKeys(bytes, keys, fault);
    EXPECT_EQ(ok, !keys.empty());
    EXPECT_EQ(ok || (!fault.what.empty() && fault.what.find('\n') == std::string::npos), true);
    for (const Ref<ClsPublicKey>& key : keys) {
        EXPECT_FALSE(key->isEmpty());
    }
    return keys.size();
}

TEST(KeyFile, DamagedFilesGiveNoMoreKeysThanWholeOnes) {
    const std::vector<Bytes> files = {
        fromBase64(keyValueNamed("bag")), bytesOf(pemNamed("bag", "PKCS7")),
        bytesOf("{\"keys\":[" + keyValueNamed("jwk.signer") + "," + keyValueNamed("jwk.ec") + "]}"),
        fromBase64(keyValueNamed("private.pkcs8")), fromBase64(keyValueNamed("signer.spki"))};
    const std::size_t counts[] = {2, 2, 2, 0, 1};
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(keysIn(files[i]), counts[i]) << i;
        for (std::size_t size = 0; size < files[i].size(); size += i == 1 ? 7 : 1) {
            const Bytes shorter(files[i].begin(),
                                files[i].begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_EQ(keysIn(shorter), 0U) << i << " cut at " << size;
            Bytes changed = files[i];
            changed[size] ^= 0x20;
            EXPECT_LE(keysIn(changed), counts[i]) << i << " changed at " << size;
        }
    }
}

// RFC 8037 A.2, and the blank key of Ed448 in RFC 8032 7.4.
TEST(KeyFile, OctetKeyPairs) {
    const std::string key25519 = "11qYAYKxCrfVS_7TyWQHOg7hcvPapiMlrwIaaPcHURo";
    const std::string key448 =
        "X9dEm1m0Yf0s54fsYWrUah2hNCSFpw4fig6nXYDpZ3jt8SR2m0bHBhvWeD3x5Q9s0foavq_oJWGA";
    const struct {
        std::string members;
        std::string faultOrKey;
    } cases[] = {
        {R"("crv":"Ed25519","x":")" + key25519 + '"', key25519},
        {R"("crv":"Ed448","x":")" + key448 + '"', key448},
        {R"("crv":"Ed25519")", "the JWK has no x, or it is not base64url"},
        {R"("crv":"Ed25519","x":"a?")", "the JWK has no x, or it is not base64url"},
        {R"("crv":"X25519","x":")" + key25519 + '"', "the JWK is of a kind that is not supported"},
        {R"("crv":"Ed25519","d":"AA","x":")" + key25519 + '"', "this is a private key (JWK)"},
        {R"("crv":"Ed25519","use":"enc","x":")" + key25519 + '"',
         "the JWK is for encryption, not for signatures"},
    };
    for (const auto& c : cases) {
        std::vector<Ref<ClsPublicKey>> keys;
        keyfile::KeyFileFault fault;
        if (!keyfile::loadKeys(bytesOf("{\"kty\":\"OKP\"," + c.members + "}"), keys, fault)) {
            EXPECT_EQ(fault.what, c.faultOrKey) << c.members;
            continue;
        }
        ASSERT_EQ(keys.size(), 1U);
        std::string key = toBase64(keys[0]->key().getEdwardsKeyPtr()->encoded());
        std::replace(key.begin(), key.end(), '+', '-');
        std::replace(key.begin(), key.end(), '/', '_');
        EXPECT_EQ(key.substr(0, key.find('=')), c.faultOrKey) << c.members;
    }
    // The length is that of the curve.
    EXPECT_EQ(keysIn(bytesOf(R"({"kty":"OKP","crv":"Ed448","x":")" + key25519 + "\"}")), 0U);
    EXPECT_EQ(keysIn(bytesOf(R"({"kty":"OKP","crv":"Ed25519","x":")" + key448 + "\"}")), 0U);
}

} // namespace
} // namespace vantrel::test
