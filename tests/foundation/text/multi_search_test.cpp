// SPDX-License-Identifier: MIT
// The search for several texts at once, with every kernel, against one search after the other.

#include "foundation/text/multi_search_kernels.h"
#include "tests/support/bytes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vantrel::test {
namespace {

void compare(const std::string& text, const std::vector<std::string_view>& needles) {
    for (const text::MultiSearchKernel& kernel : text::multiSearchKernels()) {
        if (!cpu::supports(kernel.needs)) {
            continue;
        }
        std::vector<std::size_t> found(needles.size());
        text::findAllWith(kernel, text, text::NeedleSet(needles), found);
        for (std::size_t i = 0; i < needles.size(); ++i) {
            EXPECT_EQ(found[i], text.find(needles[i]))
                << needles[i] << " in " << text.size() << " bytes, " << kernel.name;
        }
    }
}

TEST(MultiSearch, FindsWhatSingleSearchesFind) {
    const std::vector<std::string_view> needles = {"abc",   "bca.", "aab", "ab.ab", "c..",
                                                   "abcab", "ccc",  ".a.", "bbb",   "\xE2\x63."};
    RandomBytes random(1);
    for (int round = 0; round < 400; ++round) {
        std::string text;
        for (std::uint64_t left = random.below(200); left > 0; --left) {
            text += "abc.\xE2"[random.below(5)]; // 'b' but for its highest bit
        }
        compare(text, needles);
    }
}

TEST(MultiSearch, FindsANeedleAtEveryPlaceOfEveryLength) {
    for (std::size_t size = 0; size < 80; ++size) {
        for (std::size_t at = 0; at + 6 <= size; ++at) {
            std::string text(size, 's');
            text.replace(at, 6, "sii.cl");
            compare(text, {"sii.cl", "sii",
                           "cl"
                           "x"});
        }
    }
}

} // namespace
} // namespace vantrel::test
