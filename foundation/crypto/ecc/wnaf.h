// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_WNAF_H
#define FOUNDATION_CRYPTO_ECC_WNAF_H

#include "foundation/crypto/bignum/limbs.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// The width-w non-adjacent form of the number in bits `first` .. `first + count - 1` of k: digits
// that are zero or odd with a magnitude below 2^(w-1), of which any w neighbours hold at most one
// that is not zero. digits[i] stands for 2^i; there must be room for count + 1 of them, and the
// rest is filled with zeros. 2 <= w <= 15. Returns the number of digits up to the last that is
// not zero.
std::size_t recodeWnaf(std::span<std::int16_t> digits, std::span<const Limb> k, std::size_t first,
                       std::size_t count, unsigned width) noexcept;

// The points in a table for such digits: 1P, 3P, .. (2^(w-1) - 1)P.
constexpr std::size_t wnafTableSize(unsigned width) noexcept {
    return std::size_t{1} << (width - 2);
}

} // namespace vantrel::crypto

#endif
