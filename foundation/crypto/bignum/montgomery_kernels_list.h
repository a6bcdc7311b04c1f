// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_LIST_H
#define FOUNDATION_CRYPTO_BIGNUM_MONTGOMERY_KERNELS_LIST_H

#include "foundation/crypto/bignum/limbs.h"

#include <cstddef>

// The functions of the kernels, for montgomery_kernels.cpp; all others use the list there.
namespace vantrel::crypto {

void montgomeryMultiplyPortable(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                Limb negInverse, std::size_t size) noexcept;
void montgomerySquarePortable(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                              std::size_t size) noexcept;

#if defined(__x86_64__)
void montgomeryMultiplyAdx(Limb* z, const Limb* x, const Limb* y, const Limb* n, Limb negInverse,
                           std::size_t size) noexcept;
void montgomerySquareAdx(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                         std::size_t size) noexcept;

// For 17 to 80 digits of 52 bits.
inline constexpr std::size_t kIfmaMinLimbs = 16;
inline constexpr std::size_t kIfmaMaxLimbs = 64;
void montgomeryMultiplyIfma(Limb* z, const Limb* x, const Limb* y, const Limb* n, Limb negInverse,
                            std::size_t size) noexcept;
void montgomerySquareIfma(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                          std::size_t size) noexcept;
void montgomeryMultiplyBesideIfma(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                  Limb negInverse, std::size_t size) noexcept;
void montgomerySquareBesideIfma(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                                std::size_t size) noexcept;
#endif

} // namespace vantrel::crypto

#endif
