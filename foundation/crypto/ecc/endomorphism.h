// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_ENDOMORPHISM_H
#define FOUNDATION_CRYPTO_ECC_ENDOMORPHISM_H

#include "foundation/crypto/ecc/curves.h"

#include <cstddef>

namespace vantrel::crypto {

// On secp256k1 the map (x, y) -> (beta * x, y) multiplies a point by lambda, where beta and lambda
// are cube roots of one modulo p and n (Gallant, Lambert, Vanstone, "Faster point multiplication on
// elliptic curves with efficient endomorphisms", 2001).
inline constexpr CurveNumber kSecp256k1Beta = {0xc1396c28719501ee, 0x9cf0497512f58995,
                                               0x6e64479eac3434e9, 0x7ae96a2b657c0710};

// The halves of a split scalar have at most this many bits.
inline constexpr std::size_t kSplitBits = 129;

// k = +-k1 +- k2 * lambda modulo n, with magnitudes of at most kSplitBits bits.
struct SplitScalar {
    CurveNumber k1, k2;
    bool negative1, negative2;
};

[[nodiscard]] SplitScalar splitScalar(const CurveNumber& k) noexcept;

} // namespace vantrel::crypto

#endif
