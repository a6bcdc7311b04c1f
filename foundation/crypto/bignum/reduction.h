// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_REDUCTION_H
#define FOUNDATION_CRYPTO_BIGNUM_REDUCTION_H

#include "foundation/crypto/bignum/limbs.h"

#include <span>

namespace vantrel::crypto {

inline constexpr std::size_t kMaxReductionLimbs = 16;

// z := x mod n. z has the limbs of n, of which there are at most kMaxReductionLimbs, the highest
// one not zero; x has any number.
void reduceModulo(std::span<Limb> z, std::span<const Limb> x, std::span<const Limb> n) noexcept;

// z := the little-endian number `bytes`. False, z unspecified, when it does not fit into z.
bool loadLittleEndian(std::span<Limb> z, ByteView bytes) noexcept;

} // namespace vantrel::crypto

#endif
