// SPDX-License-Identifier: MIT
#include "foundation/cpu/kernel_list.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
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

#if defined(__x86_64__)
// What is not found is only slower, so that no other test would miss it.
TEST(CpuFeatures, WhatTheSystemSaysIsFound) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && line.find("flags") != 0) {}
    if (!file || std::getenv("VANTREL_CPU") != nullptr) {
        GTEST_SKIP() << "/proc/cpuinfo does not name the extensions of this processor";
    }
    line += ' ';
    struct Case {
        Feature feature;
        const char* words; // of the kernel, all of which must be there
    };
    const Case cases[] = {
        {Feature::Sse2, "sse2"},
        {Feature::Ssse3, "ssse3"},
        {Feature::Sse41, "ssse3 sse4_1"},
        {Feature::Pclmul, "pclmulqdq"},
        {Feature::Avx2, "avx2"},
        {Feature::Bmi2, "bmi1 bmi2"},
        {Feature::Adx, "adx"},
        {Feature::Sha, "sha_ni sse4_1"},
        {Feature::Avx512, "avx512f avx512dq avx512bw avx512vl"},
        {Feature::Avx512Ifma, "avx512f avx512ifma"},
        {Feature::Avx512Vbmi, "avx512f avx512vbmi avx512_vbmi2"},
    };
    for (const Case& c : cases) {
        std::istringstream words(c.words);
        std::string word;
        bool present = true;
        while (words >> word) {
            present = present && line.find(' ' + word + ' ') != std::string::npos;
        }
        EXPECT_EQ(supports(c.feature), present) << c.words;
    }
}
#endif

TEST(CpuFeatures, LimitTexts) {
    Feature allowed = Feature::None;
    EXPECT_TRUE(parseLimit("native,-sha,-avx512ifma", allowed));
    EXPECT_EQ(allowed & Feature::Sha, Feature::None);
    EXPECT_EQ(allowed & Feature::Avx512Ifma, Feature::None);
    EXPECT_EQ(allowed & Feature::Avx512, Feature::Avx512);
    EXPECT_TRUE(parseLimit("avx2", allowed));
    EXPECT_EQ(allowed & (Feature::Avx2 | Feature::Avx512), Feature::Avx2);
    EXPECT_TRUE(parseLimit("neon", allowed));
    EXPECT_EQ(allowed, Feature::Neon);
    EXPECT_TRUE(parseLimit("native,-sha512", allowed));
    EXPECT_EQ(allowed & (Feature::Sha512 | Feature::Crc32), Feature::Crc32);

    const Feature before = allowed;
    for (const char* bad :
         {"", "fast", "native,", "native,sha", "native,-sh", "-sha", ",", "native,,"}) {
        EXPECT_FALSE(parseLimit(bad, allowed)) << bad;
        EXPECT_EQ(allowed, before) << bad;
    }
    EXPECT_TRUE(parseLimit("portable", allowed));
    EXPECT_EQ(allowed, Feature::None);
}

// Where a list of kernels has two that need something.
#if defined(__aarch64__)
constexpr Feature kOne = Feature::Neon;
constexpr Feature kOther = Feature::Sha;
#else
constexpr Feature kOne = Feature::Avx2;
constexpr Feature kOther = Feature::Bmi2;
#endif

TEST(KernelList, TheFirstThatMayRunAndFitsIsChosen) {
    struct Case {
        Feature allowed;
        std::size_t largest;
        int expected;
    };
    constexpr Kernel<int> kKernels[] = {
        {"both", kOne | kOther, 3},
        {"one", kOne, 2},
        {"portable", Feature::None, 1},
    };
    static_assert(isKernelList(kKernels));
    const Feature all = kOne | kOther;
    if (!supports(all)) {
        GTEST_SKIP() << "this processor does not have both";
    }
    const Case cases[] = {
        {all, 3, 3},           {all, 2, 2}, {kOne, 3, 2}, {kOther, 3, 1},
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

    constexpr Kernel<int> kNoPortable[] = {{"one", kOne, 1}};
    constexpr Kernel<int> kNeedy[] = {{"portable", kOne, 1}};
    constexpr Kernel<int> kTooEarly[] = {{"portable", Feature::None, 1},
                                         {"portable", Feature::None, 2}};
    static_assert(!isKernelList(kNoPortable) && !isKernelList(kNeedy) && !isKernelList(kTooEarly));
}

} // namespace

} // namespace vantrel::test
