// SPDX-License-Identifier: MIT
#include "foundation/crypto/signature/signature_value.h"

#include "tests/support/bytes.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

std::string parsed(const std::string& hex) {
    const Bytes der = fromHex(hex);
    ByteView r;
    ByteView s;
    if (!crypto::parseDerSignature(der, r, s)) {
        return "refused";
    }
    return toHex(r) + "," + toHex(s);
}

TEST(DerSignature, OnlyStrictFormsAreRead) {
    const struct {
        const char* about;
        std::string der;
        std::string expected;
    } cases[] = {
        {"small", "3006020101020102", "01,02"},
        {"zero", "3006020100020102", ",02"},
        {"needed zero", "300702020080020102", "80,02"},
        {"two-byte length", "3081860241" + std::string(130, '7') + "0241" + std::string(130, '7'),
         std::string(130, '7') + "," + std::string(130, '7')},
        {"superfluous zero", "300702020001020102", "refused"},
        {"two zeros", "300702020000020102", "refused"},
        {"negative", "3006020180020102", "refused"},
        {"empty integer", "30050200020102", "refused"},
        {"long length for a short one", "308106020101020102", "refused"},
        {"length of three bytes", "30820006020101020102", "refused"},
        {"indefinite length", "30800201010201020000", "refused"},
        {"another tag", "3106020101020102", "refused"},
        {"another inner tag", "3006030101020102", "refused"},
        {"one integer", "3003020101", "refused"},
        {"three integers", "3009020101020102020103", "refused"},
        {"something behind", "300602010102010200", "refused"},
        {"integer beyond the end", "3006020101020202", "refused"},
        {"empty", "", "refused"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parsed(c.der), c.expected) << c.about;
    }
}

TEST(DerSignature, TruncatedAndLengthenedIsRefused) {
    const std::string whole = "3026021100" + std::string(32, 'f') + "0211" + std::string(34, '5');
    ASSERT_NE(parsed(whole), "refused");
    for (std::size_t size = 0; size < whole.size(); size += 2) {
        EXPECT_EQ(parsed(whole.substr(0, size)), "refused") << size;
    }
    EXPECT_EQ(parsed(whole + "00"), "refused");
}

// What is readable in both forms is tried in both, in the order that was asked for.
TEST(SignatureValue, BothFormsAreTriedInOrder) {
    const Bytes both = fromHex("3006020105020107"); // DER: 5 and 7; raw, by width 4: its halves
    for (const bool rawFirst : {true, false}) {
        std::string seen;
        const auto remember = [&seen](ByteView r, ByteView s) {
            seen += toHex(r) + "," + toHex(s) + ";";
            return false;
        };
        EXPECT_FALSE(crypto::satisfiesInEitherForm(both, 4, rawFirst, remember));
        EXPECT_EQ(seen, rawFirst ? "30060201,05020107;05,07;" : "05,07;30060201,05020107;");
        // The other form is as good, and the only one where the width does not fit.
        const auto isFive = [](ByteView r, ByteView) { return toHex(r) == "05"; };
        EXPECT_TRUE(crypto::satisfiesInEitherForm(both, 4, rawFirst, isFive));
        EXPECT_TRUE(crypto::satisfiesInEitherForm(both, 5, rawFirst, isFive));
    }
}

} // namespace
} // namespace vantrel::test
