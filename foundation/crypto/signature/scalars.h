// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_SIGNATURE_SCALARS_H
#define FOUNDATION_CRYPTO_SIGNATURE_SCALARS_H

#include "foundation/crypto/bignum/limbs.h"
#include "foundation/text/byte_view.h"

#include <span>

namespace vantrel::crypto {

// What DSA and ECDSA verification have in common (FIPS 186-4, 4.7 and 6.4): with the hash cut to
// the width of the prime order n (odd, above 1, no leading zero limb, at most 9 limbs),
//   r := the first number of the signature,  u1 := hash / s mod n,  u2 := r / s mod n.
// The outputs have the size of n. False when r or s is not in 1..n-1, or the hash is empty.
[[nodiscard]] bool signatureScalars(std::span<const Limb> n, ByteView rBytes, ByteView sBytes,
                                    ByteView hash, std::span<Limb> r, std::span<Limb> u1,
                                    std::span<Limb> u2) noexcept;

} // namespace vantrel::crypto

#endif
