// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_H
#define FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_H

#include "foundation/cpu/kernel_list.h"
#include "foundation/crypto/bignum/limbs.h"
#include "foundation/crypto/bignum/montgomery.h"

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
    // The same on kNumbersBeside numbers at once: digit i of number k is word kNumbersBeside * i +
    // k of x, y and z, which begin at multiples of 64 octets; n is one number, and `size` a
    // multiple of kDigitsBeside. z may be x, y or both. Null where that gains nothing.
    MontgomeryMultiply multiplyBeside = nullptr;
    MontgomerySquare squareBeside = nullptr;
};

inline constexpr std::size_t kNumbersBeside = kPowersAtOnce;
inline constexpr std::size_t kDigitsBeside = 4;
// The largest modulus for that in limbs, and the digits of its numbers: of 52 bits at least, with
// two bits to spare.
inline constexpr std::size_t kMaxLimbsBeside = 64;
inline constexpr std::size_t kMaxDigitsBeside =
    (kMaxLimbsBeside * kLimbBits + 2 + 52 * kDigitsBeside - 1) / (52 * kDigitsBeside) *
    kDigitsBeside;

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
