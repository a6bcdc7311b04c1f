#include "foundation/crypto/bignum/montgomery_kernels.h"

#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/crypto/bignum/montgomery_kernels_list.h"

namespace vantrel::crypto {
namespace {

constexpr MontgomeryKernel kKernels[] = {
#if defined(__x86_64__)
    {"ifma", CpuFeature::Avx512 | CpuFeature::Avx512Ifma | CpuFeature::Bmi2, 52, true, 8,
     kIfmaMinLimbs, kIfmaMaxLimbs, montgomeryMultiplyIfma, montgomerySquareIfma},
    {"adx", CpuFeature::Bmi2 | CpuFeature::Adx, 64, false, 1, 1, kMaxModulusLimbs,
     montgomeryMultiplyAdx, montgomerySquareAdx},
#endif
    {"portable", CpuFeature::None, 64, false, 1, 1, kMaxModulusLimbs, montgomeryMultiplyPortable,
     montgomerySquarePortable},
};

} // namespace

std::span<const MontgomeryKernel> montgomeryKernels() noexcept { return kKernels; }

const MontgomeryKernel& chosenMontgomeryKernel(std::size_t limbs) noexcept {
    const std::span<const MontgomeryKernel> kernels(kKernels);
    for (const MontgomeryKernel& kernel : kernels) {
        if (limbs >= kernel.minLimbs && limbs <= kernel.maxLimbs && cpuSupports(kernel.needs)) {
            return kernel;
        }
    }
    return kernels.back();
}

} // namespace vantrel::crypto
