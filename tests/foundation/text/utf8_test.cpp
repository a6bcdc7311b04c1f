// SPDX-License-Identifier: MIT
// The validation of UTF-8, on every kernel.

#include "foundation/text/utf8.h"

#include "foundation/text/utf8_kernels.h"
#include "tests/support/bytes.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

// Characters at the edges of table 3-7 of Unicode, and the faults just beyond them.
constexpr std::string_view kGood[] = {"a",
                                      "\xC2\x80",
                                      "\xDF\xBF",
                                      "\xE0\xA0\x80",
                                      "\xED\x9F\xBF",
                                      "\xEE\x80\x80",
                                      "\xEF\xBF\xBF",
                                      "\xF0\x90\x80\x80",
                                      "\xF4\x8F\xBF\xBF"};
constexpr std::string_view kBad[] = {"\x80",
                                     "\xC1\xBF",
                                     "\xE0\x9F\xBF",
                                     "\xED\xA0\x80",
                                     "\xF0\x8F\xBF\xBF",
                                     "\xF4\x90\x80\x80",
                                     "\xF5\x80\x80\x80",
                                     "\xE1\x80",
                                     "\xF1\x80\x80",
                                     "\xC2",
                                     "\xFF"};

// Each fault at every place around the ends of blocks, in a text whose other characters are good.
TEST(Utf8, KernelsStopAtTheFirstFault) {
    RandomBytes random(5);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (const std::uint64_t size = random.below(400); text.size() < size;) {
            text += kGood[random.below(4) == 0 ? random.below(std::size(kGood)) : 0];
        }
        const std::size_t valid = text.size();
        const bool faulty = round % 4 != 0;
        if (faulty) {
            text += kBad[random.below(std::size(kBad))];
            text.append(random.below(150), 'b');
        }
        for (const text::Utf8Kernel& kernel : text::utf8Kernels()) {
            if (cpu::supports(kernel.needs)) {
                ASSERT_EQ(kernel.run(text), valid) << kernel.name << toHex(bytesOf(text));
            }
        }
    }
}

// A byte beyond ASCII at every place, between texts that are ASCII.
TEST(Utf8, AsciiPrefixEndsWhereAsciiDoes) {
    for (std::size_t at = 0; at < 300; ++at) {
        std::string text(900, 'a');
        text[300 + at] = '\x80';
        EXPECT_EQ(text::asciiPrefix(std::string_view(text).substr(300, 300)), at);
        text[300 + at] = 'a';
        text[299] = '\xC3';
        text[600] = '\xC3';
        EXPECT_EQ(text::asciiPrefix(std::string_view(text).substr(300, at)), at);
    }
}

} // namespace
} // namespace vantrel::test
