// SPDX-License-Identifier: MIT
// ML-DSA on signatures of another implementation, and on what is hardly a signature any more.

#include "foundation/crypto/mldsa/mldsa_coding.h"
#include "foundation/crypto/mldsa/mldsa_key.h"
#include "tests/support/bytes.h"
#include "tests/support/vectors.h"

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

using crypto::MlDsaKey;

// Every octet of a signature counts, and so do message, context and key.
TEST(MlDsa, KnownAnswers) {
    forEachVector("crypto/pubkey/mldsa.vec", "valid", [](VecCase& c) {
        const crypto::MlDsaSet* const set = crypto::findMlDsaSet(c.text("Set"));
        ASSERT_NE(set, nullptr) << c.where();
        std::string_view whyNot;
        Bytes encoded = c.hex("Key");
        const std::unique_ptr<MlDsaKey> key = MlDsaKey::load(*set, encoded, whyNot);
        ASSERT_NE(key, nullptr) << c.where();
        Bytes message = c.hex("Msg");
        Bytes context = c.hex("Context");
        Bytes signature = c.hex("Sig");
        EXPECT_TRUE(key->verify(message, context, signature)) << c.where();
        for (std::size_t i = 0; i < signature.size(); ++i) {
            signature[i] ^= static_cast<std::uint8_t>(1U << i % 8);
            EXPECT_FALSE(key->verify(message, context, signature)) << c.where() << i;
            signature[i] ^= static_cast<std::uint8_t>(1U << i % 8);
        }
        EXPECT_FALSE(
            key->verify(message, context, ByteView(signature).first(signature.size() - 1)));
        context.push_back('c');
        EXPECT_FALSE(key->verify(message, context, signature)) << c.where();
        context.pop_back();
        message.push_back(0);
        EXPECT_FALSE(key->verify(message, context, signature)) << c.where();
        message.pop_back();
        encoded[40] ^= 1;
        EXPECT_FALSE(MlDsaKey::load(*set, encoded, whyNot)->verify(message, context, signature));
        encoded.push_back(0);
        EXPECT_EQ(MlDsaKey::load(*set, encoded, whyNot), nullptr) << c.where();
    });
}

// For every coefficient, against the definitions (FIPS 204, algorithms 36 and 40) with signed
// numbers.
TEST(MlDsa, HintsMoveToTheNextHighPart) {
    for (const int range : {190464, 523776}) {
        const int q = crypto::mldsa::kQ;
        const int count = (q - 1) / range;
        for (int r = 0; r < q; ++r) {
            int low = r % range;
            low -= low > range / 2 ? range : 0;
            int high = (r - low) / range;
            if (r - low == q - 1) {
                high = 0;
                --low;
            }
            const int moved = (high + (low > 0 ? 1 : count - 1)) % count;
            const auto coefficient = static_cast<std::uint32_t>(r);
            const auto step = static_cast<std::uint32_t>(range);
            ASSERT_EQ(crypto::mldsa::useHint(false, coefficient, step),
                      static_cast<unsigned>(high));
            ASSERT_EQ(crypto::mldsa::useHint(true, coefficient, step),
                      static_cast<unsigned>(moved));
        }
    }
}

// FIPS 204, algorithm 21, with four places and two rows.
TEST(MlDsa, HintsHaveOneForm) {
    const auto rowsOf = [](const char* hex) {
        crypto::mldsa::Hints rows[2];
        const Bytes bytes = fromHex(hex);
        std::string out;
        if (!crypto::mldsa::unpackHints(rows, bytes, 4)) {
            return std::string("refused");
        }
        for (const crypto::mldsa::Hints& row : rows) {
            for (std::size_t place = 0; place < row.size(); ++place) {
                out += row.test(place) ? std::to_string(place) + " " : "";
            }
            out += "; ";
        }
        return out;
    };
    EXPECT_EQ(rowsOf("000000000000"), "; ; ");
    EXPECT_EQ(rowsOf("0105FF000203"), "1 5 ; 255 ; ");
    EXPECT_EQ(rowsOf("050102030104"), "5 ; 1 2 3 ; ");
    // Ends that go back or lie beyond the places; places out of order or twice; more than is used.
    for (const char* const bad : {"010203040201", "010203040405", "010203040505", "050100000202",
                                  "010100000202", "010200000101"}) {
        EXPECT_EQ(rowsOf(bad), "refused") << bad;
    }
}

} // namespace
} // namespace vantrel::test
