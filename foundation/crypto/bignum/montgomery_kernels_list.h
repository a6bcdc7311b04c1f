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

} // namespace vantrel::crypto

#endif
