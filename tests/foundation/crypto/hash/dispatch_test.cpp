// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hash_kernels.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

using cpu::Feature;
using cpu::FeatureLimit;

std::string chosen(int id) { return std::string(crypto::chosenHashKernel(id).name); }

TEST(HashDispatch, WithoutFeaturesThePortableKernelRuns) {
    const FeatureLimit limit(Feature::None);
    for (const int id : {kHashSha1, kHashSha256, kHashSha384, kHashSha512, kHashSha3_256}) {
        EXPECT_EQ(chosen(id), "portable") << id;
    }
}

TEST(HashDispatch, EachFeatureBringsItsKernel) {
    struct Case {
        Feature allowed;
        int id;
        const char* kernel;
    };
    const Feature noAvx512 = ~Feature::Avx512;
    const Case cases[] = {
        {Feature::Sha, kHashSha1, "x86-sha"},
        {Feature::Sha, kHashSha256, "x86-sha"},
        {Feature::Sha, kHashSha512, "portable"},
        {~Feature::Sha, kHashSha1, "x86-avx2"},
        {~Feature::Sha, kHashSha256, "x86-avx2"},
        {~(Feature::Sha | Feature::Avx2), kHashSha256, "portable"},
        {Feature::Avx512 | Feature::Bmi2, kHashSha384, "x86-avx512"},
        {Feature::Avx512, kHashSha512, "portable"},
        {noAvx512, kHashSha512, "x86-bmi2"},
        {Feature::Avx512, kHashSha3_256, "x86-avx512"},
        {noAvx512, kHashSha3_512, "x86-bmi2"},
        {Feature::Sha, kHashSha1, "arm-sha"},
        {Feature::Sha, kHashSha224, "arm-sha"},
        {Feature::Sha512, kHashSha384, "arm-sha512"},
    };
    for (const Case& c : cases) {
        const FeatureLimit limit(c.allowed);
        for (const crypto::HashKernel& kernel : crypto::hashKernels(c.id)) {
            if (kernel.name == c.kernel && cpu::supports(kernel.needs)) {
                EXPECT_EQ(chosen(c.id), c.kernel);
            }
        }
        // On a machine without the extension the best of the rest must be chosen instead.
        EXPECT_TRUE(cpu::supports(crypto::chosenHashKernel(c.id).needs));
    }
}

} // namespace

} // namespace vantrel::test
