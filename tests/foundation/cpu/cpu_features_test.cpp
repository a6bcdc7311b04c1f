// SPDX-License-Identifier: MIT
#include "foundation/cpu/kernel_list.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

using namespace cpu;

TEST(CpuFeatures, ALimitTakesAwayAndGivesBack) {
    const Feature before = features();
    {
        const FeatureLimit outer(~Feature::Sha);
        EXPECT_FALSE(supports(Feature::Sha));
        {
            const FeatureLimit inner(Feature::Sha | Feature::Avx2);
            EXPECT_FALSE(supports(Feature::Sha)) << "a limit adds nothing";
        }
        EXPECT_EQ(features(), before & ~Feature::Sha);
    }
    EXPECT_EQ(features(), before);
}

TEST(CpuFeatures, LimitTexts) {
    Feature allowed = Feature::None;
    EXPECT_TRUE(parseLimit("native,-sha,-avx512ifma", allowed));
    EXPECT_EQ(allowed & Feature::Sha, Feature::None);
    EXPECT_EQ(allowed & Feature::Avx512Ifma, Feature::None);
    EXPECT_EQ(allowed & Feature::Avx512, Feature::Avx512);
    EXPECT_TRUE(parseLimit("avx2", allowed));
    EXPECT_EQ(allowed & (Feature::Avx2 | Feature::Avx512), Feature::Avx2);

    const Feature before = allowed;
    for (const char* bad :
         {"", "fast", "native,", "native,sha", "native,-sh", "-sha", ",", "native,,"}) {
        EXPECT_FALSE(parseLimit(bad, allowed)) << bad;
        EXPECT_EQ(allowed, before) << bad;
    }
    EXPECT_TRUE(parseLimit("portable", allowed));
    EXPECT_EQ(allowed, Feature::None);
}

TEST(KernelList, TheFirstThatMayRunAndFitsIsChosen) {
    struct Case {
        Feature allowed;
        std::size_t largest;
        int expected;
    };
    constexpr Kernel<int> kKernels[] = {
        {"both", Feature::Avx2 | Feature::Bmi2, 3},
        {"one", Feature::Avx2, 2},
        {"portable", Feature::None, 1},
    };
    static_assert(isKernelList(kKernels));
    const Feature all = Feature::Avx2 | Feature::Bmi2;
    if (!supports(all)) {
        GTEST_SKIP() << "this processor has no AVX2 and BMI2";
    }
    const Case cases[] = {
        {all, 3, 3},           {all, 2, 2}, {Feature::Avx2, 3, 2}, {Feature::Bmi2, 3, 1},
        {Feature::None, 3, 1}, {all, 0, 1}, // the last is taken whether it fits or not
    };
    for (const Case& c : cases) {
        const FeatureLimit limit(c.allowed);
        const auto fits = [&c](const Kernel<int>& kernel) {
            return kernel.run <= static_cast<int>(c.largest);
        };
        EXPECT_EQ(chosenKernel(kKernels, fits).run, c.expected);
    }
    EXPECT_EQ(chosenKernel(kKernels).name, "both");

    constexpr Kernel<int> kNoPortable[] = {{"one", Feature::Avx2, 1}};
    constexpr Kernel<int> kNeedy[] = {{"portable", Feature::Avx2, 1}};
    constexpr Kernel<int> kTooEarly[] = {{"portable", Feature::None, 1},
                                         {"portable", Feature::None, 2}};
    static_assert(!isKernelList(kNoPortable) && !isKernelList(kNeedy) && !isKernelList(kTooEarly));
}

} // namespace

} // namespace vantrel::test
