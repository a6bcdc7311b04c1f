// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/rsa/RsaKeyData.h"
#include "foundation/crypto/rsa/RsaVerifier.h"
#include "foundation/crypto/rsa/digest_info.h"
#include "foundation/crypto/rsa/padding.h"
#include "foundation/crypto/rsa/recovered_values.h"
#include "foundation/text/LogBase.h"
#include "tests/support/vectors.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string verify(RsaKeyData& key, const Bytes& signature, const Bytes& hash, int hashId,
                   int padding, int mgf) {
    LogNull log;
    bool verified = true;
    bool wrongKey = true;
    const bool ran =
        RsaVerifier::verifyHashExt(signature.data(), size32(signature), hash.data(), size32(hash),
                                   hashId, padding, mgf, verified, key, 0, true, wrongKey, log);
    if (!ran) {
        EXPECT_FALSE(verified);
        return wrongKey ? "wrong-key" : "failed";
    }
    EXPECT_FALSE(wrongKey);
    return verified ? "valid" : "invalid";
}

void runSection(const char* section) {
    forEachVector("crypto/pubkey/rsa.vec", section, [](VecCase& c) {
        const std::string about = c.where() + c.text("About");
        RsaKeyData key;
        std::string_view whyNot;
        ASSERT_TRUE(key.load(c.hex("N"), c.hex("E"), whyNot)) << about << whyNot;
        const std::string result =
            verify(key, c.hex("Signature"), c.hex("Digest"), static_cast<int>(c.integer("Hash")),
                   static_cast<int>(c.integer("Padding")), static_cast<int>(c.integer("Mgf")));
        EXPECT_EQ(result, c.text("Result")) << about;
    });
}

TEST(RsaVerifier, Pkcs1Vectors) { runSection("pkcs1"); }
TEST(RsaVerifier, PssVectors) { runSection("pss"); }

struct Sample {
    Bytes n, e, hash, signature;
};

Sample rsaSample() {
    for (VecCase& c : readVectors("crypto/pubkey/rsa.vec", "pkcs1")) {
        if (c.text("About") == "1024 bits") {
            return {c.hex("N"), c.hex("E"), c.hex("Digest"), c.hex("Signature")};
        }
    }
    ADD_FAILURE() << "no sample";
    return {};
}

TEST(RsaVerifier, OddInputsNeverVerify) {
    const Sample s = rsaSample();
    RsaKeyData key;
    std::string_view whyNot;
    EXPECT_EQ(verify(key, s.signature, s.hash, kHashSha256, 1, 7), "failed") << "no key";
    ASSERT_TRUE(key.load(s.n, s.e, whyNot));
    ASSERT_EQ(verify(key, s.signature, s.hash, kHashSha256, 1, 7), "valid");

    for (const int id : {0, -1, 6, 8, 11}) {
        EXPECT_EQ(verify(key, s.signature, s.hash, id, 1, id), "failed") << id;
        EXPECT_EQ(verify(key, s.signature, s.hash, kHashSha256, 3, id), "failed") << id;
    }
    for (const int padding : {0, 2, 4}) {
        EXPECT_EQ(verify(key, s.signature, s.hash, kHashSha256, padding, 7), "failed");
    }
    EXPECT_EQ(verify(key, s.signature, {}, kHashSha256, 1, 7), "failed");
    EXPECT_EQ(verify(key, s.signature, {}, kHashNone, 1, 0), "failed");
    EXPECT_EQ(verify(key, s.signature, Bytes(31), kHashSha256, 1, 7), "failed");
    EXPECT_EQ(verify(key, {}, s.hash, kHashSha256, 1, 7), "wrong-key");

    // Every length but the modulus's, and values from the modulus on.
    for (std::size_t size = 0; size < s.signature.size(); ++size) {
        const auto cut = s.signature.begin() + static_cast<std::ptrdiff_t>(size);
        EXPECT_EQ(verify(key, {s.signature.begin(), cut}, s.hash, kHashSha256, 1, 7), "wrong-key");
    }
    Bytes longer = s.signature;
    longer.insert(longer.begin(), 0);
    EXPECT_EQ(verify(key, longer, s.hash, kHashSha256, 1, 7), "wrong-key") << "leading zero";
    EXPECT_EQ(verify(key, s.n, s.hash, kHashSha256, 1, 7), "wrong-key") << "the modulus";
    EXPECT_EQ(verify(key, Bytes(s.n.size()), s.hash, kHashSha256, 1, 7), "wrong-key") << "zero";
    Bytes changed = s.signature;
    for (std::uint8_t& byte : changed) {
        byte ^= 1;
        EXPECT_NE(verify(key, changed, s.hash, kHashSha256, 1, 7), "valid");
        byte ^= 1;
    }
}

