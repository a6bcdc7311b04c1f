// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_BIGNUM_LIMBS_H
#define FOUNDATION_CRYPTO_BIGNUM_LIMBS_H

#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

// Non-negative integers as little-endian arrays of 64-bit limbs whose length the caller fixes.
// Nothing here allocates. Variable time: public data only.
namespace vantrel::crypto {

using Limb = std::uint64_t;
__extension__ using DoubleLimb = unsigned __int128;

inline constexpr std::size_t kLimbBits = 64;

constexpr std::size_t limbsForBits(std::size_t bits) noexcept {
    return (bits + kLimbBits - 1) / kLimbBits;
}

// z := the big-endian number `bytes`. False, z unspecified, when it does not fit into z.
[[nodiscard]] bool loadBigEndian(std::span<Limb> z, ByteView bytes) noexcept;

// out := x as a big-endian number of exactly out.size() bytes. x must fit.
void storeBigEndian(std::span<std::uint8_t> out, std::span<const Limb> x) noexcept;

// `bytes` without its leading zero bytes.
[[nodiscard]] ByteView withoutLeadingZeros(ByteView bytes) noexcept;

// The number of bits of x; 0 for zero.
[[nodiscard]] std::size_t bitLength(std::span<const Limb> x) noexcept;

[[nodiscard]] bool isZero(std::span<const Limb> x) noexcept;

// x < y and x = y; both of the same length.
[[nodiscard]] bool lessThan(std::span<const Limb> x, std::span<const Limb> y) noexcept;
[[nodiscard]] bool equal(std::span<const Limb> x, std::span<const Limb> y) noexcept;

// x := x + y and x := x - y, both of the same length; the carry or borrow out is returned.
Limb add(std::span<Limb> x, std::span<const Limb> y) noexcept;
Limb subtract(std::span<Limb> x, std::span<const Limb> y) noexcept;

// x := 2 * x; the bit shifted out is returned.
Limb shiftLeftOne(std::span<Limb> x) noexcept;

// x := x + factor * y, both of the same length; the limb carried out is returned.
Limb addScaled(std::span<Limb> x, Limb factor, std::span<const Limb> y) noexcept;

// -1/n mod 2^64 for odd n.
[[nodiscard]] constexpr Limb negInverse(Limb n) noexcept {
    Limb inverse = n; // right in the lowest three bits; each step doubles that
    for (int step = 0; step < 5; ++step) {
        inverse *= 2 - n * inverse;
    }
    return 0 - inverse;
}

} // namespace vantrel::crypto

#endif
