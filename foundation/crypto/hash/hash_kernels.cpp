#include "foundation/crypto/hash/hash_kernels.h"

#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/hash_ids.h"

#include <cassert>

namespace vantrel::crypto {

namespace {

constexpr HashKernel kMd2Kernels[] = {{"portable", CpuFeature::None, md2Compress}};
constexpr HashKernel kMd5Kernels[] = {{"portable", CpuFeature::None, md5Compress}};
constexpr HashKernel kRipemd128Kernels[] = {{"portable", CpuFeature::None, ripemd128Compress}};
constexpr HashKernel kRipemd160Kernels[] = {{"portable", CpuFeature::None, ripemd160Compress}};

constexpr HashKernel kSha1Kernels[] = {
#if defined(__x86_64__)
    {"x86-sha", CpuFeature::Sha, sha1CompressX86Sha},
#endif
    {"portable", CpuFeature::None, sha1Compress},
};

constexpr HashKernel kSha256Kernels[] = {
#if defined(__x86_64__)
    {"x86-sha", CpuFeature::Sha, sha256CompressX86Sha},
#endif
    {"portable", CpuFeature::None, sha256Compress},
};

constexpr HashKernel kSha512Kernels[] = {
#if defined(__x86_64__)
    {"x86-avx512", CpuFeature::Avx512 | CpuFeature::Bmi2, sha512CompressX86Avx512},
    {"x86-bmi2", CpuFeature::Bmi2, sha512CompressX86Bmi2},
#endif
    {"portable", CpuFeature::None, sha512Compress},
};

} // namespace

std::span<const HashKernel> hashKernels(int id) noexcept {
    switch (id) {
    case kHashSha256: return kSha256Kernels;
    case kHashSha1: return kSha1Kernels;
    case kHashSha384:
    case kHashSha512: return kSha512Kernels;
    case kHashMd2: return kMd2Kernels;
    case kHashMd5: return kMd5Kernels;
    case kHashRipemd128: return kRipemd128Kernels;
    case kHashRipemd160: return kRipemd160Kernels;
    default: return {};
    }
}

// Asked for every hasher: a few tests of a word that is in a register, cheaper to repeat than to
// keep up to date.
const HashKernel& chosenHashKernel(int id) noexcept {
    const std::span<const HashKernel> kernels = hashKernels(id);
    assert(!kernels.empty());
    const CpuFeature features = cpuFeatures();
    for (const HashKernel& kernel : kernels.first(kernels.size() - 1)) {
        if ((features & kernel.needs) == kernel.needs) {
            return kernel;
        }
    }
    return kernels.back();
}

} // namespace vantrel::crypto
