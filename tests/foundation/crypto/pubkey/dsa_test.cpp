// SPDX-License-Identifier: MIT
#include "foundation/crypto/dsa/DsaKeyData.h"
#include "foundation/crypto/dsa/DsaVerifier.h"
#include "foundation/text/LogBase.h"
#include "tests/support/vectors.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

bool verify(DsaKeyData& key, const Bytes& signature, const Bytes& hash, bool rawFirst = true) {
    LogNull log;
    bool verified = true;
    const bool ran = DsaVerifier::verifyHash(
        key, signature.data(), static_cast<std::uint32_t>(signature.size()), rawFirst, hash.data(),
        static_cast<std::uint32_t>(hash.size()), verified, log);
    EXPECT_TRUE(ran || !verified);
    return verified;
}

// The first verifications go without tables, the later ones with them: all must agree.
TEST(DsaVerifier, Vectors) {
    forEachVector("crypto/pubkey/dsa.vec", "signatures", [](VecCase& c) {
        DsaKeyData key;
        std::string_view whyNot;
        ASSERT_TRUE(key.load(c.hex("P"), c.hex("Q"), c.hex("G"), c.hex("Y"), whyNot))
            << c.where() << whyNot;
        const Bytes raw = c.hex("Raw");
        const Bytes der = c.hex("Der");
        const Bytes hash = c.hex("Digest");
        for (int use = 0; use < 5; ++use) {
            EXPECT_TRUE(verify(key, raw, hash)) << c.where() << use;
            EXPECT_TRUE(verify(key, der, hash, false)) << c.where() << use;
            Bytes bad = raw;
            bad[static_cast<std::size_t>(use) * 7] ^= 4;
            EXPECT_FALSE(verify(key, bad, hash)) << c.where() << use;
            Bytes other = hash;
            other[0] ^= 1;
            EXPECT_FALSE(verify(key, raw, other)) << c.where() << use;
        }
        EXPECT_FALSE(verify(key, raw, {})) << "an empty hash";
        EXPECT_FALSE(verify(key, {}, hash));
    });
}

struct Numbers {
    Bytes p, q, g, y, raw, hash;
};

Numbers dsaSample() {
    for (VecCase& c : readVectors("crypto/pubkey/dsa.vec", "signatures")) {
        return {c.hex("P"), c.hex("Q"), c.hex("G"), c.hex("Y"), c.hex("Raw"), c.hex("Digest")};
    }
    ADD_FAILURE() << "no sample";
    return {};
}

TEST(DsaVerifier, NumbersOutOfRangeNeverVerify) {
    const Numbers n = dsaSample();
    DsaKeyData key;
    std::string_view whyNot;
    EXPECT_FALSE(verify(key, n.raw, n.hash)) << "no key";
    ASSERT_TRUE(key.load(n.p, n.q, n.g, n.y, whyNot));
    ASSERT_TRUE(verify(key, n.raw, n.hash));
    const std::size_t width = n.q.size();
    const Bytes r(n.raw.begin(), n.raw.begin() + static_cast<std::ptrdiff_t>(width));
    const Bytes s(n.raw.begin() + static_cast<std::ptrdiff_t>(width), n.raw.end());
    for (const Bytes& bad : {Bytes(width), n.q, Bytes(width, 0xff)}) {
        for (const bool first : {true, false}) {
            Bytes signature = first ? bad : r;
            const Bytes& second = first ? s : bad;
            signature.insert(signature.end(), second.begin(), second.end());
            EXPECT_FALSE(verify(key, signature, n.hash)) << toHex(bad);
        }
    }
    // A zero byte before each number: not the fixed width.
    Bytes wide{0};
    wide.insert(wide.end(), r.begin(), r.end());
    wide.push_back(0);
    wide.insert(wide.end(), s.begin(), s.end());
    EXPECT_FALSE(verify(key, wide, n.hash));
    for (std::size_t size = 0; size < n.raw.size(); ++size) {
        const auto cut = n.raw.begin() + static_cast<std::ptrdiff_t>(size);
        EXPECT_FALSE(verify(key, {n.raw.begin(), cut}, n.hash)) << size;
    }
}

TEST(DsaKeyData, WhatIsRefused) {
    const Numbers n = dsaSample();
    const auto load = [](const Bytes& p, const Bytes& q, const Bytes& g, const Bytes& y) {
        DsaKeyData key;
        std::string_view whyNot;
        const bool loaded = key.load(p, q, g, y, whyNot);
        EXPECT_EQ(loaded, whyNot.empty());
        EXPECT_EQ(loaded, key.isLoaded());
        return loaded;
    };
    const auto plus = [](Bytes x, int difference) {
        x.back() = static_cast<std::uint8_t>(x.back() + difference); // the samples carry nothing
        return x;
    };
    ASSERT_TRUE(load(n.p, n.q, n.g, n.y));
    Bytes padded = n.p;
    padded.insert(padded.begin(), 3, 0);
    EXPECT_TRUE(load(padded, n.q, n.g, n.y));

    EXPECT_FALSE(load(plus(n.p, -1), n.q, n.g, n.y)) << "p even";
    EXPECT_FALSE(load(plus(n.p, -2), n.q, n.g, n.y)) << "q does not divide p - 1";
    EXPECT_FALSE(load(Bytes(513, 0xff), n.q, n.g, n.y)) << "p too large";
    EXPECT_FALSE(load(Bytes(63, 0xff), n.q, n.g, n.y)) << "p too small";
    EXPECT_FALSE(load({}, n.q, n.g, n.y));
    EXPECT_FALSE(load(n.p, plus(n.q, 1), n.g, n.y)) << "q even";
    EXPECT_FALSE(load(n.p, Bytes{7}, n.g, n.y)) << "q too small";
    EXPECT_FALSE(load(n.p, Bytes(33, 0xff), n.g, n.y)) << "q too large";
    EXPECT_FALSE(load(n.p, {}, n.g, n.y));
    const Bytes outside[] = {{}, {0}, {1}, plus(n.p, -1), n.p, plus(n.p, 1), Bytes(600, 0xff)};
    for (const Bytes& x : outside) {
        EXPECT_FALSE(load(n.p, n.q, x, n.y)) << "g " << toHex(x);
        EXPECT_FALSE(load(n.p, n.q, n.g, x)) << "y " << toHex(x);
    }

    DsaKeyData key;
    std::string_view whyNot;
    ASSERT_TRUE(key.load(padded, n.q, n.g, n.y, whyNot));
    EXPECT_EQ(toHex(key.p()), toHex(n.p));
    EXPECT_EQ(toHex(key.q()), toHex(n.q));
    EXPECT_EQ(toHex(key.g()), toHex(n.g));
    EXPECT_EQ(toHex(key.y()), toHex(n.y));
}

} // namespace
} // namespace vantrel::test
