// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_H
#define FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_H

#include "foundation/cpu/kernel_list.h"
#include "foundation/crypto/bignum/limbs.h"

#include <cstddef>
#include <span>

namespace vantrel::crypto {

// z := x * y / R mod n over `size` digits, R = radix^size. Inputs and output are below n, or
// below 2n with an "almost" kernel. z may alias x and y.
using MontgomeryMultiply = void (*)(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                    Limb negInverse, std::size_t size) noexcept;
// z := x * x / R mod n, likewise.
using MontgomerySquare = void (*)(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                                  std::size_t size) noexcept;

struct MontgomeryProducts {
    MontgomeryMultiply multiply;
    MontgomerySquare square;
};

// A kernel for Montgomery products, and the numbers that it takes. A digit of `radixBits` bits
// stands in each 64-bit word.
struct MontgomeryKernel : cpu::Kernel<MontgomeryProducts> {
    std::size_t radixBits; // 64 or 52
    bool almost;           // numbers stay below 2n instead of n, and R is at least 4n
    // The words of a number are padded with zero digits to a multiple of this.
    std::size_t padding;
    // The smallest modulus it takes, and the largest, in limbs.
    std::size_t minLimbs;
    std::size_t maxLimbs;
};

// All kernels; the portable one takes every size.
[[nodiscard]] std::span<const MontgomeryKernel> montgomeryKernels() noexcept;

// The first that takes a modulus of `limbs` limbs and may run here.
[[nodiscard]] const MontgomeryKernel& chosenMontgomeryKernel(std::size_t limbs) noexcept;

} // namespace vantrel::crypto

#endif
