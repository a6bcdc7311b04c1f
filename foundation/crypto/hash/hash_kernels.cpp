// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/hash_kernels.h"

#include "foundation/cpu/target_aarch64.h"
#include "foundation/crypto/hash/compress.h"
#include "foundation/crypto/hash/hash_ids.h"

#include <cassert>

namespace vantrel::crypto {

namespace {

using cpu::Feature;

constexpr HashKernel kMd2Kernels[] = {{"portable", Feature::None, md2Compress}};
constexpr HashKernel kMd5Kernels[] = {{"portable", Feature::None, md5Compress}};
constexpr HashKernel kRipemd128Kernels[] = {{"portable", Feature::None, ripemd128Compress}};
constexpr HashKernel kRipemd160Kernels[] = {{"portable", Feature::None, ripemd160Compress}};

constexpr HashKernel kSha1Kernels[] = {
#if defined(__x86_64__)
    {"x86-sha", Feature::Sha, sha1CompressX86Sha},
    {"x86-avx2", Feature::Avx2 | Feature::Bmi2, sha1CompressX86Avx2},
#elif defined(VANTREL_ARM_EXTENSIONS)
    {"arm-sha", Feature::Sha, sha1CompressArm},
#endif
    {"portable", Feature::None, sha1Compress},
};

constexpr HashKernel kSha256Kernels[] = {
#if defined(__x86_64__)
    {"x86-sha", Feature::Sha, sha256CompressX86Sha},
    {"x86-avx2", Feature::Avx2 | Feature::Bmi2, sha256CompressX86Avx2},
#elif defined(VANTREL_ARM_EXTENSIONS)
    {"arm-sha", Feature::Sha, sha256CompressArm},
#endif
    {"portable", Feature::None, sha256Compress},
};

constexpr HashKernel kSha512Kernels[] = {
#if defined(__x86_64__)
    {"x86-avx512", Feature::Avx512 | Feature::Bmi2, sha512CompressX86Avx512},
    {"x86-bmi2", Feature::Bmi2, sha512CompressX86Bmi2},
#elif defined(VANTREL_ARM_EXTENSIONS)
    {"arm-sha512", Feature::Sha512, sha512CompressArm},
#endif
    {"portable", Feature::None, sha512Compress},
};

constexpr HashKernel kSha3Kernels[] = {
#if defined(__x86_64__)
    {"x86-avx512", Feature::Avx512, sha3CompressX86Avx512},
    {"x86-bmi2", Feature::Bmi2, sha3CompressX86Bmi2},
#endif
    {"portable", Feature::None, sha3Compress},
};

static_assert(cpu::isKernelList(kMd2Kernels) && cpu::isKernelList(kMd5Kernels));
static_assert(cpu::isKernelList(kRipemd128Kernels) && cpu::isKernelList(kRipemd160Kernels));
static_assert(cpu::isKernelList(kSha1Kernels) && cpu::isKernelList(kSha256Kernels) &&
              cpu::isKernelList(kSha512Kernels) && cpu::isKernelList(kSha3Kernels));

} // namespace

std::span<const HashKernel> hashKernels(int id) noexcept {
    switch (id) {
    case kHashSha224:
    case kHashSha256: return kSha256Kernels;
    case kHashSha1: return kSha1Kernels;
    case kHashSha384:
    case kHashSha512: return kSha512Kernels;
    case kHashMd2: return kMd2Kernels;
    case kHashMd5: return kMd5Kernels;
    case kHashRipemd128: return kRipemd128Kernels;
    case kHashRipemd160: return kRipemd160Kernels;
    case kHashSha3_224:
    case kHashSha3_256:
    case kHashSha3_384:
    case kHashSha3_512: return kSha3Kernels;
    default: return {};
    }
}

const HashKernel& chosenHashKernel(int id) noexcept {
    const std::span<const HashKernel> kernels = hashKernels(id);
    assert(!kernels.empty());
    return cpu::chosenKernel(kernels);
}

} // namespace vantrel::crypto