// One behind the other or together: the same blocks, and a value that is none spoils no other.
TEST(RsaKeyData, ValuesTogetherAreRecoveredAsOneByOne) {
    const Sample s = rsaSample();
    RsaKeyData key;
    std::string_view whyNot;
    ASSERT_TRUE(key.load(s.n, s.e, whyNot));
    RsaKeyData other;
    ASSERT_TRUE(other.load(s.n, Bytes{5}, whyNot));
    Bytes belowModulus = s.n;
    belowModulus.back() ^= 1;
    const Bytes zero(s.n.size());
    Bytes nearly = s.signature;
    nearly[0] -= 1;
    const Bytes shorter(s.signature.begin() + 1, s.signature.end());
    const std::vector<ByteView> values = {s.signature, s.n, belowModulus, shorter,
                                          nearly,      {},  s.signature,  zero};
    for (std::size_t first = 0; first < values.size(); ++first) {
        const std::span some = std::span(values).subspan(first);
        Bytes blocks(some.size() * s.n.size());
        const RsaKeyData::Recovered recovered = key.recoverEach(some, blocks);
        RecoveredValues known;
        known.recover(key, some);
        for (std::size_t i = 0; i < some.size(); ++i) {
            Bytes block(s.n.size());
            EXPECT_EQ(recovered[i], key.recover(some[i], block)) << first << ' ' << i;
            const auto at = blocks.begin() + static_cast<std::ptrdiff_t>(i * block.size());
            EXPECT_TRUE(!recovered[i] || std::equal(block.begin(), block.end(), at));
            const ByteView held = known.find(key, some[i]);
            EXPECT_EQ(Bytes(held.begin(), held.end()), recovered[i] ? block : Bytes());
            EXPECT_TRUE(known.find(other, some[i]).empty());
        }
        EXPECT_EQ(known.find(key, values[2]).empty(), first > 2);
        EXPECT_EQ(recovered, RsaKeyData::Recovered("11010101") >> first);
    }
    Bytes small(s.n.size());
    EXPECT_TRUE(key.recoverEach(values, small).none()) << "no room";
    EXPECT_TRUE(RsaKeyData().recoverEach(values, small).none()) << "no key";
}

// One changed byte of a right block is never a match, and where the form ends decides which way.
TEST(RsaPadding, EveryByteOfAPkcs1BlockCounts) {
    const Bytes hash(20, 0x11);
    const ByteView prefix = crypto::digestInfoPrefix(kHashSha1, true);
    Bytes block(64, 0xff);
    const std::size_t content = block.size() - prefix.size() - hash.size();
    block[0] = 0;
    block[1] = 1;
    block[content - 1] = 0;
    std::copy(prefix.begin(), prefix.end(), block.begin() + static_cast<std::ptrdiff_t>(content));
    std::copy(hash.begin(), hash.end(), block.end() - 20);
    ASSERT_EQ(crypto::checkPkcs1(block, kHashSha1, hash), crypto::PaddingVerdict::Match);
    for (std::size_t i = 0; i < block.size(); ++i) {
        for (const int change : {1, 0x80, 0xff}) {
            Bytes other = block;
            other[i] = static_cast<std::uint8_t>(other[i] ^ change);
            // A fill byte that becomes 00 after the eighth ends the fill early.
            const bool earlyEnd = i >= 10 && i < content - 1 && other[i] == 0;
            const auto expected = i < content && !earlyEnd ? crypto::PaddingVerdict::NoForm
                                                           : crypto::PaddingVerdict::Different;
            EXPECT_EQ(crypto::checkPkcs1(other, kHashSha1, hash), expected) << i;
        }
    }
}

