// SPDX-License-Identifier: MIT
// The main function of every test program. Beside the options of GoogleTest it takes
//     --force-kernel=LIMIT    what kernels may need, in the words of cpu::parseLimit ("portable")
// and the environment variable VANTREL_CPU with the same words; the option goes on top of it.

#include "foundation/cpu/cpu_features.h"

#include <cstdio>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using vantrel::cpu::Feature;

constexpr std::string_view kOption = "--force-kernel=";
constexpr int kUsageError = 2;

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv); // takes out the options that it knows
    Feature allowed = ~Feature::None;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (!argument.starts_with(kOption) ||
            !vantrel::cpu::parseLimit(argument.substr(kOption.size()), allowed)) {
            std::fprintf(stderr, "cannot use the argument \"%s\"\n", argv[i]);
            return kUsageError;
        }
    }
    if (!vantrel::cpu::limitFromEnvironment()) {
        std::fputs("cannot use the value of VANTREL_CPU\n", stderr);
        return kUsageError;
    }
    const vantrel::cpu::FeatureLimit limit(allowed);
    return RUN_ALL_TESTS();
}
