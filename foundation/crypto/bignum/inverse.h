// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_INVERSE_H
#define FOUNDATION_CRYPTO_BIGNUM_INVERSE_H

#include "foundation/crypto/bignum/limbs.h"

#include <cstddef>
#include <span>

namespace vantrel::crypto {

inline constexpr std::size_t kMaxInverseLimbs = 9;

// z := 1/x mod n for odd n > 1 of at most kMaxInverseLimbs limbs and x in 1..n-1, all of the same
// length; z may alias x. False when x and n have a common factor. Variable time: public data only.
[[nodiscard]] bool invertModulo(std::span<Limb> z, std::span<const Limb> x,
                                std::span<const Limb> n) noexcept;

} // namespace vantrel::crypto

#endif
