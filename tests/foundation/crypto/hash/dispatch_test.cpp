#include "foundation/cpu/cpu_features.h"
#include "foundation/crypto/hash/hash_ids.h"
#include "foundation/crypto/hash/hash_kernels.h"

#include <string>

#include <gtest/gtest.h>

namespace vantrel::test {

namespace {

using crypto::CpuFeature;
using crypto::CpuFeatureLimit;

std::string chosen(int id) { return std::string(crypto::chosenHashKernel(id).name); }

TEST(HashDispatch, WithoutFeaturesThePortableKernelRuns) {
    const CpuFeatureLimit limit(CpuFeature::None);
    for (const int id : {kHashSha1, kHashSha256, kHashSha384, kHashSha512}) {
        EXPECT_EQ(chosen(id), "portable") << id;
    }
}

TEST(HashDispatch, EachFeatureBringsItsKernel) {
    struct Case {
        CpuFeature allowed;
        int id;
        const char* kernel;
    };
    const CpuFeature noAvx512 = ~CpuFeature::Avx512;
    const Case cases[] = {
        {CpuFeature::Sha, kHashSha1, "x86-sha"},
        {CpuFeature::Sha, kHashSha256, "x86-sha"},
        {CpuFeature::Sha, kHashSha512, "portable"},
        {~CpuFeature::Sha, kHashSha256, "portable"},
        {CpuFeature::Avx512 | CpuFeature::Bmi2, kHashSha384, "x86-avx512"},
        {CpuFeature::Avx512, kHashSha512, "portable"},
        {noAvx512, kHashSha512, "x86-bmi2"},
    };
    for (const Case& c : cases) {
        const CpuFeatureLimit limit(c.allowed);
        for (const crypto::HashKernel& kernel : crypto::hashKernels(c.id)) {
            if (kernel.name == c.kernel && crypto::cpuSupports(kernel.needs)) {
                EXPECT_EQ(chosen(c.id), c.kernel);
            }
        }
        // On a machine without the extension the best of the rest must be chosen instead.
        EXPECT_TRUE(crypto::cpuSupports(crypto::chosenHashKernel(c.id).needs));
    }
}

TEST(CpuFeatures, ALimitTakesAwayAndGivesBack) {
    const CpuFeature before = crypto::cpuFeatures();
    {
        const CpuFeatureLimit outer(~CpuFeature::Sha);
        EXPECT_FALSE(crypto::cpuSupports(CpuFeature::Sha));
        {
            const CpuFeatureLimit inner(CpuFeature::Sha | CpuFeature::Avx2);
            EXPECT_FALSE(crypto::cpuSupports(CpuFeature::Sha)) << "a limit adds nothing";
        }
        EXPECT_EQ(crypto::cpuFeatures(), before & ~CpuFeature::Sha);
    }
    EXPECT_EQ(crypto::cpuFeatures(), before);
}

TEST(CpuFeatures, LimitTexts) {
    CpuFeature allowed = CpuFeature::None;
    EXPECT_TRUE(crypto::parseCpuLimit("native,-sha,-avx512ifma", allowed));
    EXPECT_EQ(allowed & CpuFeature::Sha, CpuFeature::None);
    EXPECT_EQ(allowed & CpuFeature::Avx512Ifma, CpuFeature::None);
    EXPECT_EQ(allowed & CpuFeature::Avx512, CpuFeature::Avx512);
    EXPECT_TRUE(crypto::parseCpuLimit("avx2", allowed));
    EXPECT_EQ(allowed & (CpuFeature::Avx2 | CpuFeature::Avx512), CpuFeature::Avx2);

    const CpuFeature before = allowed;
    for (const char* bad :
         {"", "fast", "native,", "native,sha", "native,-sh", "-sha", ",", "native,,"}) {
        EXPECT_FALSE(crypto::parseCpuLimit(bad, allowed)) << bad;
        EXPECT_EQ(allowed, before) << bad;
    }
    EXPECT_TRUE(crypto::parseCpuLimit("portable", allowed));
    EXPECT_EQ(allowed, CpuFeature::None);
}

} // namespace

} // namespace vantrel::test
