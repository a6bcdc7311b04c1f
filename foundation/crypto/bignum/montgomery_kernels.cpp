// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/montgomery_kernels.h"

#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/crypto/bignum/montgomery_kernels_list.h"

namespace vantrel::crypto {
namespace {

using cpu::Feature;

constexpr MontgomeryKernel kKernels[] = {
#if defined(__x86_64__)
    {{"ifma",
      Feature::Avx512 | Feature::Avx512Ifma | Feature::Bmi2,
      {montgomeryMultiplyIfma, montgomerySquareIfma, montgomeryMultiplyBesideIfma,
       montgomerySquareBesideIfma}},
     52,
     true,
     8,
     kIfmaMinLimbs,
     kIfmaMaxLimbs},
    {{"adx", Feature::Bmi2 | Feature::Adx, {montgomeryMultiplyAdx, montgomerySquareAdx}},
     64,
     false,
     1,
     1,
     kMaxModulusLimbs},
#endif
    {{"portable", Feature::None, {montgomeryMultiplyPortable, montgomerySquarePortable}},
     64,
     false,
     1,
     1,
     kMaxModulusLimbs},
};
static_assert(cpu::isKernelList(kKernels));

} // namespace

std::span<const MontgomeryKernel> montgomeryKernels() noexcept { return kKernels; }

const MontgomeryKernel& chosenMontgomeryKernel(std::size_t limbs) noexcept {
    return cpu::chosenKernel(kKernels, [limbs](const MontgomeryKernel& kernel) {
        return limbs >= kernel.minLimbs && limbs <= kernel.maxLimbs;
    });
}

} // namespace vantrel::crypto