TEST(RsaPadding, DigestInfoOfEveryHash) {
    // RFC 8017, 9.2, note 1; the RIPEMD ones follow ISO/IEC 10118-3's identifiers in the same way.
    const std::pair<int, const char*> cases[] = {
        {kHashMd2, "3020300c06082a864886f70d020205000410"},
        {kHashMd5, "3020300c06082a864886f70d020505000410"},
        {kHashSha1, "3021300906052b0e03021a05000414"},
        {kHashSha256, "3031300d060960864801650304020105000420"},
        {kHashSha384, "3041300d060960864801650304020205000430"},
        {kHashSha512, "3051300d060960864801650304020305000440"},
        {kHashRipemd128, "301d300906052b2403020205000410"},
        {kHashRipemd160, "3021300906052b2403020105000414"},
    };
    for (const auto& [id, prefix] : cases) {
        EXPECT_EQ(toHex(crypto::digestInfoPrefix(id, true)), prefix);
        EXPECT_EQ(crypto::digestInfoPrefix(id, false).size(), std::string(prefix).size() / 2 - 2);
    }
    EXPECT_TRUE(crypto::digestInfoPrefix(kHashNone, true).empty());
}

TEST(RsaKeyData, WhatIsRefused) {
    const auto load = [](const Bytes& n, const Bytes& e) {
        RsaKeyData key;
        std::string_view whyNot;
        const bool loaded = key.load(n, e, whyNot);
        EXPECT_EQ(loaded, key.isLoaded());
        EXPECT_EQ(loaded, whyNot.empty());
        return loaded;
    };
    const auto modulus = [](std::size_t bits) {
        Bytes n((bits + 7) / 8, 0x5b);
        n[0] = static_cast<std::uint8_t>(1U << ((bits - 1) % 8));
        return n;
    };
    const Bytes three{3};
    for (const std::size_t bits : {511U, 512U, 1023U, 1024U, 1025U, 16384U, 16385U}) {
        EXPECT_EQ(load(modulus(bits), three), bits >= 512 && bits <= 16384) << bits;
    }
    Bytes even = modulus(1024);
    even.back() ^= 1;
    EXPECT_FALSE(load(even, three));
    EXPECT_FALSE(load({}, three));
    EXPECT_FALSE(load(Bytes(128), three)) << "zero";
    for (const Bytes& e : {Bytes{}, Bytes{0}, Bytes{1}, Bytes{2}, Bytes{1, 0}}) {
        EXPECT_FALSE(load(modulus(1024), e)) << toHex(e);
    }
    EXPECT_TRUE(load(modulus(1024), {0, 0, 1, 0, 1})) << "leading zeros of the exponent";
    EXPECT_FALSE(load(modulus(1024), modulus(1024))) << "an exponent not below the modulus";
    EXPECT_TRUE(load(modulus(1024), modulus(1023)));
    EXPECT_TRUE(load(modulus(3072), modulus(3071)));
    EXPECT_TRUE(load(modulus(3073), modulus(64)));
    EXPECT_FALSE(load(modulus(3073), modulus(65))) << "work without bound";

    RsaKeyData key;
    std::string_view whyNot;
    ASSERT_TRUE(key.load(modulus(1023), three, whyNot));
    EXPECT_TRUE(key.isWeak());
    EXPECT_EQ(key.bits(), 1023U);
    EXPECT_EQ(Bytes(key.modulus().begin(), key.modulus().end()), modulus(1023));
    const RsaKeyData copy = key;
    EXPECT_EQ(copy.bits(), 1023U);
    EXPECT_FALSE(key.load(even, three, whyNot));
    EXPECT_FALSE(key.isLoaded()) << "a refused load leaves no key behind";
}

} // namespace
} // namespace vantrel::test
