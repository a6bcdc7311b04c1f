// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_EDWARDS_FIELD_25519_H
#define FOUNDATION_CRYPTO_EDWARDS_FIELD_25519_H

#include "foundation/crypto/bignum/limbs.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {

// The field of Ed25519, p = 2^255 - 19, in five digits of 51 bits (RFC 8032, 5.1). What a product
// gives has digits of hardly more than that; sums and differences carry nothing, so that digits may
// grow to 2^54.3 before the next product, whose factors together have at most 107.6 bits. A
// subtrahend is at most a sum of two products. Portable.
class Field25519 {
public:
    static constexpr std::size_t kLimbs = 5;
    static constexpr std::size_t kBytes = 32;
    using Element = std::array<Limb, kLimbs>;

    static constexpr Element kOne = {1};

    static void add(Element& z, const Element& x, const Element& y) noexcept {
        for (std::size_t i = 0; i < kLimbs; ++i) {
            z[i] = x[i] + y[i];
        }
    }
    static void subtract(Element& z, const Element& x, const Element& y) noexcept {
        // 4 * p in front keeps every digit above zero.
        z[0] = x[0] + (4 * (kMask - 18)) - y[0];
        for (std::size_t i = 1; i < kLimbs; ++i) {
            z[i] = x[i] + 4 * kMask - y[i];
        }
    }

    static void multiply(Element& z, const Element& x, const Element& y) noexcept {
        std::array<Limb, kLimbs> folded; // what stands above the fifth digit comes down 19 times
        for (std::size_t i = 0; i < kLimbs; ++i) {
            folded[i] = 19 * y[i];
        }
        std::array<DoubleLimb, kLimbs> sums;
#pragma GCC unroll 5
        for (std::size_t k = 0; k < kLimbs; ++k) {
            DoubleLimb sum = static_cast<DoubleLimb>(x[0]) * y[k];
#pragma GCC unroll 5
            for (std::size_t i = 1; i < kLimbs; ++i) {
                sum += static_cast<DoubleLimb>(x[i]) * (i <= k ? y[k - i] : folded[k + kLimbs - i]);
            }
            sums[k] = sum;
        }
        carry(z, sums);
    }

    static void square(Element& z, const Element& x) noexcept {
        const Limb x0 = 2 * x[0];
        const Limb x1 = 2 * x[1];
        const Limb x3 = 19 * x[3];
        const Limb x4 = 19 * x[4];
        const auto product = [](Limb a, Limb b) { return static_cast<DoubleLimb>(a) * b; };
        const std::array<DoubleLimb, kLimbs> sums = {
            product(x[0], x[0]) + product(x1, x4) + product(2 * x[2], x3),
            product(x0, x[1]) + product(2 * x[2], x4) + product(x[3], x3),
            product(x0, x[2]) + product(x[1], x[1]) + product(2 * x[3], x4),
            product(x0, x[3]) + product(x1, x[2]) + product(x[4], x4),
            product(x0, x[4]) + product(x1, x[3]) + product(x[2], x[2])};
        carry(z, sums);
    }

    // False for a number that is not below p. `bytes` is little-endian, of kBytes; the top bit is
    // another's and must be clear.
    [[nodiscard]] static bool decode(Element& z, std::span<const std::uint8_t> bytes) noexcept {
        std::array<Limb, 4> words{};
        for (std::size_t i = 0; i < kBytes; ++i) {
            words[i / 8] |= static_cast<Limb>(bytes[i]) << (i % 8 * 8);
        }
        z[0] = words[0] & kMask;
        z[1] = (words[0] >> 51 | words[1] << 13) & kMask;
        z[2] = (words[1] >> 38 | words[2] << 26) & kMask;
        z[3] = (words[2] >> 25 | words[3] << 39) & kMask;
        z[4] = words[3] >> 12;
        return !(z[4] == kMask && z[3] == kMask && z[2] == kMask && z[1] == kMask &&
                 z[0] >= kMask - 18);
    }

    static void encode(std::span<std::uint8_t> bytes, const Element& x) noexcept {
        Element reduced = x;
        carryDigits(reduced);
        carryDigits(reduced);
        // At most once p above: adding 19 carries out of the top exactly then.
        Limb quotient = 19;
        for (const Limb digit : reduced) {
            quotient = (digit + quotient) >> 51;
        }
        reduced[0] += 19 * quotient;
        Limb carried = 0;
        for (Limb& digit : reduced) {
            digit += carried;
            carried = digit >> 51;
            digit &= kMask;
        }
        const std::array<Limb, 4> words = {
            reduced[0] | reduced[1] << 51, reduced[1] >> 13 | reduced[2] << 38,
            reduced[2] >> 26 | reduced[3] << 25, reduced[3] >> 39 | reduced[4] << 12};
        for (std::size_t i = 0; i < kBytes; ++i) {
            bytes[i] = static_cast<std::uint8_t>(words[i / 8] >> (i % 8 * 8));
        }
    }

private:
    static constexpr Limb kMask = (Limb{1} << 51) - 1;

    static void carry(Element& z, const std::array<DoubleLimb, kLimbs>& sums) noexcept {
        Limb carried = 0;
#pragma GCC unroll 5
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const DoubleLimb sum = sums[i] + carried;
            z[i] = static_cast<Limb>(sum) & kMask;
            carried = static_cast<Limb>(sum >> 51);
        }
        // 19 times the last carry may have more than 64 bits.
        const DoubleLimb low = static_cast<DoubleLimb>(carried) * 19 + z[0];
        z[0] = static_cast<Limb>(low) & kMask;
        z[1] += static_cast<Limb>(low >> 51);
    }

    static void carryDigits(Element& x) noexcept {
        for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
            x[i + 1] += x[i] >> 51;
            x[i] &= kMask;
        }
        x[0] += 19 * (x[4] >> 51);
        x[4] &= kMask;
    }
};

} // namespace vantrel::crypto

#endif
