// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_DIVISIBILITY_H
#define FOUNDATION_CRYPTO_BIGNUM_DIVISIBILITY_H

#include "foundation/crypto/bignum/limbs.h"

#include <cstddef>
#include <span>

namespace vantrel::crypto {

inline constexpr std::size_t kMaxDividendLimbs = 64;
inline constexpr std::size_t kMaxDivisorLimbs = 9;

// True when x, of at most kMaxDividendLimbs limbs, is a multiple of the odd n > 1 of at most
// kMaxDivisorLimbs limbs. Variable time: public data only.
[[nodiscard]] bool isMultipleOf(std::span<const Limb> x, std::span<const Limb> n) noexcept;

} // namespace vantrel::crypto

#endif
