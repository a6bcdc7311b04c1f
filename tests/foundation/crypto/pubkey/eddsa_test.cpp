// SPDX-License-Identifier: MIT
// EdDSA on the examples of RFC 8032, and what must not pass for a key or a signature.

#include "foundation/crypto/bignum/reduction.h"
#include "foundation/crypto/edwards/edwards_key.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using crypto::EdwardsKey;
using crypto::Limb;

std::unique_ptr<EdwardsKey> keyOf(VecCase& c) {
    std::string_view whyNot;
    const crypto::EdwardsCurve* const curve = crypto::findEdwardsCurve(c.text("Curve"));
    EXPECT_NE(curve, nullptr) << c.where();
    return EdwardsKey::load(*curve, c.hex("Key"), whyNot);
}

// Every bit of a signature counts, and so does every one of the message.
TEST(EdDsa, KnownAnswers) {
    forEachVector("crypto/pubkey/eddsa.vec", "valid", [](VecCase& c) {
        const std::unique_ptr<EdwardsKey> key = keyOf(c);
        ASSERT_NE(key, nullptr) << c.where();
        Bytes message = c.hex("Msg");
        Bytes signature = c.hex("Sig");
        EXPECT_TRUE(key->verify(message, signature)) << c.where();
        for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
            signature[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
            EXPECT_FALSE(key->verify(message, signature)) << c.where() << bit;
            signature[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        }
        message.push_back(0);
        EXPECT_FALSE(key->verify(message, signature)) << c.where();
        EXPECT_FALSE(key->verify(c.hex("Msg"), ByteView(signature).first(signature.size() - 1)));
    });
}

// A context and a hash before are part of what is signed, and so is that they are there.
TEST(EdDsa, VariantsAreToldApart) {
    forEachVector("crypto/pubkey/eddsa.vec", "variant", [](VecCase& c) {
        const std::unique_ptr<EdwardsKey> key = keyOf(c);
        ASSERT_NE(key, nullptr) << c.where();
        const bool preHashed = c.boolean("PreHashed");
        const Bytes context = c.hex("Context");
        const Bytes message = c.hex("Msg");
        const Bytes signature = c.hex("Sig");
        EXPECT_TRUE(key->verifyVariant({true, preHashed, context}, message, signature))
            << c.where();
        EXPECT_FALSE(key->verifyVariant({true, !preHashed, context}, message, signature));
        EXPECT_FALSE(key->verifyVariant({true, preHashed, Bytes(256, 1)}, message, signature));
        EXPECT_FALSE(key->verifyVariant({true, preHashed, Bytes(1, 1)}, message, signature));
        EXPECT_FALSE(key->verify(message, signature)) << c.where();
    });
}

// Encodings of y that are not below p, no point at all, a negative zero, another length.
TEST(EdDsa, KeysThatAreNone) {
    forEachVector("crypto/pubkey/eddsa.vec", "no-key",
                  [](VecCase& c) { EXPECT_EQ(keyOf(c), nullptr) << c.where(); });
}

// All there are of them.
TEST(EdDsa, PointsOfSmallOrderAreNoKeys) {
    forEachVector("crypto/pubkey/eddsa.vec", "small-order", [](VecCase& c) {
        std::string_view whyNot;
        const crypto::EdwardsCurve* const curve = crypto::findEdwardsCurve(c.text("Curve"));
        EXPECT_EQ(EdwardsKey::load(*curve, c.hex("Key"), whyNot), nullptr) << c.where();
        EXPECT_EQ(whyNot, "the EdDSA key is a point of small order") << c.where();
    });
}

// Against a reduction bit by bit, with divisors and numbers that make the guesses wrong.
TEST(Reduction, AgreesWithLongDivision) {
    RandomBytes random(5);
    const auto number = [&](std::span<Limb> x) {
        for (Limb& limb : x) {
            const std::size_t kind = random.below(4);
            limb = kind == 0 ? 0 : kind == 1 ? ~Limb{0} : random.word();
        }
    };
    for (int round = 0; round < 2000; ++round) {
        std::array<Limb, 3> n{};
        std::array<Limb, 7> x{};
        number(n);
        number(x);
        n[2] = n[2] >> random.below(64) | 1;
        std::array<Limb, 3> expected{};
        for (std::size_t bit = 7 * 64; bit-- > 0;) {
            const Limb above = crypto::shiftLeftOne(expected);
            expected[0] |= x[bit / 64] >> bit % 64 & 1;
            if (above != 0 || !crypto::lessThan(expected, n)) {
                crypto::subtract(expected, n);
            }
        }
        std::array<Limb, 3> reduced{};
        crypto::reduceModulo(reduced, x, n);
        ASSERT_EQ(reduced, expected) << round;
    }
}

} // namespace
} // namespace vantrel::test
